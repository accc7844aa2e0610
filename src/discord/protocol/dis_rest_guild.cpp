// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Administration of guilds: channels, roles, members, bans, emoji.

#include "dis_client.h"
#include "dis_fetch_data.h"
#include "dis_request.h"
#include "dis_rest_params.h"
#include "dis_rest_request.h"
#include "dis_session.h"
#include "event_log.h"
#include "gateway_protocol.h"

#include <QNetworkReply>

namespace {

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

// The wire's numbers of the types that can be made in a guild.
qint32 wireChannelType(DisChannelType type)
{
    switch (type) {
    case DisChannelType::GuildVoice:
        return 2;
    case DisChannelType::GuildCategory:
        return 4;
    default:
        return 0;
    }
}

QJsonObject channelJson(DisGuildChannelParams const& params)
{
    QJsonObject json;
    DisRest::addIfGiven(json, QLatin1String("name"), params.name);
    DisRest::addIfGiven(json, QLatin1String("topic"), params.topic);
    DisRest::addIfGiven(json, QLatin1String("nsfw"), params.nsfw);
    DisRest::addIfGiven(json, QLatin1String("bitrate"), params.bitrate);
    DisRest::addIfGiven(json, QLatin1String("user_limit"), params.userLimit);
    return json;
}

QJsonObject roleJson(DisGuildRoleParams const& params)
{
    QJsonObject json;
    DisRest::addIfGiven(json, QLatin1String("name"), params.name);
    DisRest::addIfGiven(json, QLatin1String("color"), params.color);
    DisRest::addIfGiven(json, QLatin1String("permissions"), params.permissions);
    DisRest::addIfGiven(json, QLatin1String("hoist"), params.hoist);
    DisRest::addIfGiven(json, QLatin1String("mentionable"), params.mentionable);
    return json;
}

QJsonArray positionsJson(QVector<DisGuildPosition> const& positions)
{
    QJsonArray out;
    for (DisGuildPosition const& position : positions) {
        QJsonObject json{ { QStringLiteral("id"), position.id.toString() },
                          { QStringLiteral("position"), position.position } };
        DisRest::addIfGiven(json, QLatin1String("parent_id"), position.parentId);
        out.append(json);
    }
    return out;
}

QJsonObject overwriteJson(DisPermissionOverwrite const& overwrite)
{
    return { { QStringLiteral("type"),
               overwrite.isMember ? QStringLiteral("member") : QStringLiteral("role") },
             { QStringLiteral("allow"), DisRest::value(overwrite.allow) },
             { QStringLiteral("deny"), DisRest::value(overwrite.deny) } };
}

} // namespace

// --- channels ---

void DisClient::createGuildChannel(FlakeId userId, FlakeId guildId, DisChannelType type,
                                   FlakeId parentId, DisGuildChannelParams const& params)
{
    QJsonObject json = channelJson(params);
    json.insert(QStringLiteral("type"), wireChannelType(type));
    if (parentId.isValid())
        json.insert(QStringLiteral("parent_id"), parentId.toString());
    send(userId, DisRest::request(DisRestOp::CreateGuildChannel, { guildId }, json));
}

void DisClient::modifyGuildChannel(FlakeId userId, FlakeId channelId,
                                   DisGuildChannelParams const& params)
{
    send(userId, DisRest::request(DisRestOp::ModifyChannel, { channelId }, channelJson(params)));
}

void DisClient::deleteChannel(FlakeId userId, FlakeId channelId)
{
    deleteChannels(userId, { channelId });
}

void DisClient::deleteChannels(FlakeId userId, QVector<FlakeId> const& channelIds)
{
    for (FlakeId const id : channelIds) {
        if (!id.isValid())
            continue;
        addLog(EvLog::Severity::Info, QStringLiteral("Deleting channel %1").arg(id.toString()));
        send(userId, DisRest::request(DisRestOp::DeleteChannel, { id }));
    }
}

void DisClient::modifyGuildChannelPositions(FlakeId userId, FlakeId guildId,
                                            QVector<DisGuildPosition> const& positions)
{
    send(userId,
         DisRest::request(DisRestOp::ModifyGuildChannels, { guildId }, positionsJson(positions)));
}

void DisClient::setGuildChannelPermissionOverwrites(
    FlakeId userId, FlakeId channelId, QVector<DisPermissionOverwrite> const& overwrites)
{
    QJsonArray list;
    for (DisPermissionOverwrite const& overwrite : overwrites) {
        QJsonObject json = overwriteJson(overwrite);
        json.insert(QStringLiteral("id"), overwrite.targetId.toString());
        list.append(json);
    }
    send(userId,
         DisRest::request(DisRestOp::ModifyChannel, { channelId },
                          QJsonObject{ { QStringLiteral("permission_overwrites"), list } }));
}

void DisClient::modifyGuildChannelPermissionOverwrite(FlakeId userId, FlakeId channelId,
                                                      DisPermissionOverwrite const& overwrite)
{
    send(userId,
         DisRest::request(DisRestOp::SetOverwrite, { channelId, overwrite.targetId },
                          overwriteJson(overwrite)));
}

// --- roles ---

void DisClient::createGuildRole(FlakeId userId, FlakeId guildId, DisGuildRoleParams const& params)
{
    send(userId, DisRest::request(DisRestOp::CreateRole, { guildId }, roleJson(params)));
}

void DisClient::modifyGuildRole(FlakeId userId, FlakeId guildId, FlakeId roleId,
                                DisGuildRoleParams const& params)
{
    send(userId, DisRest::request(DisRestOp::ModifyRole, { guildId, roleId }, roleJson(params)));
}

void DisClient::deleteGuildRole(FlakeId userId, FlakeId guildId, FlakeId roleId)
{
    send(userId, DisRest::request(DisRestOp::DeleteRole, { guildId, roleId }));
}

void DisClient::modifyGuildRolePositions(FlakeId userId, FlakeId guildId,
                                         QVector<DisGuildPosition> const& positions)
{
    send(userId, DisRest::request(DisRestOp::ModifyRoles, { guildId }, positionsJson(positions)));
}

void DisClient::addRoleToGuildMember(FlakeId userId, FlakeId guildId, FlakeId memberId,
                                     FlakeId roleId)
{
    send(userId, DisRest::request(DisRestOp::AddMemberRole, { guildId, memberId, roleId }));
}

void DisClient::removeRoleFromGuildmember(FlakeId userId, FlakeId guildId, FlakeId memberId,
                                          FlakeId roleId)
{
    send(userId, DisRest::request(DisRestOp::RemoveMemberRole, { guildId, memberId, roleId }));
}

// --- members ---

DisChangeOp* DisClient::removeMemberFromGuild(FlakeId userId, FlakeId guildId, FlakeId memberId,
                                              QObject* parent)
{
    return change(userId, DisRest::request(DisRestOp::RemoveMember, { guildId, memberId }), parent);
}

void DisClient::modifyGuildNickOfUser(FlakeId userId, FlakeId guildId, FlakeId memberId,
                                      QString const& nick)
{
    QJsonObject const json{ { QStringLiteral("nick"), nick } };
    send(userId,
         memberId == userId
             ? DisRest::request(DisRestOp::ModifyOwnNick, { guildId }, json)
             : DisRest::request(DisRestOp::ModifyMember, { guildId, memberId }, json));
}

void DisClient::addGuildBan(FlakeId userId, FlakeId guildId, FlakeId bannedId,
                            int deleteMessageDays, QString const& reason)
{
    DisSession* const session = findSessionForOwnUserId(userId);
    if (!session)
        return;
    DisRestRequest const request =
        DisRest::withQuery(DisRest::request(DisRestOp::AddBan, { guildId, bannedId }),
                           { { "delete-message-days", QString::number(deleteMessageDays) },
                             { "reason", reason.isEmpty() ? QString() : reason } });
    session->send(request, session, [](QNetworkReply* reply) {
        // Not by its text, which holds the address and so the reason.
        if (reply->error() != QNetworkReply::NoError)
            addLog(EvLog::Severity::Error,
                   QLatin1String("Error when attempting to ban user: ")
                       + RestHelpers::errorName(reply));
    });
}

DisChangeOp* DisClient::removeGuildBan(FlakeId userId, FlakeId guildId, FlakeId bannedId,
                                       QObject* parent)
{
    return change(userId, DisRest::request(DisRestOp::RemoveBan, { guildId, bannedId }), parent);
}

void DisClient::fetchGuildBans(FlakeId userId, FlakeId guildId)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->fetchGuildBans(guildId);
}

DisDreadFetchOp* DisClient::fetchGuildBans(FlakeId userId, FlakeId guildId, QObject* parent)
{
    auto* const op = fetchOp(userId, DisRest::request(DisRestOp::FetchBans, { guildId }), parent);
    connect(op, &DisRequest::finished, this, [this, op, userId, guildId] {
        auto const data = op->fetchedData();
        DisSession* const session = findSessionForOwnUserId(userId);
        if (session && data && data->root.tag == Dread::Tag::List)
            session->postList({ DisFetchedList::Kind::Bans, guildId, data, data->root.list });
    });
    return op;
}

// --- emoji ---

void DisClient::createGuildEmoji(FlakeId userId, FlakeId guildId, QString const& name,
                                 QByteArray const& png, QVector<FlakeId> const& roles)
{
    QString const image =
        QLatin1String("data:image/png;base64,") + QString::fromLatin1(png.toBase64());
    send(userId,
         DisRest::request(DisRestOp::CreateEmoji, { guildId },
                          QJsonObject{ { QStringLiteral("name"), name },
                                       { QStringLiteral("image"), image },
                                       { QStringLiteral("roles"), DisRest::values(roles) } }));
}

void DisClient::modifyGuildEmoji(FlakeId userId, FlakeId guildId, FlakeId emojiId,
                                 QString const& name, QVector<FlakeId> const& roles)
{
    send(userId,
         DisRest::request(DisRestOp::ModifyEmoji, { guildId, emojiId },
                          QJsonObject{ { QStringLiteral("name"), name },
                                       { QStringLiteral("roles"), DisRest::values(roles) } }));
}

void DisClient::removeGuildEmoji(FlakeId userId, FlakeId guildId, FlakeId emojiId)
{
    send(userId, DisRest::request(DisRestOp::RemoveEmoji, { guildId, emojiId }));
}
