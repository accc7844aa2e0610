// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The Discord store when something is wrong with its file: what can be thrown away is, in silence;
// what cannot is said in a box before the program ends; and nothing that is the user's is touched.

#include "client.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QMap>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>

#include <csignal>

namespace {

QString const token = QStringLiteral("token");

stage::StageOptions smallStage()
{
    stage::StageOptions options;
    options.token = token;
    options.world.messagesInBusyChannel = 100;
    return options;
}

class BrokenStore : public testing::Test {
protected:
    BrokenStore()
        : m_stage(smallStage())
        , m_client(m_stage, token)
    {
        signal(SIGXFSZ, SIG_IGN); // inherited; else a limit itself would end the program
    }

    QString dataPath(QString const& name) const
    {
        return m_client.folder() + QLatin1String("/Nakwire/") + name;
    }
    QString storePath() const { return dataPath(QStringLiteral("discord_client.nakdb")); }

    void writeFile(QString const& path, QByteArray const& content)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    // All that is kept for the user, by name.
    QMap<QString, QByteArray> userFiles() const
    {
        QMap<QString, QByteArray> files;
        QDir const folder(dataPath(QString()));
        for (QString const& name : folder.entryList(QDir::Files | QDir::Hidden)) {
            QFile file(folder.filePath(name));
            bool const isUsers = !name.startsWith(QLatin1String("discord_")) // caches
                && !name.endsWith(QLatin1String("lockfile"));
            if (isUsers && file.open(QIODevice::ReadOnly))
                files.insert(name, file.readAll());
        }
        return files;
    }

    // The box is there and says so; once it is answered the program is gone, and nothing else is.
    void expectLastWords(QString const& window, char const* words,
                         QMap<QString, QByteArray> const& files)
    {
        EXPECT_EQ(Windows::nameOf(window), QStringLiteral("Nakwire database error"));
        EXPECT_TRUE(m_client.output().contains(words)) << m_client.output().toStdString();
        Windows::pressKeys(window, QStringLiteral("Return"));
        EXPECT_TRUE(waitUntil([this] { return !m_client.isRunning(); }));
        EXPECT_TRUE(m_client.wasAborted());
        EXPECT_GE(files.size(), 2);
        auto const left = userFiles();
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            EXPECT_TRUE(left.value(it.key()) == it.value()) << it.key().toStdString();
    }

    // A message of the busy channel that the stage tells of now.
    void say(quint64 id)
    {
        m_stage.sendDispatch(
            QStringLiteral("MESSAGE_CREATE"),
            { { QStringLiteral("id"), QString::number(id) },
              { QStringLiteral("channel_id"), QString::number(m_stage.busyChannelId()) },
              { QStringLiteral("content"), QString(9000, QLatin1Char('x')) } });
    }
    bool isStored(quint64 id) const
    {
        sqlite3* db = nullptr;
        sqlite3_open(storePath().toUtf8().constData(), &db);
        QByteArray const sql = "select 1 from message where id = " + QByteArray::number(id);
        bool found = false;
        auto const onRow = [](void* out, int, char**, char**) {
            *static_cast<bool*>(out) = true;
            return 0;
        };
        sqlite3_exec(db, sql.constData(), onRow, &found, nullptr);
        sqlite3_close(db);
        return found;
    }

    // As another process would, until the test ends.
    void holdStore()
    {
        sqlite3_open(storePath().toUtf8().constData(), &m_holder);
        ASSERT_EQ(sqlite3_exec(m_holder, "begin immediate", nullptr, nullptr, nullptr), SQLITE_OK);
    }
    void TearDown() override { sqlite3_close(m_holder); }
    // It does so nowhere else.
    bool workerSleeps() const
    {
        QDir const threads(QStringLiteral("/proc/%1/task").arg(m_client.processId()));
        for (QString const& id : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile name(threads.filePath(id + QLatin1String("/comm")));
            QFile place(threads.filePath(id + QLatin1String("/wchan")));
            if (name.open(QIODevice::ReadOnly) && name.readAll().startsWith("DisSessionWorke")
                && place.open(QIODevice::ReadOnly) && place.readAll().contains("nanosleep"))
                return true;
        }
        return false;
    }

    stage::Stage m_stage;
    Client m_client;
    sqlite3* m_holder = nullptr;
};

// Bounds the size of every file that a process may write, 0 being this one with those that it
// starts.
void limitFileSize(qint64 process, rlim_t bytes)
{
    rlimit const limit{ bytes, RLIM_INFINITY };
    prlimit(static_cast<pid_t>(process), RLIMIT_FSIZE, &limit, nullptr);
}

constexpr quint64 firstId = 4'000'000'000'000'000'000; // newer than what the stage has

} // namespace

TEST_F(BrokenStore, AnOldFileThatIsNoneIsReplaced)
{
    for (auto const* suffix : { "", "-wal", "-shm" })
        writeFile(storePath() + QLatin1String(suffix), QByteArray(50'000, 'x'));
    ASSERT_TRUE(m_client.start());
    EXPECT_TRUE(m_client.showsConversation()) << m_client.output().toStdString();
}

TEST_F(BrokenStore, WhatCannotBeReplacedEndsTheStart)
{
    ASSERT_TRUE(m_client.start() && m_client.quit()); // so that all files of the user are there
    QFile::remove(storePath());
    ASSERT_TRUE(QDir().mkpath(storePath()));
    auto const files = userFiles();
    ASSERT_TRUE(m_client.start());
    expectLastWords(m_client.window(),
                    "Critical database error.\nCode: 14\nNakwire will terminate.", files);
}

TEST_F(BrokenStore, AFullDiskEndsTheStart)
{
    ASSERT_TRUE(m_client.start() && m_client.quit());
    auto const files = userFiles();
    limitFileSize(0, 40'000); // less than the empty tables
    bool const started = m_client.start();
    limitFileSize(0, RLIM_INFINITY);
    ASSERT_TRUE(started);
    expectLastWords(m_client.window(), "Database error code 10:\ndisk I/O error", files);
}

TEST_F(BrokenStore, ADiskThatFillsUpLosesMessagesAndIsGotOver)
{
    ASSERT_TRUE(m_client.start());
    ASSERT_TRUE(m_client.showsConversation());
    limitFileSize(m_client.processId(), 40'000);
    for (quint64 id = firstId; id < firstId + 20; ++id)
        say(id);
    limitFileSize(m_client.processId(), RLIM_INFINITY);
    EXPECT_TRUE(waitUntil([this] {
        static quint64 id = firstId + 100;
        say(++id);
        return isStored(id - 1);
    }));
    EXPECT_EQ(m_client.otherWindows(), QStringList());
    EXPECT_TRUE(m_client.isRunning());
}

// The wait for the lock is 15 seconds.
TEST_F(BrokenStore, AFileThatAnotherProcessHoldsEndsTheProgram)
{
    ASSERT_TRUE(m_client.start());
    ASSERT_TRUE(m_client.showsConversation());
    auto const files = userFiles();
    holdStore();
    say(firstId);
    EXPECT_TRUE(waitUntil([this] { return !m_client.otherWindows().isEmpty(); }, 40'000));
    expectLastWords(m_client.otherWindows().value(0), "Database error code 5:\ndatabase is locked",
                    files);
}

// The service hangs, and nobody is there any more to answer a box.
TEST_F(BrokenStore, AFileThatAnotherProcessHoldsDoesNotKeepTheUser)
{
    ASSERT_TRUE(m_client.start());
    ASSERT_TRUE(m_client.showsConversation());
    auto const files = userFiles();
    holdStore();
    say(firstId);
    ASSERT_TRUE(waitUntil([this] { return workerSleeps(); }));
    m_client.quit();
    EXPECT_FALSE(m_client.isRunning());
    EXPECT_EQ(m_client.exitCode(), 1);
    EXPECT_EQ(userFiles().keys(), files.keys());
}
