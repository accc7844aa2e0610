// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Requests for the sake of their reply: lists that are written into the store, and handles.

#include "dis_request.h"
#include "signed_in.h"

#include <gtest/gtest.h>

namespace {

FlakeId const g(11), c(12);

// Everything that a table holds of one channel or guild, as text.
std::string pins(SignedIn const& on)
{
    return on.test
        .value("select group_concat(channel_id || ':' || message_id) from channel_pinned_message")
        .toStdString();
}

std::string bans(SignedIn const& on)
{
    return on.test
        .value("select group_concat(guild_id || ':' || user_id || ':' || coalesce(reason, '-'), "
               "' ') from guild_ban")
        .toStdString();
}

// What became of a fetch, as text.
std::string outcome(DisRequest const& op)
{
    static char const* const words[] = { "ok", "no session", "network", "bad reply" };
    return op.isFinished() ? words[static_cast<size_t>(op.error())] : "unfinished";
}

} // namespace

TEST(RestFetches, PinnedMessages)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    QVector<QVector<FlakeId>> changed;
    QObject::connect(&client, &DisClient::disChanges, [&](DisChanges const& changes) {
        for (DisChange const& one : changes.items)
            if (one.type == DisChange::ChangeType::MessageChanged)
                changed.append({ one.words[0], one.words[1], one.words[2] });
    });
    QString const path = QStringLiteral("/channels/12/pins");
    LogLines log;
    on.service.answer("GET", path, 500, "", {}, 1);
    client.fetchPinnedMessages(on.test.userId, c);
    EXPECT_EQ(client.channelsWithFetchedPinnedMessages(), QSet<FlakeId>{ c });
    EXPECT_TRUE(log.waitFor("Failed to fetch pinned messages of channel 12: InternalServerError"));
    EXPECT_EQ(client.channelsWithFetchedPinnedMessages(), QSet<FlakeId>());
    on.service.answer("GET", path, 200, "{}", {}, 1);
    client.fetchPinnedMessages(on.test.userId, c);
    EXPECT_TRUE(log.waitFor("Did not get a Dread::List from JSON-to-Dread conversion when "
                            "receiving pinned messages"));
    on.service.answer("GET", path, 200,
                      R"([{"id":"7","author":{"id":"5"},"content":"x","pinned":true},3,{},)"
                      R"({"id":"8"},{"id":"oops"}])");
    on.seen = on.service.requests().size();
    client.fetchPinnedMessages(on.test.userId, c);
    client.fetchPinnedMessages(on.test.userId, c); // it is under way
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /channels/12/pins"));
    ASSERT_TRUE(waitUntil([&] { return changed.size() == 2; }));
    EXPECT_EQ(changed[0], (QVector<FlakeId>{ FlakeId(7), c, FlakeId(5) }));
    EXPECT_EQ(changed[1], (QVector<FlakeId>{ FlakeId(8), c, FlakeId() }));
    EXPECT_EQ(pins(on), "12:7,12:8");
    EXPECT_EQ(on.test.value("select count(*) from message where id = 7"), QStringLiteral("0"))
        << "it would be the history's oldest, with a hole behind it";
    EXPECT_EQ(on.service.requests().size(), on.seen);
}

TEST(RestFetches, GuildBans)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    int added = 0;
    QObject::connect(&client, &DisClient::disChanges, [&](DisChanges const& changes) {
        for (DisChange const& one : changes.items)
            added += one.type == DisChange::ChangeType::GuildBanAdded ? 1 : 0;
    });
    QString const path = QStringLiteral("/guilds/11/bans");
    on.service.answer("GET", path, 200,
                      R"([{"reason":"rüde","user":{"id":"5","username":"five"}},)"
                      R"({"reason":null,"user":{"id":"6","username":"six"}},)"
                      R"({"reason":"nobody"},1,{"user":{"id":""}}])",
                      {}, 1);
    client.fetchGuildBans(on.test.userId, g);
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /guilds/11/bans"));
    ASSERT_TRUE(waitUntil([&] { return added == 2; }));
    EXPECT_EQ(bans(on), "11:5:rüde 11:6:-");
    EXPECT_EQ(on.test.value("select group_concat(name) from user where id in (5, 6)"),
              QStringLiteral("five,six"));
    on.service.answer("GET", path, 200, R"([{"user":{"id":"9"}}])", {}, 1);
    client.fetchGuildBans(on.test.userId, g);
    ASSERT_TRUE(waitUntil([&] { return added == 3; }));
    EXPECT_EQ(bans(on), "11:9:-") << "the list is all that there is";
    LogLines log;
    on.service.answer("GET", path, 403, "[]");
    client.fetchGuildBans(on.test.userId, g);
    EXPECT_TRUE(log.waitFor("Failed to fetch bans of guild 11: ContentAccessDenied"));
    EXPECT_EQ(bans(on), "11:9:-");
}

TEST(RestFetches, RequestsAsText)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    FlakeId const me = on.test.userId;
    QObject owner;
    client.requestInviteInfo(me, QStringLiteral("a/é"), &owner);
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /invite/a%2F%C3%A9"));
    client.acceptInvite(me, QStringLiteral("abc"), &owner);
    EXPECT_EQ(on.nextRequest(), wholeRequest("POST /invite/abc"));
    client.createGuildChannelInvite(me, c, QString(), QStringLiteral("86400"), &owner);
    EXPECT_EQ(on.nextRequest(),
              wholeRequest("POST /channels/12/invites", R"({"max_age":"86400","validate":null})"));
    client.createGuildChannelInvite(me, c, QStringLiteral("abc"), QStringLiteral("0"), &owner);
    EXPECT_EQ(on.nextRequest(),
              wholeRequest("POST /channels/12/invites", R"({"max_age":"0","validate":"abc"})"));
    client.fetchGuildInvites(me, g, &owner);
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /guilds/11/invites"));
    client.fetchGuildEmoji(me, g, &owner);
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /guilds/11/emojis"));
    client.fetchMentions(me, {}, &owner);
    EXPECT_EQ(on.nextRequest(),
              wholeRequest("GET /users/@me/mentions?limit=25&roles=true&everyone=true"));
    client.fetchMentions(me, { 3, g, false, false, c }, &owner);
    EXPECT_EQ(on.nextRequest(),
              wholeRequest("GET /users/@me/mentions?limit=3&guild_id=11&roles=false&everyone=false"
                           "&before=12"));
    client.fetchAuditLog(me, g, {}, &owner);
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /guilds/11/audit-logs"));
    client.fetchAuditLog(me, g, { c, 0, FlakeId(5), 100 }, &owner);
    EXPECT_EQ(
        on.nextRequest(),
        wholeRequest("GET /guilds/11/audit-logs?before=12&action_type=0&user_id=5&limit=100"));
    client.fetchAuditLog(me, g, { {}, 72, {}, {} }, &owner);
    EXPECT_EQ(on.nextRequest(), wholeRequest("GET /guilds/11/audit-logs?action_type=72"));
}

TEST(RestFetches, HandlesFinishOnce)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    QObject owner;
    QString const path = QStringLiteral("/guilds/11/emojis");
    auto const run = [&](FlakeId user, FlakeId guild) {
        auto* const op = client.fetchGuildEmoji(user, guild, &owner);
        int finished = 0;
        QObject::connect(op, &DisRequest::finished, [&] { ++finished; });
        EXPECT_FALSE(op->isFinished()) << "not before the caller has connected";
        waitUntil([&] { return finished > 0; });
        EXPECT_EQ(finished, 1);
        EXPECT_EQ(op->fetchedData() == nullptr, op->error() != DisRequest::Error::None);
        return outcome(*op);
    };
    EXPECT_EQ(run(FlakeId(999), g), "no session");
    EXPECT_EQ(run(on.test.userId, FlakeId()), "bad reply");
    EXPECT_TRUE(on.service.requests().isEmpty());
    on.service.answer("GET", path, 404, "[]", {}, 1);
    EXPECT_EQ(run(on.test.userId, g), "network");
    on.service.answer("GET", path, 200, "[1", {}, 1);
    EXPECT_EQ(run(on.test.userId, g), "bad reply");
    on.service.answer("GET", path, 200, "[1]", {}, 1);
    EXPECT_EQ(run(on.test.userId, g), "ok");
}

TEST(RestFetches, HandlesOutliveTheSessionAndGoAtAnyTime)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    QObject owner;
    on.service.delay(QStringLiteral("/guilds/11/emojis"), 5'000);
    auto* const kept = client.fetchGuildEmoji(on.test.userId, g, &owner);
    delete client.fetchGuildEmoji(on.test.userId, g, &owner);
    client.disconnectAllSessions();
    EXPECT_TRUE(waitUntil([&] { return kept->isFinished(); }));
    EXPECT_EQ(outcome(*kept), "no session");
}

TEST(RestFetches, InviteInfo)
{
    struct Case {
        char const* body;
        char const* shown;
    };
    for (Case const& one : { Case{ R"({"code":"abc","guild":{"id":"11","name":"G \"ü\""},)"
                                   R"("channel":{"id":"12","name":"general"}})",
                                   "abc|11|G \"ü\"|12|general" },
                             Case{ R"({"code":7,"guild":[],"channel":{"id":""}})", "||||" },
                             Case{ "{}", "||||" }, Case{ "[]", "||||" } }) {
        auto const data = DisClientOp::parseBody({ one.body, false }, 1'000);
        ASSERT_TRUE(data);
        DisInviteInfo const info = readInviteInfo(*data);
        auto const id = [](FlakeId flake) {
            return flake.isValid() ? flake.toString() : QString();
        };
        QString const shown = QStringList{ info.code, id(info.guildId), info.guildName,
                                           id(info.channelId), info.channelName }
                                  .join(QLatin1Char('|'));
        EXPECT_EQ(shown.toStdString(), one.shown) << one.body;
    }
}

TEST(RestFetches, AuditLog)
{
    SignedIn on;
    QObject owner;
    auto const run = [&](char const* body) {
        on.service.answer("GET", QStringLiteral("/guilds/11/audit-logs"), 200, body, {}, 1);
        auto* const op = on.test.client->fetchAuditLog(on.test.userId, g, {}, &owner);
        waitUntil([&] { return op->isFinished(); });
        return op;
    };
    for (char const* const body : { "[]", "{}", R"({"audit_log_entries":{}})" })
        EXPECT_EQ(outcome(*run(body)), "bad reply") << body;
    auto* const op = run(R"({"audit_log_entries":[{"id":"1"},{"id":"2"}],"users":[{"id":"5"}]})");
    ASSERT_EQ(outcome(*op), "ok");
    EXPECT_EQ(op->fetchedData()->entries.count, 2U);
    EXPECT_EQ(op->fetchedData()->users.count, 1U);
    Dread::Ctx const& ctx = op->fetchedData()->fetched->ctx;
    FlakeId id;
    Dread::find(ctx, Dread::listAt(ctx, op->fetchedData()->entries, 1).map, "id", &id);
    EXPECT_EQ(id, FlakeId(2));
}
