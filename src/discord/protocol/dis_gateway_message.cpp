// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_gateway_message.h"

#include "dis_session_worker.h"
#include "event_log.h"

namespace DisClientImpl {

namespace {

void warn(QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, EvLog::Severity::Warn, text);
}

void onDispatch(DisSessionWorker& worker, ErfToDreadTaskData const& task)
{
    Dread::VMap data;
    if (!Dread::find(task.ctx, task.root, "d", &data)) {
        warn(QStringLiteral("Invalid dispatch event from server: 'd' is missing"));
        return;
    }
    Dread::VString name;
    if (!Dread::find(task.ctx, task.root, "t", &name)) {
        warn(QStringLiteral("Invalid dispatch event from server: 't' is missing or not a string"));
        return;
    }
    DisEventOutcome const outcome =
        processDispatch(worker.events, worker.prepared, task.ctx, name, data);
    // Whatever the event was, and even if its name is unknown.
    Dread::find(task.ctx, task.root, "s", &worker.lastSeq);
    worker.finishDispatch(outcome);
}

void onHello(DisSessionWorker& worker, ErfToDreadTaskData const& task)
{
    DisGateway::Event event{ DisGateway::EventType::Hello, {}, {} };
    Dread::VMap data;
    qint32 interval = 0;
    if (Dread::find(task.ctx, task.root, "d", &data)
        && Dread::find(task.ctx, data, "heartbeat_interval", &interval))
        event.number = interval;
    worker.apply(event);
}

} // namespace

void processGatewayMessage(DisSessionWorker& worker, ErfToDreadTaskData const& task)
{
    qint32 code = 0;
    std::optional<qint32> found;
    if (Dread::find(task.ctx, task.root, "op", &code))
        found = code;
    QString logText;
    std::optional<DisGateway::Op> const op = DisGateway::incomingOp(found, &logText);
    if (!op) {
        warn(logText);
        return;
    }
    switch (*op) {
    case DisGateway::Op::Dispatch:
        return onDispatch(worker, task);
    case DisGateway::Op::Hello:
        return onHello(worker, task);
    case DisGateway::Op::Reconnect:
        return worker.apply({ DisGateway::EventType::ReconnectOp, {}, {} });
    case DisGateway::Op::InvalidSession:
        return worker.apply({ DisGateway::EventType::InvalidSessionOp, {}, {} });
    default:
        // Acknowledged heartbeats are not counted: only the socket reports a dead connection.
        return;
    }
}

} // namespace DisClientImpl
