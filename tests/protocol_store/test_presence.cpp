// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "store_fixture.h"

#include <gtest/gtest.h>

namespace {

constexpr char twoUsers[] =
    "insert into user (id, name, discrim, avatar, bot) values (3, 'ann', '0003', 'a', 0), "
    "(4, 'bob', '0004', 'b', 1)";
constexpr char allUsers[] =
    "select id, name, discrim, avatar, bot, status, game_name, game_url from user order by id";

std::string flush(Store& store)
{
    return changesText(DisClientImpl::flushBatchedStatuses(store.state, store.prepared));
}

std::string typing(Store const& store)
{
    std::string text;
    for (auto const& start : store.state.typingStarts)
        text += std::to_string(start.channelId.value()) + ' ' + std::to_string(start.userId.value())
            + ' ' + std::to_string(start.timestamp) + "; ";
    return text;
}

} // namespace

TEST(DisPresence, StatusIsReadByItsLength)
{
    struct Case {
        char const* status;
        int code;
    };
    for (auto const& c : {
             Case{ R"("online")", 4 },
             Case{ R"("dnd")", 3 },
             Case{ R"("idle")", 2 },
             Case{ R"("busy")", 2 },
             Case{ R"("offline")", 1 },
             Case{ R"("awake")", 0 },
             Case{ R"("")", 0 },
             Case{ R"("invisible")", 0 },
             Case{ "null", 0 },
             Case{ "4", 0 },
         }) {
        SCOPED_TRACE(c.status);
        Store store;
        store.exec(twoUsers);
        auto const outcome = store.dispatch(
            "PRESENCE_UPDATE", QByteArray(R"({"user": {"id": "3"}, "status": )") + c.status + "}");
        EXPECT_TRUE(outcome.statusBatchGrew);
        EXPECT_EQ(changesText(outcome.changes), "");
        EXPECT_EQ(store.rows("select status from user order by id"), "1\n1\n");
        EXPECT_EQ(flush(store), "UserStatusChanged 3");
        EXPECT_EQ(store.rows("select status from user order by id"),
                  std::to_string(c.code) + "\n1\n");
    }
}

TEST(DisPresence, LaterPresenceOfTheSameUserWins)
{
    Store store;
    store.exec(twoUsers);
    store.dispatch("PRESENCE_UPDATE", R"({"user": {"id": "3", "username": "anna"},
                                          "status": "idle", "game": {"name": "g", "url": "u"}})");
    store.dispatch("PRESENCE_UPDATE", R"({"user": {"id": "3", "avatar": null},
                                          "status": "dnd", "game": {"name": "h"}})");
    EXPECT_EQ(flush(store), "UserPropertiesChanged 3; UserStatusChanged 3");
    EXPECT_EQ(store.rows(allUsers),
              "3|'anna'|'0003'|''|0|3|'h'|''\n"
              "4|'bob'|'0004'|'b'|1|1|null|null\n");
    EXPECT_TRUE(store.state.batchedStatuses.isEmpty());
    EXPECT_TRUE(store.state.batchedStrings.isEmpty());
    EXPECT_EQ(flush(store), "");

    store.dispatch("PRESENCE_UPDATE", R"({"user": {"id": "3"}, "status": "online"})");
    EXPECT_EQ(flush(store), "UserStatusChanged 3");
    EXPECT_EQ(store.rows(allUsers),
              "3|'anna'|'0003'|''|0|4|null|null\n"
              "4|'bob'|'0004'|'b'|1|1|null|null\n");
}

TEST(DisPresence, WhatIsNotToldStaysAsItIs)
{
    struct Case {
        char const* user;
        char const* row;
    };
    for (auto const& c : {
             Case{ R"({"id": "4", "username": "rob"})", "'rob'|'0004'|'b'|1\n" },
             Case{ R"({"id": "4", "discriminator": "9"})", "'bob'|'9'|'b'|1\n" },
             Case{ R"({"id": "4", "avatar": "c"})", "'bob'|'0004'|'c'|1\n" },
             Case{ R"({"id": "4", "avatar": null})", "'bob'|'0004'|''|1\n" },
             Case{ R"({"id": "4", "username": null, "avatar": "c"})", "'bob'|'0004'|'c'|1\n" },
             Case{ R"({"id": "4", "bot": false})", "'bob'|'0004'|'b'|1\n" },
             Case{ R"({"id": "4", "username": "rob", "bot": false})", "'rob'|'0004'|'b'|0\n" },
         }) {
        Store store;
        store.exec(twoUsers);
        store.dispatch("PRESENCE_UPDATE", QByteArray(R"({"user": )") + c.user + "}");
        EXPECT_EQ(flush(store), "UserPropertiesChanged 4; UserStatusChanged 4") << c.user;
        EXPECT_EQ(store.rows("select name, discrim, avatar, bot from user where id = 4"), c.row)
            << c.user;
    }
}

TEST(DisPresence, UnknownUserComesWithWhatIsTold)
{
    Store store;
    store.dispatch("PRESENCE_UPDATE", R"({"user": {"id": "5"}, "status": "online"})");
    EXPECT_EQ(flush(store), "UserStatusChanged 5");
    EXPECT_EQ(store.dump(), "");
    store.dispatch("PRESENCE_UPDATE",
                   R"({"user": {"id": "5", "username": "eve", "bot": true}, "status": "online"})");
    EXPECT_EQ(flush(store), "UserPropertiesChanged 5; UserStatusChanged 5");
    EXPECT_EQ(store.rows(allUsers), "5|'eve'|''|''|1|4|null|null\n");
}

TEST(DisPresence, WithoutAUserNothingIsBatched)
{
    Store store;
    for (auto const* data : { R"({"status": "online"})", R"({"user": {"username": "x"}})",
                              R"({"user": {"id": null}})", R"({"user": "3", "id": "3"})" }) {
        EXPECT_FALSE(store.dispatch("PRESENCE_UPDATE", data).statusBatchGrew) << data;
        EXPECT_TRUE(store.state.batchedStatuses.isEmpty()) << data;
    }
}

TEST(DisPresence, TooManyForTheRecordTellToReload)
{
    Store store;
    for (int i = 1; i <= 1025; ++i)
        store.dispatch("PRESENCE_UPDATE",
                       R"({"status": "online", "user": {"id": )" + QByteArray::number(i) + "}}");
    EXPECT_EQ(flush(store), "reload");
}

TEST(DisPresence, AFloodIsWrittenBeforeItPilesUp)
{
    Store store;
    store.exec(twoUsers);
    QByteArray const presence =
        R"({"user": {"id": "3"}, "game": {"name": ")" + QByteArray(1 << 20, 'x') + "\"}}";
    std::string told;
    for (int i = 0; i < 40; ++i) {
        told += changesText(store.dispatch("PRESENCE_UPDATE", presence).changes) + ";";
        ASSERT_LE(store.state.batchedStrings.size(), 18 << 20);
    }
    EXPECT_EQ(told,
              std::string(17, ';') + "UserStatusChanged 3" + std::string(17, ';')
                  + "UserStatusChanged 3" + std::string(6, ';'));
    for (int i = 0; i < 1'100; ++i)
        store.dispatch("TYPING_START",
                       R"({"channel_id": "20", "timestamp": 1, "user_id": )" + QByteArray::number(i)
                           + "}");
    EXPECT_EQ(store.state.typingStarts.size(), 1'000);
}

TEST(DisTyping, EachUserIsTakenOncePerChannelAndUntilTheyWrite)
{
    Store store;
    auto const type = [&](char const* data) {
        return store.dispatch("TYPING_START", data).typingBatchGrew;
    };
    EXPECT_TRUE(type(R"({"channel_id": "20", "user_id": "3", "timestamp": 100})"));
    EXPECT_TRUE(type(R"({"channel_id": "20", "user_id": "3", "timestamp": 101})"));
    EXPECT_TRUE(type(R"({"channel_id": "20", "user_id": "4", "timestamp": 102})"));
    EXPECT_TRUE(type(R"({"channel_id": "21", "user_id": "3", "timestamp": 4294967296})"));
    EXPECT_EQ(typing(store), "20 3 100; 20 4 102; 21 3 4294967296; ");

    store.dispatch("MESSAGE_CREATE", R"({"id": "600", "channel_id": "20", "author": {"id": "3"}})");
    EXPECT_EQ(typing(store), "20 4 102; 21 3 4294967296; ");
}

TEST(DisTyping, BadStartsAreDropped)
{
    Store store;
    for (auto const* data : {
             R"({"user_id": "3", "timestamp": 100})",
             R"({"channel_id": "20", "timestamp": 100})",
             R"({"channel_id": "20", "user_id": "3"})",
             R"({"channel_id": "20", "user_id": "3", "timestamp": -1})",
             R"({"channel_id": "20", "user_id": "3", "timestamp": "100"})",
             R"({"channel_id": "20", "user_id": "3", "timestamp": 1.5})",
             R"({"channel_id": "20", "user_id": "3", "timestamp": 18446744073709551615})",
         }) {
        EXPECT_FALSE(store.dispatch("TYPING_START", data).typingBatchGrew) << data;
    }
    EXPECT_EQ(typing(store), "");
}
