// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Requests for the sake of their reply: lists that are written into the store, and handles.

#include "dis_request.h"
#include "signed_in.h"
#include "store_fixture.h"

namespace {

FlakeId const g(11), c(12);

// What became of a fetch, as text.
std::string outcome(DisRequest const& op)
{
    static char const* const words[] = { "ok", "no session", "network", "bad reply" };
    return op.isFinished() ? words[static_cast<size_t>(op.error())] : "unfinished";
}

class RestFetches : public SignedInTest {
protected:
    RestFetches()
    {
        QObject::connect(&client, &DisClient::disChanges, [this](DisChanges const& changes) {
            m_told = QString::fromStdString(changesText(changes));
        });
    }
    // The next changes.
    std::string told()
    {
        waitUntil([this] { return !m_told.isEmpty(); });
        return std::exchange(m_told, {}).toStdString();
    }
    void answer(char const* path, int status, char const* body)
    {
        service.answer("GET", QString::fromLatin1(path), status, body, {}, 1);
    }

    QObject owner; // of handles

private:
    QString m_told;
};

} // namespace

TEST_F(RestFetches, PinnedMessages)
{
    answer("/channels/12/pins", 500, "");
    client.fetchPinnedMessages(me, c);
    EXPECT_EQ(client.channelsWithFetchedPinnedMessages(), QSet<FlakeId>{ c });
    EXPECT_TRUE(log.waitFor("Failed to fetch pinned messages of channel 12: InternalServerError"));
    EXPECT_EQ(client.channelsWithFetchedPinnedMessages(), QSet<FlakeId>());
    answer("/channels/12/pins", 200, "{}");
    client.fetchPinnedMessages(me, c);
    EXPECT_TRUE(log.waitFor("Did not get a Dread::List from JSON-to-Dread conversion when "
                            "receiving pinned messages"));
    answer("/channels/12/pins", 200,
           R"([{"id":"7","author":{"id":"5"},"content":"x","pinned":true},3,{},{"id":"8"},)"
           R"({"id":"oops"}])");
    client.fetchPinnedMessages(me, c);
    client.fetchPinnedMessages(me, c); // it is under way
    EXPECT_EQ(told(), "MessageChanged 7 12 5; MessageChanged 8 12");
    EXPECT_EQ(test.value("select group_concat(channel_id || ':' || message_id) from "
                         "channel_pinned_message")
                  .toStdString(),
              "12:7,12:8");
    EXPECT_EQ(test.value("select count(*) from message where id = 7"), QStringLiteral("0"))
        << "it would be the history's oldest, with a hole behind it";
    EXPECT_EQ(service.requests().size(), 3);
}

TEST_F(RestFetches, GuildBans)
{
    auto const bans = [this] {
        return test
            .value("select group_concat(user_id || ':' || name || ':' || coalesce(reason, '-')) "
                   "from guild_ban join user on user.id = user_id where guild_id = 11")
            .toStdString();
    };
    answer("/guilds/11/bans", 200,
           R"([{"reason":"rüde","user":{"id":"5","username":"five"}},)"
           R"({"reason":null,"user":{"id":"6","username":"six"}},)"
           R"({"reason":"nobody"},1,{"user":{"id":""}}])");
    client.fetchGuildBans(me, g);
    EXPECT_EQ(told(), "GuildBanAdded 11 5; GuildBanAdded 11 6");
    EXPECT_EQ(bans(), "5:five:rüde,6:six:-");
    answer("/guilds/11/bans", 200, R"([{"user":{"id":"6","username":"six"}}])");
    client.fetchGuildBans(me, g);
    EXPECT_EQ(told(), "GuildBanAdded 11 6");
    EXPECT_EQ(bans(), "6:six:-") << "the list is all that there is";
    answer("/guilds/11/bans", 403, "[]");
    client.fetchGuildBans(me, g);
    EXPECT_TRUE(log.waitFor("Failed to fetch bans of guild 11: ContentAccessDenied"));
    EXPECT_EQ(bans(), "6:six:-");
}

TEST_F(RestFetches, HandlesFinishOnce)
{
    char const* const entries =
        R"({"audit_log_entries":[{"id":"1"},{"id":"2"}],"users":[{"id":"5"}]})";
    struct Case {
        FlakeId user;
        FlakeId guild;
        int status; // of the reply
        char const* body;
        char const* outcome;
    };
    for (Case const& one :
         { Case{ FlakeId(999), g, 0, "", "no session" }, Case{ me, FlakeId(), 0, "", "bad reply" },
           Case{ me, g, 404, entries, "network" }, Case{ me, g, 200, "[1", "bad reply" },
           Case{ me, g, 200, "[]", "bad reply" }, Case{ me, g, 200, "{}", "bad reply" },
           Case{ me, g, 200, R"({"audit_log_entries":{}})", "bad reply" },
           Case{ me, g, 200, entries, "ok 2 entries of 1 users" } }) {
        if (one.status != 0)
            answer("/guilds/11/audit-logs", one.status, one.body);
        auto* const op = client.fetchAuditLog(one.user, one.guild, {}, &owner);
        int finished = 0;
        QObject::connect(op, &DisRequest::finished, [&] { ++finished; });
        EXPECT_FALSE(op->isFinished()) << "not before the caller has connected";
        waitUntil([&] { return finished > 0; });
        EXPECT_EQ(finished, 1);
        std::string text = outcome(*op);
        if (auto const data = op->fetchedData())
            text += ' ' + std::to_string(data->entries.count) + " entries of "
                + std::to_string(data->users.count) + " users";
        EXPECT_EQ(text, one.outcome) << one.body;
    }
    EXPECT_EQ(service.requests().size(), 6);
}

TEST_F(RestFetches, HandlesOutliveTheSessionAndGoAtAnyTime)
{
    service.delay(QStringLiteral("/guilds/11/emojis"), 5'000);
    auto* const kept = client.fetchGuildEmoji(me, g, &owner);
    delete client.fetchGuildEmoji(me, g, &owner);
    client.disconnectAllSessions();
    EXPECT_TRUE(waitUntil([&] { return kept->isFinished(); }));
    EXPECT_EQ(outcome(*kept), "no session");
}
