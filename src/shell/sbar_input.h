// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What mouse and keyboard do. Both end in the same three acts: activate a row, collapse one, show
// its menu.

#include "sbar_view_priv.h"

#include <QPoint>

class QKeyEvent;
class QMouseEvent;

namespace NakSbar {

enum class Opening : quint8 { Here, InNewTab };

// Of the viewport, at the press.
void handleMouseClickEvent(ViewPriv& d, QMouseEvent const& event);
void handleContextMenuRequested(ViewPriv& d, QPoint const& point);
// Whether the key meant something here.
[[nodiscard]] bool handleKey(ViewPriv& d, QKeyEvent const& event);
// At the caret's row.
void showCaretMenu(ViewPriv& d);

// The deepest row under the point; noItem if there is none.
Item itemAtPoint(ViewPriv const& d, QPoint const& point);

// The caret to the active row, else to the first, if it is nowhere.
void ensureCaret(ViewPriv& d);

// A caret in what goes out of the tree stays behind on the row itself.
void toggleCollapsed(ViewPriv& d, Item item);
void setChildrenCollapsed(ViewPriv& d, Item parent, bool collapsed);

} // namespace NakSbar
