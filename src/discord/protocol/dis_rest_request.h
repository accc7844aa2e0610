// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The requests of the REST interface as plain records: what DisClient's operations make and a
// session sends. Pure, any thread.

#include "flake_id.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QPair>
#include <QString>
#include <QVector>

#include <initializer_list>
#include <optional>

enum class DisRestVerb : quint8 { Get, Post, Put, Patch, Delete };

// Operation, verb, path behind the API base. Each "{}" is one identifier or one text.
// clang-format off
#define DIS_REST_OPS(X) \
    X(CreateMessage, Post, "/channels/{}/messages") \
    X(EditMessage, Patch, "/channels/{}/messages/{}") \
    X(DeleteMessage, Delete, "/channels/{}/messages/{}") \
    X(FetchHistory, Get, "/channels/{}/messages") \
    X(AckMessage, Post, "/channels/{}/messages/{}/ack") \
    X(AckGuild, Post, "/guilds/{}/ack") \
    X(AddReaction, Put, "/channels/{}/messages/{}/reactions/{}/@me") \
    X(DeleteReaction, Delete, "/channels/{}/messages/{}/reactions/{}/@me") \
    X(FetchPins, Get, "/channels/{}/pins") \
    X(Pin, Put, "/channels/{}/pins/{}") \
    X(Unpin, Delete, "/channels/{}/pins/{}") \
    X(Typing, Post, "/channels/{}/typing") \
    X(CreatePrivateChannel, Post, "/users/{}/channels") \
    X(AddRecipient, Put, "/channels/{}/recipients/{}") \
    X(CreateGuildChannel, Post, "/guilds/{}/channels") \
    X(ModifyGuildChannels, Patch, "/guilds/{}/channels") \
    X(ModifyChannel, Patch, "/channels/{}") \
    X(DeleteChannel, Delete, "/channels/{}") \
    X(SetOverwrite, Put, "/channels/{}/permissions/{}") \
    X(CreateRole, Post, "/guilds/{}/roles") \
    X(ModifyRoles, Patch, "/guilds/{}/roles") \
    X(ModifyRole, Patch, "/guilds/{}/roles/{}") \
    X(DeleteRole, Delete, "/guilds/{}/roles/{}") \
    X(ModifyMember, Patch, "/guilds/{}/members/{}") \
    X(ModifyOwnNick, Patch, "/guilds/{}/members/@me/nick") \
    X(RemoveMember, Delete, "/guilds/{}/members/{}") \
    X(AddMemberRole, Put, "/guilds/{}/members/{}/roles/{}") \
    X(RemoveMemberRole, Delete, "/guilds/{}/members/{}/roles/{}") \
    X(FetchBans, Get, "/guilds/{}/bans") \
    X(AddBan, Put, "/guilds/{}/bans/{}") \
    X(RemoveBan, Delete, "/guilds/{}/bans/{}") \
    X(FetchEmoji, Get, "/guilds/{}/emojis") \
    X(CreateEmoji, Post, "/guilds/{}/emojis") \
    X(ModifyEmoji, Patch, "/guilds/{}/emojis/{}") \
    X(RemoveEmoji, Delete, "/guilds/{}/emojis/{}") \
    X(FetchGuildInvites, Get, "/guilds/{}/invites") \
    X(CreateInvite, Post, "/channels/{}/invites") \
    X(FetchInvite, Get, "/invite/{}") \
    X(AcceptInvite, Post, "/invite/{}") \
    X(RemoveInvite, Delete, "/invite/{}") \
    X(FetchAuditLog, Get, "/guilds/{}/audit-logs") \
    X(FetchMentions, Get, "/users/@me/mentions") \
    X(ModifySettings, Patch, "/users/@me/settings") \
    X(ModifyGuildSettings, Patch, "/users/@me/guilds/{}/settings") \
    X(SetRelationship, Put, "/users/@me/relationships/{}") \
    X(RemoveRelationship, Delete, "/users/@me/relationships/{}")
// clang-format on

enum class DisRestOp : quint8 {
#define DIS_REST_OP_NAME(name, verb, path) name,
    DIS_REST_OPS(DIS_REST_OP_NAME)
#undef DIS_REST_OP_NAME
};

struct DisRestRequest {
    DisRestVerb verb = DisRestVerb::Get;
    QByteArray path; // percent-encoded, with the query; empty: there is nothing that could be sent
    QByteArray json; // the body's text; null: no body
};

namespace DisRest {

// What stands for a "{}".
struct PathPart {
    PathPart(FlakeId id); // decimal
    PathPart(QString const& text); // percent-encoded

    QByteArray encoded; // empty for what is no part: no identifier, no text, or dots that climb
};
// Without a path if one of the parts is none.
DisRestRequest request(DisRestOp op, std::initializer_list<PathPart> parts);
DisRestRequest request(DisRestOp op, std::initializer_list<PathPart> parts,
                       QJsonObject const& body);
DisRestRequest request(DisRestOp op, std::initializer_list<PathPart> parts, QJsonArray const& body);

// A null value is not given.
using Query = QVector<QPair<char const*, QString>>;
DisRestRequest withQuery(DisRestRequest request, Query const& query);

// --- bodies ---
QByteArray compact(QJsonObject const& json);
QJsonValue value(QString const& text);
QJsonValue value(FlakeId id); // as text; null for the invalid one
QJsonValue value(bool flag);
QJsonValue value(qint32 number);
QJsonValue value(quint32 number);
QJsonArray values(QVector<FlakeId> const& ids);
template <typename T>
void addIfGiven(QJsonObject& json, QLatin1String key, std::optional<T> const& field)
{
    if (field)
        json.insert(key, value(*field));
}
void addIfNotEmpty(QJsonObject& json, QLatin1String key, QString const& text);
void addIfNotEmpty(QJsonObject& json, QLatin1String key, QJsonObject const& part);

} // namespace DisRest
