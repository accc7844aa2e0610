// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The records of the rows on screen: made when a row comes into view, read again when something of
// it may have changed, and gone with it. Whatever repaints goes through here, as one region.

#include "sbar_view_priv.h"

#include <functional>
#include <utility>

namespace NakSbar {

struct Vis_Section : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_Playlist : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_PL_DiscordTextChannel : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_PL_Unknown : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_Notifications : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordGuild : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordGuildTextChannel : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordGuildVoiceChannel : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordGuildChannelCategory : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordVoiceUser : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordPrivsGroup : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};
struct Vis_DiscordPrivChannel : Vis_Base {
    RowContent read(ViewPriv const& d, Info const& info) const override;
};

// Null for what is painted as nothing, and for an item that nothing is known of.
std::unique_ptr<Vis_Base> createVisibleData(ViewPriv const& d, Item item);

// After the visible items changed: records for those that came, none for those that went.
void updateVisibleData(ViewPriv& d);

// What is read again, and repainted if it is not as it was.
using ItemTest = std::function<bool(Item item, Info const& info)>;
void refreshVisible(ViewPriv& d, ItemTest const& test);
// The same row in another state, such as collapsed or active.
void layoutAgain(ViewPriv& d, Item item);
// All records anew, after a change of what everything is drawn with.
void rebuildVisibleData(ViewPriv& d);
// Pixels alone.
void invalidateHeader(ViewPriv& d, Item item);

// The header of a visible item; null for one that is not.
QRect headerRect(ViewPriv const& d, Item item);

// Unread channels in a directory and its categories: channels, not messages.
int discordGuildDirectoryUnreadCount(ViewPriv const& d, GuildDirectory const& directory);
int discordPrivsGroupUnreadCount(ViewPriv const& d, Item group);

} // namespace NakSbar
