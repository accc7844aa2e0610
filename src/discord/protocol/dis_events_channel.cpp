// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_event_handlers.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"

namespace DisClientImpl {

using ChangeType = DisChange::ChangeType;

namespace {

namespace WireType {
constexpr qint32 pair = 1;
constexpr qint32 guildVoice = 2;
constexpr qint32 group = 3;
constexpr qint32 category = 4;
}

struct ChannelEvent {
    FlakeId id;
    FlakeId guildId; // invalid for private channels
    qint32 wireType = 0;
};

bool parseChannelEvent(DisEvent const& event, ChannelEvent* channel)
{
    channel->id = event.id("id");
    channel->guildId = event.id("guild_id");
    return Dread::find(event.ctx, event.data, "type", &channel->wireType) && channel->id.isValid();
}

void writeChannelEvent(DisEvent& event, ChannelEvent const& channel)
{
    FlakeId const ownUserId = event.state.ownUserId;
    DisTransaction const transaction(event.db);
    if (channel.guildId.isValid()) {
        updateAddGuildChannelJson(event.db, event.ctx, event.data, channel.guildId);
    } else {
        updateWithPrivateChannelData(event.db, event.ctx, ownUserId, event.data);
        // A private channel that is opened again is no longer closed.
        DisSql::run(event.db[DisStmt::ClosedChannelDelete], ownUserId, channel.id);
    }
    event.changed(ChangeType::ChannelChanged, channel.id);
}

DisStmt deleteOfGuildChannel(qint32 wireType)
{
    switch (wireType) {
    case WireType::guildVoice:
        return DisStmt::GuildVoiceChannelDelete;
    case WireType::category:
        return DisStmt::GuildCategoryDelete;
    default:
        return DisStmt::GuildChannelDelete;
    }
}

void changeRecipient(DisEvent& event, DisStmt write, ChangeType change)
{
    FlakeId const channelId = event.id("channel_id");
    Dread::VMap const user = event.map("user");
    FlakeId const userId = event.id(user, "id");
    if (!channelId.isValid() || !userId.isValid())
        return;
    DisTransaction const transaction(event.db);
    event.db.createOrUpdateUser(event.ctx, user);
    DisSql::run(event.db[write], channelId, userId);
    event.changed(change, channelId, userId);
}

DisOwnVoiceState dmapToOwnUserVoiceStateUpdateParams(DisEvent const& event)
{
    return { event.text("session_id"), event.id("guild_id"), event.id("channel_id") };
}

} // namespace

void Handle::channelCreate(DisEvent& event)
{
    ChannelEvent channel;
    if (!parseChannelEvent(event, &channel))
        return;
    writeChannelEvent(event, channel);
    if (!channel.guildId.isValid())
        event.outcome.createdPrivateChannel = channel.id;
}

void Handle::channelUpdate(DisEvent& event)
{
    ChannelEvent channel;
    if (parseChannelEvent(event, &channel))
        writeChannelEvent(event, channel);
}

void Handle::channelDelete(DisEvent& event)
{
    ChannelEvent channel;
    FlakeId const ownUserId = event.state.ownUserId;
    if (!parseChannelEvent(event, &channel))
        return;
    bool const isPrivate =
        channel.wireType == WireType::pair || channel.wireType == WireType::group;
    if (isPrivate && !ownUserId.isValid())
        return;
    if (channel.wireType == WireType::pair) {
        // Only hidden, on this account.
        DisSql::run(event.db[DisStmt::ClosedChannelEnsure], ownUserId, channel.id);
        event.changed(ChangeType::ChannelChanged, channel.id);
    } else if (channel.wireType == WireType::group) {
        // The own user has left.
        DisSql::run(event.db[DisStmt::ParticipantDelete], channel.id, ownUserId);
        event.changed(ChangeType::PrivateRecipientRemoved, channel.id, ownUserId);
    } else if (channel.guildId.isValid()) {
        DisSql::run(event.db[deleteOfGuildChannel(channel.wireType)], channel.guildId, channel.id);
        event.changed(ChangeType::ChannelChanged, channel.id);
    }
}

void Handle::channelRecipientAdd(DisEvent& event)
{
    changeRecipient(event, DisStmt::ParticipantEnsure, ChangeType::PrivateRecipientAdded);
}

void Handle::channelRecipientRemove(DisEvent& event)
{
    changeRecipient(event, DisStmt::ParticipantDelete, ChangeType::PrivateRecipientRemoved);
}

void Handle::voiceStateUpdate(DisEvent& event)
{
    FlakeId const userId = event.id("user_id");
    if (!userId.isValid())
        return;
    updateVoiceStateWithMap(event.db, event.ctx, event.data, event.id("guild_id"));
    if (userId == event.state.ownUserId)
        event.outcome.ownVoiceState = dmapToOwnUserVoiceStateUpdateParams(event);
    event.changed(ChangeType::UserVoiceStateChanged, userId);
}

void Handle::voiceServerUpdate(DisEvent& event)
{
    event.outcome.voiceServer =
        DisVoiceServer{ event.text("endpoint"), event.text("token"), event.id("guild_id") };
}

void Handle::callCreate(DisEvent& event)
{
    if (!event.id("channel_id").isValid())
        return;
    DisTransaction const transaction(event.db);
    DisRows::forEachMap(event.ctx, event.data, "voice_states", [&](Dread::VMap const& map) {
        updateVoiceStateWithMap(event.db, event.ctx, map, FlakeId());
        FlakeId const userId = event.id(map, "user_id");
        if (userId.isValid())
            event.changed(ChangeType::UserVoiceStateChanged, userId);
    });
}

void Handle::callDelete(DisEvent& event)
{
    FlakeId const channelId = event.id("channel_id");
    if (!channelId.isValid())
        return;
    DisTransaction const transaction(event.db);
    auto& users = event.db[DisStmt::VoiceStateUsersInChannel];
    DisSql::bindAll(users, channelId);
    while (users.step())
        event.changed(ChangeType::UserVoiceStateChanged, users.colFlake(0));
    users.reset();
    DisSql::run(event.db[DisStmt::VoiceStatesDeleteInChannel], channelId);
}

} // namespace DisClientImpl
