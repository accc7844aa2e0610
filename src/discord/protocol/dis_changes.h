// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What changed in the Discord store, by identifiers only. Built on the worker thread while an
// event is handled, posted to the user-interface thread after the commit; readers then read the
// new state from the store. Plain value.

#include "flake_id.h"

#include <QMetaType>
#include <QVarLengthArray>

struct DisChange {
    enum class ChangeType : quint32 {
        GuildChanged = 0, // guild
        ChannelChanged = 1, // channel
        MessageCreated = 2, // message, channel, author
        MessageChanged = 3, // message, channel, author
        MessageDeleted = 4, // message, channel
        UserPropertiesChanged = 5, // user
        UserStatusChanged = 6, // user
        UserVoiceStateChanged = 7, // user
        UserSettingsChanged = 8, // user
        UserGuildSettingsChanged = 9, // user, guild
        GuildMemberAdded = 10, // guild, user
        GuildMemberChanged = 11, // guild, user
        GuildMemberRemoved = 12, // guild, user
        GuildBanAdded = 13, // guild, user
        GuildBanRemoved = 14, // guild, user
        GuildRoleCreated = 15, // guild, role
        GuildRoleChanged = 16, // guild, role
        GuildRoleDeleted = 17, // guild, role
        GuildEmojisChanged = 18, // guild
        PrivateRecipientAdded = 19, // channel, user
        PrivateRecipientRemoved = 20, // channel, user
        RelationshipAdded = 21, // user, type
        RelationshipRemoved = 22, // user, type
        Overflow = 23, // the bit only
    };

    ChangeType type = ChangeType::Overflow;
    FlakeId words[3]; // in the order of the comments above; those not told are invalid
};

struct DisChanges {
    QVarLengthArray<DisChange, 32> items;
    quint32 mask = 0; // bit n: an item of type n was added

    static constexpr int maxItems = 1024;
    static constexpr quint32 overflowBit = 0x800000;
    static constexpr quint32 reloadMask = 0xFFFFFF;

    // Too much changed to be told one by one: every reader must reload.
    bool isReload() const { return (mask & overflowBit) != 0; }
    bool has(DisChange::ChangeType type) const { return (mask >> static_cast<quint32>(type)) & 1U; }

    // An empty record that tells every reader to reload.
    static DisChanges reload();

    // Appends an item, or turns the record into an overflow when maxItems are there already.
    void add(DisChange::ChangeType type, FlakeId a = {}, FlakeId b = {}, FlakeId c = {});

    bool anyRelevantPropertyChangesForUserId(FlakeId user) const;
};
Q_DECLARE_METATYPE(DisChanges)

// Adds an item of type to changes and returns it to be filled in, or null once maxItems are kept:
// then the overflow bit is set instead.
DisChange* addChange(DisChanges* changes, DisChange::ChangeType type);

struct DisTypingStart {
    FlakeId channelId;
    FlakeId userId;
    qint64 timestamp = 0; // seconds since the Unix epoch, as the service sends it
};
