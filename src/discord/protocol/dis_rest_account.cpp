// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What concerns the account itself and single channels, and the fetches whose result goes to their
// caller.

#include "dis_client.h"
#include "dis_request.h"
#include "dis_rest_params.h"
#include "dis_rest_request.h"
#include "dis_session.h"
#include "event_log.h"
#include "nak_stmt.h"

namespace {

QString boolWord(bool flag)
{
    return flag ? QStringLiteral("true") : QStringLiteral("false");
}

QString idText(FlakeId id)
{
    return id.isValid() ? id.toString() : QString();
}

QString numberText(std::optional<qint32> number)
{
    return number ? QString::number(*number) : QString();
}

QJsonObject overridesJson(QVector<DisGuildNotificationSettings::ChannelOverride> const& overrides)
{
    QJsonObject out;
    for (auto const& one : overrides) {
        QJsonObject json;
        DisRest::addIfGiven(json, QLatin1String("muted"), one.muted);
        DisRest::addIfGiven(json, QLatin1String("message_notifications"), one.messageNotifications);
        out.insert(one.channelId.toString(), json);
    }
    return out;
}

} // namespace

// --- messages that stand already ---

void DisClient::editMessageAsUser(FlakeId channelId, FlakeId messageId, FlakeId userId,
                                  QString const& text)
{
    send(userId,
         DisRest::request(DisRestOp::EditMessage, { channelId, messageId },
                          QJsonObject{ { QStringLiteral("content"), text } }));
}

void DisClient::deleteChannelMessage(FlakeId channelId, FlakeId messageId, FlakeId userId)
{
    send(userId, DisRest::request(DisRestOp::DeleteMessage, { channelId, messageId }));
}

void DisClient::changeReaction(DisRestOp op, FlakeId userId, ReactionTarget const& target)
{
    QString const emoji = target.emojiId.isValid()
        ? target.emojiName + QLatin1Char(':') + target.emojiId.toString()
        : target.emojiName;
    send(userId, DisRest::request(op, { target.channelId, target.messageId, emoji }));
}

void DisClient::addEmojiReaction(FlakeId channelId, FlakeId messageId, FlakeId userId,
                                 FlakeId emojiId, QString const& emojiName)
{
    changeReaction(DisRestOp::AddReaction, userId, { channelId, messageId, emojiId, emojiName });
}

void DisClient::deleteEmojiReaction(FlakeId channelId, FlakeId messageId, FlakeId userId,
                                    FlakeId emojiId, QString const& emojiName)
{
    changeReaction(DisRestOp::DeleteReaction, userId, { channelId, messageId, emojiId, emojiName });
}

void DisClient::fetchPinnedMessages(FlakeId userId, FlakeId channelId)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->fetchPinnedMessages(channelId);
}

void DisClient::pinMessage(FlakeId userId, FlakeId channelId, FlakeId messageId)
{
    send(userId, DisRest::request(DisRestOp::Pin, { channelId, messageId }));
}

void DisClient::unpinMessage(FlakeId userId, FlakeId channelId, FlakeId messageId)
{
    send(userId, DisRest::request(DisRestOp::Unpin, { channelId, messageId }));
}

// --- private channels and friends ---

void DisClient::createDirectMessage(FlakeId userId, FlakeId otherId)
{
    EvLogGlobal::addLogEvent(
        EvLog::Category::Networking, EvLog::Severity::Info,
        QStringLiteral("Creating DM channel for user %1").arg(otherId.toString()));
    send(userId,
         DisRest::request(DisRestOp::CreatePrivateChannel, { userId },
                          QJsonObject{ { QStringLiteral("recipient_id"), otherId.toString() } }));
}

void DisClient::addUserToPrivateChannel(FlakeId userId, FlakeId channelId, FlakeId otherId)
{
    send(userId, DisRest::request(DisRestOp::AddRecipient, { channelId, otherId }));
}

void DisClient::setUserRelationship(FlakeId userId, FlakeId otherId, qint32 type)
{
    send(userId,
         DisRest::request(DisRestOp::SetRelationship, { otherId },
                          QJsonObject{ { QStringLiteral("type"), type } }));
}

void DisClient::removeUserRelationship(FlakeId userId, FlakeId otherId)
{
    send(userId, DisRest::request(DisRestOp::RemoveRelationship, { otherId }));
}

// --- settings ---

DisChangeOp* DisClient::setUserGuildPositions(FlakeId userId, QVector<FlakeId> const& guildIds,
                                              QObject* parent)
{
    return change(userId,
                  DisRest::request(DisRestOp::ModifySettings, {},
                                   QJsonObject{ { QStringLiteral("guild_positions"),
                                                  DisRest::values(guildIds) } }),
                  parent);
}

DisChangeOp* DisClient::setGuildNotificationSettings(FlakeId userId, FlakeId guildId,
                                                     DisGuildNotificationSettings const& settings,
                                                     QObject* parent)
{
    QJsonObject json;
    DisRest::addIfGiven(json, QLatin1String("muted"), settings.muted);
    DisRest::addIfGiven(json, QLatin1String("mobile_push"), settings.mobilePush);
    DisRest::addIfGiven(json, QLatin1String("suppress_everyone"), settings.suppressEveryone);
    DisRest::addIfGiven(json, QLatin1String("message_notifications"),
                        settings.messageNotifications);
    DisRest::addIfNotEmpty(json, QLatin1String("channel_overrides"),
                           overridesJson(settings.channelOverrides));
    return change(userId, DisRest::request(DisRestOp::ModifyGuildSettings, { guildId }, json),
                  parent);
}

// The gateway tells the change too, only later.
void DisClient::hack_setUserNameOverride(FlakeId userId, QString const& name)
{
    NakStmt stmt(db(), "update user set name = ? where id = ?");
    stmt.bind(1, name);
    stmt.bind(2, userId);
    stmt.step();
    DisChanges changes;
    changes.add(DisChange::ChangeType::UserPropertiesChanged, userId);
    postLocalChanges(changes);
}

// --- handles ---

DisChangeOp* DisClient::change(FlakeId userId, DisRestRequest const& request, QObject* parent)
{
    if (!parent) {
        send(userId, request);
        return nullptr;
    }
    auto* const op = new DisChangeOp(parent);
    DisClientImpl::genericFetchOp(findSessionForOwnUserId(userId), request, op);
    return op;
}

DisDreadFetchOp* DisClient::fetchOp(FlakeId userId, DisRestRequest const& request, QObject* parent)
{
    auto* const op = new DisDreadFetchOp(parent);
    DisClientImpl::genericFetchOp(findSessionForOwnUserId(userId), request, op);
    return op;
}

// --- invites ---

DisDreadFetchOp* DisClient::requestInviteInfo(FlakeId userId, QString const& code, QObject* parent)
{
    return fetchOp(userId, DisRest::request(DisRestOp::FetchInvite, { code }), parent);
}

DisDreadFetchOp* DisClient::acceptInvite(FlakeId userId, QString const& code, QObject* parent)
{
    return fetchOp(userId, DisRest::request(DisRestOp::AcceptInvite, { code }), parent);
}

DisDreadFetchOp* DisClient::createGuildChannelInvite(FlakeId userId, FlakeId channelId,
                                                     QString const& validate, QString const& maxAge,
                                                     QObject* parent)
{
    QJsonValue const code = validate.isEmpty() ? QJsonValue(QJsonValue::Null) : validate;
    return fetchOp(userId,
                   DisRest::request(DisRestOp::CreateInvite, { channelId },
                                    QJsonObject{ { QStringLiteral("validate"), code },
                                                 { QStringLiteral("max_age"), maxAge } }),
                   parent);
}

DisChangeOp* DisClient::removeGuildInvite(FlakeId userId, QString const& code, QObject* parent)
{
    return change(userId, DisRest::request(DisRestOp::RemoveInvite, { code }), parent);
}

// --- other fetches ---

DisDreadFetchOp* DisClient::fetchGuildInvites(FlakeId userId, FlakeId guildId, QObject* parent)
{
    return fetchOp(userId, DisRest::request(DisRestOp::FetchGuildInvites, { guildId }), parent);
}

DisDreadFetchOp* DisClient::fetchGuildEmoji(FlakeId userId, FlakeId guildId, QObject* parent)
{
    return fetchOp(userId, DisRest::request(DisRestOp::FetchEmoji, { guildId }), parent);
}

DisDreadFetchOp* DisClient::fetchMentions(FlakeId userId,
                                          DisClientMentionsFetchParams const& params,
                                          QObject* parent)
{
    return fetchOp(userId,
                   DisRest::withQuery(DisRest::request(DisRestOp::FetchMentions, {}),
                                      { { "limit", QString::number(params.limit) },
                                        { "guild_id", idText(params.guildId) },
                                        { "roles", boolWord(params.roles) },
                                        { "everyone", boolWord(params.everyone) },
                                        { "before", idText(params.before) } }),
                   parent);
}

DisClientAuditLogFetchOp* DisClient::fetchAuditLog(FlakeId userId, FlakeId guildId,
                                                   DisClientAuditLogFetchParams const& params,
                                                   QObject* parent)
{
    auto* const op = new DisClientAuditLogFetchOp(parent);
    DisRestRequest const request =
        DisRest::withQuery(DisRest::request(DisRestOp::FetchAuditLog, { guildId }),
                           { { "before", idText(params.before) },
                             { "action_type", numberText(params.actionType) },
                             { "user_id", idText(params.userId) },
                             { "limit", numberText(params.limit) } });
    DisClientImpl::genericFetchOpByUrlGet(findSessionForOwnUserId(userId), request.path, op);
    return op;
}
