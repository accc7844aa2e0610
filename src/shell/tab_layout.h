// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The stored form of a window's tabs. Pure.

#include "nav_loc.h"

#include <QVector>

namespace NakTabLayout {

struct Layout {
    QVector<NakNavLoc> places; // left to right; none for an empty tab
    int foreground = -1; // the current tab, or -1
};

QString encode(Layout const& layout);
// Whatever is not such a document, or of a version that is not known, gives no tabs.
Layout parse(QString const& text);

} // namespace NakTabLayout
