// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_seg.h"
#include "dis_utils.h"
#include "store_fixture.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using Type = DisChange::ChangeType;

constexpr char world[] =
    "insert into guild values (10, 'G', null, 2, 21), (11, 'H', null, 3, null);"
    "insert into any_channel values (20, 1), (21, 2), (22, 3), (50, 4), (51, 5), (52, 5);"
    "insert into guild_channel values (20, 10, 22, 0, 0, 0, 'text', 'about', 5, 600), "
    "(24, 11, -1, 0, 1, 0, 'b', null, 0, null), (25, 11, -1, 0, 0, 0, 'nsfw-c', null, 0, null);"
    "insert into guild_voice_channel values (21, 10, -1, 1, 0, 64000, 0, 'voice');"
    "insert into guild_channel_category values (22, 10, -1, 2, 0, 'cat');"
    "insert into private_channel (id, owner_id, name) values (50, null, null), (51, 1, 'us'), "
    "(52, 3, '');"
    "insert into private_channel_participant values (50, 1), (50, 3), (51, 1), (52, 1), (52, 3), "
    "(52, 4);"
    "insert into role values (10, 10, 'e', 0, 0, 0, 1024, 0, 0), "
    "(30, 10, 'low', 255, 0, 1, 0, 0, 0), (31, 10, 'high', 65280, 0, 3, 0, 0, 0), "
    "(32, 10, 'plain', 0, 0, 5, 0, 0, 0), (33, 11, 'other', 16711680, 0, 9, 0, 0, 0);"
    "insert into guild_member (guild_id, user_id, nick) values (10, 1, null), (10, 3, 'An'), "
    "(10, 4, ''), (11, 3, null);"
    "insert into guild_member_role values (3, 30), (3, 31), (3, 32), (3, 33), (4, 32);"
    "insert into user (id, name, discrim, avatar, bot, status, game_name, premium) values "
    "(1, 'me', '0001', '', 0, 4, null, 1), (3, 'ann', '0003', '', 1, 2, 'chess', 0), "
    "(4, 'Bob', '', '', 0, 1, null, 0), (5, 'bob', '7', '', 0, 1, null, 0), "
    "(6, '\xC3\x84nne', '8', '', 0, 1, null, 0);"
    "insert into user_relationship values (1, 3, 1);"
    "insert into local_user values (1);"
    "insert into message values (600, 20, 1, 0, 0, 0, 'mine'), (601, 20, 3, 0, 0, 1, 'theirs'), "
    "(602, 20, 1, 7, 0, 0, 'joined'), (603, 50, 3, 0, 0, 0, 'private'), "
    "(604, 20, 3, 0, 0, 0, 'later'), (605, 20, 3, 0, 0, 1, 'gone');"
    "insert into channel_pinned_message values (20, 601), (99, 600);";

struct Cached : CachedStore {
    Cached()
        : CachedStore(world)
    {
    }
};

std::string text(QString const& string)
{
    return string.isNull() ? "null" : string.toStdString();
}

std::string text(FlakeId id)
{
    return id.isValid() ? std::to_string(id.value()) : "invalid";
}

std::string text(QColor const& color)
{
    return color.isValid() ? color.name().toStdString() : "none";
}

// All that the cache tells about the things in the world that change in the cases below.
std::string everything()
{
    using namespace DisCache;
    FlakeId const guild(10);
    FlakeId const user(3);
    FlakeId const channel(20);
    FlakeId const group(51);
    std::ostringstream out;
    out << "name " << text(userName(user)) << "\ndiscrim " << text(userDiscrimWithHash(user))
        << "\nbot " << userIsBot(user) << "\nstatus " << static_cast<int>(userStatusCode(user))
        << "\ngame " << text(userGameStatus(user)) << "\nnick "
        << text(userNickInGuild(user, guild)) << "\ncolor "
        << text(userRoleColorInGuild(user, guild)) << "\npermissions "
        << userGuildPermissions(user, guild) << "\ncaps " << guildMemberChannelCaps(user, channel)
        << "\nguild " << text(guildName(guild)) << "\nowner " << text(guildOwner(guild)) << "\nafk "
        << text(guildAfkVoiceChannel(guild)) << "\nchannel "
        << text(guildChannelDisplayName(channel)) << "\nlimit "
        << guildChannelRateLimitPerUser(channel) << "\ntype "
        << static_cast<int>(channelType(channel)) << "\nguild of channel "
        << text(guildIdOfChannel(channel)) << "\ngroup " << text(privateGroupChannelName(group))
        << "\ngroup owner " << text(privateGroupChannelOwner(group)) << "\nparticipants "
        << privateChannelParticipants(group).size() << "\n";
    return out.str();
}

constexpr char everythingElse[] =
    "update user set name = 'x', discrim = '9', bot = 0, status = 3, game_name = 'y' where id = 3;"
    "update guild_member set nick = 'N' where guild_id = 10 and user_id = 3;"
    "update role set color = 16, permissions = 3072 where id = 31;"
    "update role set permissions = 9216 where id = 10;"
    "update guild set name = 'X', owner_id = 3, afk_channel_id = null where id = 10;"
    "update guild_channel set name = 'x', rate_limit_per_user = 9, guild_id = 11 where id = 20;"
    "update any_channel set type = 2 where id = 20;"
    "update private_channel set name = 'X', owner_id = 9 where id = 51;"
    "insert into private_channel_participant values (51, 3);";

} // namespace

TEST(DisCache, ReadsTheStore)
{
    Cached cached;
    using namespace DisCache;
    EXPECT_EQ(everything(),
              "name ann\ndiscrim #0003\nbot 1\nstatus 2\ngame chess\nnick An\ncolor #00ff00\n"
              "permissions 1024\ncaps 1\nguild G\nowner 2\nafk 21\nchannel #text\nlimit 5\ntype 1\n"
              "guild of channel 10\ngroup us\ngroup owner 1\nparticipants 1\n");
    EXPECT_EQ(text(guildChannelDisplayName(FlakeId(21))), "voice");
    EXPECT_EQ(text(guildChannelDisplayName(FlakeId(22))), "cat");
    EXPECT_EQ(text(guildAfkVoiceChannel(FlakeId(11))), "invalid");
    EXPECT_EQ(text(guildIdOfChannel(FlakeId(21))), "10");
    EXPECT_EQ(text(guildIdOfChannel(FlakeId(22))), "10");
    EXPECT_EQ(text(guildIdOfChannel(FlakeId(50))), "invalid");
    EXPECT_EQ(text(userNameOrNickInGuild(FlakeId(3), FlakeId(10))), "An");
    EXPECT_EQ(text(userNameOrNickInGuild(FlakeId(3), FlakeId(11))), "ann");
    EXPECT_EQ(text(userNameOrNickInGuild(FlakeId(4), FlakeId(10))), "Bob") << "an empty nick";
    EXPECT_EQ(text(userNameOrNickInGuild(FlakeId(3), FlakeId())), "ann");
    EXPECT_EQ(text(userDiscrimWithHash(FlakeId(4))), "null");
    EXPECT_EQ(text(userRoleColorInGuild(FlakeId(4), FlakeId(10))), "none");
    EXPECT_EQ(text(userRoleColorInGuild(FlakeId(3), FlakeId(11))), "#ff0000");
    for (quint64 const user : { 1, 3, 4, 3 })
        userName(FlakeId(user));
    EXPECT_EQ(hack_recentlyCachedUsersByName(2), (QVector<FlakeId>{ FlakeId(3), FlakeId(4) }))
        << "the latest asked for first";
    EXPECT_EQ(userRelationshipType(FlakeId(1), FlakeId(3)), 1);
    EXPECT_EQ(userRelationshipType(FlakeId(3), FlakeId(1)), 0);
}

TEST(DisCache, EachChangeDropsWhatItMadeStale)
{
    struct Case {
        Type type;
        quint64 a, b; // of the change; 0: not told
        char const* rows;
    };
    constexpr char ofUser[] = "-bot 1\n-discrim #0003\n-name ann\n+bot 0\n+discrim #9\n+name x\n";
    constexpr char ofRoles[] = "-caps 1\n-color #00ff00\n-permissions 1024\n"
                               "+caps 17\n+color #000010\n+permissions 11264\n";
    constexpr char ofGroup[] = "-participants 1\n+participants 2\n";
    for (auto const& c : {
             Case{ Type::MessageCreated, 600, 20, "" },
             Case{ Type::UserSettingsChanged, 3, 0, "" },
             Case{ Type::UserPropertiesChanged, 3, 0, ofUser },
             Case{ Type::UserPropertiesChanged, 4, 0, "" },
             Case{ Type::UserStatusChanged, 3, 0, "-game chess\n-status 2\n+game y\n+status 3\n" },
             Case{ Type::GuildChanged, 10, 0,
                   "-afk 21\n-caps 1\n-color #00ff00\n-guild G\n-owner 2\n-permissions 1024\n"
                   "+afk invalid\n+caps 127\n+color #000010\n+guild X\n+owner 3\n"
                   "+permissions 11264\n" },
             Case{ Type::GuildChanged, 11, 0, "" },
             Case{ Type::ChannelChanged, 20, 0,
                   "-caps 1\n-channel #text\n-guild of channel 10\n-limit 5\n-type 1\n"
                   "+caps 127\n+channel x\n+guild of channel 11\n+limit 9\n+type 2\n" },
             Case{ Type::ChannelChanged, 51, 0,
                   "-group owner 1\n-group us\n-participants 1\n"
                   "+group X\n+group owner 9\n+participants 2\n" },
             Case{ Type::ChannelChanged, 21, 0, "" },
             Case{ Type::GuildMemberChanged, 10, 3,
                   "-bot 1\n-caps 1\n-color #00ff00\n-discrim #0003\n-name ann\n-nick An\n"
                   "-permissions 1024\n"
                   "+bot 0\n+caps 17\n+color #000010\n+discrim #9\n+name x\n+nick N\n"
                   "+permissions 11264\n" },
             Case{ Type::GuildMemberRemoved, 11, 3, ofUser },
             Case{ Type::GuildMemberAdded, 10, 4, "" },
             Case{ Type::GuildRoleChanged, 10, 30, ofRoles },
             Case{ Type::GuildRoleCreated, 11, 30, "" },
             Case{ Type::GuildRoleDeleted, 10, 99, ofRoles },
             Case{ Type::PrivateRecipientAdded, 51, 3, ofGroup },
             Case{ Type::PrivateRecipientRemoved, 51, 3, ofGroup },
         }) {
        Cached cached;
        auto const before = everything();
        cached.exec(everythingElse);
        EXPECT_EQ(everything(), before) << "kept without a change";
        DisChanges changes;
        changes.add(c.type, FlakeId(c.a), c.b ? FlakeId(c.b) : FlakeId());
        DisCache::applyChanges(changes);
        EXPECT_EQ(lineDifference(before, everything()), c.rows) << changesText(changes);
    }
}

TEST(DisCache, ReloadAndOverflowDropEverything)
{
    DisChanges overflow;
    for (int i = 0; i <= DisChanges::maxItems; ++i)
        overflow.add(Type::MessageCreated);
    for (auto const& changes : { DisChanges::reload(), overflow }) {
        Cached cached;
        auto const before = everything();
        cached.exec(everythingElse);
        DisCache::applyChanges(changes);
        auto const after = everything();
        DisCache::destroyGlobalData();
        DisCache::createGlobalData(cached.db);
        EXPECT_EQ(after, everything());
        EXPECT_NE(after, before);
    }
}

TEST(DisCache, WhatIsNotThereIsFoundOnceItComes)
{
    using namespace DisCache;
    Cached cached;
    FlakeId const id(70);
    auto const found = [&] {
        return text(userName(id)) + ' ' + text(guildName(id)) + ' '
            + std::to_string(static_cast<int>(channelType(id))) + ' '
            + std::to_string(static_cast<int>(userStatusCode(id))) + ' '
            + text(guildIdOfChannel(id)) + ' ' + text(userNickInGuild(id, FlakeId(10)));
    };
    EXPECT_EQ(found(), "null null 0 0 invalid null");
    cached.exec("insert into user (id, name) values (70, 'new');"
                "insert into guild values (70, 'new', null, 1, null);"
                "insert into any_channel values (70, 2);"
                "insert into guild_voice_channel values (70, 70, -1, 0, 0, 0, 0, 'v');"
                "insert into guild_member (guild_id, user_id, nick) values (10, 70, 'nick');");
    EXPECT_EQ(found(), "new new 2 1 70 nick");
}

TEST(DisUtils, ChannelsHaveTheNamesThatTabsShow)
{
    Cached cached;
    std::string names;
    for (quint64 const channel : { 20, 21, 22, 50, 51, 52, 99 })
        names += text(DisUtils::channelDisplayName(FlakeId(channel), FlakeId(1))) + "|";
    EXPECT_EQ(names, "#text|voice|cat|ann|us|ann, Bob|null|");
    EXPECT_EQ(text(DisUtils::channelDisplayName(FlakeId(50), FlakeId(3))), "me");
    EXPECT_EQ(text(DisUtils::guildChannelName(FlakeId(20))), "text");
    EXPECT_EQ(text(DisUtils::channelTopic(FlakeId(20))), "about");
    std::string nsfw;
    for (quint64 const channel : { 20, 24, 25, 99 })
        nsfw += DisUtils::isChannelNsfw(FlakeId(channel)) ? "yes " : "no ";
    EXPECT_EQ(nsfw, "no yes yes no ");
}

TEST(DisUtils, MessagesAreFoundAndJudged)
{
    Cached cached;
    using namespace DisUtils;
    FlakeId const channel(20);
    EXPECT_EQ(text(findChannelOfMessage(FlakeId(603))) + text(findChannelOfMessage(FlakeId(99))),
              "50invalid");
    EXPECT_EQ(text(authorOfMessage(FlakeId(601))), "3");
    EXPECT_EQ(text(contentOfMessage(FlakeId(600))), "mine");
    EXPECT_TRUE(isMessageDeleted(FlakeId(601)) && isMessagePinned(FlakeId(601)));
    EXPECT_FALSE(isMessageDeleted(FlakeId(600)));
    EXPECT_FALSE(isMessagePinned(FlakeId(600))) << "pinned in another channel";

    // Of an own text, another's, what is not a text, a private channel's, none.
    std::string edit;
    std::string remove;
    for (quint64 const message : { 600, 601, 602, 603, 604, 99 }) {
        edit += anyOwnUsersCanEditMessage(channel, FlakeId(message)) ? "y" : "n";
        for (quint64 const user : { 1, 2 })
            remove += userCanDeleteMessage(FlakeId(user), FlakeId(message)) ? "y" : "n";
        remove += ' ';
    }
    EXPECT_EQ(edit, "ynnnnn");
    EXPECT_FALSE(anyOwnUsersCanEditMessage(FlakeId(21), FlakeId(600))) << "another channel";
    EXPECT_EQ(remove, "yy ny ny nn ny nn ")
        << "2 owns the guild; a private channel has no managers";
    EXPECT_FALSE(userCanDeleteMessage(FlakeId(), FlakeId(604)));
    EXPECT_TRUE(userCanSeeDeletedMessagesInGuildChannel(FlakeId(2), channel));
    EXPECT_FALSE(userCanSeeDeletedMessagesInGuildChannel(FlakeId(1), channel));

    EXPECT_EQ(text(findMostRecentMessageSentByUserInChannel(FlakeId(3), channel)), "604");
    EXPECT_EQ(text(findMostRecentMessageSentByUserInChannel(FlakeId(4), channel)), "invalid");
}

TEST(DisUtils, UsersAndRolesAreFoundByName)
{
    Cached cached;
    auto const find = [](char const* name, char const* discrim = "") {
        return text(DisUtils::findUserByName(QString::fromUtf8(name), QString::fromUtf8(discrim)));
    };
    EXPECT_EQ(find("ann") + find("ANN") + find("\xC3\xA4NNE"), "336");
    EXPECT_EQ(find("bob"), "5") << "the exact name goes first";
    EXPECT_EQ(find("BOB"), "4");
    EXPECT_EQ(find("BOB", "7"), "5");
    for (auto const* none : { "nobody", "a%", "" })
        EXPECT_EQ(find(none), "invalid") << none;
    EXPECT_EQ(find("ann", "0004"), "invalid");

    auto const high = DisUtils::findRoleNameAndColor(FlakeId(31));
    EXPECT_TRUE(high.found);
    EXPECT_EQ(text(high.name), "high");
    EXPECT_EQ(text(high.color), "#00ff00");
    EXPECT_EQ(text(DisUtils::findRoleNameAndColor(FlakeId(32)).color), "none");
    EXPECT_FALSE(DisUtils::findRoleNameAndColor(FlakeId(99)).found);
    EXPECT_EQ(text(DisUtils::findRoleName(FlakeId(33))), "other");
    EXPECT_EQ(text(DisUtils::findRoleName(FlakeId(99))), "null");
}

// By guild and name, each with its guild, and a mark if it moves.
TEST(DisUtils, UsableEmoji)
{
    constexpr char emojis[] =
        "insert into guild_member (guild_id, user_id) values (11, 1);"
        "insert into guild_member_role values (1, 33);"
        "insert into emoji values (40, 'here', 0, 1, 0), (41, 'Moves', 0, 1, 1), "
        "(42, 'there', 0, 1, 0), (43, 'granted', 0, 1, 0), (44, 'nomember', 0, 1, 0), "
        "(45, 'norole', 0, 1, 0), (46, 'here', 0, 1, 0);"
        "insert into emoji_guild values (40, 10), (41, 10), (42, 11), (44, 12), (46, 10);"
        "insert into emoji_role values (43, 33), (45, 30);";
    constexpr char all[] = "10 Moves! 41|10 here 40|10 here 46|11 granted 43|11 there 42|";
    std::string const allowed =
        "insert into guild_channel_permission values (20, 10, 262144, 0, 0);";
    std::string const poor = "update user set premium = 0;";
    struct Case {
        char const* what;
        std::string sql;
        quint64 channel;
        char const* filter;
        char const* shown;
    };
    for (auto const& c : {
             Case{ "premium without the right", "", 20, "", "10 Moves! 41|10 here 40|10 here 46|" },
             Case{ "premium and allowed", allowed, 20, "", all },
             Case{ "allowed without premium", allowed + poor, 20, "", "10 here 40|10 here 46|" },
             Case{ "private", "", 50, "", all },
             Case{ "private, by name", "", 50, "MO", "10 Moves! 41|" },
             Case{ "private without premium", poor, 50, "", "" },
             Case{ "whose role grants one", "", 24, "", "11 granted 43|11 there 42|" },
         }) {
        Cached cached;
        cached.exec(emojis + c.sql);
        std::string shown;
        for (auto const& emoji : DisUtils::getUsableEmojiWithGuildsForUserInChannel(
                 FlakeId(1), FlakeId(c.channel), QString::fromUtf8(c.filter)))
            shown += text(emoji.guildId) + ' ' + text(emoji.name) + (emoji.animated ? "! " : " ")
                + text(emoji.id) + '|';
        EXPECT_EQ(shown, c.shown) << c.what;
        EXPECT_EQ(text(DisUtils::getCanonicalNameOfEmoji(FlakeId(44))), "nomember");
        EXPECT_EQ(text(DisUtils::getCanonicalNameOfEmoji(FlakeId(99))), "null");
    }
}

// The hashes are the published ones of "hello" and "hello, world", which look like what is hashed.
TEST(DisUtils, MemberListsHaveTheServicesIds)
{
    EXPECT_EQ(text(DisSeg::listIdOfReaders({ QStringLiteral("hello") })), "613153351");
    EXPECT_EQ(text(DisSeg::listIdOfReaders({ QStringLiteral("hello, world") })), "345750399");
    QString const sorted = DisSeg::listIdOfReaders({ QStringLiteral("allow:30,deny:10,deny:3") });
    struct Case {
        char const* overwrites; // of channel 20, where all may read at first
        QString listId;
    };
    for (Case const& c : {
             Case{ "", QStringLiteral("everyone") },
             Case{ "(20, 30, 1024, 0, 0), (20, 3, 0, 1024, 1)", QStringLiteral("everyone") },
             Case{ "(20, 10, 0, 8, 0)", QStringLiteral("everyone") },
             Case{ "(20, 10, 0, 1024, 0), (20, 3, 1, 1024, 1), (20, 30, 1025, 0, 0), "
                   "(20, 31, 2048, 1, 0)",
                   sorted },
         }) {
        Cached cached;
        if (*c.overwrites)
            cached.exec(std::string("insert into guild_channel_permission values ") + c.overwrites);
        EXPECT_EQ(DisUtils::memberListIdOfChannel(FlakeId(20)), c.listId) << c.overwrites;
        EXPECT_EQ(text(DisUtils::memberListIdOfChannel(FlakeId(50))), "null") << "private";
        cached.exec("update role set permissions = 8 where id = 10");
        EXPECT_EQ(text(DisUtils::memberListIdOfChannel(FlakeId(20))), "everyone");
    }
}
