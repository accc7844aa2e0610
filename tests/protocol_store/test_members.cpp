// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Questions about members: who is above whom, where they are met, who talks.

#include "dis_cache.h"
#include "dis_utils.h"
#include "store_fixture.h"

#include <gtest/gtest.h>

namespace {

constexpr FlakeId guild(10);

// From the lowest role of guild 10: everyone 10, then 31, 30 (both in position 1), 32, 33. User 2
// owns it; 3 has the role 30, 4 has 31, 5 has none, 6 has 32 and 30, 7 has 33 with no rights.
constexpr char members[] =
    "insert into guild values (10, 'G', null, 2, null), (11, 'H', null, 3, null);"
    "insert into role values (10, 10, '@everyone', 0, 0, 0, 0, 0, 0), "
    "(30, 10, 'helpers', 0, 1, 1, 0, 0, 0), (31, 10, 'guests', 0, 1, 1, 0, 0, 0), "
    "(32, 10, 'mods', 0, 0, 5, 0, 0, 0), (33, 10, 'top', 0, 1, 9, 0, 0, 0), "
    "(40, 11, 'elsewhere', 0, 1, 99, 15, 0, 0);"
    "insert into guild_member_role values (3, 30), (4, 31), (6, 30), (6, 32), (7, 33), (5, 40), "
    "(3, 40);";

} // namespace

TEST(DisMembers, RolesOfEach)
{
    struct Case {
        quint64 user;
        int position;
        int flatIndex;
        char const* distinguished;
        char const* roles;
    };
    Case const cases[] = {
        { 2, -1, -1, "", "" },  { 3, 1, 2, "helpers", " 30" },    { 4, 1, 1, "guests", " 31" },
        { 5, -1, -1, "", "" },  { 6, 5, 3, "helpers", " 32 30" }, { 7, 9, 4, "top", " 33" },
        { 99, -1, -1, "", "" },
    };
    CachedStore store(members);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.user);
        FlakeId const user(c.user);
        EXPECT_EQ(DisUtils::getHighestRolePositionForUserInGuild(user, guild), c.position);
        EXPECT_EQ(DisUtils::getHighestRoleFlatIndexForUserInGuild(user, guild), c.flatIndex);
        EXPECT_EQ(DisUtils::distinguishedUserRoleNameInGuild(user, guild).toStdString(),
                  c.distinguished);
        EXPECT_EQ(DisUtils::getUserIsOwnerOfGuild(user, guild), c.user == 2);
        QVector<FlakeId> roles;
        DisUtils::addRolesForUserInGuild(user, guild, &roles);
        std::string text;
        for (FlakeId const role : roles)
            text += " " + role.toString().toStdString();
        EXPECT_EQ(text, c.roles);
    }
    EXPECT_FALSE(DisUtils::getUserIsOwnerOfGuild(FlakeId(), FlakeId(99)));
    EXPECT_FALSE(DisUtils::getUserIsOwnerOfGuild(FlakeId(2), FlakeId(11)));
}

TEST(DisMembers, DirectMessageChannels)
{
    CachedStore store(members);
    store.exec("insert into any_channel values (50, 4), (51, 5), (52, 4);"
               "insert into private_channel_participant values (50, 2), (50, 3), (51, 2), (51, 4), "
               "(51, 5), (52, 6), (52, 3);");
    auto const find = [](quint64 own, quint64 other) {
        return DisUtils::findDirectMessageChannel(FlakeId(own), FlakeId(other));
    };
    EXPECT_EQ(find(2, 3), FlakeId(50));
    EXPECT_EQ(find(3, 2), FlakeId(50));
    EXPECT_EQ(find(6, 3), FlakeId(52)) << "of another account";
    for (quint64 const other : { 2, 4, 6 }) // 4 shares only a group
        EXPECT_EQ(find(2, other), FlakeId()) << other;
}

TEST(DisMembers, VoiceStatesFollowTheChanges)
{
    using Type = DisChange::ChangeType;
    struct Step {
        char const* sql;
        Type type; // told of user 3; or all is read again
        char const* states; // of channel 21; - if the model says that nothing changed
    };
    CachedStore store(members);
    DisVoiceStatesModel model;
    DisCache::fillVoiceStatesModel(&model, FlakeId(21));
    for (Step const& step : {
             Step{ "insert into voice_state values ('a', 3, 21, 10, 1, 0, 0, 1), "
                   "('c', 5, 22, 10, 1, 1, 1, 1)",
                   Type::UserStatusChanged, "-" },
             Step{ "", Type::UserVoiceStateChanged, "3 guild deaf selfmute; " },
             Step{ "", Type::UserVoiceStateChanged, "-" },
             Step{ "insert into voice_state values ('b', 4, 22, null, 0, 1, 1, 0)",
                   Type::UserVoiceStateChanged, "-" },
             Step{ "update voice_state set channel_id = 21 where user_id = 4", Type::GuildChanged,
                   "3 guild deaf selfmute; 4 call mute selfdeaf; " },
             Step{ "delete from voice_state", Type::Overflow, "" },
         }) {
        store.exec(step.sql);
        DisChanges changes = DisChanges::reload();
        if (step.type != Type::Overflow) {
            changes = {};
            changes.add(step.type, FlakeId(3));
        }
        std::string text = "-";
        if (DisCache::applyChangesToVoiceStatesModel(&model, changes)) {
            text.clear();
            for (auto it = model.users.cbegin(); it != model.users.cend(); ++it)
                text += it.key().toString().toStdString()
                    + (it->guildId.isValid() ? " guild" : " call") + (it->deaf ? " deaf" : "")
                    + (it->mute ? " mute" : "") + (it->selfDeaf ? " selfdeaf" : "")
                    + (it->selfMute ? " selfmute" : "") + "; ";
        }
        EXPECT_EQ(text, step.states) << step.sql;
    }
}
