// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What can be done with the rows. An action keeps the ids it was made for, not the item, which may
// be gone by the time it is chosen.

#include "sbar_view_priv.h"

class QMenu;
class QPoint;

namespace NakSbar {

// Nothing happens for an item that nothing can be done with. The point is of the viewport. Null if
// there is no menu; it deletes itself.
QMenu* popUpMenu(ViewPriv& d, Item item, QPoint const& point);

// By kind; what the table of kinds names.
void fillBookmarksMenu(ViewPriv& d, Item item, QMenu* menu);
void fillPlaylistMenu(ViewPriv& d, Item item, QMenu* menu);
void fillBookmarkMenu(ViewPriv& d, Item item, QMenu* menu);
void fillDiscordMenu(ViewPriv& d, Item item, QMenu* menu);
void fillGuildMenu(ViewPriv& d, Item item, QMenu* menu);
void fillTextChannelMenu(ViewPriv& d, Item item, QMenu* menu);
void fillVoiceChannelMenu(ViewPriv& d, Item item, QMenu* menu);
void fillPrivChannelMenu(ViewPriv& d, Item item, QMenu* menu);

} // namespace NakSbar
