// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "store_fixture.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr char readyData[] = R"({
    "session_id": "abcdefghij",
    "user": {"id": "1", "username": "me", "discriminator": "0001", "avatar": "m",
             "email": "me@example.invalid", "premium": true},
    "guilds": [
        {"id": "10", "name": "small", "owner_id": "3", "member_count": 3999,
         "channels": [{"id": "20", "type": 0, "name": "read", "last_message_id": "500"},
                      {"id": "21", "type": 0, "name": "unread", "last_message_id": "501"},
                      {"id": "22", "type": 0, "name": "empty"},
                      {"id": "23", "type": 0, "name": "never", "last_message_id": "503"}],
         "members": [{"user": {"id": "3", "username": "ann"}},
                     {"user": {"id": "1", "username": "me", "discriminator": "0001",
                               "avatar": "m"}, "nick": "I"}],
         "presences": [{"user": {"id": "3"}, "status": "idle"}]},
        {"id": "11", "name": "large", "member_count": 4000},
        {"id": "12", "unavailable": true}, {"name": "no id", "member_count": 9999}],
    "private_channels": [
        {"id": "50", "type": 1, "last_message_id": "510", "recipients": [
            {"id": "3", "username": "ann"}]},
        {"id": "51", "type": 3, "name": "us", "owner_id": "1", "last_message_id": "511",
         "recipients": []}],
    "read_state": [
        {"id": "20", "last_message_id": "500", "mention_count": 0},
        {"id": "21", "last_message_id": "400", "mention_count": 2},
        {"id": "50", "last_message_id": "510", "mention_count": 4294967296},
        {"id": "52", "last_message_id": null}, {"mention_count": 1}],
    "relationships": [{"id": "4", "type": 2, "user": {"id": "4", "username": "bob"}}],
    "user_settings": {"guild_positions": ["11", "10"]},
    "user_guild_settings": [{"guild_id": "10", "muted": true}, {"guild_id": null}]})";

std::string sorted(QVector<FlakeId> ids)
{
    std::sort(ids.begin(), ids.end());
    std::string text;
    for (auto const id : ids)
        text += (text.empty() ? "" : " ") + std::to_string(id.value());
    return text;
}

} // namespace

TEST(DisReady, FillsTheStoreAndTellsTheAccount)
{
    Store store;
    store.exec("insert into user_relationship values (1, 9, 1), (2, 9, 1);"
               "insert into user_guild_position values (1, 99, 0)");
    auto const outcome = store.dispatch("READY", readyData);
    EXPECT_EQ(store.dump(),
              "any_channel: 20|1\n"
              "any_channel: 21|1\n"
              "any_channel: 22|1\n"
              "any_channel: 23|1\n"
              "any_channel: 50|4\n"
              "any_channel: 51|5\n"
              "guild: 10|'small'|null|3|null\n"
              "guild: 11|'large'|null|0|null\n"
              "guild: 12|'[Unavailable]'|null|0|null\n"
              "guild_channel: 20|10|-1|0|0|0|'read'|null|0|500\n"
              "guild_channel: 21|10|-1|0|0|0|'unread'|null|0|501\n"
              "guild_channel: 22|10|-1|0|0|0|'empty'|null|0|null\n"
              "guild_channel: 23|10|-1|0|0|0|'never'|null|0|503\n"
              "guild_member: 10|1|'I'|null|null|null\n"
              "guild_member: 10|3|null|null|null|null\n"
              "local_user: 1\n"
              "private_channel: 50|510|null|null|null\n"
              "private_channel: 51|511|1|'us'|''\n"
              "private_channel_participant: 50|1\n"
              "private_channel_participant: 50|3\n"
              "private_channel_participant: 51|1\n"
              "user: 1|'me'|'0001'|'m'|0|1|null|4|null|null\n"
              "user: 3|'ann'|''|''|0|0|null|2|null|null\n"
              "user: 4|'bob'|''|''|0|0|null|1|null|null\n"
              "user_channel_read_state: 1|20|500|0\n"
              "user_channel_read_state: 1|21|400|2\n"
              "user_channel_read_state: 1|50|510|0\n"
              "user_channel_read_state: 1|52|-1|0\n"
              "user_guild_position: 1|10|1\n"
              "user_guild_position: 1|11|0\n"
              "user_guild_setting: 1|10|0|0|1|0\n"
              "user_relationship: 1|4|2\n"
              "user_relationship: 2|9|1\n");

    EXPECT_EQ(outcomeText(outcome), "reload; ready 1");
    EXPECT_EQ(store.state.ownUserId, FlakeId(1));
    EXPECT_EQ(store.state.gatewaySessionId, QStringLiteral("abcdefghij"));
    auto const& account = *outcome.ready;
    EXPECT_EQ(
        QStringList({ account.userName, account.discriminator, account.email, account.avatar })
            .join(QLatin1Char(' ')),
        QStringLiteral("me 0001 me@example.invalid m"));
    EXPECT_EQ(sorted(account.tooLargeGuilds), "11");
    EXPECT_EQ(sorted(account.unreadChannels), "21 23 51");

    // A second time, which writes the same.
    auto const once = store.dump();
    auto const again = store.dispatch("READY", readyData);
    EXPECT_EQ(lineDifference(once, store.dump()), "");
    EXPECT_EQ(sorted(again.ready->unreadChannels), "21 23 51");
}

TEST(DisReady, IsRefusedWithABox)
{
    constexpr char noUser[] = "Discord protocol error|Discord protocol error.\n"
                              "Nakwire did not receive data that is required to operate|fatal";
    struct Case {
        char const* data;
        char const* told;
        char const* rows = "";
    };
    for (auto const& c :
         { Case{ "{}", noUser }, Case{ R"({"user": {}})", noUser },
           Case{ R"({"user": {"id": null}})", noUser },
           Case{ R"({"user": {"username": "me"}})", noUser }, Case{ R"({"user": "1"})", noUser },
           Case{ R"({"user": {"id": "1", "bot": true}})",
                 "No Bot Accounts|Connecting with bot accounts using the GUI is not supported"
                 "|fatal",
                 "local_user: 1\nuser: 1|''|''|''|0|0|null|4|null|null\n" } }) {
        Store store;
        EXPECT_EQ(outcomeText(store.dispatch("READY", c.data)), c.told) << c.data;
        EXPECT_EQ(store.dump(), c.rows) << c.data;
    }
}

TEST(DisReady, HistoryPageIsWrittenWholeAndCounted)
{
    Store store;
    store.exec("insert into guild_channel values (20, 10, -1, 0, 0, 0, 'text', null, 0, 500)");
    withJson(R"([{"id": "600", "channel_id": "20", "content": "b", "reactions": [
                   {"emoji": {"id": null, "name": "x"}, "me": true, "count": 3}]},
                 {"id": "400", "channel_id": "20", "content": "a"}, 7, {"content": "no id"}])",
             [&](Dread::Ctx const& ctx, Dread::Val const& root) {
                 EXPECT_EQ(
                     DisClientImpl::writeHistoryPage(store.prepared, FlakeId(1), ctx, root.list),
                     3);
             });
    EXPECT_EQ(store.dump(),
              "guild_channel: 20|10|-1|0|0|0|'text'|null|0|600\n"
              "message: 400|20|-1|0|0|0|'a'\n"
              "message: 600|20|-1|0|0|0|'b'\n"
              "message_emoji_reaction: 600|1|-1|'x'\n"
              "message_emoji_reaction_count: 600|3|-1|'x'\n");
}
