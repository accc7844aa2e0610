// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Small memory caches in front of the store, so that painting a list does not query SQLite per
// row. What is not in the store is not kept, so that it is found once it comes. User-interface
// thread only. The statements are prepared on the user-interface thread's connection; a view that
// reads many rows holds a read transaction on it, which makes each read three times as fast.

#include "dis_changes.h"
#include "dis_types.h"

#include <QColor>
#include <QMap>
#include <QString>
#include <QVector>

#include <tuple>

struct sqlite3;

// One who is in a voice channel or a call.
struct DisUserVoiceState {
    FlakeId guildId; // invalid for a call in a private channel
    bool deaf = false;
    bool mute = false;
    bool selfDeaf = false;
    bool selfMute = false;

    friend bool operator==(DisUserVoiceState const& a, DisUserVoiceState const& b)
    {
        return std::tie(a.guildId, a.deaf, a.mute, a.selfDeaf, a.selfMute)
            == std::tie(b.guildId, b.deaf, b.mute, b.selfDeaf, b.selfMute);
    }
};

// Who is in a voice channel or a call, as a view keeps it between changes.
struct DisVoiceStatesModel {
    FlakeId channelId;
    QMap<FlakeId, DisUserVoiceState> users;
};

namespace DisCache {

void createGlobalData(); // on the connection of g_disClient
void createGlobalData(sqlite3* db); // which must outlive the data
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

// Who is in the voice channel, or in the private channel's call. Read anew each time.
QMap<FlakeId, DisUserVoiceState> userVoiceStateMap(FlakeId channel);
void fillVoiceStatesModel(DisVoiceStatesModel* model, FlakeId channel);
// False if the changes leave the model as it is.
[[nodiscard]] bool applyChangesToVoiceStatesModel(DisVoiceStatesModel* model,
                                                  DisChanges const& changes);

// Up to count users whose names were read lately, most recent first.
QVector<FlakeId> hack_recentlyCachedUsersByName(int count);

// --- rights; see dis_perms.h for the flags ---
quint32 userGuildPermissions(FlakeId user, FlakeId guild);
quint32 userGuildPermissions_uncached(FlakeId user, FlakeId guild);
quint32 guildMemberChannelCaps(FlakeId user, FlakeId channel);
quint32 guildMemberChannelCaps_uncached(FlakeId user, FlakeId channel);
// The row that is set for just this role or user in the channel; false if there is none.
bool guildChannelPermissionsOverride(FlakeId target, FlakeId channel, quint32* allow,
                                     quint32* deny);

// Whether the member has one of the capabilities in the channel: name and capabilities.
// clang-format off
#define DIS_CACHE_CHANNEL_QUESTIONS(X) \
    X(userCanAccessGuildChannel, CapAccess) \
    X(userCanManageGuildChannel, CapManageChannel) \
    X(userCanEditPermissionsOnGuildChannel, CapEditPermissions) \
    X(userCanUseExternalEmojiInGuildChannel, CapUseExternalEmoji) \
    X(userCanManageMessagesInGuildChannel, CapManageMessages) \
    X(userCanCreateInviteForGuildChannel, CapCreateInvite) \
    X(userCanConnectVoiceForGuildChannel, CapConnectVoice) \
    X(userCanIgnoreRateLimitingInGuildChannel, CapManageChannel | CapManageMessages)

// The same guild-wide, for the owner and who has one of the permissions.
#define DIS_CACHE_GUILD_QUESTIONS(X) \
    X(userCanManageGuildChannels, Administrator | ManageChannels) \
    X(userCanUseBansInGuild, Administrator | BanMembers) \
    X(userCanViewAuditLogInGuild, Administrator | ViewAuditLog) \
    X(userCanManageEmojisInGuild, Administrator | ManageEmojis) \
    X(userCanManageInvitesInGuild, Administrator | ManageGuild)
// clang-format on

#define DIS_CACHE_DECLARE(name, anyOf) bool name(FlakeId user, FlakeId channelOrGuild);
DIS_CACHE_CHANNEL_QUESTIONS(DIS_CACHE_DECLARE)
DIS_CACHE_GUILD_QUESTIONS(DIS_CACHE_DECLARE)
#undef DIS_CACHE_DECLARE

// Drops what the changes made stale. Called before any listener sees the record.
void applyChanges(DisChanges const& changes);

} // namespace DisCache
