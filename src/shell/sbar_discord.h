// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The Discord half of the side bar's tree, brought in line with the store. Each of these is one
// edit of the view; those that find everything as it was edit nothing.

#include "dis_changes.h"
#include "sbar_view_priv.h"

namespace NakSbar {

// Takes on the active user of the manager: the section is in the tree while there is one.
void activeUserIdChanged(ViewPriv& d);

// Makes the items that the store lists, lets go of those that it does not, and reads the order of
// what is new. Orders that are pending for another reason are read as well.
void queryAndCreateDiscordItems(ViewPriv& d);

void sortDiscordGuildsAsUser(ViewPriv& d);
void sortPrivateChans(ViewPriv& d);
void sortGuildChannels(ViewPriv& d, ChanSortKey const& key);
// Has the next query read that order. Of many, all orders are read at once.
void pendSort(ViewPriv& d, ChanSortKey const& key);

// Items for the people in voice.
void createOrRemoveDiscordVoiceUserItems(ViewPriv& d, QSet<FlakeId> const& channels);
// Those that somebody is in by the store, or was in by the tree.
QSet<FlakeId> voiceChannelsOfAnyone(ViewPriv& d);
QSet<FlakeId> voiceChannelsOfUser(ViewPriv& d, FlakeId user);

void disChanges(ViewPriv& d, DisChanges const& changes);
void disChanUnreadCountersChanged(ViewPriv& d, QHash<FlakeId, int> const& counts);

} // namespace NakSbar
