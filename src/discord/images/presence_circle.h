// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The circle that tells whether somebody is there, alike wherever it stands. User-interface thread.

#include "dis_types.h"

#include <QColor>
#include <QPixmap>

class QPalette;

namespace NakStyle {

constexpr int presenceCircleSize = 8; // device-independent pixels

// On the palette's window colour or base.
QColor presenceColor(DisUserStatusCode status, QPalette const& palette);
// density: device pixels in one.
QPixmap presenceCircle(DisUserStatusCode status, QColor const& color, double density);

} // namespace NakStyle
