// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_db_prepared.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"

namespace DisClientImpl {

namespace {

void updateChannelOverride(DisDbPrepared& db, FlakeId userId, FlakeId guildId,
                           Dread::Ctx const& ctx, Dread::VMap const& map)
{
    FlakeId channelId;
    qint32 messageNotifications = 0;
    bool muted = false;
    Dread::find(ctx, map, "channel_id", &channelId);
    Dread::find(ctx, map, "message_notifications", &messageNotifications);
    Dread::find(ctx, map, "muted", &muted);
    if (channelId.isValid())
        DisSql::run(db[DisStmt::UserGuildOverrideReplace], userId, guildId, channelId,
                    messageNotifications, muted);
}

} // namespace

void updateUserGuildPositions(DisDbPrepared& db, FlakeId userId, Dread::Ctx const& ctx,
                              Dread::VList const& list)
{
    if (!userId.isValid())
        return;
    DisSql::run(db[DisStmt::UserGuildPositionsDelete], userId);
    DisRows::forEachId(ctx, list, [&](FlakeId guildId, int position) {
        DisSql::run(db[DisStmt::UserGuildPositionReplace], userId, guildId, position);
    });
}

void updateUserGuildSettings(DisDbPrepared& db, FlakeId userId, Dread::Ctx const& ctx,
                             Dread::VMap const& map)
{
    FlakeId guildId;
    qint32 messageNotifications = 0;
    bool mobilePush = false;
    bool muted = false;
    bool suppressEveryone = false;
    Dread::find(ctx, map, "guild_id", &guildId);
    Dread::find(ctx, map, "message_notifications", &messageNotifications);
    Dread::find(ctx, map, "mobile_push", &mobilePush);
    Dread::find(ctx, map, "muted", &muted);
    Dread::find(ctx, map, "suppress_everyone", &suppressEveryone);
    if (!userId.isValid() || !guildId.isValid())
        return;
    DisSql::run(db[DisStmt::UserGuildSettingReplace], userId, guildId, messageNotifications,
                mobilePush, muted, suppressEveryone);
    DisSql::run(db[DisStmt::UserGuildOverridesDelete], userId, guildId);
    DisRows::forEachMap(ctx, map, "channel_overrides", [&](Dread::VMap const& entry) {
        updateChannelOverride(db, userId, guildId, ctx, entry);
    });
}

void updateUserRelationship(DisDbPrepared& db, FlakeId ownUserId, Dread::Ctx const& ctx,
                            Dread::VMap const& map)
{
    FlakeId otherUserId;
    qint32 type = 0;
    Dread::VMap user;
    Dread::find(ctx, map, "id", &otherUserId);
    Dread::find(ctx, map, "type", &type);
    Dread::find(ctx, map, "user", &user);
    if (!ownUserId.isValid() || !otherUserId.isValid())
        return;
    db.createOrUpdateUser(ctx, user);
    DisSql::run(db[DisStmt::RelationshipReplace], ownUserId, otherUserId, type);
}

void clearUserRelationships(DisDbPrepared& db, FlakeId ownUserId)
{
    DisSql::run(db[DisStmt::RelationshipsDeleteOfUser], ownUserId);
}

void removeUserRelationship(DisDbPrepared& db, FlakeId ownUserId, FlakeId otherUserId)
{
    DisSql::run(db[DisStmt::RelationshipDelete], ownUserId, otherUserId);
}

} // namespace DisClientImpl
