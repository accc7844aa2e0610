// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the menus of other rows offer about bookmarks.

#include "sbar_view_priv.h"

class QMenu;

namespace NakSbar {

void addBookmarkActions(ViewPriv& d, NakNavLoc const& place, QMenu* menu);

} // namespace NakSbar
