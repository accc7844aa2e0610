// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// REST: what goes out as text, and what replies do.

#include "rest_helpers.h"
#include "signed_in.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

QByteArray page(int messages)
{
    QJsonArray list;
    for (int i = 0; i < messages; ++i)
        list.append(QJsonObject{ { QStringLiteral("id"), QString::number(5'000 + i) },
                                 { QStringLiteral("channel_id"), QStringLiteral("77") },
                                 { QStringLiteral("content"), QStringLiteral("old") },
                                 { QStringLiteral("type"), 0 } });
    return QJsonDocument(list).toJson();
}

QByteArray gzipped(QByteArray const& bytes)
{
    z_stream stream = {};
    deflateInit2(&stream, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(static_cast<int>(deflateBound(&stream, bytes.size())) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(out.size() - static_cast<int>(stream.avail_out));
    deflateEnd(&stream);
    return out;
}

} // namespace

TEST(Rest, NoncesNeverRepeat)
{
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, -1), 1'000);
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 999), 1'000);
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 1'000), 1'001);
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 1'001), 1'002) << "the third in a millisecond";
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 500'000), 1'000) << "the clock was set back";
}

TEST(Rest, SendingAMessage)
{
    SignedIn on;
    ASSERT_NE(on.session, nullptr);
    QVector<DisChange> created;
    QStringList order;
    QObject::connect(on.test.client.get(), &DisClient::disChanges, [&](DisChanges const& changes) {
        for (DisChange const& change : changes.items)
            if (change.type == DisChange::ChangeType::MessageCreated) {
                created.append(change);
                order << QStringLiteral("changes");
            }
    });
    QObject::connect(on.test.client.get(), &DisClient::messageCreated,
                     [&](FlakeId const&, FlakeId const&, FlakeId const&, FlakeId const&) {
                         order << QStringLiteral("created with %1 pending")
                                      .arg(on.test.client->pendingMessages_hack().size());
                     });
    qint64 const before = QDateTime::currentMSecsSinceEpoch();
    FlakeId const nonce = on.test.client->sendMessageAsUser(on.test.userId, on.channel,
                                                            QStringLiteral("hällo \"you\""));
    qint64 const after = QDateTime::currentMSecsSinceEpoch();
    EXPECT_GE(nonce.toMSecsSinceEpoch_Discord(), before);
    EXPECT_LE(nonce.toMSecsSinceEpoch_Discord(), after);
    EXPECT_EQ(nonce.value() & 0x3FFFFF, 0U);
    FlakeId const second =
        on.test.client->sendMessageAsUser(on.test.userId, on.channel, QStringLiteral("2"));
    EXPECT_LT(nonce, second);

    auto const& pending = on.test.client->pendingMessages_hack();
    ASSERT_EQ(pending.size(), 2);
    EXPECT_EQ(pending.value(nonce).channelId, on.channel);
    EXPECT_EQ(pending.value(nonce).authorId, on.test.userId);
    EXPECT_EQ(pending.value(nonce).text, QStringLiteral("hällo \"you\""));
    ASSERT_EQ(created.size(), 2) << "the buffer shows it at once";
    EXPECT_EQ(created[0].words[0], nonce);
    EXPECT_EQ(created[0].words[1], on.channel);
    EXPECT_EQ(created[0].words[2], on.test.userId);

    std::string const body = R"({"d":{"content":"hällo \"you\"","nonce":")"
        + nonce.toString().toStdString() + R"("},"op":0,"t":"MESSAGE_CREATE"})";
    EXPECT_EQ(on.nextRequest(),
              "POST " + on.channelPath() + "/messages" + jsonHeaders
                  + "\ncontent-length: " + std::to_string(body.size()) + "\n" + body);
    // The gateway's echo with the nonce confirms them.
    ASSERT_TRUE(waitUntil([&] { return created.size() == 4; }));
    EXPECT_TRUE(on.test.client->pendingMessages_hack().isEmpty());
    EXPECT_EQ(order.join(QLatin1Char('|')).toStdString(),
              "changes|changes|created with 1 pending|changes|created with 0 pending|changes");
}

TEST(Rest, OnlyAnOwnMessageWithItsNonceConfirms)
{
    SignedIn on;
    FlakeId const nonce(123 << 22);
    on.test.client->pendingMessages_hack().insert(nonce, {});
    int created = 0;
    QObject::connect(on.test.client.get(), &DisClient::messageCreated, [&] { ++created; });
    auto const sendFrom = [&](QString const& author, QJsonValue const& withNonce) {
        int const before = created;
        on.service.sendDispatch(
            QStringLiteral("MESSAGE_CREATE"),
            { { QStringLiteral("id"), QStringLiteral("9") },
              { QStringLiteral("channel_id"), on.channel.toString() },
              { QStringLiteral("content"), QStringLiteral("x") },
              { QStringLiteral("nonce"), withNonce },
              { QStringLiteral("author"), QJsonObject{ { QStringLiteral("id"), author } } } });
        waitUntil([&] { return created > before; });
        return on.test.client->pendingMessages_hack().size();
    };
    EXPECT_EQ(sendFrom(QStringLiteral("4"), nonce.toString()), 1) << "somebody else's";
    EXPECT_EQ(sendFrom(on.test.userId.toString(), QJsonValue::Null), 1);
    EXPECT_EQ(sendFrom(on.test.userId.toString(), QStringLiteral("17")), 1);
    EXPECT_EQ(sendFrom(on.test.userId.toString(), nonce.toString()), 0);
}

TEST(Rest, UserWithoutASessionSendsNothing)
{
    SignedIn on;
    EXPECT_FALSE(
        on.test.client->sendMessageAsUser(FlakeId(1), on.channel, QStringLiteral("x")).isValid());
    EXPECT_FALSE(
        on.test.client->sendMessageAsUser(FlakeId(), on.channel, QStringLiteral("x")).isValid());
    EXPECT_TRUE(on.test.client->pendingMessages_hack().isEmpty());
    EXPECT_TRUE(on.service.requests().isEmpty());
}

TEST(Rest, RequestsAsText)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    FlakeId const me = on.test.userId;
    FlakeId const message(42);
    std::string const path = on.channelPath() + "/messages/42";

    client.editMessageAsUser(on.channel, message, me, QStringLiteral("new"));
    EXPECT_EQ(on.nextRequest(),
              "PATCH " + path + jsonHeaders + "\ncontent-length: 17\n{\"content\":\"new\"}");
    client.deleteChannelMessage(on.channel, message, me);
    EXPECT_EQ(on.nextRequest(), "DELETE " + path + commonHeaders + "\naccept-encoding: gzip\n");
    client.addEmojiReaction(on.channel, message, me, FlakeId(), QString::fromUtf8("👍"));
    EXPECT_EQ(on.nextRequest(),
              "PUT " + path + "/reactions/%F0%9F%91%8D/@me" + commonHeaders
                  + "\naccept-encoding: gzip\ncontent-length: 0\n");
    client.deleteEmojiReaction(on.channel, message, me, FlakeId(7), QStringLiteral("wave"));
    EXPECT_EQ(on.nextRequest(),
              "DELETE " + path + "/reactions/wave%3A7/@me" + commonHeaders
                  + "\naccept-encoding: gzip\n");
    // A name from a server stays one part of the path.
    client.deleteEmojiReaction(on.channel, message, me, FlakeId(7), QStringLiteral("../a/b?c#d"));
    EXPECT_EQ(on.nextRequest(),
              "DELETE " + path + "/reactions/..%2Fa%2Fb%3Fc%23d%3A7/@me" + commonHeaders
                  + "\naccept-encoding: gzip\n");
    client.sendGuildReadAck(me, FlakeId(5));
    EXPECT_EQ(on.nextRequest(), "POST /guilds/5/ack" + jsonHeaders + "\ncontent-length: 0\n");
}

TEST(Rest, WithoutATokenThereIsNoAuthorization)
{
    SignedIn on;
    QNetworkAccessManager manager;
    RestHelpers::Sender const sender{ &manager, QString(), QStringLiteral("agent"), 5'000, 1'000 };
    RestHelpers::putNothing_andForget(sender, QUrl(on.service.apiUrl() + QLatin1String("/x")));
    EXPECT_EQ(on.nextRequest(),
              "PUT /x\nuser-agent: agent\naccept-encoding: gzip\ncontent-length: 0\n");
}

TEST(Rest, EveryRequestIsLogged)
{
    SignedIn on;
    LogLines log;
    DisClient& client = *on.test.client;
    client.editMessageAsUser(FlakeId(1), FlakeId(2), on.test.userId,
                             QStringLiteral("secret words"));
    client.deleteChannelMessage(FlakeId(1), FlakeId(2), on.test.userId);
    client.addEmojiReaction(FlakeId(1), FlakeId(2), on.test.userId, FlakeId(3),
                            QStringLiteral("e"));
    client.sendTyping(on.test.userId, FlakeId(1));
    std::string const api = on.service.apiUrl().toStdString();
    EXPECT_EQ(log.joined(),
              "PATCH to Discord API at " + api + "/channels/1/messages/2\nDELETE to Discord API at "
                  + api + "/channels/1/messages/2\nPUT to Discord API at " + api
                  + "/channels/1/messages/2/reactions/e%3A3/@me\nPOST to Discord API at " + api
                  + "/channels/1/typing");
}

TEST(Rest, LoggedUrlsHideWhatMayBeSecret)
{
    auto const shown = [](char const* url) {
        return RestHelpers::loggableUrl(QUrl(QString::fromLatin1(url))).toStdString();
    };
    EXPECT_EQ(shown("http://a/b?limit=100&before=7"), "http://a/b?limit=100&before=7");
    EXPECT_EQ(shown("http://a/b?limit=100&token=7"), "http://a/b");
    EXPECT_EQ(shown("http://me:pass@a/b#frag"), "http://a/b");
}

TEST(Rest, FailedPatchIsLogged)
{
    SignedIn on;
    on.service.answer("PATCH", QStringLiteral("/channels/1/messages/2"), 403, "not\nallowed");
    LogLines log;
    on.test.client->editMessageAsUser(FlakeId(1), FlakeId(2), on.test.userId, QStringLiteral("x"));
    EXPECT_TRUE(log.waitFor("PATCH to Discord API failed: 201 -- not allowed"));
}

TEST(Rest, ReadAcknowledgements)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    QString const path = QStringLiteral("/channels/1/messages/2/ack");
    on.service.answer("POST", path, 200, R"({"token":"abcde\"fghij\\"})", {}, 1);
    on.service.answer("POST", path, 500, "broken", {}, 1);
    on.service.answer("POST", path, 200, R"({"token":null})", {}, 1);
    auto const ack = [&] {
        return client.trySendMessageReadAck(on.test.userId, FlakeId(1), FlakeId(2));
    };
    LogLines log;
    std::string const head = "POST /channels/1/messages/2/ack" + jsonHeaders;
    EXPECT_TRUE(ack());
    EXPECT_FALSE(ack()) << "one is under way";
    EXPECT_EQ(on.nextRequest(), head + "\ncontent-length: 15\n{\"token\": null}");
    ASSERT_TRUE(log.waitFor("Received next message ack token: abcde\"..."));
    EXPECT_FALSE(log.has("abcde\"f"));
    EXPECT_TRUE(ack());
    EXPECT_EQ(on.nextRequest(),
              head
                  + "\ncontent-length: 26\n"
                    R"({"token":"abcde\"fghij\\"})");
    ASSERT_TRUE(log.waitFor("Message ack error: 401 --- broken"));
    EXPECT_TRUE(ack()) << "an error does not stop the next";
    ASSERT_TRUE(log.waitFor("Failed to get new message ack token from response"));
    EXPECT_FALSE(ack()) << "on purpose, none follows in this session";
    EXPECT_FALSE(client.trySendMessageReadAck(FlakeId(3), FlakeId(1), FlakeId(2)));
}

TEST(Rest, PageOfAHundredIsNotTheOldest)
{
    for (int const count : { 0, 99, 100 }) {
        SignedIn on;
        LogLines log;
        on.service.answer("GET", QStringLiteral("/channels/77/messages"), 200, page(count));
        on.test.client->fetchRecentHistoryForChannel(FlakeId(77));
        EXPECT_EQ(on.nextRequest(), "GET /channels/77/messages?limit=100" + jsonHeaders + "\n");
        ASSERT_TRUE(waitUntil([&] { return !on.test.historyFetched.isEmpty(); }));
        EXPECT_EQ(on.test.historyFetched, QVector<FlakeId>{ FlakeId(77) });
        EXPECT_EQ(on.test.client->channelsWithFetchedHistory(), QSet<FlakeId>{ FlakeId(77) });
        EXPECT_EQ(on.test.client->channelsWithOldestMessageFetched().contains(FlakeId(77)),
                  count < 100);
        EXPECT_EQ(log.has("Fetched oldest message for channel 77"), count < 100);
        EXPECT_EQ(on.test.value("select count(*) from message where channel_id = 77").toInt(),
                  count);
    }
}

TEST(Rest, HistoryIsQueuedOnceAndInOrder)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    // What fails could be asked for again.
    for (char const* const path : { "/channels/1/messages", "/channels/2/messages" })
        on.service.answer("GET", QString::fromLatin1(path), 200, "[]");
    for (int round = 0; round < 3; ++round) {
        client.fetchRecentHistoryForChannel(FlakeId(1));
        client.fetchChannelHistoryEarlierThanMessage(FlakeId(1), FlakeId(9));
        client.fetchRecentHistoryForChannel(FlakeId(2));
        client.fetchChannelHistoryEarlierThanMessage(FlakeId(1), FlakeId());
    }
    EXPECT_EQ(on.nextRequest(), "GET /channels/1/messages?limit=100" + jsonHeaders + "\n");
    client.fetchRecentHistoryForChannel(FlakeId(1)); // fetched by now
    EXPECT_EQ(on.nextRequest(), "GET /channels/1/messages?limit=100&before=9" + jsonHeaders + "\n");
    EXPECT_EQ(on.nextRequest(), "GET /channels/2/messages?limit=100" + jsonHeaders + "\n");
    client.fetchRecentHistoryForChannel(on.channel);
    EXPECT_EQ(on.nextRequest(),
              "GET " + on.channelPath() + "/messages?limit=100" + jsonHeaders + "\n");
    ASSERT_TRUE(waitUntil([&] { return on.test.historyFetched.contains(on.channel); }));
    EXPECT_EQ(on.service.requests().size(), 4);
}

TEST(Rest, HistoryRepliesThatAreNoPage)
{
    SignedIn on;
    QString const path = QStringLiteral("/channels/77/messages");
    char const* const told = "Did not get a Dread::List from JSON-to-Dread conversion when "
                             "receiving channel history";
    for (char const* const body : { "{}", "", "nonsense", "[", "\xff", "[1,2" }) {
        LogLines log;
        on.service.answer("GET", path, 200, body, {}, 1);
        on.test.client->fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(1));
        EXPECT_TRUE(log.waitFor(told)) << body;
    }
    // Elements that are no messages are skipped and not counted.
    on.service.answer("GET", path, 200, R"([1,null,"x",[],{}])", {}, 1);
    on.test.client->fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(1));
    EXPECT_TRUE(waitUntil([&] { return on.test.historyFetched.size() == 1; }));
    EXPECT_EQ(on.test.value("select count(*) from message").toStdString(), "0");
}

TEST(Rest, HistoryThatFailsCanBeAskedForAgain)
{
    QString const path = QStringLiteral("/channels/77/messages");
    std::string const asked = "GET /channels/77/messages?limit=100" + jsonHeaders + "\n";
    struct Case {
        int status; // 0: the connection is cut
        char const* body;
        char const* logged;
    };
    for (Case const& one :
         { Case{ 500, "[]", "Failed to fetch history for channel 77: InternalServerError" },
           Case{ 403, "[]", "Failed to fetch history for channel 77: ContentAccessDenied" },
           Case{ 0, "", "Failed to fetch history for channel 77: RemoteHostClosed" },
           Case{ 200, "{}", "Did not get a Dread::List" } }) {
        SignedIn on;
        DisClient& client = *on.test.client;
        LogLines log;
        if (one.status == 0)
            on.service.cut(path, 2); // one more than shown: idempotent requests are repeated by Qt
        else
            on.service.answer("GET", path, one.status, one.body, {}, 1);
        client.fetchRecentHistoryForChannel(FlakeId(77));
        ASSERT_TRUE(waitUntil([&] { return !on.test.historyFetched.isEmpty(); })) << one.logged;
        EXPECT_EQ(client.channelsWithFetchedHistory(), QSet<FlakeId>()) << one.logged;
        EXPECT_NE(log.joined().find(one.logged), std::string::npos) << log.joined();
        on.seen = on.service.requests().size();
        // Nothing asks by itself: what comes next is another channel's.
        client.fetchRecentHistoryForChannel(on.channel);
        EXPECT_EQ(on.nextRequest(),
                  "GET " + on.channelPath() + "/messages?limit=100" + jsonHeaders + "\n");
        on.service.answer("GET", path, 200, page(3));
        client.fetchRecentHistoryForChannel(FlakeId(77));
        EXPECT_EQ(on.nextRequest(), asked);
        EXPECT_TRUE(waitUntil([&] { return on.test.historyFetched.size() == 3; }));
        EXPECT_EQ(client.channelsWithFetchedHistory(), (QSet<FlakeId>{ FlakeId(77), on.channel }));
    }
}

TEST(Rest, EarlierHistoryThatFailsIsLoggedOnly)
{
    SignedIn on;
    LogLines log;
    DisClient& client = *on.test.client;
    client.fetchRecentHistoryForChannel(on.channel);
    ASSERT_TRUE(waitUntil([&] { return on.test.historyFetched.size() == 1; }));
    on.service.answer("GET", QString::fromStdString(on.channelPath() + "/messages"), 500, "");
    client.fetchChannelHistoryEarlierThanMessage(on.channel, FlakeId(9));
    std::string const line =
        "Failed to fetch history for channel " + on.channel.toString().toStdString();
    EXPECT_TRUE(log.waitFor(line.c_str()));
    EXPECT_EQ(on.test.historyFetched.size(), 1);
    EXPECT_EQ(client.channelsWithFetchedHistory(), QSet<FlakeId>{ on.channel });
}

TEST(Rest, BodiesAreBounded)
{
    DisSessionTimings timings = quickTimings();
    timings.maxBody = 100'000;
    SignedIn on(timings);
    QString const path = QStringLiteral("/channels/77/messages");
    QByteArray const large = "[" + QByteArray(100'000, ' ') + "]";
    stage::HttpHeaders const zipped{ { "Content-Encoding", "gzip" } };
    int const before = on.test.historyFetched.size();
    {
        LogLines log;
        on.service.answer("GET", path, 200, gzipped(large), zipped, 1);
        on.test.client->fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(1));
        EXPECT_TRUE(log.waitFor("Did not get a Dread::List")) << "inflated over the bound";
    }
    on.service.answer("GET", path, 200, large, {}, 1);
    on.test.client->fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(2));
    on.service.answer("GET", QStringLiteral("/channels/78/messages"), 200, gzipped(page(3)), zipped,
                      1);
    on.test.client->fetchChannelHistoryEarlierThanMessage(FlakeId(78), FlakeId(3));
    ASSERT_TRUE(waitUntil([&] { return on.test.historyFetched.size() > before; }));
    EXPECT_EQ(on.test.historyFetched.mid(before), QVector<FlakeId>{ FlakeId(78) })
        << "the one that is too large is cut off";
}

TEST(Rest, InflatedBodies)
{
    QByteArray const text(5'000, 'x');
    EXPECT_EQ(RestHelpers::inflatedBody({ text, false }, 10).value_or("none"), text)
        << "bounded where it was received";
    EXPECT_EQ(RestHelpers::inflatedBody({ gzipped(text), true }, 5'001).value_or("none"), text);
    EXPECT_FALSE(RestHelpers::inflatedBody({ gzipped(text), true }, 4'999));
    EXPECT_FALSE(RestHelpers::inflatedBody({ text, true }, 5'000));
    EXPECT_FALSE(RestHelpers::inflatedBody({ QByteArray(), true }, 5'000));
    QByteArray const whole = gzipped(text);
    for (int cut = 0; cut < whole.size(); ++cut)
        EXPECT_FALSE(RestHelpers::inflatedBody({ whole.left(cut), true }, 100'000)) << cut;
}

TEST(Rest, TypingIsSentOncePerPause)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    std::string const typing =
        "POST " + on.channelPath() + "/typing" + jsonHeaders + "\ncontent-length: 2\n{}";
    client.sendTyping(on.test.userId, on.channel);
    client.sendTyping(on.test.userId, on.channel); // remembered for the end of the pause
    client.sendTyping(on.test.userId, on.channel);
    EXPECT_EQ(on.nextRequest(), typing);
    EXPECT_EQ(on.nextRequest(), typing);
    // A message that is sent ends the pause, and what was remembered is forgotten.
    client.sendTyping(on.test.userId, on.channel);
    client.sendMessageAsUser(on.test.userId, on.channel, QStringLiteral("x"));
    EXPECT_EQ(on.nextRequest().substr(0, 5), "POST ");
    client.sendTyping(on.test.userId, on.channel);
    EXPECT_EQ(on.nextRequest(), typing);
    EXPECT_EQ(on.service.requests().size(), 4);
}

TEST(Rest, RepliesThatComeAfterTheSessionHarmNobody)
{
    SignedIn on;
    on.service.delay(on.session
                         ? QString::fromStdString(on.channelPath()) + QLatin1String("/messages")
                         : QString(),
                     50);
    on.test.client->fetchRecentHistoryForChannel(on.channel);
    on.nextRequest();
    on.test.client->disconnectAllSessions();
    ASSERT_TRUE(on.test.waitForState("Disconnected"));
    EXPECT_TRUE(on.test.client->channelsWithFetchedHistory().isEmpty());
}
