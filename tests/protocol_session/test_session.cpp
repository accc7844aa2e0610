// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The life of a connection, over real sockets.

#include "signed_in.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QTcpServer>

#include <limits>

namespace {

using Session = SignedInTest;

// A port on which nobody listens.
QString deadPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return QString::number(server.serverPort());
}

QStringList threadNames()
{
    QStringList names;
    QDir const tasks(QStringLiteral("/proc/self/task"));
    for (QString const& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks.filePath(task) + QLatin1String("/comm"));
        if (name.open(QIODevice::ReadOnly))
            names.append(QString::fromLatin1(name.readAll()).trimmed());
    }
    return names;
}

} // namespace

TEST(FirstSession, FromTokenToReadyAndThroughAReconnectRequest)
{
    stage::Stage service;
    TestClient test(service.apiUrl());
    LogLines log;
    ASSERT_NE(test.connectTo(QString()), nullptr);
    ASSERT_TRUE(waitUntil([&] { return test.userId.isValid(); })) << log.joined();
    EXPECT_EQ(test.userId.value(), service.ownUserId());
    EXPECT_EQ(test.gatewayUrls, QStringList(service.gatewayUrl()));
    QString const guilds = test.value("select count(*) from guild");
    EXPECT_NE(guilds.toInt(), 0);
    service.requestReconnect();
    QJsonObject frame;
    ASSERT_TRUE(service.expectFrame(6, &frame));
    ASSERT_TRUE(log.waitFor("Finished resuming with Discord gateway"));
    QJsonObject const d = frame[QLatin1String("d")].toObject();
    EXPECT_EQ(d[QLatin1String("token")].toString(), TestClient::defaultToken());
    EXPECT_EQ(d[QLatin1String("seq")].toInt(), 1);
    EXPECT_EQ(test.states.join(QLatin1Char(' ')).toStdString(),
              "Connecting Connected Reconnecting Connected");
    EXPECT_EQ(test.value("select count(*) from guild"), guilds) << "the store is kept";

    QString lines = QString::fromStdString(log.joined());
    // The worker enters it while the request is on its way.
    lines.remove(QStringLiteral("Entering state type Connecting for worker SESS\n"));
    lines.replace(service.gatewayUrl(), QLatin1String("URL"));
    lines.replace(service.apiUrl(), QLatin1String("API"));
    QString const id = d[QLatin1String("session_id")].toString();
    EXPECT_FALSE(lines.contains(id)) << "only six of its characters are shown";
    lines.replace(id.left(6), QLatin1String("ID"));
    EXPECT_EQ(lines.toStdString(),
              "GET to Discord API at API/gateway\n"
              "Received WebSocket gateway reply from Discord: URL\n"
              "Starting WebSocket connection for session SESS with gateway URL URL\n"
              "Opening WebSocket connection for session SESS\n"
              "WebSocket connected to gateway for session SESS\n"
              "Entering state type Connected for worker SESS\n"
              "Received Hello from Discord gateway\n"
              "Sending identify message to Discord gateway\n"
              "Acquired Discord session ID ID[...]\n"
              "Received Reconnect request from Discord gateway for session SESS. Reconnection will "
              "be attempted.\n"
              "Closing websocket after reconnect request for session SESS\n"
              "Stopping heartbeat timer for session SESS\n"
              "WebSocket disconnected from gateway for session SESS with reason  (code 1000)\n"
              "Entering state type Reconnecting for worker SESS\n"
              "Starting reconnect timer for session SESS\n"
              "Reconnecting WebSocket for session SESS with cached gateway URL URL\n"
              "Opening WebSocket connection for session SESS\n"
              "WebSocket connected to gateway for session SESS\n"
              "Entering state type Connected for worker SESS\n"
              "Received Hello from Discord gateway\n"
              "Sending resume message to Discord gateway\n"
              "Finished resuming with Discord gateway");
}

TEST_F(Session, OneTokenGivesOneWithoutAskingTheApi)
{
    EXPECT_TRUE(service.requests().isEmpty()) << "the gateway's address was known";
    EXPECT_TRUE(test.gatewayUrls.isEmpty());
    EXPECT_EQ(test.connectTo(service.gatewayUrl()), nullptr);
    EXPECT_EQ(client.addSessionWithAuthToken(QString(), service.gatewayUrl()), nullptr);
    EXPECT_EQ(client.sessions().size(), 1);
}

TEST(FirstSession, EndsWhereNoGatewayIs)
{
    char const* const emptyUrl =
        "Received empty WebSocket gateway URL in response from Discord gateway query";
    struct Case {
        char const* reply; // of the API; null: it cannot be reached
        QString url; // known from before; empty: the API is asked
        char const* logged;
    };
    Case const cases[] = {
        { nullptr, {}, "Failed to locate WebSocket gateway when querying Discord API: " },
        { "{}", {}, emptyUrl },
        { "[]", {}, emptyUrl },
        { R"({"url":7})", {}, emptyUrl },
        { "\xff\xfe", {}, emptyUrl },
        { R"({"url":""})", {}, emptyUrl },
        { nullptr, QStringLiteral("ws://127.0.0.1:%1").arg(deadPort()),
          "Aborting WebSocket for session SESS with error code 0\n"
          "WebSocket connected to Discord signaled an error: ConnectionRefusedError" },
        { nullptr, QStringLiteral("http://127.0.0.1"), "" },
        { nullptr, QStringLiteral("ws://"), "" },
        { nullptr, QStringLiteral("nonsense"), "" },
        { nullptr, QStringLiteral("ws://127.0.0.1:99999"), "" },
        { nullptr, QStringLiteral("ws://\r\nX: y"), "" },
        { nullptr, QStringLiteral("file:///etc/passwd"), "" },
    };
    for (Case const& one : cases) {
        stage::Stage service;
        service.answer("GET", QStringLiteral("/gateway"), 200, one.reply);
        TestClient test(one.reply ? service.apiUrl()
                                  : QStringLiteral("http://127.0.0.1:%1/api/v6").arg(deadPort()));
        LogLines log;
        test.connectTo(one.url);
        ASSERT_TRUE(test.waitForState("Disconnected")) << log.joined();
        EXPECT_TRUE(log.has(one.logged)) << log.joined();
        EXPECT_TRUE(test.client->sessions().isEmpty());
        EXPECT_EQ(service.connectionCount(), 0);
        if (*one.logged && !one.reply) {
            EXPECT_EQ(test.gatewayUrls, QStringList{ QString() }) << "forgotten";
        }
        EXPECT_TRUE(one.url.isEmpty()
                    || waitUntil([&] { return test.events.anyAccountConnectionProblem(); }));
    }
}

TEST(FirstSession, HelloIntervals)
{
    struct Case {
        QJsonValue interval;
        char const* log; // null: accepted
    };
    char const* const invalid =
        "Invalid Hello message from server: heartbeat interval not found or "
        "out of range";
    Case const cases[] = {
        { 4, "Strange heartbeat interval received: 4" },
        { 5, nullptr },
        { 100'000, nullptr },
        { 100'001, "Strange heartbeat interval received: 100001" },
        { QJsonValue::Null, invalid },
        { QStringLiteral("41250"), invalid },
        { QJsonArray(), invalid },
    };
    BareGateway gateway;
    for (Case const& one : cases) {
        TestClient test(QStringLiteral("http://127.0.0.1:1/api/v6"));
        LogLines log;
        test.connectTo(gateway.url());
        ASSERT_TRUE(gateway.waitForConnection());
        gateway.received.clear(); // of the connection before
        gateway.sendHello(one.interval);
        if (one.log) {
            EXPECT_TRUE(log.waitFor(one.log)) << one.log;
            EXPECT_FALSE(log.has("Sending identify"));
            EXPECT_TRUE(test.waitForState("Connected")) << "the connection stays up";
        } else {
            EXPECT_EQ(gateway.take()[QLatin1String("op")].toInt(), 2) << one.interval.toInt();
        }
    }
}

TEST_F(BareSession, HeartbeatsCarryTheLastSequenceNumber)
{
    greet(20);
    EXPECT_EQ(text(gateway.take()), R"({"d":-1,"op":1})");
    // An unknown event counts; one without data or name does not, nor does a number out of range.
    gateway.send(dispatch("UNHEARD_OF", {}, 77));
    gateway.send(object(R"({"op":0,"t":"UNHEARD_OF","s":78,"d":null})"));
    gateway.send(object(R"({"op":0,"s":79,"d":{}})"));
    gateway.send(object(R"({"op":0,"t":"UNHEARD_OF","s":"80","d":{}})"));
    gateway.received.clear();
    EXPECT_TRUE(waitUntil([&] {
        return !gateway.received.isEmpty() && text(gateway.received.last()) == R"({"d":77,"op":1})";
    }));
}

TEST_F(BareSession, OddFramesAreToldAndIgnored)
{
    for (char const* const frame : { R"({"op":"10"})", R"({"op":null})", "{}", R"({"op":3})" })
        gateway.send(object(frame));
    for (qint32 const code : { 15, -1, std::numeric_limits<qint32>::max() })
        gateway.send({ { QStringLiteral("op"), code } });
    for (char const* const frame : { R"({"op":0,"t":"READY"})", R"({"op":0,"t":5,"d":{}})",
                                     R"({"op":0,"t":"","d":{},"s":9})" })
        gateway.send(object(frame));
    // The empty list, nothing behind the version, no version, no such tag.
    for (char const* const bytes : { "\x83j", "\x83", "no term", "\x83\xfe" })
        gateway.sendBytes(gateway.deflater.message(bytes));
    gateway.sendBytes(QByteArray());
    greet();
    QStringList lines = log.all();
    lines = lines.mid(lines.indexOf(QLatin1String("Entering state type Connected for worker SESS"))
                      + 1);
    EXPECT_EQ(lines.join(QLatin1Char('\n')).toStdString(),
              "Received WebSocket message from Discord gateway without an opcode int\n"
              "Received WebSocket message from Discord gateway without an opcode int\n"
              "Received WebSocket message from Discord gateway without an opcode int\n"
              "Unexpected WebSocket message from Discord gateway. Opcode was: 3\n"
              "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: 15\n"
              "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: -1\n"
              "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: 2147483647\n"
              "Invalid dispatch event from server: 'd' is missing\n"
              "Invalid dispatch event from server: 't' is missing or not a string\n"
              "Invalid event name when handling dispatch from Discord gateway. Event name was: \n"
              "Root Dread value from websocket ETF message is not a map\n"
              "From ETF build error\n * Erf Error\n   Ended unexpectedly\n"
              "From ETF build error\n * Build Error\n   Init error\n"
              "From ETF build error\n * Erf Error\n   Unknown term type 254\n"
              "Zlib error: -5\n"
              "Received Hello from Discord gateway\n"
              "Sending identify message to Discord gateway");
}

TEST_F(Session, VanishedPeerAndGoingAwayResumeAndReplayWhatWasMissed)
{
    for (int round = 0; round < 3; ++round) {
        LogLines lines;
        if (round == 0)
            service.dropConnection();
        else
            service.closeWith(999 + round, QStringLiteral("bye"));
        // While nobody is connected.
        QString const name = QStringLiteral("renamed %1").arg(round);
        QString const guild = test.value("select cast(id as text) from guild");
        service.sendDispatch(QStringLiteral("GUILD_UPDATE"),
                             { { QStringLiteral("id"), guild }, { QStringLiteral("name"), name } });
        ASSERT_TRUE(service.expectFrame(6));
        ASSERT_TRUE(lines.waitFor("Finished resuming with Discord gateway")) << round;
        QString const query = QStringLiteral("select name from guild where id = %1").arg(guild);
        EXPECT_EQ(test.value(query.toLatin1().constData()), name);
    }
}

TEST_F(Session, InvalidSessionIdentifiesAnewAndEmptiesTheStore)
{
    char const* const content = "select content from message where id = 11";
    ASSERT_TRUE(service.expectFrame(2));
    ASSERT_TRUE(waitUntil([&] { return test.reloads == 1; }));
    service.sendDispatch(QStringLiteral("MESSAGE_CREATE"),
                         object(R"({"id":"11","channel_id":"12","content":"old",
                                    "author":{"id":"13","username":"u"}})"));
    ASSERT_TRUE(waitUntil([&] { return !test.value(content).isEmpty(); }));
    service.invalidateSession();
    ASSERT_TRUE(service.expectFrame(2));
    ASSERT_TRUE(waitUntil([&] { return test.reloads == 3; })) << "emptied, then filled by READY";
    EXPECT_EQ(test.value(content).toStdString(), "");
    EXPECT_NE(test.value("select count(*) from guild").toInt(), 0);
    EXPECT_TRUE(log.has("Discord gateway indicated session ID is invalid for session SESS. "
                        "Re-identification will be attempted.\n"
                        "Clearing fetched history markers and guild sync markers on client from "
                        "session SESS\n"
                        "Sending identify message to Discord gateway"));
    EXPECT_EQ(test.states.join(QLatin1Char(' ')).toStdString(), "Connecting Connected");
}

TEST_F(BareSession, InvalidSessionWithoutAHeldOneKeepsTheStore)
{
    greet();
    gateway.send(dispatch("GUILD_CREATE", object(R"({"id":"5","name":"kept","owner_id":"6"})"), 1));
    gateway.send(object(R"({"op":9,"d":false})"));
    EXPECT_EQ(gateway.take()[QLatin1String("op")].toInt(), 2);
    EXPECT_FALSE(log.has("Clearing fetched history markers"));
    EXPECT_EQ(test.value("select name from guild where id = 5").toStdString(), "kept");
    EXPECT_EQ(test.reloads, 0);
}

TEST(FirstSession, CloseCodesThatEndIt)
{
    struct Case {
        int code;
        char const* reason;
        bool rejected;
    };
    for (Case const& one :
         { Case{ 4004, "Authentication failed.", true }, Case{ 4004, "", false },
           Case{ 4009, "Session timed out.", false }, Case{ 1011, "oops", false } }) {
        SignedIn on;
        LogLines log;
        on.service.closeWith(one.code, QString::fromLatin1(one.reason));
        ASSERT_TRUE(on.test.waitForState("Disconnected"));
        EXPECT_EQ(on.test.rejectedTokens.size(), one.rejected ? 1 : 0) << one.code << one.reason;
        EXPECT_EQ(log.has("Authentication failed for session SESS\n"), one.rejected);
        EXPECT_TRUE(log.has("WebSocket disconnected from gateway for session SESS with reason "));
        EXPECT_FALSE(log.has("Starting reconnect timer"));
        EXPECT_TRUE(on.client.sessions().isEmpty());
        EXPECT_EQ(on.test.value("select count(*) from guild").toStdString(), "0")
            << "the store is a cache of the connection";
        EXPECT_FALSE(on.test.events.anyAccountConnectionProblem());
    }
}

TEST_F(Session, ClosedByTheUser)
{
    client.disconnectSession(session);
    ASSERT_TRUE(test.waitForState("Disconnected"));
    EXPECT_EQ(test.states.join(QLatin1Char(' ')).toStdString(),
              "Connecting Connected Disconnecting Disconnected");
    EXPECT_TRUE(waitUntil([&] { return service.connectionCount() == 0; }));
    // A later connection is a new session.
    test.userId = FlakeId();
    EXPECT_NE(test.connectUntilReady(service.gatewayUrl()), nullptr);
}

TEST(FirstSession, ClosedByTheUserWhileItWaitsToReconnect)
{
    DisSessionTimings timings = quickTimings();
    timings.reconnectFirst = 1'000'000;
    SignedIn on(timings);
    on.service.dropConnection();
    ASSERT_TRUE(on.test.waitForState("Reconnecting"));
    on.client.disconnectSession(on.session);
    EXPECT_TRUE(on.test.waitForState("Disconnected"));
}

TEST_F(BareSession, FrameThatNeedsThreeGrowthStepsArrivesWhole)
{
    gateway.sendHello();
    QString const content = QString(300'000, QLatin1Char('x')) + QLatin1String("end");
    gateway.send(dispatch("MESSAGE_CREATE",
                          { { QStringLiteral("id"), QStringLiteral("21") },
                            { QStringLiteral("channel_id"), QStringLiteral("22") },
                            { QStringLiteral("content"), content } },
                          1));
    EXPECT_TRUE(waitUntil(
        [&] { return test.value("select content from message where id = 21") == content; }));
}

TEST_F(Session, GarbageInTheStream)
{
    // Bytes that inflate, but are no term: the stream goes on.
    service.sendGarbage();
    service.sendFrame(object(R"({"op":8})"));
    ASSERT_TRUE(log.waitFor("From ETF build error\n * Build Error\n   Init error\n"
                            "Unexpected WebSocket message from Discord gateway. Opcode was: 8"));
    // Bytes that do not inflate: the stream is lost, the connection stays up.
    service.sendRawMessage(QByteArray(100, '\xff'));
    service.sendFrame(object(R"({"op":8})"));
    ASSERT_TRUE(log.waitFor("Zlib error: -3\nZlib error: -3"));
    EXPECT_EQ(service.connectionCount(), 1);
    EXPECT_EQ(test.states.last().toStdString(), "Connected");
    // The next connection has a new stream.
    service.dropConnection();
    ASSERT_TRUE(log.waitFor("Finished resuming with Discord gateway"));
}

TEST_F(BareSession, EndOfTheStreamIsTold)
{
    gateway.send(object(R"({"op":11})"), Z_FINISH);
    EXPECT_TRUE(log.waitFor("Unexpected zlib stream end"));
    EXPECT_TRUE(test.waitForState("Connected"));
}

TEST(FirstSession, BoundsOfFramesAndMessages)
{
    DisSessionTimings timings = quickTimings();
    timings.maxFrame = 1 << 20;
    timings.maxSocketMessage = 200'000;
    SignedIn on(timings);
    LogLines log;
    on.service.sendPayload(QByteArray(2 << 20, 'x'));
    ASSERT_TRUE(log.waitFor("Dropped a Discord gateway frame that inflates to more than 1048576 "
                            "bytes"));
    EXPECT_EQ(on.test.states.last().toStdString(), "Connected");
    on.service.sendRawMessage(QByteArray(200'001, 'x'));
    ASSERT_TRUE(on.test.waitForState("Disconnected"));
    EXPECT_TRUE(log.has("(code 1009)"));
}

// A hello and a small dispatch, each sent as two messages that are cut at every byte in turn: the
// pieces are taken for frames and dropped, and what follows them is whole.
TEST_F(BareSession, MessagesCutAtEveryByte)
{
    QByteArray const frames[] = {
        encoded(object(R"({"op":10,"d":{"heartbeat_interval":41250}})")),
        encoded(dispatch("TYPING_START", object(R"({"channel_id":"5","user_id":"6"})"), 3))
    };
    for (QByteArray const& frame : frames) {
        for (int cut = 1;; ++cut) {
            // At its full length each time: the window would shorten a repeated frame.
            QByteArray const message = gateway.deflater.message(frame, Z_FULL_FLUSH);
            if (cut >= message.size())
                break;
            gateway.sendBytes(message.left(cut));
            gateway.sendBytes(message.mid(cut));
        }
        gateway.sendBytes(gateway.deflater.message(encoded(object(R"({"op":8})"))));
        ASSERT_TRUE(log.waitFor("Opcode was: 8"));
    }
    gateway.received.clear();
    gateway.sendHello();
    ASSERT_TRUE(waitUntil([&] { return !gateway.received.isEmpty(); }));
    EXPECT_TRUE(test.waitForState("Connected"));
    EXPECT_FALSE(log.has("Zlib error")) << "the stream is whole throughout";
}

TEST_F(BareSession, ReadyWithoutUserEndsItWithABox)
{
    QStringList boxes;
    QObject::connect(test.client.get(), &DisClient::userMustSee,
                     [&](QString const& title, QString const& body, bool fatal) {
                         boxes << title << body << (fatal ? QStringLiteral("fatal") : QString());
                     });
    gateway.sendHello();
    gateway.send(dispatch("READY", object(R"({"session_id":"abc"})"), 1));
    ASSERT_TRUE(test.waitForState("Disconnected"));
    EXPECT_EQ(boxes.join(QLatin1Char('|')).toStdString(),
              "Discord protocol error|Discord protocol error.\n"
              "Nakwire did not receive data that is required to operate|fatal");
}

TEST_F(BareSession, TypingIsToldInBatches)
{
    QStringList typing;
    QObject::connect(
        test.client.get(), &DisClient::typingStarts, [&](QVector<DisTypingStart> const& starts) {
            for (DisTypingStart const& one : starts)
                typing << one.channelId.toString() + QLatin1Char('/') + one.userId.toString();
            typing << QStringLiteral("end");
        });
    becomeReady();
    for (char const* const user : { "101", "102", "101" })
        gateway.send(dispatch("TYPING_START",
                              { { QStringLiteral("channel_id"), QStringLiteral("7") },
                                { QStringLiteral("user_id"), QLatin1String(user) },
                                { QStringLiteral("timestamp"), 1'560'000'000 } },
                              3));
    ASSERT_TRUE(waitUntil([&] { return !typing.isEmpty(); }));
    EXPECT_EQ(typing.join(QLatin1Char(' ')).toStdString(), "7/101 7/102 end");
}

TEST_F(BareSession, GuildsAreSynchronizedOnceAndNeverTheTooLarge)
{
    becomeReady({ object(R"({"id":"1","owner_id":"9","member_count":3999})"),
                  object(R"({"id":"2","owner_id":"9","member_count":4000})"),
                  object(R"({"id":"3","owner_id":"9"})") });
    auto const include = [&](QSet<FlakeId> const& guilds) {
        test.client->includeGuildsForSynchronization(test.userId, guilds);
    };
    include({ FlakeId(1), FlakeId(2) });
    EXPECT_EQ(text(gateway.take()), R"({"d":["1"],"op":12})");
    include({ FlakeId(1), FlakeId(2), FlakeId(322'850'917'248'663'552) }); // sends nothing
    include({ FlakeId(3), FlakeId(1) });
    EXPECT_EQ(text(gateway.take()), R"({"d":["1","3"],"op":12})");
    test.client->removeGuildsForSynchronization(test.userId, { FlakeId(1), FlakeId(77) });
    EXPECT_EQ(text(gateway.take()), R"({"d":["3"],"op":12})");
    test.client->setOwnUserStatus(test.userId, DisUserStatusCode::Idle, true, QString());
    EXPECT_EQ(text(gateway.take()),
              R"({"d":{"afk":true,"game":null,"since":0,"status":"idle"},"op":3})");
    EXPECT_TRUE(log.has("Synchronizing 1 additional guilds (1 total)\n"
                        "Synchronizing 1 additional guilds (2 total)\n"
                        "Unsynchronizing 1 guilds (1 remain)\n"
                        "Changing Discord presence status to 2 (afk: 1, game: )"));
}

TEST(FirstSession, ThreadsEndWithTheClient)
{
    QString const name =
        QStringLiteral("DisSessionWorkerThread").left(15); // as the kernel keeps it
    ASSERT_FALSE(threadNames().contains(name));
    for (int round = 0; round < 4; ++round) {
        SignedIn on;
        EXPECT_EQ(threadNames().count(name), 1);
        if (round % 2)
            on.client.disconnectAllSessions(); // and gone before it is done
    }
    EXPECT_FALSE(threadNames().contains(name));
}
