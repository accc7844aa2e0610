// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage.h"
#include "stage_deploy.h"
#include "stage_life.h"
#include "stage_payloads.h"
#include "wire_client.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSettings>
#include <QTemporaryDir>

#include <set>

namespace {

std::string readyText(stage::World const& world)
{
    auto const term =
        stage::decodeTerm(stage::encodeTerm(stage::readyTerm(world, QByteArrayLiteral("s"), {})));
    return QJsonDocument(stage::toJson(*term).toObject()).toJson().toStdString();
}

std::string messageText(stage::World const& world, stage::Message const& message)
{
    return QJsonDocument(stage::toJson(stage::messageTerm(world, message)).toObject())
        .toJson()
        .toStdString();
}

TEST(StageWorld, SameSeedSameWorld)
{
    stage::World const a = stage::makeWorld({}, 7);
    stage::World const b = stage::makeWorld({}, 7);
    stage::World const c = stage::makeWorld({}, 8);
    EXPECT_EQ(readyText(a), readyText(b));
    EXPECT_NE(readyText(a), readyText(c));
    stage::Channel const& busy = *stage::findChannel(a, stage::busyChannel(a));
    stage::Channel const& same = *stage::findChannel(b, stage::busyChannel(b));
    for (int index : { 0, 15, 16, 99999 })
        EXPECT_EQ(messageText(a, stage::historyMessage(a, busy, index)),
                  messageText(b, stage::historyMessage(b, same, index)));
}

TEST(StageWorld, HistorySortsAndIsFoundAgain)
{
    for (int count : { 1, 15, 16, 17, 5000 }) {
        stage::WorldSize size;
        size.messagesInBusyChannel = count;
        stage::World const world = stage::makeWorld(size, 3);
        stage::Channel const& channel = *stage::findChannel(world, stage::busyChannel(world));
        quint64 last = channel.id;
        std::set<quint32> authors;
        for (int index = 0; index < count; ++index) {
            stage::Message const message = stage::historyMessage(world, channel, index);
            ASSERT_GT(message.id, last) << index << " of " << count;
            ASSERT_LT(stage::idTimeMs(message.id), size.endMs);
            ASSERT_FALSE(message.content.trimmed().isEmpty());
            ASSERT_LE(message.content.count(QLatin1Char('\n')), 8);
            if (index % 97 == 0) {
                ASSERT_TRUE(stage::findMessage(world, channel, message.id));
            }
            last = message.id;
            authors.insert(message.author);
        }
        EXPECT_EQ(stage::lastMessageId(world, channel), last);
        EXPECT_EQ(authors.count(0), 0u);
        EXPECT_FALSE(stage::findMessage(world, channel, last + 1));
        if (count == 5000) {
            EXPECT_GT(authors.size(), 20u);
        }
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

TEST(StageWorld, OwnUserIsEverywhereAndEveryoneRoleIsTheGuild)
{
    stage::World const world = stage::makeWorld({}, 1);
    for (stage::Guild const& guild : world.guilds) {
        EXPECT_TRUE(stage::findMember(guild, 0));
        EXPECT_EQ(guild.roles[0].id, guild.id);
        std::set<quint32> users;
        for (stage::Member const& member : guild.members)
            users.insert(member.user);
        EXPECT_EQ(users.size(), guild.members.size());
    }
}

// The script of a life, as the names of what reached a client.
QString script(quint64 seed, QString* texts)
{
    stage::StageOptions options;
    stage::Stage stage(options);
    stage::LifeOptions lifeOptions;
    lifeOptions.seed = seed;
    lifeOptions.messagesPerSecond = 4;
    stage::Life life(stage, lifeOptions);
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.identify();
    client.waitFor(0, "READY");
    client.frames.clear();
    for (int n = 0; n < 600; ++n)
        life.advance(100);
    stage.sendDispatch(QStringLiteral("END"), {});
    client.waitFor(0, "END");
    EXPECT_GT(life.said(), 200u);
    EXPECT_LE(life.said(), 240u);
    QString names;
    for (QJsonObject const& frame : client.frames) {
        names += frame.value(QStringLiteral("t")).toString() + QLatin1Char(' ');
        *texts +=
            frame.value(QStringLiteral("d")).toObject().value(QStringLiteral("content")).toString();
    }
    return names;
}

TEST(StageLife, FollowsItsSeed)
{
    QString texts[3];
    QString const first = script(5, &texts[0]);
    QString const again = script(5, &texts[1]);
    QString const other = script(6, &texts[2]);
    EXPECT_EQ(first.toStdString(), again.toStdString());
    EXPECT_EQ(texts[0].toStdString(), texts[1].toStdString());
    EXPECT_NE(first.toStdString(), other.toStdString());
    for (char const* name : { "TYPING_START", "MESSAGE_CREATE", "MESSAGE_REACTION_ADD",
                              "MESSAGE_UPDATE", "PRESENCE_UPDATE" })
        EXPECT_TRUE(first.contains(QLatin1String(name))) << name;
}

TEST(StageLife, TypingComesFirst)
{
    stage::Stage stage;
    stage::LifeOptions options;
    options.messagesPerSecond = 1;
    stage::Life life(stage, options);
    // One begins to type after a second, and needs 0.8 to 3.2 seconds more.
    life.advance(1000);
    life.advance(799);
    EXPECT_EQ(life.said(), 0u);
    for (int n = 0; n < 3; ++n)
        life.advance(1000);
    EXPECT_GE(life.said(), 1u);
    // A minute without time for the script is not caught up with.
    quint64 const before = life.said();
    life.advance(60000);
    EXPECT_LE(life.said(), before + 4);
}

TEST(StageDeploy, WritesWhatTheClientReads)
{
    QTemporaryDir directory;
    QString const home = directory.path() + QStringLiteral("/Nakwire");
    ASSERT_TRUE(stage::writeDataHome(directory.path(), QStringLiteral("tok"), 4711));
    EXPECT_FALSE(stage::writeDataHome(directory.path(), QStringLiteral("other"), 1));
    QFile file(home + QStringLiteral("/nakwire_accounts.bin"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    // Written out by hand: format, count, then the map's entries from the last to the first.
    QByteArray const expected =
        QByteArray::fromHex("00000001"
                            "00000001"
                            "00000008"
                            "00"
                            "00000003"
                            "00000018"
                            "006100750074006f005f0063006f006e006e006500630074"
                            "00000001"
                            "00"
                            "01"
                            "00000020"
                            "0061007500740068005f0074006f006b0065006e005f00730074006100740065"
                            "00000002"
                            "00"
                            "00000001"
                            "00000014"
                            "0061007500740068005f0074006f006b0065006e"
                            "0000000a"
                            "00"
                            "00000006"
                            "0074006f006b");
    QByteArray const bytes = file.readAll();
    EXPECT_EQ(bytes.toHex().toStdString(), expected.toHex().toStdString());
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_5_9);
    qint32 format = 0;
    qint32 count = 0;
    QVariant account;
    stream >> format >> count >> account;
    EXPECT_EQ(format, 1);
    EXPECT_EQ(count, 1);
    EXPECT_TRUE(stream.atEnd());
    EXPECT_EQ(account.toMap().value(QStringLiteral("auth_token")).toString(),
              QStringLiteral("tok"));
    auto const rights = [](QString const& path) {
        return int(QFileInfo(path).permissions()) & 0xfff;
    };
    EXPECT_EQ(rights(file.fileName()) & 0x077, 0);
    EXPECT_EQ(rights(home) & 0x077, 0);
    QSettings const settings(home + QStringLiteral("/settings.ini"), QSettings::IniFormat);
    EXPECT_EQ(settings.value(QStringLiteral("layout/tabs")).toString().toStdString(),
              "{\"foreground_index\":0,\"tabs\":[{\"data\":{\"channel_id\":\"4711\",\"type\":"
              "\"channel\"},\"type\":\"discord\"}],\"version\":2}");
    stage::Stage stage;
    QString const path = directory.path() + QStringLiteral("/deployment.ini");
    ASSERT_TRUE(stage::writeDeployment(path, stage));
    QSettings const deployment(path, QSettings::IniFormat);
    EXPECT_EQ(deployment.value(QStringLiteral("discord/api_url")).toString(), stage.apiUrl());
    EXPECT_EQ(deployment.allKeys().size(), 13);
}

} // namespace
