// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_db_prepared.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"

namespace DisClientImpl {

namespace {

void setGroupProperties(DisDbPrepared& db, Dread::Ctx const& ctx, FlakeId channelId,
                        Dread::VMap const& map)
{
    Dread::VString name;
    Dread::VString icon;
    FlakeId ownerId;
    Dread::find(ctx, map, "name", &name);
    Dread::find(ctx, map, "icon", &icon);
    Dread::find(ctx, map, "owner_id", &ownerId);
    DisSql::run(db[DisStmt::PrivateChannelSetGroup], DisSql::text(name), DisSql::OrNull{ ownerId },
                DisSql::text(icon), channelId);
}

} // namespace

void updateAddGuildChannelJson(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map,
                               FlakeId guildId)
{
    DisRows::Channel channel;
    if (!guildId.isValid() || !DisRows::parseChannel(ctx, map, guildId, &channel))
        return;
    DisSql::run(db[DisStmt::ChannelPermissionsDelete], channel.id);
    DisRows::forEachOverwrite(ctx, channel, [&](DisRows::Permission const& permission) {
        DisRows::writePermission(db, permission);
    });
    DisRows::writeAnyChannel(db, channel.id, channel.type);
    DisRows::writeChannel(db, channel);
}

void updateWithPrivateChannelData(DisDbPrepared& db, Dread::Ctx const& ctx, FlakeId ownUserId,
                                  Dread::VMap const& map)
{
    constexpr qint32 wireGroup = 3;
    FlakeId id;
    qint32 wireType = 0;
    FlakeId lastMessageId;
    Dread::find(ctx, map, "id", &id);
    Dread::find(ctx, map, "type", &wireType);
    Dread::find(ctx, map, "last_message_id", &lastMessageId);
    if (!id.isValid())
        return;
    bool const isGroup = wireType == wireGroup;
    DisRows::writeAnyChannel(db, id,
                             isGroup ? DisChannelType::PrivateGroup : DisChannelType::Private);
    DisSql::run(db[DisStmt::PrivateChannelEnsure], id);
    if (isGroup)
        setGroupProperties(db, ctx, id, map);
    if (lastMessageId.isValid())
        DisSql::run(db[DisStmt::PrivateChannelMaxLastMessage], lastMessageId, id);

    DisRows::forEachMap(ctx, map, "recipients", [&](Dread::VMap const& recipient) {
        DisRows::User user;
        if (!DisRows::parseUser(ctx, recipient, &user))
            return;
        db.createOrUpdateUser(user.id, user.name, user.discrim, user.avatar, user.bot);
        DisSql::run(db[DisStmt::ParticipantReplace], id, user.id);
    });
    if (ownUserId.isValid())
        DisSql::run(db[DisStmt::ParticipantReplace], id, ownUserId);
}

} // namespace DisClientImpl
