// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTest>

#include <functional>

// Runs the event loop until the condition holds; only a failing test waits the whole time.
inline bool waitUntil(std::function<bool()> const& condition, int limitMSecs = 20'000)
{
    return QTest::qWaitFor(condition, limitMSecs);
}
