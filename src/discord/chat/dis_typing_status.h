// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The words of the status line. Pure.

#include <QStringList>

namespace DisTypingStatus {

// Who is typing, in the order in which they began; empty for nobody. maxTracked is the number at
// which counting stops.
QString text(QStringList const& names, int maxTracked);

} // namespace DisTypingStatus
