// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <QCoreApplication>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

namespace {

struct Case {
    char const* role;
    bool aborts; // else it exits with status 1
    char const* output;
};

class Fatal : public testing::TestWithParam<Case> { };

} // namespace

TEST_P(Fatal, EndsTheProcess)
{
    Case const& wanted = GetParam();
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                { QStringLiteral("--child"), QString::fromLatin1(wanted.role) });
    ASSERT_TRUE(child.waitForFinished(30000));
    EXPECT_EQ(child.readAllStandardOutput().toStdString(), wanted.output);
    EXPECT_EQ(child.exitStatus(), wanted.aborts ? QProcess::CrashExit : QProcess::NormalExit);
    EXPECT_EQ(child.exitCode(), wanted.aborts ? SIGABRT : 1);
}

INSTANTIATE_TEST_SUITE_P(
    Roles, Fatal,
    testing::Values(
        Case{ "two-threads-fail", true,
              "box|Nakwire database error|Nakwire database error:\n\nfirst|||0\n"
              "second thread sleeps\n" },
        Case{ "violated-constraint", true,
              "box|Nakwire database error|Nakwire database error:\n\nDatabase error code 19:\n"
              "UNIQUE constraint failed: t.a|||0\n" },
        Case{ "crypto-failure", false,
              "box|Nakwire - Credentials Error|Encryption operation failed unexpectedly. It's not "
              "safe to continue.|||2\n" },
        Case{ "no-log-file", true,
              "box|Critical Error|Event log file could not be opened|Nakwire cannot operate "
              "without an event log file and will close.|Attempted to open event log file "
              "at:\n\n/nonexistent/log|1\n" },
        Case{ "log-is-full", true, "" }),
    [](testing::TestParamInfo<Case> const& test) {
        return QString::fromLatin1(test.param.role)
            .replace(QLatin1Char('-'), QLatin1Char('_'))
            .toStdString();
    });
