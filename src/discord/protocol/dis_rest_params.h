// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the REST operations of DisClient are told, as plain records. An absent optional field is not
// sent, which for a change means that it stays as it is.

#include "dis_types.h"
#include "flake_id.h"

#include <QDateTime>
#include <QString>
#include <QVector>

#include <optional>

// What an embed composer hands over. Empty parts are left out of the message.
struct DisEmbedCreation {
    struct Field {
        QString name;
        QString value;
        bool isInline = false;
    };

    QString title;
    QString description;
    QString url;
    QDateTime timestamp; // null: none
    std::optional<qint32> color; // 0xRRGGBB
    QString footerText;
    QString footerIconUrl;
    QString imageUrl;
    QString imageFile; // a local file, which goes with the message and wins over imageUrl
    QString thumbnailUrl;
    QString authorName;
    QString authorUrl;
    QString authorIconUrl;
    QVector<Field> fields;
};

struct DisGuildChannelParams {
    std::optional<QString> name;
    std::optional<QString> topic;
    std::optional<bool> nsfw;
    std::optional<qint32> bitrate; // bits per second, voice only
    std::optional<qint32> userLimit; // voice only
};

// The place of a channel or a role among its like.
struct DisGuildPosition {
    FlakeId id;
    qint32 position = 0;
    std::optional<FlakeId> parentId; // channels only; the invalid one: in no category
};

struct DisPermissionOverwrite {
    FlakeId targetId;
    bool isMember = false; // otherwise a role
    quint32 allow = 0;
    quint32 deny = 0;
};

struct DisGuildRoleParams {
    std::optional<QString> name;
    std::optional<qint32> color; // 0xRRGGBB
    std::optional<quint32> permissions;
    std::optional<bool> hoist;
    std::optional<bool> mentionable;
};

struct DisGuildNotificationSettings {
    struct ChannelOverride {
        FlakeId channelId;
        std::optional<bool> muted;
        std::optional<qint32> messageNotifications;
    };

    std::optional<bool> muted;
    std::optional<bool> mobilePush;
    std::optional<bool> suppressEveryone;
    std::optional<qint32> messageNotifications;
    QVector<ChannelOverride> channelOverrides;
};

struct DisClientMentionsFetchParams {
    qint32 limit = 25;
    FlakeId guildId; // invalid: of all guilds
    bool roles = true;
    bool everyone = true;
    FlakeId before; // a message; invalid: the newest
};

// What is invalid or absent does not restrict.
struct DisClientAuditLogFetchParams {
    FlakeId before; // an entry
    std::optional<qint32> actionType;
    FlakeId userId;
    std::optional<qint32> limit;
};

// What the service tells of an invite.
struct DisInviteInfo {
    QString code; // empty: there was none
    FlakeId guildId;
    QString guildName;
    FlakeId channelId;
    QString channelName;
};
