// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_store_rows.h"

#include "dis_db_prepared.h"

#include <cstring>

namespace DisRows {

bool equals(Dread::VString string, char const* text)
{
    return string.length == std::strlen(text) && std::memcmp(string.data, text, string.length) == 0;
}

bool findInteger(Dread::Ctx const& ctx, Dread::VMap const& map, char const* key, qint64* out)
{
    auto const* value = Dread::findVal(ctx, map, key);
    if (!value)
        return false;
    switch (value->tag) {
    case Dread::Tag::Uint8:
        *out = value->uint8;
        return true;
    case Dread::Tag::Int32:
        *out = value->int32;
        return true;
    case Dread::Tag::Int64:
        *out = value->int64;
        return true;
    case Dread::Tag::Uint64:
        *out = static_cast<qint64>(value->uint64);
        return *out >= 0;
    default:
        return false;
    }
}

DisUserStatusCode statusCodeFromText(Dread::VString text)
{
    switch (text.length) {
    case 3:
        return DisUserStatusCode::DoNotDisturb;
    case 4:
        return DisUserStatusCode::Idle;
    case 6:
        return DisUserStatusCode::Online;
    case 7:
        return DisUserStatusCode::Offline;
    default:
        return DisUserStatusCode::Unknown;
    }
}

DisChannelType guildChannelTypeFromWire(qint32 type)
{
    switch (type) {
    case 2:
        return DisChannelType::GuildVoice;
    case 4:
        return DisChannelType::GuildCategory;
    default:
        return DisChannelType::GuildText;
    }
}

bool parseUser(Dread::Ctx const& ctx, Dread::VMap const& map, User* row)
{
    Dread::find(ctx, map, "id", &row->id);
    if (!row->id.isValid())
        return false;
    Dread::find(ctx, map, "username", &row->name);
    Dread::find(ctx, map, "discriminator", &row->discrim);
    Dread::find(ctx, map, "avatar", &row->avatar);
    Dread::find(ctx, map, "bot", &row->bot);
    return true;
}

bool parsePresence(Dread::Ctx const& ctx, Dread::VMap const& map, Status* row)
{
    Dread::VMap user;
    Dread::find(ctx, map, "user", &user);
    Dread::find(ctx, user, "id", &row->userId);
    if (!row->userId.isValid())
        return false;
    Dread::VString status;
    Dread::find(ctx, map, "status", &status);
    row->code = statusCodeFromText(status);
    Dread::VMap game;
    Dread::find(ctx, map, "game", &game);
    Dread::find(ctx, game, "name", &row->gameName);
    Dread::find(ctx, game, "url", &row->gameUrl);
    return true;
}

bool parseGuild(Dread::Ctx const& ctx, Dread::VMap const& map, Guild* row)
{
    Dread::find(ctx, map, "id", &row->id);
    if (!row->id.isValid())
        return false;
    Dread::find(ctx, map, "name", &row->name);
    Dread::find(ctx, map, "icon", &row->icon);
    Dread::find(ctx, map, "owner_id", &row->ownerId);
    if (!row->ownerId.isValid())
        row->ownerId = FlakeId(0); // the column is not null, and nobody has this id
    Dread::find(ctx, map, "afk_channel_id", &row->afkChannelId);
    Dread::find(ctx, map, "unavailable", &row->unavailable);
    return true;
}

bool parseMember(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId, User* user,
                 Member* row)
{
    Dread::VMap userMap;
    Dread::find(ctx, map, "user", &userMap);
    if (!parseUser(ctx, userMap, user))
        return false;
    row->guildId = guildId;
    row->userId = user->id;
    Dread::find(ctx, map, "nick", &row->nick);
    return true;
}

bool parseRole(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId, Role* row)
{
    Dread::find(ctx, map, "id", &row->id);
    if (!row->id.isValid())
        return false;
    row->guildId = guildId;
    Dread::find(ctx, map, "name", &row->name);
    Dread::find(ctx, map, "color", &row->color);
    Dread::find(ctx, map, "hoist", &row->hoist);
    Dread::find(ctx, map, "position", &row->position);
    Dread::find(ctx, map, "permissions", &row->permissions);
    Dread::find(ctx, map, "managed", &row->managed);
    Dread::find(ctx, map, "mentionable", &row->mentionable);
    return true;
}

bool parseChannel(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId, Channel* row)
{
    qint32 wireType = 0;
    Dread::find(ctx, map, "id", &row->id);
    if (!Dread::find(ctx, map, "type", &wireType) || !row->id.isValid())
        return false;
    row->guildId = guildId;
    row->type = guildChannelTypeFromWire(wireType);
    Dread::find(ctx, map, "name", &row->name);
    Dread::find(ctx, map, "parent_id", &row->parentId);
    Dread::find(ctx, map, "position", &row->position);
    Dread::find(ctx, map, "permission_overwrites", &row->overwrites);
    if (row->type == DisChannelType::GuildText) {
        Dread::find(ctx, map, "topic", &row->topic);
        Dread::find(ctx, map, "nsfw", &row->nsfw);
        Dread::find(ctx, map, "rate_limit_per_user", &row->rateLimitPerUser);
        Dread::find(ctx, map, "last_message_id", &row->lastMessageId);
    } else if (row->type == DisChannelType::GuildVoice) {
        Dread::find(ctx, map, "bitrate", &row->bitrate);
        Dread::find(ctx, map, "user_limit", &row->userLimit);
    }
    return true;
}

bool parseOverwrite(Dread::Ctx const& ctx, Dread::Val const& value, FlakeId channelId,
                    Permission* row)
{
    if (value.tag != Dread::Tag::Map)
        return false;
    Dread::VString type;
    Dread::find(ctx, value.map, "id", &row->targetId);
    Dread::find(ctx, value.map, "type", &type);
    bool const isMember = equals(type, "member");
    if (!row->targetId.isValid() || (!isMember && !equals(type, "role")))
        return false;
    row->channelId = channelId;
    row->type = isMember ? 1 : 0;
    Dread::find(ctx, value.map, "allow", &row->allow);
    Dread::find(ctx, value.map, "deny", &row->deny);
    return true;
}

bool parseReadState(Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId userId, ReadState* row)
{
    Dread::find(ctx, map, "id", &row->channelId);
    if (!row->channelId.isValid())
        return false;
    row->userId = userId;
    Dread::find(ctx, map, "last_message_id", &row->lastMessageId);
    Dread::find(ctx, map, "mention_count", &row->mentionCount);
    return true;
}

void writeStatus(DisDbPrepared& db, Status const& row)
{
    if (row.gameName.length > 0)
        db.setUserStatusWithGame(row.userId, row.code, row.gameName, row.gameUrl);
    else
        db.setUserStatus(row.userId, row.code);
}

void writeGuild(DisDbPrepared& db, Guild const& row)
{
    auto& stmt = db[DisStmt::GuildReplace];
    if (row.unavailable) {
        QString name = Dread::toQString(row.name);
        name += name.isEmpty() ? QStringLiteral("[Unavailable]") : QStringLiteral(" [Unavailable]");
        DisSql::run(stmt, row.id, name, row.icon, row.ownerId, DisSql::OrNull{ row.afkChannelId });
    } else {
        DisSql::run(stmt, row.id, row.name, row.icon, row.ownerId,
                    DisSql::OrNull{ row.afkChannelId });
    }
}

void writeMember(DisDbPrepared& db, Member const& row)
{
    DisSql::run(db[DisStmt::GuildMemberReplace], row.guildId, row.userId, row.nick);
}

void writeMemberRole(DisDbPrepared& db, MemberRole const& row)
{
    DisSql::run(db[DisStmt::GuildMemberRoleReplace], row.userId, row.roleId);
}

void writeRole(DisDbPrepared& db, Role const& row)
{
    DisSql::run(db[DisStmt::RoleReplace], row.id, row.guildId, row.name, row.color, row.hoist,
                row.position, row.permissions, row.managed, row.mentionable);
}

void writeAnyChannel(DisDbPrepared& db, FlakeId id, DisChannelType type)
{
    DisSql::run(db[DisStmt::AnyChannelReplace], id, static_cast<int>(type));
}

void writeChannel(DisDbPrepared& db, Channel const& row)
{
    switch (row.type) {
    case DisChannelType::GuildCategory:
        DisSql::run(db[DisStmt::GuildCategoryReplace], row.id, row.guildId, row.parentId,
                    row.position, DisSql::text(row.name));
        break;
    case DisChannelType::GuildVoice:
        DisSql::run(db[DisStmt::GuildVoiceChannelReplace], row.id, row.guildId, row.parentId,
                    row.position, row.bitrate, row.userLimit, DisSql::text(row.name));
        break;
    default:
        DisSql::run(db[DisStmt::GuildChannelReplace], row.id, row.guildId, row.parentId,
                    row.position, row.nsfw, row.name, row.topic, row.rateLimitPerUser,
                    DisSql::OrNull{ row.lastMessageId });
    }
}

void writePermission(DisDbPrepared& db, Permission const& row)
{
    DisSql::run(db[DisStmt::ChannelPermissionReplace], row.channelId, row.targetId, row.allow,
                row.deny, row.type);
}

void writeReadState(DisDbPrepared& db, ReadState const& row)
{
    DisSql::run(db[DisStmt::ReadStateReplace], row.userId, row.channelId, row.lastMessageId,
                row.mentionCount);
}

} // namespace DisRows
