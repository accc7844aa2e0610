// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The small enumerations that everything about Discord shares. Values are stored and sent.

#include <QMetaType>
#include <QtGlobal>

enum class DisSessionStateType : qint32 {
    Disconnected = 0,
    Disconnecting = 1,
    Connecting = 2,
    Reconnecting = 3,
    Connected = 4, // the socket is open; Hello and READY may still be outstanding
};
Q_DECLARE_METATYPE(DisSessionStateType)

enum class DisUserStatusCode : qint32 {
    Unknown = 0,
    Offline = 1, // or invisible
    Idle = 2,
    DoNotDisturb = 3,
    Online = 4,
};

// As any_channel stores it: the client's own numbering, not the wire's.
enum class DisChannelType : qint32 {
    Unknown = 0, // not in the store
    GuildText = 1, // wire 0 and any other
    GuildVoice = 2, // wire 2
    GuildCategory = 3, // wire 4
    Private = 4, // wire 1
    PrivateGroup = 5, // wire 3
};
