// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// REST: what becomes of a request, from the pause before it to its reply.

#include "dis_cache.h"
#include "rest_helpers.h"
#include "signed_in.h"

#include <QJsonArray>
#include <QJsonDocument>

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
    return Deflater(Deflater::gzip).message(bytes, Z_FINISH);
}

using Rest = SignedInTest;

QString const historyPath = QStringLiteral("/channels/77/messages");
char const* const historyLine = "GET /channels/77/messages?limit=100";

} // namespace

TEST_F(Rest, NoncesNeverRepeat)
{
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, -1), 1'000);
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 1'000), 1'001);
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 1'001), 1'002) << "the third in a millisecond";
    EXPECT_EQ(DisClientImpl::nextNonceMSecs(1'000, 500'000), 1'000) << "the clock was set back";
}

TEST_F(Rest, MessagesArePendingUntilTheirEcho)
{
    QStringList told;
    QObject::connect(&client, &DisClient::disChanges, [&](DisChanges const& changes) {
        for (DisChange const& one : changes.items)
            if (one.type == DisChange::ChangeType::MessageCreated)
                told << QStringLiteral("change");
    });
    QObject::connect(&client, &DisClient::messageCreated, [&] {
        told << QStringLiteral("created with %1 pending").arg(client.pendingMessages_hack().size());
    });
    qint64 const before = QDateTime::currentMSecsSinceEpoch();
    FlakeId const nonce = client.sendMessageAsUser(me, channel, QStringLiteral("first"));
    FlakeId const second = client.sendMessageAsUser(me, channel, QStringLiteral("2"));
    EXPECT_GE(nonce.toMSecsSinceEpoch_Discord(), before);
    EXPECT_LE(nonce.toMSecsSinceEpoch_Discord(), QDateTime::currentMSecsSinceEpoch());
    EXPECT_EQ(nonce.value() & 0x3FFFFF, 0U);
    EXPECT_LT(nonce, second);

    DisPendingMsg const pending = client.pendingMessages_hack().value(nonce);
    EXPECT_EQ(pending.channelId, channel);
    EXPECT_EQ(pending.authorId, me);
    EXPECT_EQ(pending.text, QStringLiteral("first"));
    ASSERT_TRUE(waitUntil([&] { return told.size() == 6; }));
    EXPECT_EQ(told.join(QLatin1Char('|')).toStdString(),
              "change|change|created with 1 pending|change|created with 0 pending|change");
}

TEST_F(Rest, OnlyAnOwnMessageWithItsNonceConfirms)
{
    FlakeId const nonce(123 << 22);
    client.pendingMessages_hack().insert(nonce, {});
    int created = 0;
    QObject::connect(&client, &DisClient::messageCreated, [&] { ++created; });
    auto const pendingAfter = [&](QString const& author, QJsonValue const& withNonce) {
        int const before = created;
        service.sendDispatch(
            QStringLiteral("MESSAGE_CREATE"),
            { { QStringLiteral("id"), QStringLiteral("9") },
              { QStringLiteral("channel_id"), channel.toString() },
              { QStringLiteral("nonce"), withNonce },
              { QStringLiteral("author"), QJsonObject{ { QStringLiteral("id"), author } } } });
        waitUntil([&] { return created > before; });
        return client.pendingMessages_hack().size();
    };
    EXPECT_EQ(pendingAfter(QStringLiteral("4"), nonce.toString()), 1) << "somebody else's";
    EXPECT_EQ(pendingAfter(me.toString(), QJsonValue::Null), 1);
    EXPECT_EQ(pendingAfter(me.toString(), QStringLiteral("17")), 1);
    EXPECT_EQ(pendingAfter(me.toString(), nonce.toString()), 0);
}

TEST_F(Rest, RequestsAreLoggedWithoutWhatTheyCarry)
{
    client.editMessageAsUser(FlakeId(1), FlakeId(2), me, QStringLiteral("secret words"));
    client.addGuildBan(me, FlakeId(1), FlakeId(2), 0, QStringLiteral("private"));
    client.sendTyping(me, FlakeId(1));
    std::string const api = service.apiUrl().toStdString();
    EXPECT_EQ(log.joined(),
              "PATCH to Discord API at " + api + "/channels/1/messages/2\nPUT to Discord API at "
                  + api + "/guilds/1/bans/2\nPOST to Discord API at " + api + "/channels/1/typing");
    auto const shown = [](char const* url) {
        return RestHelpers::loggableUrl(QUrl(QString::fromLatin1(url))).toStdString();
    };
    EXPECT_EQ(shown("http://a/b?limit=100&before=7"), "http://a/b?limit=100&before=7");
    EXPECT_EQ(shown("http://a/b?limit=100&token=7"), "http://a/b");
    EXPECT_EQ(shown("http://me:pass@a/b#frag"), "http://a/b");
}

TEST_F(Rest, FailuresAreLogged)
{
    FlakeId const one(1);
    service.answer("PATCH", QStringLiteral("/channels/1/messages/2"), 403, "not\nallowed");
    client.editMessageAsUser(one, FlakeId(2), me, QStringLiteral("x"));
    EXPECT_TRUE(log.waitFor("PATCH to Discord API failed: 201 -- not allowed"));

    service.answer("PUT", QStringLiteral("/guilds/1/bans/2"), 403, "secret reply");
    client.addGuildBan(me, one, FlakeId(2), 0, QStringLiteral("private"));
    EXPECT_TRUE(log.waitFor("Error when attempting to ban user: ContentAccessDenied"));
    EXPECT_FALSE(log.has("secret"));

    client.fetchRecentHistoryForChannel(channel);
    ASSERT_TRUE(waitUntil([&] { return test.historyFetched.size() == 1; }));
    service.answer("GET", QString::fromStdString(channelPath() + "/messages"), 500, "");
    client.fetchChannelHistoryEarlierThanMessage(channel, FlakeId(9));
    EXPECT_TRUE(
        log.waitFor("Failed to fetch history for channel " + channel.toString().toStdString()));
    EXPECT_EQ(test.historyFetched.size(), 1) << "earlier pages are not asked for again";
    EXPECT_EQ(client.channelsWithFetchedHistory(), QSet<FlakeId>{ channel });
}

TEST_F(Rest, ReadAcknowledgements)
{
    QString const path = QStringLiteral("/channels/1/messages/2/ack");
    service.answer("POST", path, 200, R"({"token":"abcde\"fghij\\"})", {}, 1);
    service.answer("POST", path, 500, "broken", {}, 1);
    service.answer("POST", path, 200, R"({"token":null})", {}, 1);
    auto const ack = [&] { return client.trySendMessageReadAck(me, FlakeId(1), FlakeId(2)); };
    EXPECT_TRUE(ack());
    EXPECT_FALSE(ack()) << "one is under way";
    EXPECT_EQ(nextRequest(), wholeRequest("POST /channels/1/messages/2/ack", R"({"token": null})"));
    ASSERT_TRUE(log.waitFor("Received next message ack token: abcde\"..."));
    EXPECT_FALSE(log.has("abcde\"f"));
    EXPECT_TRUE(ack());
    EXPECT_EQ(nextRequest(),
              wholeRequest("POST /channels/1/messages/2/ack", R"({"token":"abcde\"fghij\\"})"));
    ASSERT_TRUE(log.waitFor("Message ack error: 401 --- broken"));
    EXPECT_TRUE(ack()) << "an error does not stop the next";
    ASSERT_TRUE(log.waitFor("Failed to get new message ack token from response"));
    EXPECT_FALSE(ack()) << "on purpose, none follows in this session";
}

TEST(RestHistory, PageOfAHundredIsNotTheOldest)
{
    FlakeId const asked(77);
    for (int const count : { 0, 99, 100 }) {
        SignedIn on;
        LogLines log;
        on.service.answer("GET", historyPath, 200, page(count));
        on.client.fetchRecentHistoryForChannel(asked);
        EXPECT_EQ(on.nextRequest(), wholeRequest(historyLine));
        ASSERT_TRUE(waitUntil([&] { return !on.test.historyFetched.isEmpty(); }));
        EXPECT_EQ(on.test.historyFetched, QVector<FlakeId>{ asked });
        EXPECT_EQ(on.client.channelsWithFetchedHistory(), QSet<FlakeId>{ asked });
        EXPECT_EQ(on.client.channelsWithOldestMessageFetched().contains(asked), count < 100);
        EXPECT_EQ(log.has("Fetched oldest message for channel 77"), count < 100);
        EXPECT_EQ(on.test.value("select count(*) from message where channel_id = 77").toInt(),
                  count);
    }
}

TEST_F(Rest, HistoryIsQueuedOnceAndInOrder)
{
    // What fails could be asked for again.
    for (char const* const path : { "/channels/1/messages", "/channels/2/messages" })
        service.answer("GET", QString::fromLatin1(path), 200, "[]");
    for (int round = 0; round < 3; ++round) {
        client.fetchRecentHistoryForChannel(FlakeId(1));
        client.fetchChannelHistoryEarlierThanMessage(FlakeId(1), FlakeId(9));
        client.fetchRecentHistoryForChannel(FlakeId(2));
        client.fetchChannelHistoryEarlierThanMessage(FlakeId(1), FlakeId());
    }
    EXPECT_EQ(nextRequest(), wholeRequest("GET /channels/1/messages?limit=100"));
    client.fetchRecentHistoryForChannel(FlakeId(1)); // fetched by now
    EXPECT_EQ(nextRequest(), wholeRequest("GET /channels/1/messages?limit=100&before=9"));
    EXPECT_EQ(nextRequest(), wholeRequest("GET /channels/2/messages?limit=100"));
    client.fetchRecentHistoryForChannel(channel);
    EXPECT_EQ(nextRequest(), wholeRequest("GET " + channelPath() + "/messages?limit=100"));
    ASSERT_TRUE(waitUntil([&] { return test.historyFetched.contains(channel); }));
    EXPECT_EQ(service.requests().size(), 4);
}

TEST(RestHistory, ThatFailsCanBeAskedForAgain)
{
    char const* const noList = "Did not get a Dread::List from JSON-to-Dread conversion when "
                               "receiving channel history";
    struct Case {
        int status; // 0: the connection is cut
        char const* body;
        char const* logged;
    };
    for (Case const& one :
         { Case{ 500, "[]", "Failed to fetch history for channel 77: InternalServerError" },
           Case{ 403, "[]", "Failed to fetch history for channel 77: ContentAccessDenied" },
           Case{ 0, "", "Failed to fetch history for channel 77: RemoteHostClosed" },
           Case{ 200, "{}", noList }, Case{ 200, "", noList }, Case{ 200, "\xff", noList },
           Case{ 200, "[1,2", noList } }) {
        SignedIn on;
        LogLines log;
        if (one.status == 0)
            on.service.cut(historyPath, 2); // Qt repeats idempotent requests
        else
            on.service.answer("GET", historyPath, one.status, one.body, {}, 1);
        on.client.fetchRecentHistoryForChannel(FlakeId(77));
        ASSERT_TRUE(waitUntil([&] { return !on.test.historyFetched.isEmpty(); })) << one.logged;
        EXPECT_EQ(on.client.channelsWithFetchedHistory(), QSet<FlakeId>()) << one.logged;
        EXPECT_TRUE(log.has(one.logged)) << log.joined();
        on.seen = on.service.requests().size();
        // Nothing asks by itself: what comes next is another channel's.
        on.client.fetchRecentHistoryForChannel(on.channel);
        EXPECT_EQ(on.nextRequest(),
                  wholeRequest("GET " + on.channelPath() + "/messages?limit=100"));
        // Elements that are no messages are skipped.
        on.service.answer("GET", historyPath, 200, R"([1,null,"x",[],{}])");
        on.client.fetchRecentHistoryForChannel(FlakeId(77));
        EXPECT_EQ(on.nextRequest(), wholeRequest(historyLine));
        EXPECT_TRUE(waitUntil([&] { return on.test.historyFetched.size() == 3; }));
        EXPECT_EQ(on.client.channelsWithFetchedHistory(),
                  (QSet<FlakeId>{ FlakeId(77), on.channel }));
        EXPECT_EQ(on.test.value("select count(*) from message where channel_id = 77").toInt(), 0);
    }
}

TEST(RestBodies, AreBounded)
{
    DisSessionTimings timings = quickTimings();
    timings.maxBody = 100'000;
    SignedIn on(timings);
    LogLines log;
    QByteArray const large = "[" + QByteArray(100'000, ' ') + "]";
    stage::HttpHeaders const zipped{ { "Content-Encoding", "gzip" } };
    on.service.answer("GET", historyPath, 200, gzipped(large), zipped, 1);
    on.client.fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(1));
    EXPECT_TRUE(log.waitFor("Did not get a Dread::List")) << "inflated over the bound";
    on.service.answer("GET", historyPath, 200, large, {}, 1);
    on.client.fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(2));
    EXPECT_TRUE(log.waitFor("Failed to fetch history for channel 77: OperationCanceled"));
    on.service.answer("GET", historyPath, 200, gzipped(page(3)), zipped, 1);
    on.client.fetchChannelHistoryEarlierThanMessage(FlakeId(77), FlakeId(3));
    EXPECT_TRUE(waitUntil([&] { return on.test.historyFetched.size() == 1; }));
    EXPECT_EQ(on.test.value("select count(*) from message").toStdString(), "3");
}

TEST(RestBodies, CutAtEveryByteAreNone)
{
    QByteArray const text(5'000, 'x');
    QByteArray const whole = gzipped(text);
    EXPECT_EQ(RestHelpers::inflatedBody({ whole, true }, 5'001).value_or("none"), text);
    EXPECT_FALSE(RestHelpers::inflatedBody({ whole, true }, 4'999));
    EXPECT_FALSE(RestHelpers::inflatedBody({ text, true }, 5'000)) << "not compressed at all";
    for (int cut = 0; cut < whole.size(); ++cut)
        EXPECT_FALSE(RestHelpers::inflatedBody({ whole.left(cut), true }, 100'000)) << cut;
}

TEST_F(Rest, TypingIsSentOncePerPause)
{
    std::string const typing = wholeRequest("POST " + channelPath() + "/typing", "{}");
    client.sendTyping(me, channel);
    client.sendTyping(me, channel); // remembered for the end of the pause
    client.sendTyping(me, channel);
    EXPECT_EQ(nextRequest(), typing);
    EXPECT_EQ(nextRequest(), typing);
    // A message that is sent ends the pause, and what was remembered is forgotten.
    client.sendTyping(me, channel);
    client.sendMessageAsUser(me, channel, QStringLiteral("x"));
    EXPECT_EQ(nextRequest().substr(0, 5), "POST ");
    client.sendTyping(me, channel);
    EXPECT_EQ(nextRequest(), typing);
    EXPECT_EQ(service.requests().size(), 4);
}

TEST_F(Rest, NameIsOverriddenInStoreAndCache)
{
    QString const name = QString::fromUtf8("a \"b\" ü\n👍");
    ASSERT_FALSE(DisCache::userName(me).isEmpty()) << "the cache holds the old one";
    client.hack_setUserNameOverride(me, name);
    QByteArray const sql = "select name from user where id = " + me.toString().toLatin1();
    EXPECT_EQ(test.value(sql.constData()), name);
    EXPECT_EQ(DisCache::userName(me), name) << "the change was posted";
}

TEST_F(Rest, RepliesThatComeAfterTheSessionHarmNobody)
{
    service.delay(QString::fromStdString(channelPath()) + QLatin1String("/messages"), 50);
    client.fetchRecentHistoryForChannel(channel);
    nextRequest();
    client.disconnectAllSessions();
    ASSERT_TRUE(test.waitForState("Disconnected"));
    EXPECT_TRUE(client.channelsWithFetchedHistory().isEmpty());
}
