// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "web_socket_helpers.h"

#include "erf.h"
#include "event_log.h"
#include "invoke_on_thread.h"

#include <QWebSocket>

namespace WebSocketHelpers {

void sendJsonAsEtf(QWebSocket* socket, QJsonObject const& json)
{
    Utils::invokeOnThread(socket, [socket, json] {
        QString error;
        QByteArray const bytes = Erf::toEtf(json, error);
        if (!error.isEmpty()) {
            EvLogGlobal::addLogEvent(EvLog::Category::Networking, EvLog::Severity::Error,
                                     QStringLiteral("Failed to encode outgoing ETF message"));
            return;
        }
        socket->sendBinaryMessage(bytes);
    });
}

} // namespace WebSocketHelpers
