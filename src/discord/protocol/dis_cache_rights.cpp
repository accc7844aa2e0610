// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_cache_data.h"
#include "dis_perms.h"

namespace DisCache {

using namespace DisCacheImpl;

namespace {

struct Overwrites {
    quint32 allow = 0;
    quint32 deny = 0;

    void addRows(Query& query)
    {
        while (query.next()) {
            allow |= static_cast<quint32>(query->colInt(0));
            deny |= static_cast<quint32>(query->colInt(1));
        }
    }
};

bool isOwnerOrHas(FlakeId user, FlakeId guild, quint32 anyOf)
{
    if (!user.isValid() || !guild.isValid())
        return false;
    return guildOwner(guild) == user || (userGuildPermissions(user, guild) & anyOf) != 0;
}

} // namespace

quint32 userGuildPermissions(FlakeId user, FlakeId guild)
{
    return data().guildPermissions.findOrFill(
        GuildAndUser(guild, user), [&] { return userGuildPermissions_uncached(user, guild); });
}

quint32 userGuildPermissions_uncached(FlakeId user, FlakeId guild)
{
    quint32 permissions = 0;
    Query query(ReadStmt::MemberPermissions, guild, user);
    while (query.next())
        permissions |= static_cast<quint32>(query->colInt(0));
    return permissions;
}

quint32 guildMemberChannelCaps(FlakeId user, FlakeId channel)
{
    auto const key = qMakePair(channel, user);
    if (ChannelCaps const* hit = data().channelCaps.find(key))
        return hit->caps;
    FlakeId const guild = guildIdOfChannel(channel);
    if (!guild.isValid())
        return 0;
    quint32 const caps = guildMemberChannelCaps_uncached(user, channel);
    data().channelCaps.insert(key, { guild, caps });
    return caps;
}

quint32 guildMemberChannelCaps_uncached(FlakeId user, FlakeId channel)
{
    FlakeId const guild = guildIdOfChannel(channel);
    if (!guild.isValid() || !user.isValid())
        return 0;
    if (guildOwner(guild) == user)
        return DisPerms::CapsAll;
    quint32 const permissions = userGuildPermissions(user, guild);
    if (permissions & DisPerms::Administrator)
        return DisPerms::CapsAll;

    // Only the channel's own rows: the service tells a channel's effective overwrites on it, so
    // nothing is inherited from its category here.
    Overwrites overwrites;
    {
        Query ofRoles(ReadStmt::MemberOverwrites, channel, user);
        overwrites.addRows(ofRoles);
    }
    for (FlakeId const target : { guild, user }) { // the everyone role has the guild's id
        Query query(ReadStmt::Overwrite, channel, target);
        overwrites.addRows(query);
    }
    return DisPerms::capsFromPermissions(
        DisPerms::withOverwrites(permissions, overwrites.allow, overwrites.deny));
}

bool guildChannelPermissionsOverride(FlakeId target, FlakeId channel, quint32* allow, quint32* deny)
{
    Query query(ReadStmt::Overwrite, channel, target);
    if (!query.next())
        return false;
    *allow = static_cast<quint32>(query->colInt(0));
    *deny = static_cast<quint32>(query->colInt(1));
    return true;
}

using namespace DisPerms;

#define DIS_CACHE_CHANNEL_QUESTION(name, anyOf)                                                    \
    bool name(FlakeId user, FlakeId channel)                                                       \
    {                                                                                              \
        return (guildMemberChannelCaps(user, channel) & (anyOf)) != 0;                             \
    }
DIS_CACHE_CHANNEL_QUESTIONS(DIS_CACHE_CHANNEL_QUESTION)
#undef DIS_CACHE_CHANNEL_QUESTION

#define DIS_CACHE_GUILD_QUESTION(name, anyOf)                                                      \
    bool name(FlakeId user, FlakeId guild)                                                         \
    {                                                                                              \
        return isOwnerOrHas(user, guild, anyOf);                                                   \
    }
DIS_CACHE_GUILD_QUESTIONS(DIS_CACHE_GUILD_QUESTION)
#undef DIS_CACHE_GUILD_QUESTION

} // namespace DisCache
