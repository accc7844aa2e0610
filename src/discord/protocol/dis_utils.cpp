// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_utils.h"

#include "dis_cache.h"
#include "dis_cache_data.h"
#include "dis_perms.h"
#include "dis_seg.h"

#include <QSet>
#include <QStringList>

#include <algorithm>
#include <tuple>

namespace DisUtils {

using namespace DisCacheImpl;

namespace {

// Other types are the service's own lines: someone joined, a message was pinned.
constexpr int ordinaryMessage = 0;

struct MessageRow {
    FlakeId channelId;
    FlakeId authorId;
    int type = ordinaryMessage;
    bool found = false;
    bool deleted = false;
    QString content;
};

MessageRow loadMessage(FlakeId message)
{
    MessageRow row;
    Query query(ReadStmt::Message, message);
    if (!query.next())
        return row;
    row.found = true;
    row.channelId = query->colFlake(0);
    row.authorId = query->colFlake(1);
    row.type = query->colInt(2);
    row.deleted = query->colBool(3);
    row.content = query->colString(4);
    return row;
}

QString pairDisplayName(FlakeId channel, FlakeId ownUser)
{
    auto const users = DisCache::privateChannelParticipants(channel);
    auto const other =
        std::find_if(users.cbegin(), users.cend(), [&](FlakeId user) { return user != ownUser; });
    return DisCache::userName(other != users.cend() ? *other : ownUser);
}

QString groupDisplayName(FlakeId channel, FlakeId ownUser)
{
    QString name = DisCache::privateGroupChannelName(channel);
    if (!name.isEmpty())
        return name;
    QStringList names;
    for (FlakeId const user : DisCache::privateChannelParticipants(channel)) {
        if (user != ownUser)
            names.append(DisCache::userName(user));
    }
    return names.join(QLatin1String(", "));
}

bool isPremium(FlakeId user)
{
    Query query(ReadStmt::UserPremium, user);
    return query.next() && query->colBool(0);
}

// Calls function(query, flat index) for each role of the member, from the lowest.
template <typename Function> void forEachRole(FlakeId user, FlakeId guild, Function function)
{
    if (!user.isValid() || !guild.isValid())
        return;
    Query query(ReadStmt::RolesOfMember, guild, user);
    for (int index = 0; query.next(); ++index) {
        if (query->colBool(4))
            function(query, index);
    }
}

bool canActUpon(FlakeId user, FlakeId other, FlakeId guild, quint32 permission)
{
    if (!user.isValid() || !other.isValid() || getUserIsOwnerOfGuild(other, guild))
        return false;
    if (getUserIsOwnerOfGuild(user, guild))
        return true;
    return (getUserPermissionsInGuild(user, guild) & (permission | DisPerms::Administrator)) != 0
        && getHighestRoleFlatIndexForUserInGuild(user, guild)
        > getHighestRoleFlatIndexForUserInGuild(other, guild);
}

// In a private channel there is nobody who could forbid it.
bool canUseExternalEmoji(FlakeId user, FlakeId channel)
{
    return !DisCache::guildIdOfChannel(channel).isValid()
        || DisCache::userCanUseExternalEmojiInGuildChannel(user, channel);
}

} // namespace

FlakeId findChannelOfMessage(FlakeId message)
{
    return loadMessage(message).channelId;
}

FlakeId authorOfMessage(FlakeId message)
{
    return loadMessage(message).authorId;
}

QString contentOfMessage(FlakeId message)
{
    return loadMessage(message).content;
}

bool isMessageDeleted(FlakeId message)
{
    return loadMessage(message).deleted;
}

bool isMessagePinned(FlakeId message)
{
    return Query(ReadStmt::MessagePinned, message).next();
}

bool anyOwnUsersCanEditMessage(FlakeId channel, FlakeId message)
{
    MessageRow const row = loadMessage(message);
    return row.found && row.channelId == channel && row.type == ordinaryMessage
        && Query(ReadStmt::OwnUser, row.authorId).next();
}

bool userCanDeleteMessage(FlakeId user, FlakeId message)
{
    MessageRow const row = loadMessage(message);
    if (!row.found || !user.isValid())
        return false;
    if (row.authorId == user && row.type == ordinaryMessage)
        return true;
    return DisCache::userCanManageMessagesInGuildChannel(user, row.channelId);
}

bool userCanSeeDeletedMessagesInGuildChannel(FlakeId user, FlakeId channel)
{
    return DisCache::userCanManageMessagesInGuildChannel(user, channel);
}

FlakeId findMostRecentMessageSentByUserInChannel(FlakeId user, FlakeId channel)
{
    Query query(ReadStmt::LastMessageOfAuthor, channel, user);
    return query.next() ? query->colFlake(0) : FlakeId();
}

QString guildChannelName(FlakeId channel)
{
    Query query(ReadStmt::ChannelName, channel);
    return query.next() ? query->colString(0) : QString();
}

QString channelDisplayName(FlakeId channel, FlakeId ownUser)
{
    switch (DisCache::channelType(channel)) {
    case DisChannelType::Private:
        return pairDisplayName(channel, ownUser);
    case DisChannelType::PrivateGroup:
        return groupDisplayName(channel, ownUser);
    default:
        return DisCache::guildChannelDisplayName(channel);
    }
}

QString channelTopic(FlakeId channel)
{
    Query query(ReadStmt::TextChannel, channel);
    return query.next() ? query->colString(0) : QString();
}

bool isChannelNsfw(FlakeId channel)
{
    Query query(ReadStmt::TextChannel, channel);
    if (!query.next())
        return false;
    return query->colBool(1) || guildChannelName(channel).startsWith(QLatin1String("nsfw-"));
}

DisRoleNameAndColor findRoleNameAndColor(FlakeId role)
{
    DisRoleNameAndColor result;
    Query query(ReadStmt::Role, role);
    if (!query.next())
        return result;
    result.found = true;
    result.name = query->colString(0);
    int const color = query->colInt(1);
    if (color != 0)
        result.color = QColor::fromRgb(static_cast<QRgb>(color));
    return result;
}

QString findRoleName(FlakeId role)
{
    return findRoleNameAndColor(role).name;
}

quint32 getUserPermissionsInGuild(FlakeId user, FlakeId guild)
{
    return DisCache::userGuildPermissions(user, guild);
}

int getHighestRolePositionForUserInGuild(FlakeId user, FlakeId guild)
{
    int highest = -1;
    forEachRole(user, guild, [&](Query const& role, int) { highest = role->colInt(1); });
    return highest;
}

int getHighestRoleFlatIndexForUserInGuild(FlakeId user, FlakeId guild)
{
    int highest = -1;
    forEachRole(user, guild, [&](Query const&, int index) { highest = index; });
    return highest;
}

bool getUserIsOwnerOfGuild(FlakeId user, FlakeId guild)
{
    return user.isValid() && guild.isValid() && DisCache::guildOwner(guild) == user;
}

bool getUserCanRemoveOtherMemberInGuild(FlakeId user, FlakeId other, FlakeId guild)
{
    return canActUpon(user, other, guild, DisPerms::KickMembers);
}

bool getUserCanBanOtherMemberInGuild(FlakeId user, FlakeId other, FlakeId guild)
{
    return canActUpon(user, other, guild, DisPerms::BanMembers);
}

bool getUserCanChangeNickOfGuildMember(FlakeId user, FlakeId other, FlakeId guild)
{
    return canActUpon(user, other, guild, DisPerms::ManageNicknames);
}

QString distinguishedUserRoleNameInGuild(FlakeId user, FlakeId guild)
{
    QString name;
    forEachRole(user, guild, [&](Query const& role, int) {
        if (role->colBool(2))
            name = role->colString(3);
    });
    return name;
}

void addRolesForUserInGuild(FlakeId user, FlakeId guild, QVector<FlakeId>* roles)
{
    int const before = roles->size();
    forEachRole(user, guild, [&](Query const& role, int) {
        FlakeId const id = role->colFlake(0);
        if (id != guild)
            roles->append(id);
    });
    std::reverse(roles->begin() + before, roles->end());
}

FlakeId findDirectMessageChannel(FlakeId ownUser, FlakeId otherUser)
{
    if (ownUser == otherUser)
        return {};
    Query query(ReadStmt::PairChannel, ownUser, otherUser);
    return query.next() ? query->colFlake(0) : FlakeId();
}

FlakeId findUserByName(QString const& name, QString const& discriminator)
{
    auto const fits = [&](QString const& stored) {
        return discriminator.isEmpty() || stored == discriminator;
    };
    Query exact(ReadStmt::UsersByName, name);
    while (exact.next()) {
        if (fits(exact->colString(1)))
            return exact->colFlake(0);
    }
    // Beyond ASCII only we can compare without case, so this reads every name.
    Query all(ReadStmt::AllUserNames);
    while (all.next()) {
        if (all->colString(1).compare(name, Qt::CaseInsensitive) == 0 && fits(all->colString(2)))
            return all->colFlake(0);
    }
    return {};
}

QString getCanonicalNameOfEmoji(FlakeId emoji)
{
    Query query(ReadStmt::EmojiName, emoji);
    return query.next() ? query->colString(0) : QString();
}

QVector<DisUsableEmoji> getUsableEmojiWithNamesForUserInChannel(FlakeId user, FlakeId channel)
{
    FlakeId const guild = DisCache::guildIdOfChannel(channel);
    bool const premium = isPremium(user);
    bool const external = premium && canUseExternalEmoji(user, channel);
    QVector<DisUsableEmoji> result;
    QSet<FlakeId> taken; // an emoji may be granted by several roles
    for (auto const which : { ReadStmt::EmojisByRoles, ReadStmt::EmojisOfGuilds }) {
        Query query(which, user);
        while (query.next()) {
            DisUsableEmoji const emoji{ query->colFlake(0), query->colString(1), query->colBool(2),
                                        query->colFlake(3) };
            bool const usable =
                (external || emoji.guildId == guild) && (premium || !emoji.animated);
            if (!usable || taken.contains(emoji.id))
                continue;
            taken.insert(emoji.id);
            result.append(emoji);
        }
    }
    return result;
}

QVector<DisUsableEmoji> getUsableEmojiWithGuildsForUserInChannel(FlakeId user, FlakeId channel,
                                                                 QString const& filter)
{
    QVector<DisUsableEmoji> emoji = getUsableEmojiWithNamesForUserInChannel(user, channel);
    emoji.erase(std::remove_if(emoji.begin(), emoji.end(),
                               [&](DisUsableEmoji const& one) {
                                   return !one.name.contains(filter, Qt::CaseInsensitive);
                               }),
                emoji.end());
    std::sort(emoji.begin(), emoji.end(), [](DisUsableEmoji const& a, DisUsableEmoji const& b) {
        return std::tie(a.guildId, a.name, a.id) < std::tie(b.guildId, b.name, b.id);
    });
    return emoji;
}

QString memberListIdOfChannel(FlakeId channel)
{
    FlakeId const guild = DisCache::guildIdOfChannel(channel);
    if (!guild.isValid())
        return {};
    // Who is nobody has the everyone role's permissions; the invalid id is no member's.
    quint32 permissions = DisCache::userGuildPermissions_uncached(FlakeId(), guild);
    bool const isForAll = (permissions & DisPerms::Administrator) != 0;
    QStringList readers;
    Query query(ReadStmt::Overwrites, channel);
    while (query.next()) {
        auto const allow = static_cast<quint32>(query->colInt(1));
        auto const deny = static_cast<quint32>(query->colInt(2));
        if (query->colFlake(0) == guild)
            permissions = DisPerms::withOverwrites(permissions, allow, deny);
        if ((allow | deny) & DisPerms::ReadMessages)
            readers.append(QLatin1String(allow & DisPerms::ReadMessages ? "allow:" : "deny:")
                           + query->colFlake(0).toString());
    }
    return isForAll || (permissions & DisPerms::ReadMessages) ? QStringLiteral("everyone")
                                                              : DisSeg::listIdOfReaders(readers);
}

} // namespace DisUtils
