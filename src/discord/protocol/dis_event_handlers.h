// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The handlers of the dispatch events, one function per name, for the table in dis_events.cpp. A
// handler returns as soon as a required id is missing, with nothing written and nothing to tell.

#include "dis_db_prepared.h"
#include "dis_events.h"

namespace DisClientImpl {

// One event on its way through its handler.
struct DisEvent {
    DisEventState& state;
    DisDbPrepared& db;
    Dread::Ctx const& ctx;
    Dread::VMap const& data;
    DisEventOutcome& outcome;

    // The id under key in the data; invalid if there is none.
    FlakeId id(char const* key) const { return id(data, key); }
    FlakeId id(Dread::VMap const& map, char const* key) const
    {
        FlakeId value;
        Dread::find(ctx, map, key, &value);
        return value;
    }
    // The text under key; null if there is none.
    QString text(char const* key) const
    {
        Dread::VString value;
        return Dread::find(ctx, data, key, &value) ? Dread::toQString(value) : QString();
    }
    Dread::VMap map(char const* key) const
    {
        Dread::VMap value;
        Dread::find(ctx, data, key, &value);
        return value;
    }
    Dread::VList list(char const* key) const
    {
        Dread::VList value;
        Dread::find(ctx, data, key, &value);
        return value;
    }
    void changed(DisChange::ChangeType type, FlakeId a, FlakeId b = {}, FlakeId c = {})
    {
        outcome.changes.add(type, a, b, c);
    }
};

namespace Handle {

// --- dis_events_session.cpp ---
void ready(DisEvent& event);
void resumed(DisEvent& event);
void userSettingsUpdate(DisEvent& event);
void userGuildSettingsUpdate(DisEvent& event);
void relationshipAdd(DisEvent& event);
void relationshipRemove(DisEvent& event);

// --- dis_events_guild.cpp ---
void guildCreate(DisEvent& event);
void guildUpdate(DisEvent& event);
void guildDelete(DisEvent& event);
void guildSync(DisEvent& event);
void guildMemberAdd(DisEvent& event);
void guildMemberUpdate(DisEvent& event);
void guildMemberRemove(DisEvent& event);
void guildBanAdd(DisEvent& event);
void guildBanRemove(DisEvent& event);
void guildRoleCreate(DisEvent& event);
void guildRoleUpdate(DisEvent& event);
void guildRoleDelete(DisEvent& event);
void guildEmojisUpdate(DisEvent& event);

// --- dis_events_channel.cpp ---
void channelCreate(DisEvent& event);
void channelUpdate(DisEvent& event);
void channelDelete(DisEvent& event);
void channelRecipientAdd(DisEvent& event);
void channelRecipientRemove(DisEvent& event);
void voiceStateUpdate(DisEvent& event);
void voiceServerUpdate(DisEvent& event);
void callCreate(DisEvent& event);
void callDelete(DisEvent& event);

// --- dis_events_message.cpp ---
void messageCreate(DisEvent& event);
void messageUpdate(DisEvent& event);
void messageDelete(DisEvent& event);
void messageAck(DisEvent& event);
void messageReactionAdd(DisEvent& event);
void messageReactionRemove(DisEvent& event);

// --- dis_events_presence.cpp ---
void presenceUpdate(DisEvent& event);
void typingStart(DisEvent& event);

// --- dis_events_member_list.cpp ---
void guildMemberListUpdate(DisEvent& event);

} // namespace Handle

} // namespace DisClientImpl
