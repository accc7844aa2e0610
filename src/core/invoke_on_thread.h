// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "thread_order.h"

#include <QMetaObject>
#include <QObject>

#include <type_traits>
#include <utility>

namespace Utils {

// A function inside a posted event. It is noted as handed over from each place that it is moved to,
// the last of which is the event. Qt counts references to it on both threads: whichever lets go
// last destroys it, so after the call it is handed over again.
template <typename Function> class PostedCall {
public:
    explicit PostedCall(Function&& function)
        : m_function(std::move(function))
    {
        noteHandedOver(this);
    }
    explicit PostedCall(Function const& function)
        : m_function(function)
    {
        noteHandedOver(this);
    }
    PostedCall(PostedCall&& other) noexcept
        : m_function(std::move(other.m_function))
    {
        noteHandedOver(this);
    }
    ~PostedCall() { noteReceived(this); }
    PostedCall(PostedCall const&) = delete;
    PostedCall& operator=(PostedCall const&) = delete;
    PostedCall& operator=(PostedCall&&) = delete;

    void operator()()
    {
        noteReceived(this);
        m_function();
        noteHandedOver(this);
    }

private:
    Function m_function;
};

// Runs function once on the thread that target lives on, from that thread's event loop, never
// synchronously. Does nothing if target dies first. Callable from any thread, provided that
// target cannot be in the middle of its destructor on another thread at the time of the call. What
// the function holds may be destroyed on either thread.
template <typename Function> void invokeOnThread(QObject* target, Function&& function)
{
    QMetaObject::invokeMethod(target,
                              PostedCall<std::decay_t<Function>>(std::forward<Function>(function)),
                              Qt::QueuedConnection);
}

} // namespace Utils
