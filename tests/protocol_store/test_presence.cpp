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
    return changesText(store.flushStatuses());
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
    Store store;
    store.exec(twoUsers);
    for (auto const& c :
         { Case{ R"("online")", 4 }, Case{ R"("dnd")", 3 }, Case{ R"("idle")", 2 },
           Case{ R"("busy")", 2 }, Case{ R"("offline")", 1 }, Case{ R"("awake")", 0 },
           Case{ R"("")", 0 }, Case{ R"("invisible")", 0 }, Case{ "null", 0 }, Case{ "4", 0 } }) {
        store.exec("update user set status = 7 where id = 3");
        auto const before = store.dump();
        EXPECT_EQ(outcomeText(store.dispatch("PRESENCE_UPDATE",
                                             QByteArray(R"({"user": {"id": "3"}, "status": )")
                                                 + c.status + "}")),
                  "status");
        EXPECT_EQ(store.dump(), before) << "written before its batch";
        EXPECT_EQ(flush(store), "UserStatusChanged 3");
        EXPECT_EQ(store.rows("select status from user order by id"),
                  std::to_string(c.code) + "\n1\n")
            << c.status;
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
    std::string const bob = "4|'bob'|'0004'|'b'|1|1|null|null\n";
    EXPECT_EQ(store.rows(allUsers), "3|'anna'|'0003'|''|0|3|'h'|''\n" + bob);
    EXPECT_EQ(flush(store), "");

    store.dispatch("PRESENCE_UPDATE", R"({"user": {"id": "3"}, "status": "online"})");
    EXPECT_EQ(flush(store), "UserStatusChanged 3");
    EXPECT_EQ(store.rows(allUsers), "3|'anna'|'0003'|''|0|4|null|null\n" + bob);
}

TEST(DisPresence, WhatIsNotToldStaysAsItIs)
{
    struct Case {
        char const* user;
        char const* row;
    };
    for (auto const& c : {
             Case{ R"("id": "4", "username": "rob")", "'rob'|'0004'|'b'|1\n" },
             Case{ R"("id": "4", "discriminator": "9")", "'bob'|'9'|'b'|1\n" },
             Case{ R"("id": "4", "avatar": "c")", "'bob'|'0004'|'c'|1\n" },
             Case{ R"("id": "4", "avatar": null)", "'bob'|'0004'|''|1\n" },
             Case{ R"("id": "4", "username": null, "avatar": "c")", "'bob'|'0004'|'c'|1\n" },
             Case{ R"("id": "4", "bot": false)", "'bob'|'0004'|'b'|1\n" },
             Case{ R"("id": "4", "username": "rob", "bot": false)", "'rob'|'0004'|'b'|0\n" },
             Case{ R"("id": "5", "username": "eve", "bot": true)", "'eve'|''|''|1\n" },
         }) {
        Store store;
        store.exec(twoUsers);
        store.dispatch("PRESENCE_UPDATE", QByteArray(R"({"user": {)") + c.user + "}}");
        std::string const id(1, c.user[7]);
        EXPECT_EQ(flush(store), "UserPropertiesChanged " + id + "; UserStatusChanged " + id);
        EXPECT_EQ(store.rows("select name, discrim, avatar, bot from user where id = " + id), c.row)
            << c.user;
    }
    Store store;
    store.dispatch("PRESENCE_UPDATE", R"({"user": {"id": "5"}, "status": "online"})");
    EXPECT_EQ(flush(store) + "; " + store.dump(), "UserStatusChanged 5; ") << "no user is made";
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
    struct Case {
        char const* start;
        char const* told;
    };
    Store store;
    for (auto const& c : {
             Case{ R"({"channel_id": "20", "user_id": "3", "timestamp": 100})", "typing" },
             Case{ R"({"channel_id": "20", "user_id": "3", "timestamp": 101})", "typing" },
             Case{ R"({"channel_id": "20", "user_id": "4", "timestamp": 102})", "typing" },
             Case{ R"({"channel_id": "21", "user_id": "3", "timestamp": 4294967296})", "typing" },
             Case{ R"({"channel_id": "22", "user_id": "3", "timestamp": -1})", "" },
             Case{ R"({"channel_id": "22", "user_id": "3", "timestamp": "100"})", "" },
             Case{ R"({"channel_id": "22", "user_id": "3", "timestamp": 18446744073709551615})",
                   "" },
         }) {
        EXPECT_EQ(outcomeText(store.dispatch("TYPING_START", c.start)), c.told) << c.start;
    }
    EXPECT_EQ(typing(store), "20 3 100; 20 4 102; 21 3 4294967296; ");
    store.dispatch("MESSAGE_CREATE", R"({"id": "600", "channel_id": "20", "author": {"id": "3"}})");
    EXPECT_EQ(typing(store), "20 4 102; 21 3 4294967296; ");
}
