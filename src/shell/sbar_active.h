// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Which rows stand out: those of the active place, the pressed ones and the keyboard's. Rows that
// are not on screen know nothing of it.

#include "sbar_view_priv.h"

namespace NakSbar {

void setActiveSource(ViewPriv& d, NakNavLoc const& place);
// The row that the place has as itself, not as a bookmark. noItem if there is none.
Item itemOfPlace(ViewPriv const& d, NakNavLoc const& place);

// For a moment, so that a click is seen to have been taken.
void playPressedAnim(ViewPriv& d, Item item);

void setCaret(ViewPriv& d, Item item);

} // namespace NakSbar
