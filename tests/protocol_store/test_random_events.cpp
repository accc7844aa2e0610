// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Long runs of events of every name with fields of every kind: what always holds of the store still
// holds, and the same events end in the same rows. NAKWIRE_RANDOM_SEEDS asks for more runs than
// one.

#include "store_fixture.h"
#include "store_invariants.h"

#include <gtest/gtest.h>

#include <set>

namespace {

constexpr int eventsOfARun = 100'000;
constexpr int checkEvery = 500;
constexpr int flushEvery = 5;

quint32 seedCount()
{
    return static_cast<quint32>(qMax(1, qEnvironmentVariableIntValue("NAKWIRE_RANDOM_SEEDS")));
}

// What does not hold of the outcome.
std::string feed(Store& store, EventMaker const& maker)
{
    return StoreInvariants::broken(store.dispatch(maker));
}

std::string flush(Store& store)
{
    return StoreInvariants::broken(store.flushStatuses());
}

std::string eventText(EventMaker const& maker)
{
    return Dread::toQString(maker.name()).toStdString() + " "
        + Dread::prettyPrint(maker.ctx(), maker.data()).toStdString();
}

// What is the own users' alone, or counted once for each session.
constexpr char dropOwn[] =
    "delete from guild_member where user_id in (90, 91);"
    "delete from guild_member_role where user_id in (90, 91);"
    "delete from private_channel_participant where user_id in (90, 91);"
    "delete from message_emoji_reaction where user_id in (90, 91);"
    "delete from user where id in (90, 91); delete from local_user;"
    "delete from user_guild_position where user_id = 91;"
    "delete from user_guild_setting where user_id = 91;"
    "delete from user_guild_setting_channel_override where user_id = 91;"
    "delete from user_channel_read_state where user_id = 91;"
    "delete from user_private_deleted_channel where user_id = 91;"
    "delete from user_relationship where own_user_id = 91;"
    "delete from message_emoji_reaction_count;"
    // A status of someone whose user comes later in the same event is lost the first time.
    "update user set status = 1, game_name = null, game_url = null;";

} // namespace

TEST(DisRandomEvents, AreOfEveryNameThatIsHandled)
{
    auto const made = EventMaker::eventNames();
    auto const handled = DisClientImpl::handledEventNames();
    EXPECT_EQ(std::set<std::string>(made.begin(), made.end()),
              std::set<std::string>(handled.begin(), handled.end()));
}

TEST(DisRandomEvents, WhatAlwaysHoldsOfTheStoreStillDoes)
{
    for (quint32 seed = 1; seed <= seedCount(); ++seed) {
        SCOPED_TRACE(seed);
        Store store;
        StoreInvariants invariants(store.db);
        EventMaker maker(seed);
        for (int i = 1; i <= eventsOfARun; ++i) {
            maker.make();
            ASSERT_EQ(feed(store, maker), "") << i << ": " << eventText(maker);
            if (i % flushEvery == 0) {
                ASSERT_EQ(flush(store), "");
            }
            if (i % checkEvery == 0 || i < checkEvery) {
                ASSERT_EQ(invariants.broken(), "") << i << ": " << eventText(maker);
            }
        }
        EXPECT_EQ(invariants.brokenFile(), "");
        auto const rows = store.dump();
        EXPECT_GT(std::count(rows.begin(), rows.end(), '\n'), 500);
    }
}

// One account in a store of its own, the same in another, and two accounts in a third: each event
// comes twice there.
TEST(DisRandomEvents, EndInTheSameRowsThroughOneSessionAndThroughTwo)
{
    for (quint32 seed = 101; seed < 101 + seedCount(); ++seed) {
        SCOPED_TRACE(seed);
        Store alone;
        Store again;
        Store shared;
        DisClientImpl::DisEventState second;
        EventMaker maker(seed);
        EventMaker secondMaker(seed);
        secondMaker.setOwnUser("91");
        for (int i = 1; i <= eventsOfARun / 10; ++i) {
            maker.make();
            secondMaker.make();
            ASSERT_EQ(feed(alone, maker) + feed(again, maker) + feed(shared, maker), "");
            std::swap(shared.state, second);
            ASSERT_EQ(feed(shared, secondMaker), "");
            std::swap(shared.state, second);
            if (i % flushEvery != 0)
                continue;
            ASSERT_EQ(flush(alone) + flush(again) + flush(shared), "");
            std::swap(shared.state, second);
            ASSERT_EQ(flush(shared), "");
            std::swap(shared.state, second);
        }
        EXPECT_EQ(lineDifference(alone.dump(), again.dump()), "");
        alone.exec(dropOwn);
        shared.exec(dropOwn);
        EXPECT_EQ(lineDifference(alone.dump(), shared.dump()), "");
    }
}
