// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "gateway_protocol.h"

#include <QJsonDocument>
#include <QStringList>
#include <QSysInfo>

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace DisGateway;
using State = DisGateway::State;
using StateType = DisSessionStateType;

std::string text(QJsonObject const& json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

char const* const actionWords[] = {
    "log",  "url",      "state",  "open", "close",  "abort", "reset",  "heartbeat",  "stop",
    "wait", "identify", "resume", "beat", "forget", "clear", "reject", "forget-url", "problem",
};

// One line per action, as short as it goes.
std::string script(QVector<Action> const& actions)
{
    QStringList lines;
    for (Action const& action : actions) {
        QString line = QLatin1String(actionWords[static_cast<size_t>(action.type)]);
        if (action.type == ActionType::SetState)
            line += QLatin1Char(' ') + stateTypeToString(static_cast<StateType>(action.number));
        else if (action.number != 0)
            line += QStringLiteral(" %1").arg(action.number);
        if (!action.text.isEmpty())
            line += QStringLiteral(": ") + action.text;
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n')).toStdString();
}

State stateOf(StateType type)
{
    State state;
    state.type = type;
    state.logName = QStringLiteral("ab12");
    state.token = QStringLiteral("s3cret");
    state.gatewayUrl = QStringLiteral("wss://gateway.invalid");
    return state;
}

std::string stepText(State const& state, EventType type, std::optional<qint32> number = {},
                     char const* eventText = "")
{
    return script(step(state, { type, number, QString::fromUtf8(eventText) }));
}

} // namespace

TEST(GatewayProtocol, IncomingOpcodes)
{
    struct Case {
        std::optional<qint32> code;
        char const* log; // empty: it is handled
    };
    Case const cases[] = {
        { {}, "Received WebSocket message from Discord gateway without an opcode int" },
        { 0, "" },
        { 1, "Unexpected WebSocket message from Discord gateway. Opcode was: 1" },
        { 2, "Unexpected WebSocket message from Discord gateway. Opcode was: 2" },
        { 3, "Unexpected WebSocket message from Discord gateway. Opcode was: 3" },
        { 4, "Unexpected WebSocket message from Discord gateway. Opcode was: 4" },
        { 5, "Unexpected WebSocket message from Discord gateway. Opcode was: 5" },
        { 6, "Unexpected WebSocket message from Discord gateway. Opcode was: 6" },
        { 7, "" },
        { 8, "Unexpected WebSocket message from Discord gateway. Opcode was: 8" },
        { 9, "" },
        { 10, "" },
        { 11, "" },
        { 12, "Unexpected WebSocket message from Discord gateway. Opcode was: 12" },
        { 13, "Unexpected WebSocket message from Discord gateway. Opcode was: 13" },
        { 14, "Unexpected WebSocket message from Discord gateway. Opcode was: 14" },
        { 15, "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: 15" },
        { -1, "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: -1" },
        { std::numeric_limits<qint32>::max(),
          "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: 2147483647" },
        { std::numeric_limits<qint32>::min(),
          "Unrecognized WebSocket message opcode from Discord gateway. Opcode was: -2147483648" },
    };
    for (Case const& one : cases) {
        QString log;
        std::optional<Op> const op = incomingOp(one.code, &log);
        EXPECT_EQ(log.toStdString(), one.log);
        EXPECT_EQ(op.has_value(), log.isEmpty());
        EXPECT_TRUE(!op || static_cast<qint32>(*op) == *one.code);
    }
}

TEST(GatewayProtocol, FramesAsText)
{
    QString const kernel = QSysInfo::kernelType();
    EXPECT_EQ(text(identifyFrame(QStringLiteral("tok"), QStringLiteral("Nakwire"), true)),
              "{\"d\":{\"large_threshold\":250,\"properties\":{\"$browser\":\"Nakwire\","
              "\"$device\":\"Nakwire\",\"$os\":\""
                  + kernel.toStdString()
                  + "\",\"$referrer\":\"\",\"$referring_domain\":\"\"},\"token\":\"tok\",\"v\":6},"
                    "\"op\":2}");
    EXPECT_NE(text(identifyFrame({}, {}, false)).find("\"compress\":true,"), std::string::npos);
    EXPECT_EQ(text(resumeFrame({ QStringLiteral("tok"), QStringLiteral("sess") }, 42)),
              R"({"d":{"seq":42,"session_id":"sess","token":"tok"},"op":6})");
    EXPECT_EQ(text(heartbeatFrame(-1)), R"({"d":-1,"op":1})");
    EXPECT_EQ(text(heartbeatFrame(7)), R"({"d":7,"op":1})");
    EXPECT_EQ(text(statusFrame(DisUserStatusCode::Offline, false, {})),
              R"({"d":{"afk":false,"game":null,"since":0,"status":"invisible"},"op":3})");
    EXPECT_EQ(
        text(statusFrame(DisUserStatusCode::Idle, true, QStringLiteral("Chess"))),
        R"({"d":{"afk":true,"game":{"name":"Chess","type":0},"since":0,"status":"idle"},"op":3})");
    EXPECT_EQ(text(statusFrame(DisUserStatusCode::DoNotDisturb, false, {})),
              R"({"d":{"afk":false,"game":null,"since":0,"status":"dnd"},"op":3})");
    EXPECT_EQ(text(statusFrame(DisUserStatusCode::Online, false, {})),
              R"({"d":{"afk":false,"game":null,"since":0,"status":"online"},"op":3})");
    EXPECT_EQ(text(guildSyncFrame({ FlakeId(30), FlakeId(4), FlakeId(18446744073709551614U) })),
              R"({"d":["4","30","18446744073709551614"],"op":12})");
    EXPECT_EQ(text(guildSyncFrame({})), R"({"d":[],"op":12})");
}

TEST(GatewayProtocol, UrlCarriesVersionAndForm)
{
    EXPECT_EQ(
        versionedGatewayUrl(QStringLiteral("wss://g.invalid"), true).toEncoded().toStdString(),
        "wss://g.invalid/?encoding=etf&v=6&compress=zlib-stream");
    EXPECT_EQ(
        versionedGatewayUrl(QStringLiteral("wss://g.invalid"), false).toEncoded().toStdString(),
        "wss://g.invalid/?encoding=etf&v=6");
}

TEST(GatewayProtocol, LogTextKeepsToOneLineAndHidesTheToken)
{
    auto const shown = [](QString const& raw) {
        return loggable(raw, QStringLiteral("s3cret")).toStdString();
    };
    EXPECT_EQ(shown(QStringLiteral("plain")), "plain");
    EXPECT_EQ(shown(QStringLiteral("a\nb\tc\x1b[0m")), "a b c [0m");
    EXPECT_EQ(shown(QStringLiteral("wss://x/?token=s3cret&s3cret")), "wss://x/?token=[...]&[...]");
    EXPECT_EQ(shown(QString(1'000, QLatin1Char('x'))).size(), 300U);
    EXPECT_EQ(loggable(QStringLiteral("ab"), QString()).toStdString(), "ab");
}

TEST(GatewayProtocol, StateNames)
{
    EXPECT_EQ(stateTypeToString(StateType::Disconnected).toStdString(), "Disconnected");
    EXPECT_EQ(stateTypeToString(StateType::Disconnecting).toStdString(), "Disconnecting");
    EXPECT_EQ(stateTypeToString(StateType::Connecting).toStdString(), "Connecting");
    EXPECT_EQ(stateTypeToString(StateType::Reconnecting).toStdString(), "Reconnecting");
    EXPECT_EQ(stateTypeToString(StateType::Connected).toStdString(), "Connected");
    EXPECT_EQ(stateTypeToString(static_cast<StateType>(5)).toStdString(), "Unknown");
}

TEST(GatewayStep, Start)
{
    EXPECT_EQ(stepText(stateOf(StateType::Disconnected), EventType::Start, {}, "wss://a"),
              "url: wss://a\n"
              "log: Starting WebSocket connection for session ab12 with gateway URL wss://a\n"
              "state Connecting\n"
              "log: Opening WebSocket connection for session ab12\n"
              "open");
    EXPECT_EQ(stepText(stateOf(StateType::Disconnected), EventType::QueryStarted),
              "state Connecting");
    EXPECT_EQ(stepText(stateOf(StateType::Connecting), EventType::QueryFailed),
              "state Disconnected");
    EXPECT_EQ(stepText(stateOf(StateType::Connecting), EventType::SocketConnected),
              "log: WebSocket connected to gateway for session ab12\nstate Connected");
}

TEST(GatewayStep, HelloRanges)
{
    std::string const hello = "log: Received Hello from Discord gateway\n";
    State fresh = stateOf(StateType::Connected);
    State held = fresh;
    held.holdsSession = true;
    auto const strange = [&hello](char const* number) {
        return hello + "log: Strange heartbeat interval received: " + number;
    };
    EXPECT_EQ(stepText(fresh, EventType::Hello, 5), hello + "heartbeat 5\nidentify");
    EXPECT_EQ(stepText(fresh, EventType::Hello, 100'000), hello + "heartbeat 100000\nidentify");
    EXPECT_EQ(stepText(held, EventType::Hello, 41'250), hello + "heartbeat 41250\nresume");
    EXPECT_EQ(stepText(fresh, EventType::Hello, 4), strange("4"));
    EXPECT_EQ(stepText(held, EventType::Hello, 100'001), strange("100001"));
    EXPECT_EQ(stepText(fresh, EventType::Hello, 0), strange("0"));
    EXPECT_EQ(stepText(fresh, EventType::Hello, -1), strange("-1"));
    EXPECT_EQ(stepText(fresh, EventType::Hello),
              hello
                  + "log: Invalid Hello message from server: heartbeat interval not found or out "
                    "of range");
}

TEST(GatewayStep, HeartbeatNeedsAnIntervalAboveFour)
{
    State const state = stateOf(StateType::Connected);
    EXPECT_EQ(stepText(state, EventType::HeartbeatTimeout, 5), "beat");
    EXPECT_EQ(stepText(state, EventType::HeartbeatTimeout, 4),
              "log: Aborting with small heartbeat timer interval (4)");
}

TEST(GatewayStep, CloseCodes)
{
    auto const closedIn = [](StateType type, qint32 code) {
        std::string const all = stepText(stateOf(type), EventType::SocketClosed, code, "why");
        std::string const head =
            "reset\nlog: Stopping heartbeat timer for session ab12\nstop\n"
            "log: WebSocket disconnected from gateway for session ab12 with reason why (code "
            + std::to_string(code) + ")\n";
        EXPECT_EQ(all.substr(0, head.size()), head);
        return all.substr(std::min(head.size(), all.size()));
    };
    std::string const again = "state Reconnecting\nabort\n"
                              "log: Starting reconnect timer for session ab12\nwait 5100";
    std::string const over = "state Disconnected\nabort";
    for (StateType const type :
         { StateType::Connecting, StateType::Reconnecting, StateType::Connected }) {
        EXPECT_EQ(closedIn(type, 1000), again);
        EXPECT_EQ(closedIn(type, 1001), again);
        for (qint32 const code : { 1002, 1003, 1006, 1009, 1011, 4000, 4001, 4002, 4003, 4004, 4005,
                                   4006, 4007, 4008, 4009, 4010, 4011, 4012, 4013, 4014, 0 })
            EXPECT_EQ(closedIn(type, code), over) << code;
    }
    for (StateType const type : { StateType::Disconnected, StateType::Disconnecting })
        for (qint32 const code : { 1000, 1001, 4000 })
            EXPECT_EQ(closedIn(type, code), over) << code;

    State waiting = stateOf(StateType::Reconnecting);
    waiting.reconnectTimerRunning = true;
    EXPECT_EQ(stepText(waiting, EventType::SocketClosed, 1000).find("wait"), std::string::npos);
}

TEST(GatewayStep, AuthenticationFailedIsToldByTheReasonAlone)
{
    std::string const rejected = "log: Authentication failed for session ab12\nreject\n"
                                 "state Disconnected\n"
                                 "log: Aborting WebSocket for session ab12 after authentication "
                                 "failed\nabort";
    for (qint32 const code : { 4004, 1000, 1001 }) {
        std::string const all = stepText(stateOf(StateType::Connected), EventType::SocketClosed,
                                         code, "Authentication failed.");
        EXPECT_EQ(all.substr(all.size() - rejected.size()), rejected);
    }
    for (char const* const reason : { "", "authentication failed", " Authentication failed" })
        EXPECT_EQ(stepText(stateOf(StateType::Connected), EventType::SocketClosed, 4004, reason)
                      .find("reject"),
                  std::string::npos);
}

TEST(GatewayStep, CloseReasonCannotForgeALogLineOrShowTheToken)
{
    EXPECT_NE(stepText(stateOf(StateType::Connected), EventType::SocketClosed, 4000,
                       "x\n2019-01-01\tInfo s3cret")
                  .find("with reason x 2019-01-01 Info [...] (code 4000)"),
              std::string::npos);
}

TEST(GatewayStep, SocketErrors)
{
    std::string const head = "log: Aborting WebSocket for session ab12 with error code ";
    EXPECT_EQ(
        stepText(stateOf(StateType::Connected), EventType::SocketError, 1, "RemoteHostClosedError"),
        head
            + "1\nabort\nforget-url\n"
              "log: WebSocket connected to Discord signaled an error: RemoteHostClosedError");
    EXPECT_EQ(
        stepText(stateOf(StateType::Connecting), EventType::SocketError, 0,
                 "ConnectionRefusedError"),
        head
            + "0\nabort\nforget-url\n"
              "log: WebSocket connected to Discord signaled an error: ConnectionRefusedError\n"
              "state Disconnected\n"
              "problem: Error with Discord gateway connection: ConnectionRefusedError");
}

TEST(GatewayStep, CloseByTheUser)
{
    State state = stateOf(StateType::Connected);
    state.socketConnected = true;
    EXPECT_EQ(stepText(state, EventType::CloseRequested), "forget\nstate Disconnecting\nclose");
    state.socketConnected = false;
    EXPECT_EQ(stepText(state, EventType::CloseRequested),
              "forget\nstate Disconnecting\nstate Disconnected\nabort");
}

TEST(GatewayStep, ReconnectTimeout)
{
    EXPECT_EQ(stepText(stateOf(StateType::Reconnecting), EventType::ReconnectTimeout),
              "wait 15100\n"
              "log: Reconnecting WebSocket for session ab12 with cached gateway URL "
              "wss://gateway.invalid\n"
              "log: Opening WebSocket connection for session ab12\n"
              "open");
    for (StateType const type : { StateType::Disconnected, StateType::Disconnecting,
                                  StateType::Connecting, StateType::Connected })
        EXPECT_EQ(stepText(stateOf(type), EventType::ReconnectTimeout), "");
}

TEST(GatewayStep, ReconnectRequest)
{
    EXPECT_EQ(stepText(stateOf(StateType::Connected), EventType::ReconnectOp),
              "log: Received Reconnect request from Discord gateway for session ab12. Reconnection "
              "will be attempted.\n"
              "log: Closing websocket after reconnect request for session ab12\n"
              "close\n"
              "stop");
}

TEST(GatewayStep, InvalidSession)
{
    std::string const told = "log: Discord gateway indicated session ID is invalid for session "
                             "ab12. Re-identification will be attempted.\n";
    State state = stateOf(StateType::Connected);
    EXPECT_EQ(stepText(state, EventType::InvalidSessionOp), told + "forget\nidentify");
    state.holdsSession = true;
    EXPECT_EQ(stepText(state, EventType::InvalidSessionOp),
              told
                  + "log: Clearing fetched history markers and guild sync markers on client from "
                    "session ab12\n"
                    "clear\nforget\nidentify");
}
