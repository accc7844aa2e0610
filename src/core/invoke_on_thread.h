// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QObject>

#include <utility>

namespace Utils {

// Runs function once on the thread that target lives on, from that thread's event loop, never
// synchronously. Does nothing if target dies first. Callable from any thread, provided that
// target cannot be in the middle of its destructor on another thread at the time of the call.
template <typename Function>
void invokeOnThread(QObject* target, Function&& function)
{
    QMetaObject::invokeMethod(target, std::forward<Function>(function), Qt::QueuedConnection);
}

} // namespace Utils
