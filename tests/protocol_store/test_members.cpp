// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Questions about members: who is above whom, and what that lets them do to each other.

#include "dis_cache.h"
#include "dis_perms.h"
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

class Members : public Store {
public:
    Members()
    {
        exec(members);
        DisCache::createGlobalData(db);
    }
    ~Members() { DisCache::destroyGlobalData(); }
};

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
    Members store;
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

TEST(DisMembers, WhoCanActUponWhom)
{
    struct Question {
        bool (*ask)(FlakeId user, FlakeId other, FlakeId guild);
        quint32 permission;
    };
    Question const questions[] = {
        { DisUtils::getUserCanRemoveOtherMemberInGuild, 0x2 },
        { DisUtils::getUserCanBanOtherMemberInGuild, 0x4 },
        { DisUtils::getUserCanChangeNickOfGuildMember, 0x8000000 },
    };
    // For each of 2 to 7, whom they can act upon if the right is everyone's.
    char const* const above[] = { "34567", "45", "5", "", "345", "3456" };
    for (quint32 const bit : { 0x1U, 0x2U, 0x4U, 0x8U, 0x10U, 0x8000000U }) {
        Members store;
        store.exec(
            ("update role set permissions = " + std::to_string(bit) + " where id = 10").c_str());
        for (auto const& question : questions) {
            bool const granted = (bit & (question.permission | 0x8)) != 0;
            for (quint64 user = 2; user <= 7; ++user) {
                std::string can;
                for (quint64 other = 2; other <= 7; ++other) {
                    if (question.ask(FlakeId(user), FlakeId(other), guild))
                        can += std::to_string(other);
                }
                EXPECT_EQ(can, granted || user == 2 ? above[user - 2] : "")
                    << "user " << user << " with " << bit;
            }
            EXPECT_FALSE(question.ask(FlakeId(7), FlakeId(), guild));
            EXPECT_FALSE(question.ask(FlakeId(2), FlakeId(3), FlakeId(99)));
        }
    }
}

TEST(DisMembers, DirectMessageChannels)
{
    Members store;
    store.exec("insert into any_channel values (50, 4), (51, 5), (52, 4);"
               "insert into private_channel_participant values (50, 2), (50, 3), (51, 2), (51, 4), "
               "(51, 5), (52, 6), (52, 3);");
    auto const find = [](quint64 own, quint64 other) {
        return DisUtils::findDirectMessageChannel(FlakeId(own), FlakeId(other));
    };
    EXPECT_EQ(find(2, 3), FlakeId(50));
    EXPECT_EQ(find(3, 2), FlakeId(50));
    EXPECT_EQ(find(6, 3), FlakeId(52)) << "of another account";
    EXPECT_EQ(find(2, 4), FlakeId()) << "only a group";
    EXPECT_EQ(find(2, 6), FlakeId());
    EXPECT_EQ(find(2, 2), FlakeId());
}

TEST(DisMembers, VoiceStatesOfAChannel)
{
    Members store;
    store.exec("insert into voice_state values ('a', 3, 21, 10, 1, 0, 0, 1), "
               "('b', 4, 21, null, 0, 1, 1, 0), ('c', 5, 22, 10, 1, 1, 1, 1)");
    std::string text;
    auto const states = DisCache::userVoiceStateMap(FlakeId(21));
    for (auto it = states.cbegin(); it != states.cend(); ++it)
        text += it.key().toString().toStdString() + (it->guildId.isValid() ? " guild" : " call")
            + (it->deaf ? " deaf" : "") + (it->mute ? " mute" : "")
            + (it->selfDeaf ? " selfdeaf" : "") + (it->selfMute ? " selfmute" : "") + "; ";
    EXPECT_EQ(text, "3 guild deaf selfmute; 4 call mute selfdeaf; ");
    EXPECT_TRUE(DisCache::userVoiceStateMap(FlakeId(99)).isEmpty());
}

TEST(DisMembers, VoiceStatesModelFollowsTheChanges)
{
    Members store;
    store.exec("insert into voice_state values ('a', 3, 21, 10, 0, 0, 0, 0)");
    DisVoiceStatesModel model;
    DisCache::fillVoiceStatesModel(&model, FlakeId(21));
    EXPECT_EQ(model.users.keys(), QList<FlakeId>{ FlakeId(3) });
    struct Step {
        char const* sql;
        DisChange::ChangeType type;
        bool changed;
        int users;
    };
    using Type = DisChange::ChangeType;
    for (Step const& step : {
             Step{ "", Type::UserVoiceStateChanged, false, 1 },
             Step{ "update voice_state set self_mute = 1", Type::UserStatusChanged, false, 1 },
             Step{ "", Type::UserVoiceStateChanged, true, 1 },
             Step{ "insert into voice_state values ('b', 4, 22, 10, 0, 0, 0, 0)",
                   Type::UserVoiceStateChanged, false, 1 },
             Step{ "update voice_state set channel_id = 21", Type::GuildChanged, true, 2 },
             Step{ "delete from voice_state", Type::Overflow, true, 0 },
         }) {
        store.exec(step.sql);
        DisChanges changes = DisChanges::reload();
        if (step.type != Type::Overflow) {
            changes = {};
            changes.add(step.type, FlakeId(3));
        }
        EXPECT_EQ(DisCache::applyChangesToVoiceStatesModel(&model, changes), step.changed)
            << step.sql;
        EXPECT_EQ(model.users.size(), step.users) << step.sql;
    }
}
