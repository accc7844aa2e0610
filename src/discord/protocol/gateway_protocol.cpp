// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "gateway_protocol.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QSysInfo>

#include <algorithm>
#include <iterator>

namespace DisGateway {

namespace {

// Where a hello's heartbeat interval must lie, in milliseconds.
constexpr qint32 minHeartbeat = 5;
constexpr qint32 maxHeartbeat = 100'000;

// QWebSocket reports 1000 where the peer vanished without a close frame, so a lost connection
// normally reconnects. Every other code, 4000 to 4014 included, ends the session; that there is no
// table of codes and no back-off is deliberate.
constexpr qint32 closeNormal = 1000;
constexpr qint32 closeGoingAway = 1001;
constexpr qint32 remoteHostClosedError = 1; // QAbstractSocket::RemoteHostClosedError

QJsonObject frame(Op op, QJsonValue const& d)
{
    return { { QStringLiteral("op"), static_cast<qint32>(op) }, { QStringLiteral("d"), d } };
}

QJsonValue idOrNull(FlakeId id)
{
    return id.isValid() ? QJsonValue(id.toString()) : QJsonValue(QJsonValue::Null);
}

class Steps {
public:
    QVector<Action> actions;

    Steps& add(ActionType type, qint32 number = 0, QString const& text = {})
    {
        actions.append({ type, number, EvLog::Severity::Info, text });
        return *this;
    }
    Steps& log(QString const& text, EvLog::Severity severity = EvLog::Severity::Info)
    {
        actions.append({ ActionType::Log, 0, severity, text });
        return *this;
    }
    Steps& setState(DisSessionStateType type)
    {
        return add(ActionType::SetState, static_cast<qint32>(type));
    }
};

void openSocket(Steps& steps, State const& state)
{
    steps.log(QStringLiteral("Opening WebSocket connection for session %1").arg(state.logName))
        .add(ActionType::OpenSocket);
}

void onQueryStarted(Steps& steps, State const&, Event const&)
{
    steps.setState(DisSessionStateType::Connecting);
}

void onQueryFailed(Steps& steps, State const&, Event const&)
{
    steps.setState(DisSessionStateType::Disconnected);
}

void onStart(Steps& steps, State const& state, Event const& event)
{
    steps.add(ActionType::SetUrl, 0, event.text)
        .log(QStringLiteral("Starting WebSocket connection for session %1 with gateway URL %2")
                 .arg(state.logName, loggable(event.text, state.token)))
        .setState(DisSessionStateType::Connecting);
    openSocket(steps, state);
}

void onSocketConnected(Steps& steps, State const& state, Event const&)
{
    steps.log(QStringLiteral("WebSocket connected to gateway for session %1").arg(state.logName))
        .setState(DisSessionStateType::Connected);
}

void onAuthenticationFailed(Steps& steps, State const& state)
{
    steps
        .log(QStringLiteral("Authentication failed for session %1").arg(state.logName),
             EvLog::Severity::Error)
        .add(ActionType::RejectToken)
        .setState(DisSessionStateType::Disconnected)
        .log(QStringLiteral("Aborting WebSocket for session %1 after authentication failed")
                 .arg(state.logName))
        .add(ActionType::AbortSocket);
}

void onSocketClosed(Steps& steps, State const& state, Event const& event)
{
    qint32 const code = event.number.value_or(closeNormal);
    steps.add(ActionType::ResetInflate)
        .log(QStringLiteral("Stopping heartbeat timer for session %1").arg(state.logName))
        .add(ActionType::StopHeartbeat)
        .log(QStringLiteral(
                 "WebSocket disconnected from gateway for session %1 with reason %2 (code %3)")
                 .arg(state.logName, loggable(event.text, state.token), QString::number(code)));
    if (event.text.startsWith(QLatin1String("Authentication failed"))) {
        onAuthenticationFailed(steps, state);
        return;
    }
    bool const tryAgain = (code == closeNormal || code == closeGoingAway)
        && state.type >= DisSessionStateType::Connecting;
    steps.setState(tryAgain ? DisSessionStateType::Reconnecting : DisSessionStateType::Disconnected)
        .add(ActionType::AbortSocket);
    if (tryAgain && !state.reconnectTimerRunning)
        steps.log(QStringLiteral("Starting reconnect timer for session %1").arg(state.logName))
            .add(ActionType::StartReconnectTimer, state.timings.reconnectFirst);
}

void onSocketError(Steps& steps, State const& state, Event const& event)
{
    qint32 const code = event.number.value_or(-1);
    steps
        .log(QStringLiteral("Aborting WebSocket for session %1 with error code %2")
                 .arg(state.logName, QString::number(code)),
             EvLog::Severity::Warn)
        .add(ActionType::AbortSocket)
        .add(ActionType::ForgetGatewayUrl)
        .log(QStringLiteral("WebSocket connected to Discord signaled an error: %1").arg(event.text),
             EvLog::Severity::Warn);
    if (code == remoteHostClosedError)
        return;
    steps.setState(DisSessionStateType::Disconnected)
        .add(ActionType::ReportProblem, 0,
             QStringLiteral("Error with Discord gateway connection: %1").arg(event.text));
}

void onCloseRequested(Steps& steps, State const& state, Event const&)
{
    steps.add(ActionType::ForgetSession).setState(DisSessionStateType::Disconnecting);
    if (state.socketConnected)
        steps.add(ActionType::CloseSocket);
    else
        steps.setState(DisSessionStateType::Disconnected).add(ActionType::AbortSocket);
}

void onReconnectTimeout(Steps& steps, State const& state, Event const&)
{
    if (state.type != DisSessionStateType::Reconnecting)
        return;
    steps.add(ActionType::StartReconnectTimer, state.timings.reconnectAgain)
        .log(QStringLiteral("Reconnecting WebSocket for session %1 with cached gateway URL %2")
                 .arg(state.logName, loggable(state.gatewayUrl, state.token)));
    openSocket(steps, state);
}

void onHeartbeatTimeout(Steps& steps, State const&, Event const& event)
{
    qint32 const interval = event.number.value_or(0);
    if (interval >= minHeartbeat)
        steps.add(ActionType::SendHeartbeat);
    else
        steps.log(QStringLiteral("Aborting with small heartbeat timer interval (%1)").arg(interval),
                  EvLog::Severity::Warn);
}

void onHello(Steps& steps, State const& state, Event const& event)
{
    steps.log(QStringLiteral("Received Hello from Discord gateway"));
    if (!event.number) {
        steps.log(QStringLiteral("Invalid Hello message from server: heartbeat interval not found "
                                 "or out of range"),
                  EvLog::Severity::Warn);
        return;
    }
    if (*event.number < minHeartbeat || *event.number > maxHeartbeat) {
        steps.log(QStringLiteral("Strange heartbeat interval received: %1").arg(*event.number),
                  EvLog::Severity::Warn);
        return;
    }
    // Exactly that interval: no jitter, and no heartbeat at once.
    steps.add(ActionType::StartHeartbeat, *event.number)
        .add(state.holdsSession ? ActionType::SendResume : ActionType::SendIdentify);
}

void onReconnectOp(Steps& steps, State const& state, Event const&)
{
    steps
        .log(QStringLiteral("Received Reconnect request from Discord gateway for session %1. "
                            "Reconnection will be attempted.")
                 .arg(state.logName))
        .log(QStringLiteral("Closing websocket after reconnect request for session %1")
                 .arg(state.logName))
        .add(ActionType::CloseSocket)
        .add(ActionType::StopHeartbeat);
}

void onInvalidSessionOp(Steps& steps, State const& state, Event const&)
{
    steps.log(QStringLiteral("Discord gateway indicated session ID is invalid for session %1. "
                             "Re-identification will be attempted.")
                  .arg(state.logName),
              EvLog::Severity::Warn);
    if (state.holdsSession)
        steps
            .log(QStringLiteral("Clearing fetched history markers and guild sync markers on client "
                                "from session %1")
                     .arg(state.logName))
            .add(ActionType::ClearClientState);
    steps.add(ActionType::ForgetSession).add(ActionType::SendIdentify);
}

using Handler = void (*)(Steps&, State const&, Event const&);

// In the order of EventType.
constexpr Handler handlers[] = {
    onQueryStarted,     onQueryFailed, onStart,          onSocketConnected,
    onSocketClosed,     onSocketError, onCloseRequested, onReconnectTimeout,
    onHeartbeatTimeout, onHello,       onReconnectOp,    onInvalidSessionOp,
};
static_assert(std::size(handlers) == static_cast<size_t>(EventType::InvalidSessionOp) + 1,
              "every event has its handler");

} // namespace

OpRow const opTable[15] = {
    { Op::Dispatch, true },
    { Op::Heartbeat, false },
    { Op::Identify, false },
    { Op::StatusUpdate, false },
    { Op::VoiceStateUpdate, false },
    { Op::Unused5, false },
    { Op::Resume, false },
    { Op::Reconnect, true },
    { Op::Unused8, false },
    { Op::InvalidSession, true },
    { Op::Hello, true },
    { Op::HeartbeatAck, true },
    { Op::GuildSync, false },
    { Op::CallSync, false },
    { Op::LazyGuildRequest, false },
};

std::optional<Op> incomingOp(std::optional<qint32> code, QString* logText)
{
    if (!code) {
        *logText =
            QStringLiteral("Received WebSocket message from Discord gateway without an opcode int");
        return {};
    }
    if (*code < 0 || *code >= static_cast<qint32>(std::size(opTable))) {
        *logText = QStringLiteral(
                       "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: %1")
                       .arg(*code);
        return {};
    }
    OpRow const& row = opTable[*code];
    if (!row.incoming) {
        *logText =
            QStringLiteral("Unexpected WebSocket message from Discord gateway. Opcode was: %1")
                .arg(*code);
        return {};
    }
    return row.op;
}

QJsonObject identifyFrame(QString const& token, QString const& appName, bool zlibStream)
{
    QJsonObject const properties{
        { QStringLiteral("$os"), QSysInfo::kernelType() },
        { QStringLiteral("$browser"), appName },
        { QStringLiteral("$device"), appName },
        { QStringLiteral("$referrer"), QString() },
        { QStringLiteral("$referring_domain"), QString() },
    };
    QJsonObject d{
        { QStringLiteral("token"), token },
        { QStringLiteral("properties"), properties },
        { QStringLiteral("v"), 6 },
        { QStringLiteral("large_threshold"), 250 },
    };
    if (!zlibStream)
        d.insert(QStringLiteral("compress"), true);
    return frame(Op::Identify, d);
}

QJsonObject resumeFrame(Credentials const& credentials, qint32 lastSeq)
{
    return frame(Op::Resume,
                 QJsonObject{
                     { QStringLiteral("token"), credentials.token },
                     { QStringLiteral("session_id"), credentials.sessionId },
                     { QStringLiteral("seq"), lastSeq },
                 });
}

QJsonObject heartbeatFrame(qint32 lastSeq)
{
    return frame(Op::Heartbeat, lastSeq);
}

QJsonObject statusFrame(DisUserStatusCode code, bool afk, QString const& game)
{
    static constexpr char const* words[] = { "", "invisible", "idle", "dnd", "online" };
    size_t const index = std::min(static_cast<size_t>(code), std::size(words) - 1);
    QJsonValue gameValue;
    if (!game.isEmpty())
        gameValue = QJsonObject{ { QStringLiteral("name"), game }, { QStringLiteral("type"), 0 } };
    else
        gameValue = QJsonValue::Null;
    return frame(Op::StatusUpdate,
                 QJsonObject{
                     { QStringLiteral("status"), QLatin1String(words[index]) },
                     { QStringLiteral("game"), gameValue },
                     { QStringLiteral("afk"), afk },
                     { QStringLiteral("since"), 0 },
                 });
}

QJsonObject voiceJoinFrame(FlakeId guild, FlakeId channel)
{
    return frame(Op::VoiceStateUpdate,
                 QJsonObject{
                     { QStringLiteral("guild_id"), idOrNull(guild) },
                     { QStringLiteral("channel_id"), idOrNull(channel) },
                     { QStringLiteral("self_mute"), false },
                     { QStringLiteral("self_deaf"), false },
                     { QStringLiteral("self_video"), false },
                 });
}

// Unlike the one that joins, it says nothing of video.
QJsonObject voiceLeaveFrame(FlakeId guild)
{
    return frame(Op::VoiceStateUpdate,
                 QJsonObject{
                     { QStringLiteral("guild_id"), idOrNull(guild) },
                     { QStringLiteral("channel_id"), QJsonValue(QJsonValue::Null) },
                     { QStringLiteral("self_mute"), false },
                     { QStringLiteral("self_deaf"), false },
                 });
}

QJsonObject callSyncFrame(FlakeId channel)
{
    return frame(Op::CallSync, QJsonObject{ { QStringLiteral("channel_id"), channel.toString() } });
}

QJsonObject guildSyncFrame(QSet<FlakeId> const& guilds)
{
    QVector<FlakeId> sorted(guilds.cbegin(), guilds.cend());
    std::sort(sorted.begin(), sorted.end());
    QJsonArray ids;
    for (FlakeId const id : qAsConst(sorted))
        ids.append(id.toString());
    return frame(Op::GuildSync, ids);
}

QJsonObject lazyGuildRequestFrame(FlakeId guild, QVector<DisSegsNormalized> const& channels,
                                  bool isFirst)
{
    QJsonObject ranges;
    for (DisSegsNormalized const& channel : channels) {
        QJsonArray list;
        for (int const chunk : channel.chunks) {
            int const row = chunk * DisSeg::chunkSize;
            list.append(QJsonArray{ row, row + DisSeg::chunkSize - 1 });
        }
        ranges.insert(channel.channelId.toString(), list);
    }
    QJsonObject d{
        { QStringLiteral("guild_id"), guild.toString() },
        { QStringLiteral("channels"), ranges },
    };
    if (isFirst) {
        d.insert(QStringLiteral("typing"), true);
        d.insert(QStringLiteral("activities"), true);
    }
    return frame(Op::LazyGuildRequest, d);
}

QUrl versionedGatewayUrl(QString const& baseUrl, bool zlibStream)
{
    QString text = baseUrl + QLatin1String("/?encoding=etf&v=6");
    if (zlibStream)
        text += QLatin1String("&compress=zlib-stream");
    return QUrl(text);
}

QString stateTypeToString(DisSessionStateType type)
{
    switch (type) {
    case DisSessionStateType::Disconnected:
        return QStringLiteral("Disconnected");
    case DisSessionStateType::Disconnecting:
        return QStringLiteral("Disconnecting");
    case DisSessionStateType::Connecting:
        return QStringLiteral("Connecting");
    case DisSessionStateType::Reconnecting:
        return QStringLiteral("Reconnecting");
    case DisSessionStateType::Connected:
        return QStringLiteral("Connected");
    }
    return QStringLiteral("Unknown");
}

QString loggable(QString const& text, QString const& token)
{
    QString line = text;
    if (!token.isEmpty())
        line.replace(token, QLatin1String("[...]"));
    line.truncate(300);
    for (QChar& character : line)
        if (!character.isPrint())
            character = QLatin1Char(' ');
    return line;
}

QVector<Action> step(State const& state, Event const& event)
{
    Steps steps;
    handlers[static_cast<size_t>(event.type)](steps, state, event);
    return steps.actions;
}

} // namespace DisGateway
