// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The rows of the store that come in great numbers, as they are read out of a Dread tree and as
// they are written. Reading does no I/O, so that a handful of rows can be written at once and tens
// of thousands can be collected and sorted first, by the same two functions. Texts point into the
// tree's source and live as long as it.

#include "dis_types.h"
#include "dread.h"
#include "flake_id.h"

struct DisDbPrepared;

namespace DisRows {

struct User {
    FlakeId id;
    Dread::VString name;
    Dread::VString discrim;
    Dread::VString avatar;
    bool bot = false;
};

// What a presence says.
struct Status {
    FlakeId userId;
    DisUserStatusCode code = DisUserStatusCode::Unknown;
    Dread::VString gameName; // empty: no game
    Dread::VString gameUrl;
};

struct Guild {
    FlakeId id;
    Dread::VString name;
    Dread::VString icon;
    FlakeId ownerId;
    FlakeId afkChannelId;
    bool unavailable = false;
};

struct Member {
    FlakeId guildId;
    FlakeId userId;
    Dread::VString nick;
};

struct MemberRole {
    FlakeId userId;
    FlakeId roleId;
};

struct Role {
    FlakeId id;
    FlakeId guildId;
    Dread::VString name;
    qint32 color = 0;
    qint32 position = 0;
    qint32 permissions = 0;
    bool hoist = false;
    bool managed = false;
    bool mentionable = false;
};

// A text or voice channel or a category.
struct Channel {
    FlakeId id;
    FlakeId guildId;
    FlakeId parentId;
    FlakeId lastMessageId;
    Dread::VString name;
    Dread::VString topic;
    Dread::VList overwrites; // of Permission
    DisChannelType type = DisChannelType::GuildText;
    qint32 position = 0;
    qint32 rateLimitPerUser = 0; // seconds
    qint32 bitrate = 0;
    qint32 userLimit = 0;
    bool nsfw = false;
};

struct Permission {
    FlakeId channelId;
    FlakeId targetId; // role or user, by type
    qint32 allow = 0;
    qint32 deny = 0;
    qint32 type = 0; // 0 role, 1 user
};

struct ReadState {
    FlakeId userId;
    FlakeId channelId;
    FlakeId lastMessageId;
    qint32 mentionCount = 0;
};

bool equals(Dread::VString string, char const* text);

// An integer of any width that fits signed 64.
bool findInteger(Dread::Ctx const& ctx, Dread::VMap const& map, char const* key, qint64* out);

// By the length of the text alone: "dnd", "idle", an unknown one, "online", "offline". The letters
// are deliberately not compared.
DisUserStatusCode statusCodeFromText(Dread::VString text);
// The client's numbering of the wire's channel types inside guilds.
DisChannelType guildChannelTypeFromWire(qint32 type);

// False, with the row useless, when the object lacks the ids that a row needs.
bool parseUser(Dread::Ctx const& ctx, Dread::VMap const& map, User* row);
bool parsePresence(Dread::Ctx const& ctx, Dread::VMap const& map, Status* row);
bool parseGuild(Dread::Ctx const& ctx, Dread::VMap const& map, Guild* row);
// A member object holds its user whole.
bool parseMember(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId, User* user,
                 Member* row);
bool parseRole(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId, Role* row);
bool parseChannel(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId, Channel* row);
bool parseOverwrite(Dread::Ctx const& ctx, Dread::Val const& value, FlakeId channelId,
                    Permission* row);
bool parseReadState(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId userId, ReadState* row);

void writeStatus(DisDbPrepared& db, Status const& row);
void writeGuild(DisDbPrepared& db, Guild const& row);
void writeMember(DisDbPrepared& db, Member const& row);
void writeMemberRole(DisDbPrepared& db, MemberRole const& row);
void writeRole(DisDbPrepared& db, Role const& row);
void writeAnyChannel(DisDbPrepared& db, FlakeId id, DisChannelType type);
// The channel's own table; neither any_channel nor the overwrites.
void writeChannel(DisDbPrepared& db, Channel const& row);
void writePermission(DisDbPrepared& db, Permission const& row);
void writeReadState(DisDbPrepared& db, ReadState const& row);

// Calls function(map) for each element of the list that is a map.
template <typename Function>
void forEachMap(Dread::Ctx const& ctx, Dread::VList const& list, Function&& function)
{
    for (quint32 i = 0; i < list.count; ++i) {
        auto const& value = Dread::listAt(ctx, list, i);
        if (value.tag == Dread::Tag::Map)
            function(value.map);
    }
}

// Calls function(map) for each map in the list under key.
template <typename Function>
void forEachMap(Dread::Ctx const& ctx, Dread::VMap const& map, char const* key, Function&& function)
{
    Dread::VList list;
    Dread::find(ctx, map, key, &list);
    forEachMap(ctx, list, function);
}

// Calls function(id, index) for each element of the list that is a usable id.
template <typename Function>
void forEachId(Dread::Ctx const& ctx, Dread::VList const& list, Function&& function)
{
    for (quint32 i = 0; i < list.count; ++i) {
        FlakeId id;
        if (Dread::toFlakeId(Dread::listAt(ctx, list, i), &id) && id.isValid())
            function(id, static_cast<int>(i));
    }
}

// Calls function(MemberRole) for each role of a member object.
template <typename Function>
void forEachMemberRole(Dread::Ctx const& ctx, Dread::VMap const& member, FlakeId userId,
                       Function&& function)
{
    Dread::VList roles;
    Dread::find(ctx, member, "roles", &roles);
    forEachId(ctx, roles, [&](FlakeId role, int) { function(MemberRole{ userId, role }); });
}

// Calls function(Permission) for each usable overwrite of the channel.
template <typename Function>
void forEachOverwrite(Dread::Ctx const& ctx, Channel const& channel, Function&& function)
{
    for (quint32 i = 0; i < channel.overwrites.count; ++i) {
        Permission row;
        if (parseOverwrite(ctx, Dread::listAt(ctx, channel.overwrites, i), channel.id, &row))
            function(row);
    }
}

} // namespace DisRows
