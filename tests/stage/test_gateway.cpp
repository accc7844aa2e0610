// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage.h"
#include "wire_client.h"

#include <QJsonArray>
#include <QSignalSpy>

namespace {

QString key(char const* name)
{
    return QString::fromLatin1(name);
}

stage::StageOptions options()
{
    stage::StageOptions out;
    out.token = QStringLiteral("secret");
    out.helloIntervalMs = 1234;
    out.world.messagesInBusyChannel = 500;
    return out;
}

QJsonObject payload(QJsonObject const& frame)
{
    return frame.value(key("d")).toObject();
}

// "seq:name" of every dispatch that the client saw.
QString dispatches(WireClient const& client)
{
    QStringList out;
    for (QJsonObject const& frame : client.frames) {
        if (frame.value(key("op")).toInt() == 0)
            out << QStringLiteral("%1:%2")
                       .arg(frame.value(key("s")).toInt())
                       .arg(frame.value(key("t")).toString());
    }
    return out.join(QLatin1Char(' '));
}

TEST(StageGateway, HelloIdentifyReadyAndHeartbeat)
{
    stage::Stage stage(options());
    ASSERT_TRUE(stage.isListening());
    WireClient client;
    client.open(stage.gatewayUrl());
    EXPECT_EQ(payload(client.waitFor(10)).value(key("heartbeat_interval")).toInt(), 1234);
    EXPECT_EQ(stage.connectionCount(), 1);
    client.identify();
    QJsonObject const ready = payload(client.waitFor(0, "READY"));
    EXPECT_EQ(ready.value(key("user")).toObject().value(key("id")).toString(),
              QString::number(stage.ownUserId()));
    QJsonArray const guilds = ready.value(key("guilds")).toArray();
    ASSERT_EQ(guilds.size(), 3);
    QJsonObject const guild = guilds[0].toObject();
    EXPECT_EQ(guild.value(key("members")).toArray().size(), 40);
    EXPECT_EQ(guild.value(key("channels")).toArray().size(), 12 + 2 + 2);
    EXPECT_EQ(guild.value(key("roles")).toArray()[0].toObject().value(key("id")),
              guild.value(key("id")));
    EXPECT_EQ(ready.value(key("private_channels")).toArray().size(), 6);
    client.send({ { key("op"), 1 }, { key("d"), -1 } });
    EXPECT_FALSE(client.waitFor(11).isEmpty());
    QJsonObject heartbeat;
    EXPECT_TRUE(stage.expectFrame(1, &heartbeat));
    EXPECT_EQ(heartbeat.value(key("d")).toInt(), -1);
    EXPECT_EQ(client.broken, 0);
}

TEST(StageGateway, RefusalsCloseWithTheServicesCodes)
{
    struct Case {
        char const* what;
        char const* query;
        QJsonObject frame;
        int code;
        char const* reason;
    };
    QJsonObject const wrongToken{ { key("op"), 2 },
                                  { key("d"), QJsonObject{ { key("token"), key("guess") } } } };
    char const* const good = "/?encoding=etf&v=6&compress=zlib-stream";
    Case const cases[] = {
        { "wrong token", good, wrongToken, 4004, "Authentication failed." },
        { "no token", good, { { key("op"), 2 } }, 4004, "Authentication failed." },
        { "too early",
          good,
          { { key("op"), 12 }, { key("d"), QJsonArray() } },
          4003,
          "Not authenticated." },
        { "unknown opcode", good, { { key("op"), 77 } }, 4001, "Unknown opcode." },
        { "no opcode", good, { { key("d"), 1 } }, 4002, "Error while decoding payload." },
        { "version", "/?encoding=etf&v=5", {}, 4012, "Invalid API version." },
        { "encoding", "/?encoding=json&v=6", {}, 4002, "Invalid encoding." },
    };
    stage::Stage stage(options());
    for (Case const& c : cases) {
        WireClient client;
        QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
        QObject::connect(&client.socket, &QWebSocket::connected, &client.socket, [&] {
            if (!c.frame.isEmpty())
                client.send(c.frame);
        });
        client.open(stage.gatewayUrl(), c.query);
        ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; })) << c.what;
        EXPECT_EQ(int(client.socket.closeCode()), c.code) << c.what;
        EXPECT_EQ(client.socket.closeReason().toStdString(), c.reason) << c.what;
    }
    EXPECT_TRUE(waitUntil([&] { return stage.connectionCount() == 0; }));
}

TEST(StageGateway, ResumeReplaysWhatWasMissed)
{
    stage::Stage stage(options());
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.identify();
    QString const session = payload(client.waitFor(0, "READY")).value(key("session_id")).toString();
    stage.sendDispatch(key("A"), { { key("n"), 2 } });
    stage.sendDispatch(key("B"), { { key("n"), 3 } });
    client.waitFor(0, "B");
    QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
    stage.dropConnection();
    ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; }));
    stage.sendDispatch(key("C"), { { key("n"), 4 } });
    stage.sendDispatch(key("D"), { { key("n"), 5 } });
    client.frames.clear();
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.resume(session, 2); // as if B had been lost with the connection
    ASSERT_FALSE(client.waitFor(0, "RESUMED").isEmpty());
    EXPECT_EQ(dispatches(client).toStdString(), "3:B 4:C 5:D 6:RESUMED");
    stage.sendDispatch(key("E"), {});
    client.waitFor(0, "E");
    EXPECT_EQ(dispatches(client).toStdString(), "3:B 4:C 5:D 6:RESUMED 7:E");
}

TEST(StageGateway, WhatCannotBeResumedIsInvalid)
{
    stage::Stage stage(options());
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.resume(key("nobody"), 5);
    EXPECT_FALSE(client.waitFor(9).isEmpty());
    client.identify();
    QString const session = payload(client.waitFor(0, "READY")).value(key("session_id")).toString();
    client.frames.clear();
    stage.invalidateSession();
    EXPECT_FALSE(client.waitFor(9).isEmpty());
    client.frames.clear();
    client.resume(session, 1);
    EXPECT_FALSE(client.waitFor(9).isEmpty());
    client.identify();
    EXPECT_NE(payload(client.waitFor(0, "READY")).value(key("session_id")).toString(), session);
}

TEST(StageGateway, OneSignInPerConnection)
{
    stage::Stage stage(options());
    for (bool const again : { true, false }) {
        WireClient client;
        QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
        client.open(stage.gatewayUrl());
        client.waitFor(10);
        client.identify();
        QString const session =
            payload(client.waitFor(0, "READY")).value(key("session_id")).toString();
        if (again)
            client.identify();
        else
            client.resume(session, 1);
        ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; }));
        EXPECT_EQ(int(client.socket.closeCode()), 4005);
    }
    // More sessions than are kept: the newest are served, the oldest cannot be resumed.
    QStringList sessions;
    for (int n = 0; n < 97; ++n) {
        WireClient client;
        client.open(stage.gatewayUrl());
        client.waitFor(10);
        client.identify();
        sessions << payload(client.waitFor(0, "READY")).value(key("session_id")).toString();
    }
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.resume(sessions.first(), 1);
    EXPECT_FALSE(client.waitFor(9).isEmpty());
    client.resume(sessions.last(), 1);
    EXPECT_FALSE(client.waitFor(0, "RESUMED").isEmpty());
}

TEST(StageGateway, FaultsReachTheClient)
{
    stage::Stage stage(options());
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.identify();
    client.waitFor(0, "READY");
    stage.sendGarbage();
    stage.sendFrame({ { key("op"), 99 } });
    EXPECT_FALSE(client.waitFor(99).isEmpty());
    EXPECT_EQ(client.broken, 1);
    stage.requestReconnect();
    EXPECT_FALSE(client.waitFor(7).isEmpty());
    QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
    stage.closeWith(4000, key("Unknown error."));
    ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; }));
    EXPECT_EQ(int(client.socket.closeCode()), 4000);
    stage.refuseConnections(true);
    QSignalSpy failed(&client.socket,
                      QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error));
    client.open(stage.gatewayUrl());
    ASSERT_TRUE(waitUntil([&] { return failed.count() == 1; }));
    stage.refuseConnections(false);
    client.frames.clear();
    client.open(stage.gatewayUrl());
    EXPECT_FALSE(client.waitFor(10).isEmpty());
}

TEST(StageGateway, AResumeBeyondTheLogIsInvalid)
{
    stage::Stage stage(options());
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.identify();
    QString const session = payload(client.waitFor(0, "READY")).value(key("session_id")).toString();
    QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
    stage.dropConnection();
    ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; }));
    // READY was 1, these are 2 to 8194; the log holds the last 8192 of them, from 3 on.
    for (int n = 0; n < 8193; ++n)
        stage.sendDispatch(key("X"), {});
    client.frames.clear();
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.resume(session, 1);
    EXPECT_FALSE(client.waitFor(9).isEmpty());
    client.frames.clear();
    client.resume(session, 2);
    EXPECT_EQ(client.waitFor(0, "RESUMED").value(key("s")).toInt(), 8195);
    EXPECT_EQ(client.frames.size(), 8193);
    EXPECT_EQ(client.frames.first().value(key("s")).toInt(), 3);
}

// Whatever arrives, the stage goes on serving the next client.
TEST(StageGateway, DamagedFramesEndTheirConnectionAtMost)
{
    stage::Stage stage(options());
    QJsonObject const identify{ { key("op"), 2 },
                                { key("d"), QJsonObject{ { key("token"), key("secret") } } } };
    QByteArray const good = stage::encodeTerm(stage::fromJson(identify));
    QVector<QByteArray> bad{ QByteArray(), QByteArray(1000, '\xff'), QByteArray("\x83t\0\0", 4) };
    for (int at = 0; at < good.size(); ++at) {
        bad << good.left(at);
        QByteArray damaged = good;
        damaged[at] = char(damaged[at] ^ 0x55);
        bad << damaged;
    }
    for (QByteArray const& bytes : bad) {
        WireClient client;
        QSignalSpy opened(&client.socket, &QWebSocket::connected);
        QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
        client.open(stage.gatewayUrl());
        ASSERT_TRUE(waitUntil([&] { return opened.count() == 1; }));
        client.socket.sendBinaryMessage(bytes);
        ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; })) << bytes.toHex().toStdString();
    }
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.identify();
    EXPECT_FALSE(client.waitFor(0, "READY").isEmpty());
}

// Rows of a list, one letter each: "g" for headings, "m" for members.
QString rows(QJsonArray const& items)
{
    QString out;
    for (QJsonValue const& item : items)
        out += item.toObject().contains(key("group")) ? QLatin1Char('g') : QLatin1Char('m');
    return out;
}

TEST(StageGateway, MemberListsAndGuildSync)
{
    stage::StageOptions big = options();
    big.world.guilds = 1;
    big.world.membersPerGuild = 250;
    stage::Stage stage(big);
    WireClient client;
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    client.identify();
    QString const guild = payload(client.waitFor(0, "READY"))
                              .value(key("guilds"))
                              .toArray()[0]
                              .toObject()
                              .value(key("id"))
                              .toString();
    client.send({ { key("op"), 12 }, { key("d"), QJsonArray{ guild } } });
    EXPECT_EQ(payload(client.waitFor(0, "GUILD_SYNC")).value(key("members")).toArray().size(), 250);
    QJsonArray const ranges{ QJsonArray{ 0, 99 }, QJsonArray{ 200, 299 } };
    client.send({ { key("op"), 14 },
                  { key("d"),
                    QJsonObject{ { key("guild_id"), guild },
                                 { key("channels"),
                                   QJsonObject{ { QString::number(stage.busyChannelId()),
                                                  ranges } } } } } });
    QJsonObject const update = payload(client.waitFor(0, "GUILD_MEMBER_LIST_UPDATE"));
    EXPECT_EQ(update.value(key("id")).toString(), key("everyone"));
    int listed = 0;
    for (QJsonValue const& group : update.value(key("groups")).toArray())
        listed += group.toObject().value(key("count")).toInt();
    EXPECT_EQ(listed, 250);
    QJsonArray const ops = update.value(key("ops")).toArray();
    ASSERT_EQ(ops.size(), 2);
    QString const first = rows(ops[0].toObject().value(key("items")).toArray());
    QString const last = rows(ops[1].toObject().value(key("items")).toArray());
    EXPECT_EQ(first.size(), 100);
    EXPECT_TRUE(first.startsWith(QLatin1Char('g')));
    int const groups = update.value(key("groups")).toArray().size();
    EXPECT_EQ(last.size(), 250 + groups - 200);
}

} // namespace
