// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage.h"
#include "stage_deploy.h"
#include "stage_history.h"
#include "stage_life.h"
#include "stage_payloads.h"
#include "wire_client.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryDir>

namespace {

std::string readyText(stage::World const& world)
{
    auto const term =
        stage::decodeTerm(stage::encodeTerm(stage::readyTerm(world, QByteArrayLiteral("s"), {})));
    return QJsonDocument(stage::toJson(*term).toObject()).toJson().toStdString();
}

TEST(StageWorld, SameSeedSameWorld)
{
    stage::World const a = stage::makeWorld({}, 7);
    stage::World const b = stage::makeWorld({}, 7);
    EXPECT_EQ(readyText(a), readyText(b));
    EXPECT_NE(readyText(a), readyText(stage::makeWorld({}, 8)));
    for (int index : { 0, 15, 16, 99999 }) {
        auto const message = [index](stage::World const& world) {
            return stage::historyMessage(
                world, *stage::findChannel(world, stage::busyChannel(world)), index);
        };
        EXPECT_EQ(message(a).id, message(b).id);
        EXPECT_EQ(message(a).content, message(b).content);
    }
}

TEST(StageWorld, HistorySortsAndIsFoundAgain)
{
    for (int count : { 1, 15, 16, 17, 5000 }) {
        stage::WorldSize size;
        size.messagesInBusyChannel = count;
        stage::World const world = stage::makeWorld(size, 3);
        stage::Channel const& channel = *stage::findChannel(world, stage::busyChannel(world));
        quint64 last = channel.id;
        for (int index = 0; index < count; ++index) {
            stage::Message const message = stage::historyMessage(world, channel, index);
            ASSERT_GT(message.id, last) << index << " of " << count;
            ASSERT_LT(stage::idTimeMs(message.id), size.endMs);
            ASSERT_FALSE(message.content.trimmed().isEmpty());
            ASSERT_TRUE(index % 97 != 0 || stage::findMessage(world, channel, message.id));
            last = message.id;
        }
        EXPECT_EQ(stage::lastMessageId(world, channel), last);
        EXPECT_FALSE(stage::findMessage(world, channel, last + 1));
    }
}

TEST(StageWorld, WhatHappensLiesOverTheHistory)
{
    stage::World world = stage::makeWorld({}, 1);
    stage::Channel& channel = *stage::findChannel(world, stage::busyChannel(world));
    auto const page = stage::messagesBefore(world, channel, 0, 3);
    ASSERT_EQ(page.size(), 3u);
    stage::Message edited = page[0];
    edited.content = QStringLiteral("edited");
    stage::replaceMessage(world, edited);
    stage::removeMessage(world, page[1].id);
    qint64 const nowMs = world.size.endMs + 1;
    auto const first = stage::appendMessage(world, channel, 0, QStringLiteral("one"), nowMs);
    auto const second = stage::appendMessage(world, channel, 0, QStringLiteral("two"), nowMs);
    EXPECT_GT(second.id, first.id);
    auto const now = stage::messagesBefore(world, channel, 0, 4);
    ASSERT_EQ(now.size(), 4u);
    EXPECT_EQ(now[0].content, QStringLiteral("two"));
    EXPECT_EQ(now[1].content, QStringLiteral("one"));
    EXPECT_EQ(now[2].content, QStringLiteral("edited"));
    EXPECT_EQ(now[3].id, page[2].id);
    EXPECT_EQ(stage::messagesBefore(world, channel, second.id, 1)[0].id, first.id);
    EXPECT_FALSE(stage::findMessage(world, channel, page[1].id));
}

// A minute of a life as the names and texts of what reached a client.
QString script(quint64 seed)
{
    stage::Stage stage;
    stage::LifeOptions lifeOptions;
    lifeOptions.seed = seed;
    lifeOptions.messagesPerSecond = 4;
    stage::Life life(stage, lifeOptions);
    WireClient client;
    client.enter(stage.gatewayUrl());
    for (int n = 0; n < 600; ++n)
        life.advance(100);
    stage.sendDispatch(QStringLiteral("END"), {});
    client.waitFor(0, "END");
    EXPECT_GT(life.said(), 200u);
    EXPECT_LE(life.said(), 240u);
    QString lines;
    for (QJsonObject const& frame : client.frames)
        lines += frame.value(QStringLiteral("t")).toString() + QLatin1Char(' ')
            + frame.value(QStringLiteral("d"))
                  .toObject()
                  .value(QStringLiteral("content"))
                  .toString()
            + QLatin1Char('\n');
    return lines;
}

TEST(StageLife, FollowsItsSeed)
{
    QString const first = script(5);
    EXPECT_EQ(first.toStdString(), script(5).toStdString());
    EXPECT_NE(first.toStdString(), script(6).toStdString());
    for (char const* name : { "TYPING_START", "MESSAGE_CREATE", "MESSAGE_REACTION_ADD",
                              "MESSAGE_UPDATE", "PRESENCE_UPDATE" })
        EXPECT_TRUE(first.contains(QLatin1String(name))) << name;
}

// What is in the files, the client shows by coming up with them.
TEST(StageDeploy, KeepsWhatIsThereAndToItself)
{
    QTemporaryDir directory;
    QString const home = directory.path() + QStringLiteral("/Nakwire");
    ASSERT_TRUE(stage::writeDataHome(directory.path(), QStringLiteral("tok"), 4711));
    EXPECT_FALSE(stage::writeDataHome(directory.path(), QStringLiteral("other"), 1));
    for (QString const& path : { home, home + QStringLiteral("/nakwire_accounts.bin") })
        EXPECT_EQ(int(QFileInfo(path).permissions()) & 0x077, 0) << path.toStdString();
}

} // namespace
