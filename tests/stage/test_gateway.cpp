// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The gateway towards clients that do what ours never does.

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
    return out;
}

QJsonObject identifyFrame(char const* token)
{
    return { { key("op"), 2 }, { key("d"), QJsonObject{ { key("token"), key(token) } } } };
}

} // namespace

TEST(StageGateway, RefusalsCloseWithTheServicesCodes)
{
    struct Case {
        char const* what;
        char const* query;
        QVector<QJsonObject> frames;
        int code;
        char const* reason;
    };
    char const* const good = "/?encoding=etf&v=6&compress=zlib-stream";
    QJsonObject const tooEarly{ { key("op"), 12 }, { key("d"), QJsonArray() } };
    QJsonObject const identify = identifyFrame("secret");
    Case const cases[] = {
        { "wrong token", good, { identifyFrame("guess") }, 4004, "Authentication failed." },
        { "no token", good, { { { key("op"), 2 } } }, 4004, "Authentication failed." },
        { "too early", good, { tooEarly }, 4003, "Not authenticated." },
        { "twice", good, { identify, identify }, 4005, "Already authenticated." },
        { "unknown opcode", good, { { { key("op"), 77 } } }, 4001, "Unknown opcode." },
        { "no opcode", good, { { { key("d"), 1 } } }, 4002, "Error while decoding payload." },
        { "version", "/?encoding=etf&v=5", {}, 4012, "Invalid API version." },
        { "encoding", "/?encoding=json&v=6", {}, 4002, "Invalid encoding." },
    };
    stage::Stage stage(options());
    for (Case const& c : cases) {
        WireClient client;
        QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
        QObject::connect(&client.socket, &QWebSocket::connected, &client.socket, [&] {
            for (QJsonObject const& frame : c.frames)
                client.send(frame);
        });
        client.open(stage.gatewayUrl(), c.query);
        ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; })) << c.what;
        EXPECT_EQ(int(client.socket.closeCode()), c.code) << c.what;
        EXPECT_EQ(client.socket.closeReason().toStdString(), c.reason) << c.what;
    }
    EXPECT_TRUE(waitUntil([&] { return stage.connectionCount() == 0; }));
}

TEST(StageGateway, WhatCannotBeResumedIsInvalid)
{
    stage::Stage stage(options());
    WireClient client;
    QString const session = client.enter(stage.gatewayUrl()).value(key("session_id")).toString();
    QSignalSpy closed(&client.socket, &QWebSocket::disconnected);
    stage.dropConnection();
    ASSERT_TRUE(waitUntil([&] { return closed.count() == 1; }));
    // READY was 1, these are 2 to 8194; the log holds the last 8192 of them, from 3 on.
    for (int n = 0; n < 8193; ++n)
        stage.sendDispatch(key("X"), {});
    client.open(stage.gatewayUrl());
    client.waitFor(10);
    for (auto const& [name, seq] : { std::pair(key("nobody"), 5), std::pair(session, 1) }) {
        client.resume(name, seq);
        EXPECT_FALSE(client.waitFor(9).isEmpty());
        client.frames.clear();
    }
    client.resume(session, 2);
    EXPECT_EQ(client.waitFor(0, "RESUMED").value(key("s")).toInt(), 8195);
    EXPECT_EQ(client.frames.size(), 8193);
    EXPECT_EQ(client.frames.first().value(key("s")).toInt(), 3);
}

// Whatever arrives, the stage goes on serving the next client.
TEST(StageGateway, DamagedFramesEndTheirConnectionAtMost)
{
    stage::Stage stage(options());
    QByteArray const good = stage::encodeTerm(stage::fromJson(identifyFrame("secret")));
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
    EXPECT_FALSE(client.enter(stage.gatewayUrl()).isEmpty());
}
