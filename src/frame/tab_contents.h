// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Door: which widget shows a place. The rooms above fill the registry at start (src/app); the tab
// widget asks it. User-interface thread.

#include "nav_loc.h"

#include <functional>

class QWidget;

namespace NakTabContents {

// Makes the content for a place of one type, or null where the place has none. The result
// implements INakTabbedWidget and belongs to parent.
using Factory = std::function<QWidget*(NakNavLoc const& place, QWidget* parent)>;

// Replaces the type's factory; an empty one removes it.
void registerFactory(NakNav::Type type, Factory factory);

// The content for place, or null: a place without a factory shows an empty tab.
QWidget* create(NakNavLoc const& place, QWidget* parent);

} // namespace NakTabContents
