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

// Brings everything in line with the store: the guilds and private channels at once, what is in the
// guilds from the top down, in shares of a frame from the event loop.
void queryAndCreateDiscordItems(ViewPriv& d);
// The guilds themselves and the private channels. New guilds wait to be read.
void queryGuildsAndPrivateChannels(ViewPriv& d);
// The channels of some of the guilds that wait, and then the rows in view again.
void readSomeGuilds(ViewPriv& d);
// Whether guilds wait.
bool isReading(ViewPriv const& d);

void sortDiscordGuildsAsUser(ViewPriv& d);
void sortPrivateChans(ViewPriv& d);

// Items for the people in voice.
void createOrRemoveDiscordVoiceUserItems(ViewPriv& d, QSet<FlakeId> const& channels);
// Those that somebody is in by the store, or was in by the tree.
QSet<FlakeId> voiceChannelsOfAnyone(ViewPriv& d);
QSet<FlakeId> voiceChannelsOfUser(ViewPriv& d, FlakeId user);

void disChanges(ViewPriv& d, DisChanges const& changes);
void disChanUnreadCountersChanged(ViewPriv& d, QHash<FlakeId, int> const& counts);

} // namespace NakSbar
