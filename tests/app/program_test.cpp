// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The real program, seen from outside.

#include "program_fixture.h"

#include <QFile>

#include <csignal>

TEST(CommandLine, VersionIsAllOfIt)
{
    struct {
        QStringList arguments;
        int status;
        char const* output;
        char const* error;
    } const cases[] = {
        { { QStringLiteral("--version") }, 0, "Nakwire 0.4.8\n", "" },
        { { QStringLiteral("--version"), QStringLiteral("x") }, 0, "Nakwire 0.4.8\n", "" },
        { { QStringLiteral("--help") }, 1, "", "Unrecognized command line argument: \"--help\"\n" },
        { { QStringLiteral("-h"), QStringLiteral("--version") },
          1,
          "",
          "Unrecognized command line argument: \"-h\"\n" },
        { { QStringLiteral("--version=1") },
          1,
          "",
          "Unrecognized command line argument: \"--version=1\"\n" },
        { { QStringLiteral("discord") },
          1,
          "",
          "Unrecognized command line argument: \"discord\"\n" },
        { { QString::fromLatin1("") }, 1, "", "Unrecognized command line argument: \"\"\n" },
    };
    for (auto const& c : cases) {
        Surroundings surroundings;
        // The application never starts, so it never misses its platform.
        surroundings.environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("none"));
        Finished const finished = run(surroundings, QStringLiteral(NAKWIRE_PROGRAM), c.arguments);
        EXPECT_EQ(finished.status, c.status);
        EXPECT_EQ(finished.standardOutput, c.output);
        EXPECT_EQ(finished.standardError, c.error);
        EXPECT_FALSE(surroundings.dataPathExists());
        EXPECT_TRUE(surroundings.temporaryFiles().isEmpty());
    }
}

TEST_F(Program, SignalsEndItInOrder)
{
    for (int signal : { SIGTERM, SIGINT }) {
        auto process = start();
        ASSERT_FALSE(waitForWindow(*process, m_title).isEmpty());
        EXPECT_NE(lockText(), "no lock");
        EXPECT_TRUE(waitUntil([&] { return logText().contains("Started new log file\n"); }));
        kill(static_cast<pid_t>(process->processId()), signal);
        expectOrderlyEnd(*process);
    }
}

TEST_F(Program, EndsWithItsLastWindow)
{
    auto process = start();
    QString const window = waitForWindow(*process, m_title);
    ASSERT_FALSE(window.isEmpty());
    s_display->pressKey(window, QStringLiteral("ctrl+shift+w"));
    expectOrderlyEnd(*process);
}

TEST_F(Program, QuitKeyAndTheWindowComesBackAsItWas)
{
    QSize const size(900, 500);
    for (int run = 0; run < 2; ++run) {
        auto process = start();
        QString const window = waitForWindow(*process, m_title);
        ASSERT_FALSE(window.isEmpty());
        if (run == 0)
            s_display->resize(window, size);
        EXPECT_EQ(s_display->sizeOf(window), size);
        s_display->pressKey(window, QStringLiteral("ctrl+q"));
        expectOrderlyEnd(*process);
    }
}

TEST_F(Program, SecondOneAsksAndLeavesTheFirstAlone)
{
    auto first = start();
    QString const window = waitForWindow(*first, m_title);
    ASSERT_FALSE(window.isEmpty());
    QByteArray const lock = lockText();
    for (char const* key : { "Return", "Escape" }) {
        auto second = start();
        QString const box = waitForWindow(*second, QStringLiteral("Nakwire Startup"));
        ASSERT_FALSE(box.isEmpty());
        s_display->pressKey(box, QString::fromLatin1(key));
        Finished const finished = waitForEnd(*second);
        EXPECT_EQ(finished.status, 1) << finished.standardError;
        EXPECT_EQ(lockText(), lock);
        EXPECT_EQ(s_display->windowOf(first->processId(), m_title), window);
        EXPECT_EQ(m_surroundings.temporaryFiles().size(), 1); // the first one's log
    }
    kill(static_cast<pid_t>(first->processId()), SIGTERM);
    expectOrderlyEnd(*first);
}

TEST_F(Program, ForcedStartBesideALivingOne)
{
    auto first = start();
    ASSERT_FALSE(waitForWindow(*first, m_title).isEmpty());
    QByteArray const lock = lockText();
    for (bool goesOn : { false, true }) {
        auto second = start();
        QString const box = waitForWindow(*second, QStringLiteral("Nakwire Startup"));
        ASSERT_FALSE(box.isEmpty());
        s_display->pressKey(box, QStringLiteral("shift+Tab")); // from "Quit" to "Force start"
        s_display->pressKey(box, QStringLiteral("Return"));
        QString const failure = waitForWindow(*second, QStringLiteral("Lock file failure"));
        ASSERT_FALSE(failure.isEmpty());
        if (goesOn)
            s_display->pressKey(failure, QStringLiteral("Tab")); // from "Abort" to "Ignore"
        s_display->pressKey(failure, QStringLiteral("Return"));
        if (goesOn) {
            EXPECT_FALSE(waitForWindow(*second, m_title).isEmpty());
            kill(static_cast<pid_t>(second->processId()), SIGTERM);
        }
        EXPECT_EQ(waitForEnd(*second).status, goesOn ? 0 : 1);
        EXPECT_EQ(lockText(), lock);
    }
    kill(static_cast<pid_t>(first->processId()), SIGTERM);
    expectOrderlyEnd(*first);
}

TEST_F(Program, LockOfADeadProcessIsTaken)
{
    auto first = start();
    ASSERT_FALSE(waitForWindow(*first, m_title).isEmpty());
    first->kill();
    EXPECT_EQ(waitForEnd(*first).status, -1);
    QByteArray const lock = lockText();
    EXPECT_NE(lock, "no lock");
    auto second = start();
    ASSERT_FALSE(waitForWindow(*second, m_title).isEmpty());
    EXPECT_NE(lockText(), lock);
    kill(static_cast<pid_t>(second->processId()), SIGTERM);
    EXPECT_EQ(waitForEnd(*second).status, 0);
}

TEST_F(Program, DeploymentFileIsLogged)
{
    struct {
        QByteArray contents; // null: there is no file
        char const* logged;
    } const cases[] = {
        { "[discord]\napi_url=http://127.0.0.1:1/api/v6\n",
          "\tWarn\tApplication:\tHosts and addresses are replaced by the deployment file " },
        { QByteArray(), "\tWarn\tApplication:\tThe deployment file " },
    };
    QString const path = m_surroundings.dataPath(QStringLiteral("../d.ini"));
    m_surroundings.environment.insert(QStringLiteral("NAKWIRE_DEPLOYMENT"), path);
    m_surroundings.writeSettings("");
    for (auto const& c : cases) {
        QFile::remove(path);
        if (!c.contents.isNull()) {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(c.contents);
        }
        auto process = start();
        EXPECT_TRUE(waitUntil([&] { return logText().contains(c.logged + path.toUtf8()); }))
            << logText().toStdString();
        ASSERT_FALSE(waitForWindow(*process, m_title).isEmpty());
        kill(static_cast<pid_t>(process->processId()), SIGTERM);
        expectOrderlyEnd(*process);
    }
}

// A place that is no directory, and one where nothing can be written.
TEST_F(Program, CannotStartWhereItCannotWrite)
{
    struct {
        char const* variable;
        char const* value;
        char const* box;
        int status; // -1: aborts
    } const cases[] = {
        { "XDG_DATA_HOME", "/dev/null", "Nakwire Startup", 1 },
        { "XDG_DATA_HOME", "/proc/nowhere", "Nakwire Startup", 1 },
        { "TMPDIR", "/dev/null", "Critical Error", -1 },
    };
    for (auto const& c : cases) {
        auto const variable = QString::fromLatin1(c.variable);
        QString const usual = m_surroundings.environment.value(variable);
        m_surroundings.environment.insert(variable, QString::fromLatin1(c.value));
        auto process = start();
        QString const box = waitForWindow(*process, QString::fromLatin1(c.box));
        ASSERT_FALSE(box.isEmpty()) << c.variable << ' ' << c.value;
        s_display->pressKey(box, QStringLiteral("Escape"));
        EXPECT_EQ(waitForEnd(*process).status, c.status) << c.variable << ' ' << c.value;
        EXPECT_EQ(process->state(), QProcess::NotRunning); // else it did not end at all
        m_surroundings.environment.insert(variable, usual);
    }
}
