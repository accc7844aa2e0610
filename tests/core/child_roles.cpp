// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "child_roles.h"

#include "fatal_box.h"
#include "local_crypto.h"
#include "nak_event_log.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <map>
#include <thread>

namespace {

void printBox(NakFatalBox::Message const& message)
{
    QString const line =
        QStringLiteral("box|%1|%2|%3|%4|%5\n")
            .arg(message.title, message.text, message.informativeText, message.detailedText)
            .arg(static_cast<int>(message.button));
    std::fputs(line.toUtf8().constData(), stdout);
    std::fflush(stdout);
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
    std::fputs(isAsleep(s_secondThread) ? "second thread sleeps\n" : "second thread runs\n",
               stdout);
    QCoreApplication::processEvents();
    std::fflush(stdout);
}

int twoThreadsFail()
{
    NakFatalBox::setShow(printBoxWhileAnotherThreadFails);
    std::thread([] { NakSql::exitWithMessage(QStringLiteral("first")); }).detach();
    return QCoreApplication::exec();
}

int violatedConstraint()
{
    sqlite3* db = nullptr;
    NakSql::openDb(":memory:", &db);
    NakStmt(db, "create table t (a integer primary key)").step();
    NakStmt(db, "insert into t values (1)").step();
    NakStmt(db, "insert into t values (1)").step();
    return 0;
}

int cryptoFailure()
{
    NakLocalCrypto::exitWithCryptoFailure();
}

int noLogFile()
{
    QFile file(QStringLiteral("/nonexistent/log"));
    NakEvLogger const logger(&file, nullptr);
    return 0;
}

// The device takes no line: the logging thread ends the process.
int logIsFull()
{
    auto* file = new QFile(QStringLiteral("/dev/full"));
    NakEvLogger const logger(file, nullptr);
    return 0;
}

} // namespace

int runChildRole(QString const& role)
{
    static std::map<QString, std::function<int()>> const roles{
        { QStringLiteral("two-threads-fail"), twoThreadsFail },
        { QStringLiteral("violated-constraint"), violatedConstraint },
        { QStringLiteral("crypto-failure"), cryptoFailure },
        { QStringLiteral("no-log-file"), noLogFile },
        { QStringLiteral("log-is-full"), logIsFull },
    };
    NakFatalBox::setShow(printBox);
    auto const it = roles.find(role);
    return it == roles.end() ? 99 : it->second();
}
