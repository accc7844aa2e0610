// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_session.h"

#include "dis_client.h"
#include "dis_fetch_data.h"
#include "dis_session_worker.h"
#include "dis_store.h"
#include "event_log.h"
#include "gateway_protocol.h"
#include "invoke_on_thread.h"
#include "nak_sql.h"

#include <QHash>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QRandomGenerator>

#include <utility>

namespace {

// This guild is never synchronized.
constexpr FlakeId neverSynchronizedGuild{ 322'850'917'248'663'552 };

constexpr unsigned long failureCheckMSecs = 50;

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

QString randomLogName()
{
    return QString::number(QRandomGenerator::global()->generate(), 16);
}

} // namespace

DisSession::DisSession(QString const& token, QString const& gatewayUrl,
                       DisSessionTimings const& timings, DisClient* client)
    : QObject(client)
    , m_client(client)
    , m_authToken(token)
    , m_gatewayUrl(gatewayUrl)
    , m_logName(randomLogName())
    , m_timings(timings)
    , m_worker(new DisSessionWorker(
          client, this,
          { token, m_logName, client->dbPath(), client->constants().appName, timings }))
    , m_dirtySegsTimer(this)
    , m_recentHistoryTimer(this)
    , m_typingTimer(this)
{
    setUpTimers();
    startThread();
}

// The worker may post to this object until its thread has ended, so that is waited for while the
// object still stands.
DisSession::~DisSession()
{
    addLog(EvLog::Severity::Info, QStringLiteral("Deleting session %1").arg(m_logName));
    m_worker->deleteLater();
    m_thread.requestInterruption(); // no waiting for this thread, which now waits
    m_thread.quit();
    while (!m_thread.wait(failureCheckMSecs))
        NakSql::showFailureOfWorker();
}

void DisSession::setUpTimers()
{
    m_recentHistoryTimer.setSingleShot(true);
    m_typingTimer.setSingleShot(true);
    m_dirtySegsTimer.setSingleShot(true);
    connect(&m_dirtySegsTimer, &QTimer::timeout, this, &DisSession::tryUpdateDirtySegs);
    connect(&m_recentHistoryTimer, &QTimer::timeout, this, &DisSession::recentHistoryTimeout);
    connect(&m_typingTimer, &QTimer::timeout, this, &DisSession::typingTimeout);
}

void DisSession::startThread()
{
    m_thread.setObjectName(QStringLiteral("DisSessionWorkerThread"));
    m_worker->moveToThread(&m_thread);
    m_thread.start(QThread::NormalPriority);
}

void DisSession::postToWorker(void (DisSessionWorker::*operation)())
{
    Utils::invokeOnThread(m_worker, [worker = m_worker, operation] { (worker->*operation)(); });
}

void DisSession::startConnection()
{
    if (m_gatewayUrl.isEmpty()) {
        postToWorker(&DisSessionWorker::gatewayQueryStarted);
        queryGatewayUrl();
        return;
    }
    Utils::invokeOnThread(
        m_worker, [worker = m_worker, url = m_gatewayUrl] { worker->startConnection(url); });
}

void DisSession::closeConnection()
{
    postToWorker(&DisSessionWorker::closeConnection);
}

void DisSession::queryGatewayUrl()
{
    RestHelpers::getString(sender(), QUrl(m_client->constants().gatewayQueryUrl), this,
                           [this](QNetworkReply* reply) { receiveGatewayUrlReply(reply); });
}

void DisSession::receiveGatewayUrlReply(QNetworkReply* reply)
{
    bool const ok = reply->error() == QNetworkReply::NoError;
    m_gatewayUrl.clear();
    if (ok) {
        m_gatewayUrl =
            DisClientOp::textInBody(RestHelpers::takeBody(reply), m_timings.maxBody, "url")
                .value_or(QString());
        addLog(EvLog::Severity::Info,
               QStringLiteral("Received WebSocket gateway reply from Discord: %1")
                   .arg(DisGateway::loggable(m_gatewayUrl, m_authToken)));
    } else {
        addLog(EvLog::Severity::Error,
               QStringLiteral("Failed to locate WebSocket gateway when querying Discord API: %1")
                   .arg(DisGateway::loggable(reply->errorString(), m_authToken)));
    }
    emit m_client->authTokenAcquiredGatewayUrl(m_authToken, m_gatewayUrl);
    if (!m_gatewayUrl.isEmpty()) {
        startConnection();
        return;
    }
    if (ok)
        addLog(EvLog::Severity::Error,
               QStringLiteral("Received empty WebSocket gateway URL in response from Discord "
                              "gateway query"));
    postToWorker(&DisSessionWorker::gatewayQueryFailed);
}

void DisSession::receiveStateType(DisSessionStateType type)
{
    if (type == m_stateType)
        return;
    m_stateType = type;
    if (type == DisSessionStateType::Disconnected) {
        hack_clearClientState();
        m_ackToken.clear();
        m_ackState = AckState::Idle;
    }
    if (type == DisSessionStateType::Connected && !m_dirtySegs.isEmpty())
        m_dirtySegsTimer.start(m_timings.dirtySegs);
    emit stateTypeChanged(type);
}

void DisSession::hack_clearClientState()
{
    clearDisStore(m_client->db());
    forgetWhatWasFetched();
}

void DisSession::forgetWhatWasFetched()
{
    clearMarkers();
    m_client->postLocalChanges(DisChanges::reload());
}

void DisSession::clearMarkers()
{
    m_fetchedHistory.clear();
    m_oldestFetched.clear();
    m_fetchedPinned.clear();
    m_syncedGuilds.clear();
    m_tooLargeGuilds.clear();
    clearChanSegs();
}

void DisSession::receiveOutcome(DisClientImpl::DisEventOutcome const& outcome)
{
    if (outcome.ready)
        receiveReady(*outcome.ready);
    if (outcome.messageCreated)
        m_client->confirmMessage(m_ownUserId, *outcome.messageCreated);
    if (outcome.createdPrivateChannel.isValid())
        emit m_client->directMessageChannelCreated(outcome.createdPrivateChannel);
    if (outcome.ackedMessage.isValid())
        emit m_client->messageAckReceived(m_ownUserId, outcome.ackedChannel, outcome.ackedMessage);
    if (outcome.segPackage)
        receiveSegPackage(*outcome.segPackage);
    receiveVoice(outcome);
    if (outcome.changes.mask != 0)
        m_client->postLocalChanges(outcome.changes);
    if (outcome.ready) {
        auto const& ready = *outcome.ready;
        emit m_client->authTokenAcquiredUserInfo(m_authToken, ready.ownUserId, ready.userName,
                                                 ready.discriminator, ready.email, ready.avatar);
    }
    if (outcome.userMustSee)
        emit m_client->userMustSee(outcome.userMustSee->title, outcome.userMustSee->text,
                                   outcome.userMustSee->fatal);
}

void DisSession::receiveReady(DisClientImpl::DisReadyOutcome const& ready)
{
    m_ownUserId = ready.ownUserId;
    m_tooLargeGuilds = QSet<FlakeId>(ready.tooLargeGuilds.cbegin(), ready.tooLargeGuilds.cend());
    QHash<FlakeId, int> counts;
    for (FlakeId const channel : ready.unreadChannels)
        counts.insert(channel, 1);
    if (!counts.isEmpty())
        emit m_client->userUnreadCountersInitialized(m_ownUserId, counts);
}

void DisSession::sendFrame(QJsonObject const& json)
{
    Utils::invokeOnThread(m_worker, [worker = m_worker, json] { worker->sendJson(json); });
}

void DisSession::setOwnUserStatus(DisUserStatusCode code, bool afk, QString const& game)
{
    if (code == DisUserStatusCode::Unknown)
        return; // the wire has no word for it
    addLog(EvLog::Severity::Info,
           QStringLiteral("Changing Discord presence status to %1 (afk: %2, game: %3)")
               .arg(static_cast<int>(code))
               .arg(afk)
               .arg(DisGateway::loggable(game, m_authToken)));
    Utils::invokeOnThread(m_worker,
                          [worker = m_worker, frame = DisGateway::statusFrame(code, afk, game)] {
                              worker->setStatusFrame(frame);
                          });
}

void DisSession::includeGuildsForSynchronization(QSet<FlakeId> const& guilds)
{
    QSet<FlakeId> added = guilds;
    added.subtract(m_syncedGuilds);
    added.subtract(m_tooLargeGuilds);
    added.remove(neverSynchronizedGuild);
    added.remove(FlakeId());
    if (added.isEmpty())
        return;
    m_syncedGuilds.unite(added);
    addLog(EvLog::Severity::Info,
           QStringLiteral("Synchronizing %1 additional guilds (%2 total)")
               .arg(added.size())
               .arg(m_syncedGuilds.size()));
    sendFrame(DisGateway::guildSyncFrame(m_syncedGuilds));
}

void DisSession::removeGuildsForSynchronization(QSet<FlakeId> const& guilds)
{
    QSet<FlakeId> removed = guilds;
    removed.intersect(m_syncedGuilds);
    if (removed.isEmpty())
        return;
    m_syncedGuilds.subtract(removed);
    addLog(EvLog::Severity::Info,
           QStringLiteral("Unsynchronizing %1 guilds (%2 remain)")
               .arg(removed.size())
               .arg(m_syncedGuilds.size()));
    sendFrame(DisGateway::guildSyncFrame(m_syncedGuilds));
}

void DisSession::synchronizePrivateChannelCalls(FlakeId channel)
{
    if (!channel.isValid())
        return;
    addLog(EvLog::Severity::Info,
           QStringLiteral("Synchronizing voice calls for channel %1").arg(channel.toString()));
    sendFrame(DisGateway::callSyncFrame(channel));
}
