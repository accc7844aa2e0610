// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <functional>

// Runs the event loop until the condition holds, which is looked at every few milliseconds; only a
// failing test waits the whole time.
inline bool waitUntil(std::function<bool()> const& condition)
{
    QDeadlineTimer const deadline(20'000);
    QTimer wake;
    QEventLoop loop;
    QObject::connect(&wake, &QTimer::timeout, &loop, &QEventLoop::quit);
    wake.start(2);
    while (!condition() && !deadline.hasExpired())
        loop.exec();
    return condition();
}
