// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Waits and bounds of a gateway session, as one plain record. The defaults are the program's own;
// another record is handed to DisClient where seconds and megabytes would be too many.

#include <QtGlobal>

struct DisSessionTimings {
    // --- waits, milliseconds ---
    int reconnectFirst = 5'100; // after a loss
    int reconnectAgain = 15'100; // while the state stays Reconnecting
    int statusBatch = 1'500; // one guild can yield hundreds of presences a second
    int typingBatch = 100;
    int historyPause = 1'000; // between two history requests of a session
    int typingPause = 8'000; // between two typing notices
    int dirtySegs = 250; // between two subscriptions to member lists
    int restTimeout = 30'000; // of a request without any progress

    // --- bounds, bytes ---
    quint64 maxSocketMessage = 64U << 20; // as received, before it is inflated
    quint32 maxFrame = 256U << 20; // inflated
    qint64 maxBody = 64 << 20; // of an HTTP reply, as received and inflated alike
};
