// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QObject>

#include <memory>
#include <utility>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace Utils {

// Runs function once on the thread that target lives on, from that thread's event loop, never
// synchronously. Does nothing if target dies first. Callable from any thread, provided that
// target cannot be in the middle of its destructor on another thread at the time of the call.
template <typename Function> void invokeOnThread(QObject* target, Function&& function)
{
#if defined(__SANITIZE_THREAD__)
    // The distribution's Qt is not built for the sanitizer, which therefore cannot see that posting
    // an event orders the two threads. This says so, here and for everything before the call.
    auto held = std::make_shared<std::decay_t<Function>>(std::forward<Function>(function));
    __tsan_release(held.get());
    QMetaObject::invokeMethod(
        target,
        [held] {
            __tsan_acquire(held.get());
            (*held)();
        },
        Qt::QueuedConnection);
#else
    QMetaObject::invokeMethod(target, std::forward<Function>(function), Qt::QueuedConnection);
#endif
}

} // namespace Utils
