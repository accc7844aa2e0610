// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Small memory caches in front of the store, so that painting a list does not query SQLite per
// row. User-interface thread only; needs g_disClient.

#include "dis_changes.h"
#include "dis_types.h"

#include <QColor>
#include <QString>
#include <QVector>

namespace DisCache {

void createGlobalData();
void destroyGlobalData();

QString userName(FlakeId user); // null if unknown
QString userDiscrimWithHash(FlakeId user); // "#1234", null if unknown
QString userNickInGuild(FlakeId user, FlakeId guild); // null if none
QString userNameOrNickInGuild(FlakeId user, FlakeId guild);
DisUserStatusCode userStatusCode(FlakeId user);
QString userGameStatus(FlakeId user);
bool userIsBot(FlakeId user);
QColor userRoleColorInGuild(FlakeId user, FlakeId guild); // invalid if no role has a colour
int userRelationshipType(FlakeId ownUser, FlakeId otherUser);

QString guildName(FlakeId guild);
FlakeId guildOwner(FlakeId guild);
FlakeId guildAfkVoiceChannel(FlakeId guild);

QString guildChannelDisplayName(FlakeId channel); // "#" and the name for a text channel
int guildChannelRateLimitPerUser(FlakeId channel); // seconds
DisChannelType channelType(FlakeId channel);
FlakeId guildIdOfChannel(FlakeId channel); // invalid for private and unknown channels
QVector<FlakeId> privateChannelParticipants(FlakeId channel);
QString privateGroupChannelName(FlakeId channel);
FlakeId privateGroupChannelOwner(FlakeId channel);

// Up to count users whose names were read lately, most recent first.
QVector<FlakeId> hack_recentlyCachedUsersByName(int count);

// --- rights; see dis_perms.h for the flags ---
quint32 userGuildPermissions(FlakeId user, FlakeId guild);
quint32 userGuildPermissions_uncached(FlakeId user, FlakeId guild);
quint32 guildMemberChannelCaps(FlakeId user, FlakeId channel);
quint32 guildMemberChannelCaps_uncached(FlakeId user, FlakeId channel);
bool userCanAccessGuildChannel(FlakeId user, FlakeId channel);
bool userCanManageGuildChannel(FlakeId user, FlakeId channel);
bool userCanManageMessagesInGuildChannel(FlakeId user, FlakeId channel);
bool userCanUseExternalEmojiInGuildChannel(FlakeId user, FlakeId channel);
bool userCanIgnoreRateLimitingInGuildChannel(FlakeId user, FlakeId channel);

// Drops what the changes made stale. Called before any listener sees the record.
void applyChanges(DisChanges const& changes);

} // namespace DisCache
