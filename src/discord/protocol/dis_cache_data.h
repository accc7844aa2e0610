// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What DisCache keeps between createGlobalData and destroyGlobalData, shared by its own files and
// by DisUtils, which asks the store through the same statements. User-interface thread only.

#include "dis_db_prepared.h"
#include "kv_cache.h"
#include "ord_cache.h"

#include <QPair>
#include <QString>
#include <QVector>

#include <array>
#include <memory>
#include <utility>

// Name and text. Parameters and columns are bound and read in the order in which they stand.
// clang-format off
#define DIS_READ_STATEMENTS(X) \
    X(User, "select name, discrim, bot from user where id = ?") \
    X(UserStatus, "select status, game_name from user where id = ?") \
    X(UserPremium, "select premium from user where id = ?") \
    X(UsersByName, "select id, discrim from user where name = ? order by id") \
    X(AllUserNames, "select id, name, discrim from user order by id") \
    X(MemberNick, "select nick from guild_member where guild_id = ? and user_id = ?") \
    X(MemberColor, "select role.color from role, guild_member_role where role.guild_id = ? and " \
        "guild_member_role.user_id = ? and role.id = guild_member_role.role_id and role.color != 0 " \
        "order by role.position desc, role.id limit 1") \
    X(MemberPermissions, "select role.permissions from role, guild_member_role where role.guild_id = ?1 and " \
        "guild_member_role.user_id = ?2 and role.id = guild_member_role.role_id union all " \
        "select role.permissions from role where role.guild_id = ?1 and role.id = ?1") \
    /* The cross join has the channel's few rows read first: the own user can have hundreds of roles. */ \
    X(MemberOverwrites, "select guild_channel_permission.allow, guild_channel_permission.deny from " \
        "guild_channel_permission cross join guild_member_role where guild_channel_permission.channel_id = ? and " \
        "(guild_channel_permission.target_id = guild_member_role.role_id and guild_member_role.user_id = ?)") \
    X(Overwrite, "select allow, deny from guild_channel_permission where channel_id = ? and target_id = ?") \
    X(Relationship, "select type from user_relationship where own_user_id = ? and other_user_id = ?") \
    X(OwnUser, "select null from local_user where id = ?") \
    X(Guild, "select name, owner_id, afk_channel_id from guild where id = ?") \
    X(ChannelType, "select type from any_channel where id = ?") \
    X(ChannelGuild, "select guild_id from guild_channel where id = ?1 union all " \
        "select guild_id from guild_voice_channel where id = ?1 union all " \
        "select guild_id from guild_channel_category where id = ?1") \
    X(ChannelName, "select name from guild_channel where id = ?1 union all " \
        "select name from guild_voice_channel where id = ?1 union all " \
        "select name from guild_channel_category where id = ?1") \
    X(TextChannel, "select topic, nsfw, rate_limit_per_user from guild_channel where id = ?") \
    X(PrivateChannel, "select name, owner_id from private_channel where id = ?") \
    X(Participants, "select user_id from private_channel_participant where channel_id = ? order by user_id") \
    X(Message, "select channel_id, author_id, type, deleted, content from message where id = ?") \
    X(MessagePinned, "select null from channel_pinned_message, message where message.id = ? and " \
        "channel_pinned_message.channel_id = message.channel_id and channel_pinned_message.message_id = message.id") \
    /* The plus keeps the author out of the choice of index: the channel's is in the order asked for. */ \
    X(LastMessageOfAuthor, "select id from message where channel_id = ? and +author_id = ? and deleted = 0 " \
        "order by id desc limit 1") \
    X(Role, "select name, color from role where id = ?") \
    /* From the lowest; of roles in one position the lower id is the higher role. */ \
    X(RolesOfMember, "select role.id, role.position, role.hoist, role.name, guild_member_role.user_id is not null " \
        "from role left join guild_member_role on guild_member_role.user_id = ?2 and guild_member_role.role_id = " \
        "role.id where role.guild_id = ?1 order by role.position, role.id desc") \
    X(PairChannel, "select mine.channel_id from private_channel_participant as mine, private_channel_participant " \
        "as theirs, any_channel where mine.user_id = ? and theirs.channel_id = mine.channel_id and " \
        "theirs.user_id = ? and any_channel.id = mine.channel_id and any_channel.type = 4 order by " \
        "mine.channel_id desc limit 1") \
    X(EmojiName, "select name from emoji where id = ?") \
    X(Overwrites, "select target_id, allow, deny from guild_channel_permission where channel_id = ?") \
    X(VoiceStates, "select user_id, guild_id, deaf, mute, self_deaf, self_mute from voice_state where " \
        "channel_id = ? order by user_id, session_id") \
    X(EmojisByRoles, "select emoji.id, emoji.name, emoji.animated, role.guild_id from guild_member_role, " \
        "emoji_role, role, emoji where guild_member_role.user_id = ? and emoji_role.role_id = " \
        "guild_member_role.role_id and role.id = emoji_role.role_id and emoji.id = emoji_role.emoji_id") \
    X(EmojisOfGuilds, "select emoji.id, emoji.name, emoji.animated, emoji_guild.guild_id from emoji_guild, " \
        "guild_member, emoji where guild_member.guild_id = emoji_guild.guild_id and guild_member.user_id = ? " \
        "and emoji.id = emoji_guild.emoji_id")
// clang-format on

namespace DisCacheImpl {

enum class ReadStmt : quint8 {
#define DIS_READ_STATEMENT_NAME(name, sql) name,
    DIS_READ_STATEMENTS(DIS_READ_STATEMENT_NAME)
#undef DIS_READ_STATEMENT_NAME
        Count
};

using GuildAndUser = std::pair<FlakeId, FlakeId>;

struct ChannelCaps {
    FlakeId guild; // the channel's
    quint32 caps = 0;
};

struct Data {
    std::array<std::unique_ptr<NakStmt>, static_cast<size_t>(ReadStmt::Count)> statements;

    NakKVCache<FlakeId, QString> userNames{ 300 };
    NakKVCache<FlakeId, QString> userDiscrims{ 300 };
    NakKVCache<FlakeId, bool> userBots{ 300 };
    NakKVCache<FlakeId, DisUserStatusCode> userStatuses{ 300 };
    NakKVCache<FlakeId, QString> userGames{ 300 };
    NakKVCache<QPair<FlakeId, FlakeId>, QString> memberNicks{ 300 }; // by guild and user
    OrdCache<GuildAndUser, int> roleColors{ 300 }; // 0xRRGGBB, 0 for none
    OrdCache<GuildAndUser, quint32> guildPermissions{ 200 };
    NakKVCache<QPair<FlakeId, FlakeId>, ChannelCaps> channelCaps{ 100 }; // by channel and user
    NakKVCache<FlakeId, QString> guildNames{ 300 };
    NakKVCache<FlakeId, FlakeId> guildOwners{ 300 };
    NakKVCache<FlakeId, FlakeId> guildAfkChannels{ 300 };
    NakKVCache<FlakeId, QString> channelNames{ 300 };
    NakKVCache<FlakeId, int> rateLimits{ 50 };
    NakKVCache<FlakeId, DisChannelType> channelTypes{ 1000 };
    NakKVCache<FlakeId, FlakeId> channelGuilds{ 1000 };
    NakKVCache<FlakeId, QVector<FlakeId>> participants{ 100 };
    NakKVCache<FlakeId, QString> groupNames{ 100 };
    NakKVCache<FlakeId, FlakeId> groupOwners{ 100 };
};

// Between createGlobalData and destroyGlobalData only.
Data& data();

// One use of a read statement: bound when made, reset when it goes.
class Query {
public:
    template <typename... Values>
    explicit Query(ReadStmt which, Values const&... values)
        : m_stmt(*data().statements[static_cast<size_t>(which)])
    {
        DisSql::bindAll(m_stmt, values...);
    }
    ~Query() { m_stmt.reset(); }
    Query(Query const&) = delete;
    Query& operator=(Query const&) = delete;

    bool next() { return m_stmt.step(); }
    NakStmt const* operator->() const { return &m_stmt; }
    FlakeId flake(int column) const // invalid for null
    {
        return m_stmt.colIsNotNull(column) ? m_stmt.colFlake(column) : FlakeId();
    }

private:
    NakStmt& m_stmt;
};

} // namespace DisCacheImpl
