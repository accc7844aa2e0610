// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_session_worker.h"

#include "dis_client.h"
#include "dis_fetch_data.h"
#include "dis_gateway_message.h"
#include "dis_session.h"
#include "dis_store.h"
#include "dread_etf.h"
#include "event_log.h"
#include "global_events.h"
#include "invoke_on_thread.h"
#include "nak_sql.h"
#include "web_socket_helpers.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QThread>
#include <QWebSocket>

#include <iterator>
#include <utility>

namespace {

// The connection-wide compression is always asked for.
constexpr bool useZlibStream = true;

// Bytes of a frame, inflated, from which on what it took is worth giving back to the system.
constexpr quint32 largeFrame = 1'000'000;

// About a kilobyte each. The wait ends by itself, for the user-interface thread may stand still.
constexpr int mostUnderway = 512;
constexpr int longestWaitMSecs = 200;

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

bool isEmpty(DisClientImpl::DisEventOutcome const& outcome)
{
    return outcome.changes.mask == 0 && !outcome.messageCreated && !outcome.ready
        && !outcome.userMustSee && !outcome.segPackage && !outcome.ownVoiceState
        && !outcome.voiceServer && !outcome.ackedMessage.isValid()
        && !outcome.createdPrivateChannel.isValid();
}

} // namespace

// One row per ActionType, in its order.
struct DisSessionWorker::ActionTable {
    using Handler = void (*)(DisSessionWorker&, DisGateway::Action const&);

    static void log(DisSessionWorker&, DisGateway::Action const& action)
    {
        addLog(action.severity, action.text);
    }
    static void setUrl(DisSessionWorker& worker, DisGateway::Action const& action)
    {
        worker.m_gatewayUrl = action.text;
    }
    static void setState(DisSessionWorker& worker, DisGateway::Action const& action)
    {
        worker.setStateType(static_cast<DisSessionStateType>(action.number));
    }
    static void openSocket(DisSessionWorker& worker, DisGateway::Action const&)
    {
        worker.makeSocket();
        worker.m_socket->open(DisGateway::versionedGatewayUrl(worker.m_gatewayUrl, useZlibStream));
    }
    static void closeSocket(DisSessionWorker& worker, DisGateway::Action const&)
    {
        if (worker.m_socket)
            worker.m_socket->close(QWebSocketProtocol::CloseCodeNormal, QString());
    }
    static void abortSocket(DisSessionWorker& worker, DisGateway::Action const&)
    {
        if (worker.m_socket)
            worker.m_socket->abort();
    }
    static void resetInflate(DisSessionWorker& worker, DisGateway::Action const&)
    {
        worker.m_inflater.reset();
    }
    static void startHeartbeat(DisSessionWorker& worker, DisGateway::Action const& action)
    {
        worker.m_heartbeatTimer.start(action.number);
    }
    static void stopHeartbeat(DisSessionWorker& worker, DisGateway::Action const&)
    {
        worker.m_heartbeatTimer.stop();
    }
    static void startReconnectTimer(DisSessionWorker& worker, DisGateway::Action const& action)
    {
        worker.m_reconnectTimer.start(action.number);
    }
    static void sendIdentify(DisSessionWorker& worker, DisGateway::Action const&)
    {
        addLog(EvLog::Severity::Info,
               QStringLiteral("Sending identify message to Discord gateway"));
        worker.m_signedIn = false;
        worker.sendJson(DisGateway::identifyFrame(worker.m_params.token, worker.m_params.appName,
                                                  useZlibStream));
    }
    static void sendResume(DisSessionWorker& worker, DisGateway::Action const&)
    {
        addLog(EvLog::Severity::Info, QStringLiteral("Sending resume message to Discord gateway"));
        worker.sendJson(DisGateway::resumeFrame(
            { worker.m_params.token, worker.events.gatewaySessionId }, worker.lastSeq));
    }
    static void sendHeartbeat(DisSessionWorker& worker, DisGateway::Action const&)
    {
        worker.sendJson(DisGateway::heartbeatFrame(worker.lastSeq));
    }
    static void forgetSession(DisSessionWorker& worker, DisGateway::Action const&)
    {
        worker.events.gatewaySessionId.clear();
    }
    static void clearClientState(DisSessionWorker& worker, DisGateway::Action const&)
    {
        // The rows go here and not in the posted part: the next READY may be written before the
        // user-interface thread gets to it.
        worker.dropBatches();
        clearDisStore(worker.prepared.db);
        worker.tellSession([](DisSession& session) { session.forgetWhatWasFetched(); });
    }
    static void rejectToken(DisSessionWorker& worker, DisGateway::Action const&)
    {
        Utils::invokeOnThread(worker.m_client,
                              [client = worker.m_client, token = worker.m_params.token] {
                                  emit client->authTokenRejected(token);
                              });
    }
    static void forgetGatewayUrl(DisSessionWorker& worker, DisGateway::Action const&)
    {
        Utils::invokeOnThread(worker.m_client,
                              [client = worker.m_client, token = worker.m_params.token] {
                                  emit client->authTokenAcquiredGatewayUrl(token, QString());
                              });
    }
    static void reportProblem(DisSessionWorker&, DisGateway::Action const& action)
    {
        // Not through the session, which may be gone by then.
        Utils::invokeOnThread(QCoreApplication::instance(), [text = action.text] {
            if (g_globalEvents)
                g_globalEvents->addAccountConnectionProblem(text);
        });
    }

    static constexpr Handler rows[] = {
        log,          setUrl,           setState,       openSocket,    closeSocket,
        abortSocket,  resetInflate,     startHeartbeat, stopHeartbeat, startReconnectTimer,
        sendIdentify, sendResume,       sendHeartbeat,  forgetSession, clearClientState,
        rejectToken,  forgetGatewayUrl, reportProblem,
    };
    static_assert(std::size(rows) == static_cast<size_t>(DisGateway::ActionType::ReportProblem) + 1,
                  "every action can be carried out");
};

DisSessionWorker::DisSessionWorker(DisClient* client, DisSession* session,
                                   DisSessionWorkerParams const& params)
    : m_client(client)
    , m_session(session)
    , m_params(params)
    , m_inflater(params.timings.maxFrame)
    , m_heartbeatTimer(this)
    , m_reconnectTimer(this)
    , m_statusBatchTimer(this)
    , m_typingStartBatchTimer(this)
{
    initializeDbPrepStmts(prepared, openDisStore(params.dbPath));
    NakSql::waitNoLongerThanThread(prepared.db);
    setUpTimers();
}

DisSessionWorker::~DisSessionWorker()
{
    if (m_socket) {
        m_socket->disconnect(this);
        delete m_socket;
    }
    sqlite3* const db = prepared.db;
    finalizeDbPrepStmts(prepared);
    NakSql::closeDb(db);
}

void DisSessionWorker::setUpTimers()
{
    // A heartbeat comes at exactly the interval that the server asked for.
    m_heartbeatTimer.setTimerType(Qt::PreciseTimer);
    m_reconnectTimer.setSingleShot(true);
    m_statusBatchTimer.setSingleShot(true);
    m_statusBatchTimer.setInterval(m_params.timings.statusBatch);
    m_typingStartBatchTimer.setSingleShot(true);
    m_typingStartBatchTimer.setInterval(m_params.timings.typingBatch);
    connect(&m_heartbeatTimer, &QTimer::timeout, this, &DisSessionWorker::heartbeatTimeout);
    connect(&m_reconnectTimer, &QTimer::timeout, this, &DisSessionWorker::reconnectTimeout);
    connect(&m_statusBatchTimer, &QTimer::timeout, this, &DisSessionWorker::statusBatchTimeout);
    connect(&m_typingStartBatchTimer, &QTimer::timeout, this,
            &DisSessionWorker::typingStartBatchTimeout);
}

// The socket is made here rather than in the constructor, which runs on the user-interface thread:
// a web socket loads the TLS library, and that is slow.
void DisSessionWorker::makeSocket()
{
    if (m_socket)
        return;
    m_socket = new QWebSocket(QString(), QWebSocketProtocol::Version13, this);
    m_socket->setMaxAllowedIncomingFrameSize(m_params.timings.maxSocketMessage);
    m_socket->setMaxAllowedIncomingMessageSize(m_params.timings.maxSocketMessage);
    connect(m_socket, &QWebSocket::connected, this, &DisSessionWorker::gatewaySocketConnected);
    connect(m_socket, &QWebSocket::disconnected, this,
            &DisSessionWorker::gatewaySocketDisconnected);
    connect(m_socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), this,
            &DisSessionWorker::gatewaySocketError);
    connect(m_socket, &QWebSocket::binaryMessageReceived, this,
            &DisSessionWorker::webSocketBinaryMessageReceived);
}

void DisSessionWorker::startConnection(QString const& url)
{
    apply({ DisGateway::EventType::Start, {}, url });
}

void DisSessionWorker::gatewayQueryStarted()
{
    apply({ DisGateway::EventType::QueryStarted, {}, {} });
}

void DisSessionWorker::gatewayQueryFailed()
{
    apply({ DisGateway::EventType::QueryFailed, {}, {} });
}

void DisSessionWorker::closeConnection()
{
    apply({ DisGateway::EventType::CloseRequested, {}, {} });
}

void DisSessionWorker::sendJson(QJsonObject const& json)
{
    if (m_socket)
        WebSocketHelpers::sendJsonAsEtf(m_socket, json);
}

void DisSessionWorker::setStatusFrame(QJsonObject const& json)
{
    m_statusFrame = json;
    if (m_signedIn)
        sendJson(json);
}

void DisSessionWorker::gatewaySocketConnected()
{
    m_signedIn = false;
    apply({ DisGateway::EventType::SocketConnected, {}, {} });
}

void DisSessionWorker::gatewaySocketDisconnected()
{
    apply({ DisGateway::EventType::SocketClosed, static_cast<qint32>(m_socket->closeCode()),
            m_socket->closeReason() });
}

void DisSessionWorker::gatewaySocketError(int code)
{
    char const* const key = QMetaEnum::fromType<QAbstractSocket::SocketError>().valueToKey(code);
    apply({ DisGateway::EventType::SocketError, code, QString::fromLatin1(key ? key : "Unknown") });
}

void DisSessionWorker::webSocketBinaryMessageReceived(QByteArray const& bytes)
{
    auto const outcome =
        m_inflater.inflateMessage(bytes.constData(), static_cast<quint32>(bytes.size()));
    switch (outcome.status) {
    case DisGatewayInflater::Status::Frame:
        fullMessageReceived(outcome.data, outcome.size);
        break;
    case DisGatewayInflater::Status::StreamEnd:
        addLog(EvLog::Severity::Debug, QStringLiteral("Unexpected zlib stream end"));
        break;
    case DisGatewayInflater::Status::ZlibError:
        addLog(EvLog::Severity::Warn, QStringLiteral("Zlib error: %1").arg(outcome.zlibError));
        break;
    case DisGatewayInflater::Status::TooLarge:
        addLog(EvLog::Severity::Warn,
               QStringLiteral("Dropped a Discord gateway frame that inflates to more than %1 bytes")
                   .arg(m_params.timings.maxFrame));
        break;
    }
    m_inflater.release();
    // Once the socket has let go of the message as well.
    if (outcome.size >= largeFrame)
        Utils::invokeOnThread(this, [this] { giveBackDisStoreMemory(prepared.db); });
}

void DisSessionWorker::fullMessageReceived(char const* bytes, quint32 size)
{
    DisClientImpl::ErfToDreadTaskData task;
    DreadUtils::BuildResult const built = DreadUtils::buildFromEtf(&task.ctx, bytes, size);
    if (built.isError) {
        bool const isErfError = built.error.domain == DreadUtils::BuildDomain::Erf;
        addLog(EvLog::Severity::Warn, QStringLiteral("From ETF build error"));
        addLog(EvLog::Severity::Warn,
               isErfError ? QStringLiteral(" * Erf Error") : QStringLiteral(" * Build Error"));
        addLog(EvLog::Severity::Warn, QLatin1String("   ") + DreadUtils::toString(built.error));
        return;
    }
    task.prepared = built.prepared;
    if (built.root.tag == Dread::Tag::Map) {
        task.root = built.root.map;
        DisClientImpl::processGatewayMessage(*this, task);
    } else {
        addLog(EvLog::Severity::Warn,
               QStringLiteral("Root Dread value from websocket ETF message is not a map"));
    }
    Erf::destroy(task.prepared);
    Dread::destroy(&task.ctx);
}

void DisSessionWorker::heartbeatTimeout()
{
    apply({ DisGateway::EventType::HeartbeatTimeout, m_heartbeatTimer.interval(), {} });
}

void DisSessionWorker::reconnectTimeout()
{
    apply({ DisGateway::EventType::ReconnectTimeout, {}, {} });
}

void DisSessionWorker::statusBatchTimeout()
{
    tellChanges(DisClientImpl::flushBatchedStatuses(events, prepared));
}

void DisSessionWorker::typingStartBatchTimeout()
{
    QVector<DisTypingStart> const starts = std::exchange(events.typingStarts, {});
    if (starts.isEmpty())
        return; // each was followed by its message within the batch
    Utils::invokeOnThread(m_client,
                          [client = m_client, starts] { emit client->typingStarts(starts); });
}

void DisSessionWorker::writeFetchedList(DisFetchedList const& list)
{
    using Kind = DisFetchedList::Kind;
    Dread::Ctx const& ctx = list.data->ctx;
    switch (list.kind) {
    case Kind::Pins:
        return tellChanges(DisClientImpl::writePinnedMessages(prepared, list.id, ctx, list.items));
    case Kind::Bans:
        return tellChanges(DisClientImpl::writeGuildBans(prepared, list.id, ctx, list.items));
    case Kind::History: {
        int const count =
            DisClientImpl::writeHistoryPage(prepared, events.ownUserId, ctx, list.items);
        return tellSession([channel = list.id, count](DisSession& session) {
            session.historyPageWritten(channel, count);
        });
    }
    }
}

void DisSessionWorker::apply(DisGateway::Event const& event)
{
    for (DisGateway::Action const& action : DisGateway::step(gatewayState(), event))
        ActionTable::rows[static_cast<size_t>(action.type)](*this, action);
}

DisGateway::State DisSessionWorker::gatewayState() const
{
    DisGateway::State state;
    state.type = m_stateType;
    state.logName = m_params.logName;
    state.token = m_params.token;
    state.gatewayUrl = m_gatewayUrl;
    state.holdsSession = !events.gatewaySessionId.isEmpty();
    state.socketConnected = m_socket && m_socket->state() == QAbstractSocket::ConnectedState;
    state.reconnectTimerRunning = m_reconnectTimer.isActive();
    state.timings = m_params.timings;
    return state;
}

void DisSessionWorker::setStateType(DisSessionStateType type)
{
    if (type != m_stateType) {
        m_stateType = type;
        addLog(EvLog::Severity::Info,
               QStringLiteral("Entering state type %1 for worker %2")
                   .arg(DisGateway::stateTypeToString(type), m_params.logName));
    }
    if (type == DisSessionStateType::Disconnected)
        dropBatches(); // else they would write to a store that is emptied meanwhile
    tellSession([type](DisSession& session) { session.receiveStateType(type); });
}

void DisSessionWorker::dropBatches()
{
    m_statusBatchTimer.stop();
    m_typingStartBatchTimer.stop();
    events.batchedStatuses.clear();
    events.batchedStrings.clear();
    events.typingStarts.clear();
}

void DisSessionWorker::finishDispatch(DisClientImpl::DisEventOutcome const& outcome)
{
    if (outcome.statusBatchGrew && !m_statusBatchTimer.isActive())
        m_statusBatchTimer.start();
    if (outcome.typingBatchGrew && !m_typingStartBatchTimer.isActive())
        m_typingStartBatchTimer.start();
    if (outcome.signedIn) {
        m_signedIn = true;
        if (!m_statusFrame.isEmpty())
            sendJson(m_statusFrame);
    }
    if (!isEmpty(outcome))
        tellOutcome(outcome);
    if (outcome.userMustSee && outcome.userMustSee->fatal)
        closeConnection();
}

// The user-interface thread may take longer over an event than this one does. It then sets the
// pace: the socket is not read meanwhile, so that the server waits and nothing piles up here.
void DisSessionWorker::tellOutcome(DisClientImpl::DisEventOutcome const& outcome)
{
    QThread const* const thread = QThread::currentThread();
    for (int waited = 0; *m_underway >= mostUnderway && waited < longestWaitMSecs
         && !thread->isInterruptionRequested();
         ++waited)
        QThread::msleep(1);
    ++*m_underway;
    tellSession([outcome, underway = m_underway](DisSession& session) {
        --*underway;
        session.receiveOutcome(outcome);
    });
}

void DisSessionWorker::tellChanges(DisChanges const& changes)
{
    if (changes.mask == 0)
        return;
    Utils::invokeOnThread(m_client,
                          [client = m_client, changes] { client->postLocalChanges(changes); });
}

void DisSessionWorker::tellSession(std::function<void(DisSession&)> const& function)
{
    Utils::invokeOnThread(m_session, [session = m_session, function] { function(*session); });
}
