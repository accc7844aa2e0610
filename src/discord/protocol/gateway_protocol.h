// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the gateway speaks and how a session answers. Pure: the session's logic is a step function
// from a state and an event to actions, which the session worker carries out in order. Values in
// double-quoted keys are the wire's.

#include "dis_seg.h"
#include "dis_session_timings.h"
#include "dis_types.h"
#include "event_log.h"
#include "flake_id.h"

#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QUrl>
#include <QVector>

#include <optional>

namespace DisGateway {

// --- opcodes ---
enum class Op : qint32 {
    Dispatch = 0,
    Heartbeat = 1,
    Identify = 2,
    StatusUpdate = 3,
    VoiceStateUpdate = 4,
    Unused5 = 5,
    Resume = 6,
    Reconnect = 7,
    Unused8 = 8,
    InvalidSession = 9,
    Hello = 10,
    HeartbeatAck = 11,
    GuildSync = 12,
    CallSync = 13,
    LazyGuildRequest = 14,
};

struct OpRow {
    Op op;
    bool incoming;
};
// In the order of the codes.
extern OpRow const opTable[15];

// The opcode of a frame from the server, or nothing for one that is only to be logged: logText
// then holds the line.
[[nodiscard]] std::optional<Op> incomingOp(std::optional<qint32> code, QString* logText);

// --- frames that this side sends ---
struct Credentials {
    QString token;
    QString sessionId;
};
QJsonObject identifyFrame(QString const& token, QString const& appName, bool zlibStream);
QJsonObject resumeFrame(Credentials const& credentials, qint32 lastSeq);
// Carries -1 until the first dispatch: the client deliberately sends no null.
QJsonObject heartbeatFrame(qint32 lastSeq);
QJsonObject statusFrame(DisUserStatusCode code, bool afk, QString const& game);
// The invalid guild is a private call's.
QJsonObject voiceJoinFrame(FlakeId guild, FlakeId channel);
QJsonObject voiceLeaveFrame(FlakeId guild);
QJsonObject callSyncFrame(FlakeId channel);
QJsonObject guildSyncFrame(QSet<FlakeId> const& guilds); // in ascending order
// The subscription to member lists. Only a guild's first one asks for its typing and activities.
QJsonObject lazyGuildRequestFrame(FlakeId guild, QVector<DisSegsNormalized> const& channels,
                                  bool isFirst);

// The cached base URL with the version and form of this client's frames.
QUrl versionedGatewayUrl(QString const& baseUrl, bool zlibStream);

// --- text ---
QString stateTypeToString(DisSessionStateType type);
// Text from outside, made fit for one log line: control characters and the token are taken out, and
// it is cut at 300 characters.
QString loggable(QString const& text, QString const& token);

// --- the session ---
struct State {
    DisSessionStateType type = DisSessionStateType::Disconnected;
    QString logName;
    QString token; // only to be kept out of the log
    QString gatewayUrl;
    bool holdsSession = false; // READY has given a session identifier
    bool socketConnected = false;
    bool reconnectTimerRunning = false;
    DisSessionTimings timings;
};

enum class EventType {
    QueryStarted, // there is no cached URL, and the API is asked for one
    QueryFailed,
    Start, // text: the gateway URL
    SocketConnected,
    SocketClosed, // number: close code, text: reason
    SocketError, // number: QAbstractSocket::SocketError, text: its key
    CloseRequested,
    ReconnectTimeout,
    HeartbeatTimeout, // number: the timer's interval
    Hello, // number: the interval, unless it was absent or no signed 32-bit integer
    ReconnectOp,
    InvalidSessionOp,
};

struct Event {
    EventType type;
    std::optional<qint32> number;
    QString text;
};

enum class ActionType {
    Log, // severity, text
    SetUrl, // text
    SetState, // number: DisSessionStateType
    OpenSocket,
    CloseSocket, // with code 1000 and no reason
    AbortSocket,
    ResetInflate,
    StartHeartbeat, // number: milliseconds
    StopHeartbeat,
    StartReconnectTimer, // number: milliseconds
    SendIdentify,
    SendResume,
    SendHeartbeat,
    ForgetSession, // the session identifier
    ClearClientState, // the store and every marker of what has been fetched
    RejectToken,
    ForgetGatewayUrl, // the account's cached one
    ReportProblem, // text
};

struct Action {
    ActionType type;
    qint32 number = 0;
    EvLog::Severity severity = EvLog::Severity::Info;
    QString text;
};

// Carrying out an action can bring about the next event at once: aborting a socket reports that it
// is closed. So nothing of an action's effect is foreseen in those that follow.
[[nodiscard]] QVector<Action> step(State const& state, Event const& event);

} // namespace DisGateway
