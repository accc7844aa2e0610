// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The bookmark folders and their entries in the tree, brought in line with g_savedData.

#include "saved_data.h"
#include "sbar_view_priv.h"

namespace NakSbar {

// Makes what is missing, lets go of what is not there any more and puts the folders in order.
void createAnyPlaylistItems(ViewPriv& d);
void playlistsChanged(ViewPriv& d, NakPlaylist::PlaylistsChanges const& changes);

} // namespace NakSbar
