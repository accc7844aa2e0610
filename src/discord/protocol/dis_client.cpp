// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_client.h"

#include "deployment.h"
#include "dis_cache.h"
#include "dis_db_prepared.h"
#include "dis_events.h"
#include "dis_rest_request.h"
#include "dis_session.h"
#include "dis_store.h"
#include "event_log.h"
#include "gateway_protocol.h"
#include "nak_sql.h"

#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <utility>

DisClient* g_disClient = nullptr;

namespace {

constexpr int memoryDelay = 2000; // milliseconds; who reads in shares has finished by then

} // namespace

struct DisClient::Impl {
    DisClientConstants constants;
    QString dbPath;
    sqlite3* db = nullptr;
    DisDbPrepared prepared;
    DisSessionTimings timings;
    QVector<DisSession*> sessions;
    QMap<FlakeId, DisPendingMsg> pending;
    qint64 lastNonceMSecs = -1; // over all sessions
    VoiceLineMaker voiceLineMaker;
    QTimer memoryTimer; // since the last change that had everybody read everything
};

namespace DisClientImpl {

QString stateTypeToString(DisSessionStateType type)
{
    return DisGateway::stateTypeToString(type);
}

qint64 nextNonceMSecs(qint64 now, qint64 last)
{
    // Only a clock that was set back by much may give a smaller value.
    constexpr qint64 burst = 1'000;
    return now <= last && last - now < burst ? last + 1 : now;
}

} // namespace DisClientImpl

DisClientConstants DisClientConstants::fromDeployment(NakDeployment const& deployment)
{
    DisClientConstants constants;
    constants.baseUrl = deployment.discordApiUrl;
    constants.loginUrl = constants.baseUrl + QLatin1String("/auth/login");
    constants.logoutUrl = constants.baseUrl + QLatin1String("/auth/logout");
    constants.gatewayQueryUrl = constants.baseUrl + QLatin1String("/gateway");
    constants.inviteUrl = deployment.discordInviteUrl;
    constants.appName = QStringLiteral("Nakwire");
    constants.libUrl = deployment.programProjectUrl;
    constants.userAgent = QStringLiteral("Nakwire ( %1 ) 0.4.8").arg(constants.libUrl);
    return constants;
}

DisClient::DisClient(DisClientConstants const& constants, QString const& dbPath, QObject* parent)
    : QObject(parent)
    , m_impl(std::make_unique<Impl>())
{
    m_impl->constants = constants;
    m_impl->dbPath = dbPath;
    m_impl->db = createDisStore(dbPath);
    initializeDbPrepStmts(m_impl->prepared, m_impl->db);
    m_impl->memoryTimer.setSingleShot(true);
    m_impl->memoryTimer.setInterval(memoryDelay);
    connect(&m_impl->memoryTimer, &QTimer::timeout, this,
            [this] { giveBackDisStoreMemory(m_impl->db); });
}

// The sessions go before the rest, since their workers may post to this object until they end.
DisClient::~DisClient()
{
    qDeleteAll(std::exchange(m_impl->sessions, {}));
    qDeleteAll(findChildren<DisSession*>(QString(), Qt::FindDirectChildrenOnly));
    finalizeDbPrepStmts(m_impl->prepared);
    NakSql::closeDb(m_impl->db);
}

DisClientConstants const& DisClient::constants() const
{
    return m_impl->constants;
}

QString DisClient::dbPath() const
{
    return m_impl->dbPath;
}

sqlite3* DisClient::db() const
{
    return m_impl->db;
}

DisDbPrepared& DisClient::prepared() const
{
    return m_impl->prepared;
}

void DisClient::setSessionTimings(DisSessionTimings const& timings)
{
    m_impl->timings = timings;
}

// --- sessions ---

DisSession* DisClient::addSessionWithAuthToken(QString const& token, QString const& gatewayUrl)
{
    if (token.isEmpty() || findSessionForAuthToken(token))
        return nullptr;
    auto* const session = new DisSession(token, gatewayUrl, m_impl->timings, this);
    m_impl->sessions.append(session);
    connect(session, &DisSession::stateTypeChanged, this,
            [this, session] { sessionStateTypeChanged(session); });
    session->startConnection();
    return session;
}

void DisClient::sessionStateTypeChanged(DisSession* session)
{
    if (session->stateType() == DisSessionStateType::Disconnected) {
        m_impl->sessions.removeOne(session);
        session->deleteLater();
    }
    emit sessionsChanged();
}

void DisClient::disconnectSession(DisSession* session)
{
    session->closeConnection();
}

void DisClient::disconnectAllSessions()
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, EvLog::Severity::Info,
                             QStringLiteral("Disconnecting all Discord sessions"));
    for (DisSession* const session : qAsConst(m_impl->sessions))
        session->closeConnection();
}

QVector<DisSession*> DisClient::sessions() const
{
    return m_impl->sessions;
}

DisSession* DisClient::findSessionForOwnUserId(FlakeId userId) const
{
    if (!userId.isValid())
        return nullptr; // sessions before their READY have no user yet
    auto const found = std::find_if(
        m_impl->sessions.cbegin(), m_impl->sessions.cend(),
        [userId](DisSession const* session) { return session->ownUserId() == userId; });
    return found == m_impl->sessions.cend() ? nullptr : *found;
}

bool DisClient::hasSessionForOwnUserId(FlakeId userId) const
{
    return findSessionForOwnUserId(userId) != nullptr;
}

DisSession* DisClient::findSessionForAuthToken(QString const& token) const
{
    auto const found =
        std::find_if(m_impl->sessions.cbegin(), m_impl->sessions.cend(),
                     [&token](DisSession const* session) { return session->authToken() == token; });
    return found == m_impl->sessions.cend() ? nullptr : *found;
}

FlakeId DisClient::hack_getDefaultUserId() const
{
    return m_impl->sessions.isEmpty() ? FlakeId() : m_impl->sessions.first()->ownUserId();
}

QSet<FlakeId> DisClient::channelsWithFetchedHistory() const
{
    QSet<FlakeId> all;
    for (DisSession const* session : qAsConst(m_impl->sessions))
        all.unite(session->channelsWithFetchedHistory());
    return all;
}

QSet<FlakeId> DisClient::channelsWithOldestMessageFetched() const
{
    QSet<FlakeId> all;
    for (DisSession const* session : qAsConst(m_impl->sessions))
        all.unite(session->channelsWithOldestMessageFetched());
    return all;
}

QSet<FlakeId> DisClient::channelsWithFetchedPinnedMessages() const
{
    QSet<FlakeId> all;
    for (DisSession const* session : qAsConst(m_impl->sessions))
        all.unite(session->channelsWithFetchedPinnedMessages());
    return all;
}

// --- messages ---

FlakeId DisClient::makeNonce()
{
    qint64 const now = QDateTime::currentMSecsSinceEpoch() - FlakeId::discordEpochMSecs;
    m_impl->lastNonceMSecs = DisClientImpl::nextNonceMSecs(now, m_impl->lastNonceMSecs);
    return FlakeId(static_cast<quint64>(m_impl->lastNonceMSecs) << 22);
}

void DisClient::addPendingMessage(FlakeId nonce, DisPendingMsg const& message)
{
    m_impl->pending.insert(nonce, message);
    DisChanges changes;
    changes.add(DisChange::ChangeType::MessageCreated, nonce, message.channelId, message.authorId);
    postLocalChanges(changes);
}

void DisClient::confirmMessage(FlakeId ownUserId,
                               DisClientImpl::DisMessageCreatedOutcome const& message)
{
    if (message.authorId == ownUserId && message.nonce.isValid())
        m_impl->pending.remove(message.nonce);
    emit messageCreated(message.messageId, message.channelId, message.authorId, message.nonce,
                        message.mentions);
}

void DisClient::postLocalChanges(DisChanges const& changes)
{
    DisCache::applyChanges(changes);
    if (changes.isReload())
        m_impl->memoryTimer.start();
    emit disChanges(changes);
}

QMap<FlakeId, DisPendingMsg>& DisClient::pendingMessages_hack()
{
    return m_impl->pending;
}

void DisClient::send(FlakeId userId, DisRestRequest const& request)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->send(request);
}

// --- history; one account is connected at a time, so the first session is the channel's ---

void DisClient::fetchRecentHistoryForChannel(FlakeId channelId)
{
    if (!m_impl->sessions.isEmpty())
        m_impl->sessions.first()->queueFetchRecentChannelHistory(channelId);
}

void DisClient::fetchChannelHistoryEarlierThanMessage(FlakeId channelId, FlakeId messageId)
{
    if (!m_impl->sessions.isEmpty())
        m_impl->sessions.first()->queueFetchChannelHistoryEarlierThanMessage(channelId, messageId);
}

// --- notices ---

void DisClient::sendTyping(FlakeId userId, FlakeId channelId)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->sendTyping(channelId);
}

bool DisClient::trySendMessageReadAck(FlakeId userId, FlakeId channelId, FlakeId messageId)
{
    DisSession* const session = findSessionForOwnUserId(userId);
    return session && session->trySendMessageReadAck(channelId, messageId);
}

void DisClient::sendGuildReadAck(FlakeId userId, FlakeId guildId)
{
    send(userId, DisRest::request(DisRestOp::AckGuild, { guildId }));
}

void DisClient::setOwnUserStatus(FlakeId userId, DisUserStatusCode code, bool afk,
                                 QString const& game)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->setOwnUserStatus(code, afk, game);
}

void DisClient::connectToVoiceChannel(FlakeId userId, FlakeId channelId)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->connectToVoiceChannel(channelId);
}

void DisClient::sessionDisconnectFromVoiceChannel(FlakeId userId, FlakeId channelId)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->disconnectFromVoiceChannel(channelId);
}

bool DisClient::anySessionsWithVoiceLine() const
{
    return std::any_of(m_impl->sessions.cbegin(), m_impl->sessions.cend(),
                       [](DisSession const* session) { return session->voiceLine() != nullptr; });
}

void DisClient::setVoiceLineMaker(VoiceLineMaker const& maker)
{
    m_impl->voiceLineMaker = maker;
}

IDisVoiceLine* DisClient::makeVoiceLine(DisVoiceConnParams const& params, QObject* parent) const
{
    return m_impl->voiceLineMaker ? m_impl->voiceLineMaker(params, parent) : nullptr;
}

void DisClient::synchronizePrivateChannelCalls(FlakeId userId, FlakeId channelId)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->synchronizePrivateChannelCalls(channelId);
}

void DisClient::includeGuildsForSynchronization(FlakeId userId, QSet<FlakeId> const& guilds)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->includeGuildsForSynchronization(guilds);
}

void DisClient::removeGuildsForSynchronization(FlakeId userId, QSet<FlakeId> const& guilds)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->removeGuildsForSynchronization(guilds);
}

void DisClient::updateChanSegs(FlakeId userId, FlakeId guildId,
                               QVector<DisClientChanSegs> const& channels)
{
    if (DisSession* const session = findSessionForOwnUserId(userId))
        session->updateChanSegs(guildId, channels);
}
