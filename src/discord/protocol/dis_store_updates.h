// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What objects of the service write into the store. Each function is called inside a transaction
// by its caller, on the connection's thread. Missing fields give defaults; a missing or unusable
// id ends a function with nothing written.

#include "dis_types.h"
#include "dread.h"
#include "flake_id.h"

#include <QVector>

struct DisDbPrepared;

namespace DisClientImpl {

// --- guilds ---
// The guild with all lists in it: members, presences, voice states, roles, channels, emojis.
void updateWithGuildJson(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map);
// Several guilds at once, in the order of their list: the same rows as one by one, written table
// by table in the order of their keys, which takes two thirds of the time.
void updateWithGuildJsons(DisDbPrepared& db, Dread::Ctx const& ctx,
                          QVector<Dread::VMap> const& guilds);
// Only the members and presences of a guild that is known already.
void updateWithGuildSync(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map);
void updateWithGuildMember(DisDbPrepared& db, FlakeId guildId, Dread::Ctx const& ctx,
                           Dread::VMap const& map);
void updateWithGuildRole(DisDbPrepared& db, FlakeId guildId, Dread::Ctx const& ctx,
                         Dread::VMap const& map);
// The list is all that the guild has: its old emojis go.
void updateWithGuildEmojis(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VList const& list,
                           FlakeId guildId);
// The two halves of it.
void clearGuildEmojis(DisDbPrepared& db, FlakeId guildId);
void addGuildEmojis(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VList const& list,
                    FlakeId guildId);

// --- channels ---
void updateAddGuildChannelJson(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map,
                               FlakeId guildId);
void updateWithPrivateChannelData(DisDbPrepared& db, Dread::Ctx const& ctx, FlakeId ownUserId,
                                  Dread::VMap const& map);

// --- voice states ---
struct DisVoiceState {
    FlakeId userId;
    Dread::VString sessionId;
    FlakeId channelId;
    FlakeId guildId; // invalid for calls in private channels
    bool deaf = false;
    bool mute = false;
    bool selfDeaf = false;
    bool selfMute = false;
    bool remove = false; // the user left voice
};
void updateVoiceStateWithMap(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map,
                             FlakeId guildId);
void updateVoiceState(DisDbPrepared& db, DisVoiceState const& state);

// --- messages; ownUserId tells whose reactions "me" means ---
void updateAllChannelMessageStuff(DisDbPrepared& db, FlakeId ownUserId, Dread::Ctx const& ctx,
                                  Dread::VMap const& map);
void updateWithChannelMessage(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map);
// Each of the three acts only if the map has its list.
void clearAndUpdateAttachedMessageStuff(DisDbPrepared& db, FlakeId ownUserId, FlakeId messageId,
                                        Dread::Ctx const& ctx, Dread::VMap const& map);
void clearAndUpdateMessageEmbeds(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                                 Dread::VList const& embeds);
void clearMessageEmbeds(DisDbPrepared& db, FlakeId messageId);
void updateMessageAttachments(DisDbPrepared& db, FlakeId messageId, Dread::Ctx const& ctx,
                              Dread::VList const& attachments);
void clearAndUpdateMessageReactions(DisDbPrepared& db, FlakeId ownUserId, FlakeId messageId,
                                    Dread::Ctx const& ctx, Dread::VList const& reactions);

// --- what belongs to an own user ---
void updateReadStates(DisDbPrepared& db, FlakeId userId, Dread::Ctx const& ctx,
                      Dread::VList const& list);
// The list is of guild ids; the index in it becomes the position.
void updateUserGuildPositions(DisDbPrepared& db, FlakeId userId, Dread::Ctx const& ctx,
                              Dread::VList const& list);
void updateUserGuildSettings(DisDbPrepared& db, FlakeId userId, Dread::Ctx const& ctx,
                             Dread::VMap const& map);
void updateUserRelationship(DisDbPrepared& db, FlakeId ownUserId, Dread::Ctx const& ctx,
                            Dread::VMap const& map);
void clearUserRelationships(DisDbPrepared& db, FlakeId ownUserId);
void removeUserRelationship(DisDbPrepared& db, FlakeId ownUserId, FlakeId otherUserId);

} // namespace DisClientImpl
