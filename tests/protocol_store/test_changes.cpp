// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "store_fixture.h"

#include <gtest/gtest.h>

using Type = DisChange::ChangeType;

TEST(DisChanges, MaskTellsWhichTypesAreThere)
{
    DisChanges changes;
    EXPECT_EQ(changes.mask, 0U);
    changes.add(Type::GuildChanged, FlakeId(5));
    changes.add(Type::RelationshipRemoved, FlakeId(6), FlakeId(2));
    EXPECT_EQ(changes.mask, 0x400001U);
    EXPECT_TRUE(changes.has(Type::GuildChanged));
    EXPECT_FALSE(changes.has(Type::ChannelChanged));
    EXPECT_EQ(changesText(changes), "GuildChanged 5; RelationshipRemoved 6 2");
}

TEST(DisChanges, OneMoreThanAreKeptTellsToReload)
{
    DisChanges changes;
    for (quint64 i = 0; i < 1024; ++i) {
        DisChange* item = addChange(&changes, Type::UserStatusChanged);
        ASSERT_NE(item, nullptr) << i;
        item->words[0] = FlakeId(i);
    }
    EXPECT_EQ(changes.mask, 0x40U);
    EXPECT_FALSE(changes.isReload());

    EXPECT_EQ(addChange(&changes, Type::GuildChanged), nullptr);
    EXPECT_TRUE(changes.isReload());
    EXPECT_EQ(changes.mask, 0x800040U);
    EXPECT_EQ(changes.items.size(), 1024);
    EXPECT_EQ(addChange(&changes, Type::UserStatusChanged), nullptr);
    changes.add(Type::ChannelChanged, FlakeId(1));
    EXPECT_EQ(changes.mask, 0x800040U);
    EXPECT_EQ(changes.items.size(), 1024);
}

TEST(DisChanges, ReloadHasNoItemsAndEveryBit)
{
    auto const changes = DisChanges::reload();
    EXPECT_EQ(changes.mask, 0xFFFFFFU);
    EXPECT_TRUE(changes.items.isEmpty());
    EXPECT_TRUE(changes.isReload());
    EXPECT_TRUE(changes.anyRelevantPropertyChangesForUserId(FlakeId(1)));
}

TEST(DisChanges, UserIsFoundWhereverItStands)
{
    struct Case {
        Type type;
        FlakeId a, b;
        bool relevant;
    };
    FlakeId const user(7);
    FlakeId const other(8);
    for (auto const& c : {
             Case{ Type::UserPropertiesChanged, user, {}, true },
             Case{ Type::UserPropertiesChanged, other, {}, false },
             Case{ Type::UserStatusChanged, user, {}, true },
             Case{ Type::GuildMemberChanged, other, user, true },
             Case{ Type::GuildMemberAdded, other, user, true },
             Case{ Type::GuildMemberRemoved, other, user, true },
             Case{ Type::GuildMemberRemoved, user, other, false },
             Case{ Type::ChannelChanged, user, {}, false },
             Case{ Type::GuildChanged, user, {}, false },
         }) {
        DisChanges changes;
        changes.add(Type::MessageCreated, FlakeId(1), FlakeId(2), FlakeId(3));
        changes.add(c.type, c.a, c.b);
        EXPECT_EQ(changes.anyRelevantPropertyChangesForUserId(user), c.relevant)
            << changesText(changes);
    }
}
