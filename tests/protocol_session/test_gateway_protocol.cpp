// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The session's logic without a socket: what the life of a connection (test_session.cpp) does not
// come to.

#include "gateway_protocol.h"
#include "session_fixture.h"

namespace {

using namespace DisGateway;
using StateType = DisSessionStateType;

DisGateway::State stateOf(StateType type)
{
    DisGateway::State state;
    state.type = type;
    state.token = QStringLiteral("s3cret");
    return state;
}

// What becomes of the session: the states that it enters, timers, what is forgotten.
std::string outcome(DisGateway::State const& state, Event const& event)
{
    QStringList words;
    for (Action const& action : step(state, event)) {
        if (action.type == ActionType::SetState)
            words << stateTypeToString(static_cast<StateType>(action.number));
        if (action.type == ActionType::StartReconnectTimer)
            words << QStringLiteral("in %1 ms").arg(action.number);
        if (action.type == ActionType::OpenSocket)
            words << QStringLiteral("open");
        if (action.type == ActionType::RejectToken)
            words << QStringLiteral("rejected");
        if (action.type == ActionType::ForgetGatewayUrl)
            words << QStringLiteral("no URL");
    }
    return words.join(QLatin1Char(' ')).toStdString();
}

constexpr StateType allStates[] = { StateType::Disconnected, StateType::Disconnecting,
                                    StateType::Connecting, StateType::Reconnecting,
                                    StateType::Connected };

} // namespace

TEST(GatewayProtocol, FramesAsText)
{
    EXPECT_EQ(
        text(statusFrame(DisUserStatusCode::Idle, true, QStringLiteral("Chess"))),
        R"({"d":{"afk":true,"game":{"name":"Chess","type":0},"since":0,"status":"idle"},"op":3})");
    EXPECT_EQ(text(statusFrame(DisUserStatusCode::Offline, false, {})),
              R"({"d":{"afk":false,"game":null,"since":0,"status":"invisible"},"op":3})");
    EXPECT_EQ(text(guildSyncFrame({ FlakeId(30), FlakeId(4), FlakeId(18446744073709551614U) })),
              R"({"d":["4","30","18446744073709551614"],"op":12})");
    // Without a zlib stream.
    EXPECT_NE(text(identifyFrame({}, {}, false)).find("\"compress\":true,"), std::string::npos);
    EXPECT_EQ(versionedGatewayUrl(QStringLiteral("wss://g.invalid"), false).toEncoded(),
              "wss://g.invalid/?encoding=etf&v=6");
}

TEST(GatewayProtocol, LogTextKeepsToOneLineAndHidesTheToken)
{
    auto const shown = [](QString const& raw) {
        return loggable(raw, QStringLiteral("s3cret")).toStdString();
    };
    EXPECT_EQ(shown(QStringLiteral("a\nb\tc\x1b[0m")), "a b c [0m");
    EXPECT_EQ(shown(QStringLiteral("wss://x/?token=s3cret&s3cret")), "wss://x/?token=[...]&[...]");
    EXPECT_EQ(shown(QString(1'000, QLatin1Char('x'))).size(), 300U);
    EXPECT_EQ(loggable(QStringLiteral("ab"), QString()).toStdString(), "ab");
    // As for a reason that the service gives.
    auto const closed = step(stateOf(StateType::Connected),
                             { EventType::SocketClosed, 4000, QStringLiteral("x\nInfo s3cret") });
    EXPECT_TRUE(std::any_of(closed.begin(), closed.end(), [](Action const& action) {
        return action.text.endsWith(QLatin1String("with reason x Info [...] (code 4000)"));
    }));
}

TEST(GatewayStep, ClosingInEveryState)
{
    auto const closed = [](StateType type, qint32 code, char const* reason) {
        return outcome(stateOf(type), { EventType::SocketClosed, code, QLatin1String(reason) });
    };
    for (StateType const type : allStates) {
        for (qint32 const code : { 0,    1000, 1001, 1002, 1003, 1006, 1009, 1011, 4000, 4001, 4002,
                                   4003, 4004, 4005, 4006, 4007, 4008, 4009, 4010, 4013, 4014 }) {
            bool const isLoss = (code == 1000 || code == 1001) && type >= StateType::Connecting;
            EXPECT_EQ(closed(type, code, " authentication failed"),
                      isLoss ? "Reconnecting in 5100 ms" : "Disconnected");
        }
        for (qint32 const code : { 4004, 1000, 1001 }) // told by the reason alone
            EXPECT_EQ(closed(type, code, "Authentication failed."), "rejected Disconnected");
        EXPECT_EQ(outcome(stateOf(type), { EventType::ReconnectTimeout, {}, {} }),
                  type == StateType::Reconnecting ? "in 15100 ms open" : "");
    }
    DisGateway::State waiting = stateOf(StateType::Reconnecting);
    waiting.reconnectTimerRunning = true;
    EXPECT_EQ(outcome(waiting, { EventType::SocketClosed, 1000, {} }), "Reconnecting");
    EXPECT_EQ(outcome(stateOf(StateType::Connected), { EventType::SocketError, 1, {} }), "no URL")
        << "the peer closed it, which is told apart";
}
