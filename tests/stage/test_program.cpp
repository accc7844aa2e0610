// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "wire_client.h"

#include <QDataStream>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QVariantMap>

namespace {

struct Program {
    QProcess process;
    QRegularExpressionMatch ready;

    explicit Program(QStringList const& arguments)
    {
        process.setProgram(QStringLiteral(STAGE_PROGRAM));
        process.setArguments(arguments);
        process.start();
        static QRegularExpression const line(
            QStringLiteral("^ready api=(\\S+) gateway=(\\S+) channel=(\\d+)\n$"));
        QByteArray out;
        waitUntil([&] {
            out += process.readAllStandardOutput();
            return out.contains('\n') || process.state() == QProcess::NotRunning;
        });
        ready = line.match(QString::fromUtf8(out));
    }
    ~Program()
    {
        process.kill();
        process.waitForFinished(kWaitMs);
    }

    bool ended() const { return process.state() == QProcess::NotRunning; }
};

TEST(StageProgram, TalksToItsOwnAccountUntilItIsTold)
{
    QTemporaryDir home;
    Program program({ QStringLiteral("--rate"), QStringLiteral("200"),
                      QStringLiteral("--busy-channel"), QStringLiteral("--data-home"), home.path(),
                      QStringLiteral("--write-deployment"),
                      home.filePath(QStringLiteral("deployment.ini")) });
    ASSERT_TRUE(program.ready.hasMatch());
    QFile file(home.filePath(QStringLiteral("Nakwire/nakwire_accounts.bin")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_5_9);
    qint32 format = 0;
    qint32 count = 0;
    QVariant account;
    stream >> format >> count >> account;
    QByteArray const token = account.toMap().value(QStringLiteral("auth_token")).toByteArray();
    ASSERT_GE(token.size(), 16);
    WireClient client;
    EXPECT_FALSE(client.enter(program.ready.captured(2), token.constData()).isEmpty());
    QJsonObject const said =
        client.waitFor(0, "MESSAGE_CREATE").value(QStringLiteral("d")).toObject();
    EXPECT_EQ(said.value(QStringLiteral("channel_id")).toString(), program.ready.captured(3));
    program.process.terminate();
    ASSERT_TRUE(waitUntil([&] { return program.ended(); }));
    EXPECT_EQ(program.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.process.exitCode(), 0);
    EXPECT_FALSE(program.ready.captured().toUtf8().contains(token));
    EXPECT_FALSE(program.process.readAllStandardError().contains(token));
}

TEST(StageProgram, EndsByItselfAndWithItsParent)
{
    Program timed({ QStringLiteral("--seconds"), QStringLiteral("1") });
    EXPECT_TRUE(waitUntil([&] { return timed.ended(); }));
    EXPECT_EQ(timed.process.exitCode(), 0);
    QProcess parent;
    parent.start(QStringLiteral("sleep"), { QStringLiteral("60") });
    ASSERT_TRUE(parent.waitForStarted(kWaitMs));
    Program child({ QStringLiteral("--parent-pid"), QString::number(parent.processId()) });
    EXPECT_TRUE(child.ready.hasMatch());
    EXPECT_FALSE(child.ended());
    parent.kill();
    parent.waitForFinished(kWaitMs);
    EXPECT_TRUE(waitUntil([&] { return child.ended(); }));
    EXPECT_EQ(child.process.exitCode(), 0);
}

TEST(StageProgram, BadOptionsAreRefused)
{
    for (QStringList const& arguments :
         { QStringList{ QStringLiteral("--rate"), QStringLiteral("-1") },
           QStringList{ QStringLiteral("--guilds"), QStringLiteral("many") },
           QStringList{ QStringLiteral("--faults"), QStringLiteral("drop,flood") },
           QStringList{ QStringLiteral("--nonsense") } }) {
        Program program(arguments);
        EXPECT_TRUE(waitUntil([&] { return program.ended(); }));
        EXPECT_NE(program.process.exitCode(), 0);
        EXPECT_FALSE(program.ready.hasMatch());
    }
}

} // namespace
