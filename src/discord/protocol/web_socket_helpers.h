// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The only way out to a gateway: JSON values that leave as external terms.

#include <QJsonObject>

class QWebSocket;

namespace WebSocketHelpers {

// Posts the value to the socket's thread, where it is encoded and sent as one binary message.
// Callable from any thread that knows the socket to be alive. Numbers are narrowed to 32 bits, so
// identifiers must be strings.
void sendJsonAsEtf(QWebSocket* socket, QJsonObject const& json);

} // namespace WebSocketHelpers
