// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What tells the thread sanitizer that one thread hands something over to another through Qt. The
// distribution's Qt is not built for the sanitizer, which therefore cannot see that posting an
// event or starting a pool task orders the two threads. Nothing in any other build.
//
// Only for a hand-over that Qt does order: said anywhere else, this hides a race.

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace Utils {

// On the giving thread, after the last write and before the call to Qt.
inline void noteHandedOver([[maybe_unused]] void* handle)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_release(handle);
#endif
}

// On the receiving thread, before anything that the handle leads to is read.
inline void noteReceived([[maybe_unused]] void* handle)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(handle);
#endif
}

} // namespace Utils
