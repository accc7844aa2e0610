// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The program with an icon in a real tray, without a session bus.

#include "program_fixture.h"

namespace {

QPoint const inside(20, 20);

class Tray : public Program {
protected:
    void SetUp() override
    {
        // A bus that nobody answers on.
        m_surroundings.set("DBUS_SESSION_BUS_ADDRESS", QStringLiteral("unix:path=/nonexistent"));
        m_surroundings.writeData("settings.ini",
                                 "[application]\nshow_system_tray_icon=true\n"
                                 "stay_running_with_no_windows=true\n"
                                 "[notifications]\nuse_system_tray_messages=true\n");
        m_host.setProcessEnvironment(m_surroundings.environment);
    }
    void TearDown() override
    {
        m_host.kill();
        m_host.waitForFinished();
    }

    bool startHost()
    {
        m_host.start(QStringLiteral(NAKWIRE_TRAY_HOST), QStringList());
        return hostSays("ready\n");
    }
    bool hostSays(QByteArray const& text) { return says(m_host, m_hostSaid, text); }

    // Takes what it said up to the text.
    static bool says(QProcess& process, QByteArray& said, QByteArray const& text)
    {
        bool const found = waitUntil([&] {
            process.waitForReadyRead(1);
            said += process.readAllStandardOutput();
            return said.contains(text);
        });
        if (found)
            said.remove(0, said.indexOf(text) + text.size());
        return found;
    }
    QString dockedIcon()
    {
        if (!hostSays("docked "))
            return QString();
        waitUntil([this] {
            m_host.waitForReadyRead(1);
            return (m_hostSaid += m_host.readAllStandardOutput()).contains('\n');
        });
        return QString::fromLatin1(m_hostSaid.left(m_hostSaid.indexOf('\n')));
    }
    // Its one window that is none of these.
    static QString waitForOtherWindow(QProcess const& process, QStringList const& known)
    {
        QString other;
        waitUntil([&] {
            for (QString const& window : Windows::of(process.processId()))
                other = known.contains(window) ? other : window;
            return !other.isEmpty();
        });
        return other;
    }

    QProcess m_host;
    QByteArray m_hostSaid;
};

TEST_F(Tray, KeepsTheProgramWithoutWindowsAndEndsIt)
{
    ASSERT_TRUE(startHost());
    auto program = start();
    QString const icon = dockedIcon();
    QString window = waitForOtherWindow(*program, { icon });
    for (int button : { 1, 3 }) {
        ASSERT_FALSE(window.isEmpty());
        Windows::pressKeys(window, QStringLiteral("ctrl+shift+w"));
        EXPECT_TRUE(
            waitUntil([&] { return Windows::of(program->processId()) == QStringList(icon); }));
        Windows::click(icon, inside, button);
        window = waitForOtherWindow(*program, { icon });
    }
    Windows::pressKeys(window, QStringLiteral("Up")); // a menu, whose last entry quits
    Windows::pressKeys(window, QStringLiteral("Return"));
    expectOrderlyEnd(*program);
    EXPECT_TRUE(hostSays("gone " + icon.toLatin1()));
}

TEST_F(Tray, ShowsMessagesWhileNoChatWindowIsLookedAt)
{
    auto program = start("tray");
    QByteArray said;
    EXPECT_TRUE(says(*program, said, "messages: no\n")); // there is no tray
    ASSERT_TRUE(startHost()); // a tray that comes late is taken
    QString const icon = dockedIcon();
    EXPECT_TRUE(says(*program, said, "messages: yes\n"));
    QString const window = waitForOtherWindow(*program, { icon });
    Windows::pressKeys(window, QStringLiteral("Home")); // gives it the focus
    EXPECT_TRUE(says(*program, said, "messages: no\n"));
    program->write("i");
    EXPECT_TRUE(says(*program, said, "messages: yes\n"));

    struct {
        char const* commands;
        char const* clickSays;
    } const cases[] = {
        { "m", "message clicked\n" },
        { "mw", "messages: no\n" }, // withdrawn: a chat window comes to the front
    };
    for (auto const& c : cases) {
        program->write(c.commands);
        program->waitForBytesWritten();
        QString const message = waitForOtherWindow(*program, { icon, window });
        Windows::click(message, inside);
        EXPECT_TRUE(says(*program, said, c.clickSays)) << c.commands;
        EXPECT_TRUE(
            waitUntil([&] { return !Windows::of(program->processId()).contains(message); }));
    }
    program->write("q");
    EXPECT_EQ(waitForEnd(*program).status, 0);
}

} // namespace
