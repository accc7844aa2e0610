// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_perms.h"
#include "store_fixture.h"

#include <gtest/gtest.h>

namespace {

using namespace DisPerms;

// Guild 10 of user 2 with the text channel 20 and the voice channel 21; user 3 has the role 30,
// user 4 the roles 30 and 31, user 5 none, and user 6 is in another guild only.
constexpr char guild[] =
    "insert into guild values (10, 'G', null, 2, null), (11, 'H', null, 6, null);"
    "insert into any_channel values (20, 1), (21, 2), (50, 4);"
    "insert into guild_channel values (20, 10, -1, 0, 0, 0, 'text', null, 5, 500);"
    "insert into guild_voice_channel values (21, 10, -1, 1, 0, 64000, 0, 'voice');"
    "insert into private_channel (id) values (50);"
    "insert into guild_member (guild_id, user_id) values (10, 2), (10, 3), (10, 4), (10, 5), "
    "(11, 6);"
    "insert into guild_member_role values (3, 30), (4, 30), (4, 31), (6, 32);";

struct RightsCase {
    quint32 everyone; // permissions of the everyone role, and of the roles 30 and 31
    quint32 role30;
    quint32 role31;
    char const* overwrites; // of channel 20: target, allow, deny, type
};

class Rights : public Store {
public:
    explicit Rights(RightsCase const& c)
    {
        exec(guild);
        std::string const roles = "insert into role values (10, 10, 'e', 0, 0, 0, "
            + std::to_string(c.everyone) + ", 0, 0), (30, 10, 'a', 0, 0, 1, "
            + std::to_string(c.role30) + ", 0, 0), (31, 10, 'b', 0, 0, 2, "
            + std::to_string(c.role31) + ", 0, 0), (32, 11, 'c', 0, 0, 1, 2147483647, 0, 0)";
        exec(roles.c_str());
        if (*c.overwrites)
            exec(("insert into guild_channel_permission values " + std::string(c.overwrites))
                     .c_str());
        DisCache::createGlobalData(db);
    }
    ~Rights() { DisCache::destroyGlobalData(); }
};

} // namespace

TEST(DisRights, EachQuestionAsksItsCapability)
{
    struct Question {
        bool (*ask)(FlakeId user, FlakeId channel);
        quint32 caps;
    };
    Question const questions[] = {
        { DisCache::userCanAccessGuildChannel, 1 },
        { DisCache::userCanManageGuildChannel, 2 },
        { DisCache::userCanEditPermissionsOnGuildChannel, 4 },
        { DisCache::userCanUseExternalEmojiInGuildChannel, 8 },
        { DisCache::userCanManageMessagesInGuildChannel, 16 },
        { DisCache::userCanCreateInviteForGuildChannel, 32 },
        { DisCache::userCanConnectVoiceForGuildChannel, 64 },
        { DisCache::userCanIgnoreRateLimitingInGuildChannel, 2 | 16 },
    };
    for (quint32 const bit : { 0x400U, 0x10U, 0x10000000U, 0x40000U, 0x2000U, 0x1U, 0x100000U }) {
        Rights rights({ bit, 0, 0, "" });
        auto const caps = DisCache::guildMemberChannelCaps(FlakeId(5), FlakeId(20));
        for (auto const& question : questions)
            EXPECT_EQ(question.ask(FlakeId(5), FlakeId(20)), (question.caps & caps) != 0)
                << bit << ' ' << question.caps;
    }
}

TEST(DisRights, GuildWideQuestions)
{
    struct Question {
        bool (*ask)(FlakeId user, FlakeId guild);
        quint32 mask;
    };
    Question const questions[] = {
        { DisCache::userCanManageGuildChannels, 0x18 },
        { DisCache::userCanUseBansInGuild, 0xC },
        { DisCache::userCanViewAuditLogInGuild, 0x88 },
        { DisCache::userCanManageEmojisInGuild, 0x40000008 },
        { DisCache::userCanManageInvitesInGuild, 0x28 },
    };
    for (int shift = 0; shift < 31; ++shift) {
        quint32 const bit = 1U << shift;
        Rights rights({ 0, bit, 0, "" });
        EXPECT_EQ(DisCache::userGuildPermissions(FlakeId(3), FlakeId(10)), bit);
        for (auto const& question : questions) {
            EXPECT_EQ(question.ask(FlakeId(3), FlakeId(10)), (bit & question.mask) != 0) << shift;
            EXPECT_FALSE(question.ask(FlakeId(5), FlakeId(10))) << shift;
            EXPECT_TRUE(question.ask(FlakeId(2), FlakeId(10))) << "the owner";
            EXPECT_FALSE(question.ask(FlakeId(2), FlakeId(99))) << "an unknown guild";
        }
    }
}

TEST(DisRights, ChangedChannelForgetsItsCapabilitiesOnly)
{
    Rights rights({ 0x400, 0, 0, "" });
    auto const mayRead = [](quint64 channel) {
        return DisCache::userCanAccessGuildChannel(FlakeId(5), FlakeId(channel));
    };
    ASSERT_TRUE(mayRead(20) && mayRead(21));
    rights.exec("insert into guild_channel_permission values (20, 10, 0, 1024, 0), "
                "(21, 10, 0, 1024, 0)");
    EXPECT_TRUE(mayRead(20) && mayRead(21));
    DisChanges changes;
    changes.add(DisChange::ChangeType::ChannelChanged, FlakeId(20));
    DisCache::applyChanges(changes);
    EXPECT_FALSE(mayRead(20));
    EXPECT_TRUE(mayRead(21));
}

TEST(DisRights, OverrideOfOneTarget)
{
    Rights rights({ 0, 0, 0, "(20, 30, 5, 6, 0)" });
    quint32 allow = 1;
    quint32 deny = 2;
    EXPECT_FALSE(DisCache::guildChannelPermissionsOverride(FlakeId(3), FlakeId(20), &allow, &deny));
    EXPECT_EQ(allow, 1U);
    EXPECT_TRUE(DisCache::guildChannelPermissionsOverride(FlakeId(30), FlakeId(20), &allow, &deny));
    EXPECT_EQ(allow, 5U);
    EXPECT_EQ(deny, 6U);
}

TEST(DisRights, FlagsHaveTheirNames)
{
    std::string names;
    for (int shift = 0; shift < 32; ++shift) {
        auto const name = flagDisplayName(static_cast<Flag>(1U << shift)).toStdString();
        names += std::to_string(shift) + ' ' + name + '\n';
    }
    EXPECT_EQ(names,
              "0 Create Instant Invite\n1 Kick Members\n2 Ban Members\n3 Administrator\n"
              "4 Manage Channels\n5 Manage Guild\n6 Add Reactions\n7 View Audit Log\n"
              "8 Priority Speaker\n9 \n10 Read Messages\n11 Send Messages\n12 Send TTS Messages\n"
              "13 Manage Messages\n14 Embed Links\n15 Attach Files\n16 Read Message History\n"
              "17 Mention Everyone\n18 Use External Emojis\n19 \n20 Connect\n21 Speak\n"
              "22 Mute Members\n23 Deafen Members\n24 Move Members\n25 Use VAD\n"
              "26 Change Nickname\n27 Manage Nicknames\n28 Manage Roles\n29 Manage Webhooks\n"
              "30 Manage Emojis\n31 \n");
}
