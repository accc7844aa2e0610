// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

class QObject;

namespace Utils {

// Runs work on the global thread pool, then what it returned (nothing, if that is empty) on the
// calling thread, from its event loop. Call it on the thread that receiver lives on; if receiver
// dies first, work still runs and what it returned is dropped. Either function and what it holds
// may be destroyed on either thread.
void runOnPool(QObject* receiver, std::function<std::function<void()>()> work);

} // namespace Utils
