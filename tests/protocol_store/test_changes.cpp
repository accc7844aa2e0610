// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "store_fixture.h"

#include <gtest/gtest.h>

using Type = DisChange::ChangeType;

TEST(DisChanges, OneMoreThanAreKeptTellsToReload)
{
    DisChanges changes;
    for (quint64 i = 0; i < 1024; ++i)
        ASSERT_NE(addChange(&changes, Type::UserStatusChanged), nullptr) << i;
    EXPECT_EQ(changes.mask, 0x40U);
    EXPECT_FALSE(changes.isReload());
    EXPECT_EQ(addChange(&changes, Type::GuildChanged), nullptr);
    changes.add(Type::ChannelChanged, FlakeId(1));
    EXPECT_TRUE(changes.isReload());
    EXPECT_EQ(changes.mask, 0x800040U);
    EXPECT_EQ(changes.items.size(), 1024);
    EXPECT_EQ(DisChanges::reload().mask, 0xFFFFFFU);
}

TEST(DisChanges, UserIsFoundWhereverItStands)
{
    struct Case {
        Type type;
        quint64 a, b;
        bool isOf7;
    };
    for (auto const& c :
         { Case{ Type::UserPropertiesChanged, 7, 8, true },
           Case{ Type::UserPropertiesChanged, 8, 7, false },
           Case{ Type::UserStatusChanged, 7, 8, true },
           Case{ Type::GuildMemberChanged, 8, 7, true }, Case{ Type::GuildMemberAdded, 8, 7, true },
           Case{ Type::GuildMemberRemoved, 8, 7, true },
           Case{ Type::GuildMemberRemoved, 7, 8, false },
           Case{ Type::ChannelChanged, 7, 7, false } }) {
        DisChanges changes;
        changes.add(Type::MessageCreated, FlakeId(1), FlakeId(2), FlakeId(3));
        changes.add(c.type, FlakeId(c.a), FlakeId(c.b));
        EXPECT_EQ(changes.anyRelevantPropertyChangesForUserId(FlakeId(7)), c.isOf7)
            << changesText(changes);
    }
    EXPECT_TRUE(DisChanges::reload().anyRelevantPropertyChangesForUserId(FlakeId(7)));
}
