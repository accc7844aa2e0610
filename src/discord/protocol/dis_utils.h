// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Questions about messages, roles, channels and emoji that are asked seldom enough to go to the
// store each time. User-interface thread only; needs g_disClient.

#include "dis_types.h"
#include "flake_id.h"

#include <QColor>
#include <QString>
#include <QVector>

struct DisUsableEmoji {
    FlakeId id;
    QString name;
    bool animated = false;
    FlakeId guildId;
};

struct DisRoleNameAndColor {
    bool found = false;
    QString name;
    QColor color; // invalid when the role has none
};

namespace DisUtils {

FlakeId findChannelOfMessage(FlakeId message);
FlakeId authorOfMessage(FlakeId message);
QString contentOfMessage(FlakeId message); // as stored, markup and all
bool isMessageDeleted(FlakeId message);
bool isMessagePinned(FlakeId message);
bool anyOwnUsersCanEditMessage(FlakeId channel, FlakeId message);
bool userCanDeleteMessage(FlakeId user, FlakeId message);
bool userCanSeeDeletedMessagesInGuildChannel(FlakeId user, FlakeId channel);
// The newest message of the user that is not deleted; invalid if none.
FlakeId findMostRecentMessageSentByUserInChannel(FlakeId user, FlakeId channel);

QString guildChannelName(FlakeId channel); // without "#"; empty if unknown
// What a tab or a row calls the channel: "#name", the other user, the group's name or its people.
QString channelDisplayName(FlakeId channel, FlakeId ownUser);
QString channelTopic(FlakeId channel);
bool isChannelNsfw(FlakeId channel);

DisRoleNameAndColor findRoleNameAndColor(FlakeId role);
QString findRoleName(FlakeId role); // null if unknown

// --- members of a guild ---
quint32 getUserPermissionsInGuild(FlakeId user, FlakeId guild);
// -1 for a member without a role.
int getHighestRolePositionForUserInGuild(FlakeId user, FlakeId guild);
// The highest role's place among all roles of the guild, the lowest being 0. Unlike positions, no
// two roles share one. -1 for a member without a role.
int getHighestRoleFlatIndexForUserInGuild(FlakeId user, FlakeId guild);
bool getUserIsOwnerOfGuild(FlakeId user, FlakeId guild);
// The owner can, others with the right and a role above the other's. Nobody can the owner.
bool getUserCanRemoveOtherMemberInGuild(FlakeId user, FlakeId other, FlakeId guild);
bool getUserCanBanOtherMemberInGuild(FlakeId user, FlakeId other, FlakeId guild);
bool getUserCanChangeNickOfGuildMember(FlakeId user, FlakeId other, FlakeId guild);
// The name of the highest role that members are shown under; null if none.
QString distinguishedUserRoleNameInGuild(FlakeId user, FlakeId guild);
// Appends the member's roles, highest first, without the everyone role.
void addRolesForUserInGuild(FlakeId user, FlakeId guild, QVector<FlakeId>* roles);

// The private channel of just these two, even if it is closed on this account. Invalid if none.
FlakeId findDirectMessageChannel(FlakeId ownUser, FlakeId otherUser);

// The user by name, without regard to case; discriminator empty for any. Invalid if none.
FlakeId findUserByName(QString const& name, QString const& discriminator);

// --- emoji ---
QString getCanonicalNameOfEmoji(FlakeId emoji); // null if unknown
QVector<DisUsableEmoji> getUsableEmojiWithNamesForUserInChannel(FlakeId user, FlakeId channel);
// Those whose name holds the filter, without regard to case; the emoji of one guild stand together,
// by name.
QVector<DisUsableEmoji> getUsableEmojiWithGuildsForUserInChannel(FlakeId user, FlakeId channel,
                                                                 QString const& filter);

// The id under which the service keeps the member list of a channel: channels that the same roles
// and users may read share one. Null for a channel that is in no guild.
QString memberListIdOfChannel(FlakeId channel);

} // namespace DisUtils
