// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Ends of the process, each in one of its own that begins anew.

#include "fatal_box.h"
#include "local_crypto.h"
#include "nak_event_log.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

namespace {

void printBox(NakFatalBox::Message const& message)
{
    QString const line =
        QStringLiteral("box/%1/%2/%3/%4/%5\n")
            .arg(message.title, message.text, message.informativeText, message.detailedText)
            .arg(static_cast<int>(message.button));
    std::fputs(line.toUtf8().constData(), stderr);
}

std::atomic<int> s_secondThread{ 0 };

bool isAsleep(int thread)
{
    QFile stat(QStringLiteral("/proc/self/task/%1/wchan").arg(thread));
    stat.open(QIODevice::ReadOnly);
    return stat.readAll().contains("nanosleep");
}

// While the first thread's box is up, a second thread fails, and its event, if it posted one, is
// delivered before the first thread's box is answered.
void printBoxWhileAnotherThreadFails(NakFatalBox::Message const& message)
{
    printBox(message);
    if (s_secondThread != 0)
        return;
    std::thread([] {
        s_secondThread = static_cast<int>(syscall(SYS_gettid));
        NakSql::exitWithMessage(QStringLiteral("second"));
    }).detach();
    QElapsedTimer bound;
    bound.start();
    while ((s_secondThread == 0 || !isAsleep(s_secondThread)) && bound.elapsed() < 20000)
        QThread::yieldCurrentThread();
    QCoreApplication::processEvents();
    std::fputs(isAsleep(s_secondThread) ? "second thread sleeps\n" : "second thread runs\n",
               stderr);
}

void violateConstraint()
{
    sqlite3* db = nullptr;
    NakSql::openDb(":memory:", &db);
    NakStmt(db, "create table t (a integer primary key)").step();
    NakStmt(db, "insert into t values (1)").step();
    NakStmt(db, "insert into t values (1)").step();
}

void logTo(char const* path)
{
    NakEvLogger const logger(new QFile(QString::fromLatin1(path)), nullptr);
}

class FatalDeathTest : public testing::Test {
protected:
    void SetUp() override
    {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        NakFatalBox::setShow(printBox);
    }
    testing::KilledBySignal const aborts{ SIGABRT };
};

} // namespace

TEST_F(FatalDeathTest, OfTwoThreadsThatFailOneShowsItsBox)
{
    auto const fail = [] {
        NakFatalBox::setShow(printBoxWhileAnotherThreadFails);
        std::thread([] { NakSql::exitWithMessage(QStringLiteral("first")); }).detach();
        QCoreApplication::exec();
    };
    EXPECT_EXIT(fail(), aborts,
                "box/Nakwire database error/Nakwire database error:\n\nfirst///0\nsecond\n"
                "second thread sleeps\n$");
}

TEST_F(FatalDeathTest, ViolatedConstraint)
{
    EXPECT_EXIT(violateConstraint(), aborts,
                "box/Nakwire database error/Nakwire database error:\n\nDatabase error code 19:\n"
                "UNIQUE constraint failed: t.a///0\n$");
}

TEST_F(FatalDeathTest, Encryption)
{
    EXPECT_EXIT(NakLocalCrypto::exitWithCryptoFailure(), testing::ExitedWithCode(1),
                "box/Nakwire - Credentials Error/Encryption operation failed unexpectedly. It's "
                "not safe to continue.///2\n$");
}

TEST_F(FatalDeathTest, NoLogFileOrAFullOne)
{
    EXPECT_EXIT(logTo("/nonexistent/log"), aborts,
                "box/Critical Error/Event log file could not be opened/Nakwire cannot operate "
                "without an event log file and will close./Attempted to open event log file "
                "at:\n\n/nonexistent/log/1\n$");
    // A temporary file has no name before it is there.
    EXPECT_EXIT((qputenv("TMPDIR", "/dev/null"), NakEvLog::init()), aborts,
                "at:\n\n/dev/null/.+/1\n$");
    // No box then: it is the logging thread that ends the process.
    NakFatalBox::setShow([](NakFatalBox::Message const&) { _exit(3); });
    EXPECT_EXIT(logTo("/dev/full"), aborts, "");
}
