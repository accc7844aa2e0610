// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_kinds.h"

#include "bookmark_actions.h"
#include "saved_data.h"
#include "sbar_menus.h"
#include "sbar_vis.h"

namespace NakSbar {

namespace {

template <typename Vis> std::unique_ptr<Vis_Base> makeVis(Info const&)
{
    return std::make_unique<Vis>();
}

NakNavLoc bookmarkPlace(Info const& info)
{
    return g_savedData ? g_savedData->getPlaylistEntry(info.playlistId(), info.entryIndex())
                       : NakNavLoc();
}

std::unique_ptr<Vis_Base> makeBookmarkVis(Info const& info)
{
    if (NakBookmarks::isDiscordChannel(bookmarkPlace(info)))
        return std::make_unique<Vis_PL_DiscordTextChannel>();
    return std::make_unique<Vis_PL_Unknown>();
}

NakNavLoc notificationsPlace(Info const&)
{
    return NakNavLoc::builtin(NakNav::BuiltinView::Type::Notifications);
}

NakNavLoc channelPlace(Info const& info)
{
    return NakNavLoc::discordChannel(info.id());
}

NakNavLoc privChannelPlace(Info const& info)
{
    return NakNavLoc::discordChannel(info.secondId());
}

// In the order of Kind.
// clang-format off
constexpr KindTraits kinds[] = {
    {},
    { Shape::Section, Click::Toggle, false, makeVis<Vis_Section>, nullptr, fillBookmarksMenu },
    { Shape::Group, Click::Toggle, false, makeVis<Vis_Playlist>, nullptr, fillPlaylistMenu },
    { Shape::Row, Click::Pick, true, makeBookmarkVis, bookmarkPlace, fillBookmarkMenu },
    { Shape::Alone, Click::Pick, false, makeVis<Vis_Notifications>, notificationsPlace, nullptr },
    { Shape::Section, Click::Toggle, false, makeVis<Vis_Section>, nullptr, fillDiscordMenu },
    { Shape::Group, Click::Toggle, true, makeVis<Vis_DiscordGuild>, nullptr, fillGuildMenu },
    { Shape::Row, Click::Pick, true, makeVis<Vis_DiscordGuildTextChannel>, channelPlace, fillTextChannelMenu },
    { Shape::Row, Click::PopUp, true, makeVis<Vis_DiscordGuildVoiceChannel>, nullptr, fillVoiceChannelMenu },
    { Shape::Row, Click::Toggle, true, makeVis<Vis_DiscordGuildChannelCategory>, nullptr, nullptr },
    {},
    { Shape::Row, Click::Nothing, true, makeVis<Vis_DiscordVoiceUser>, nullptr, nullptr },
    { Shape::Group, Click::Toggle, true, makeVis<Vis_DiscordPrivsGroup>, nullptr, nullptr },
    { Shape::Row, Click::Pick, true, makeVis<Vis_DiscordPrivChannel>, privChannelPlace, fillPrivChannelMenu },
};
// clang-format on
static_assert(std::size(kinds) == static_cast<size_t>(Kind::Count));

} // namespace

KindTraits const& traitsOf(Kind kind)
{
    return kinds[static_cast<size_t>(kind)];
}

NakNavLoc placeOf(Info const& info)
{
    auto const place = traitsOf(info).place;
    return place ? place(info) : NakNavLoc();
}

} // namespace NakSbar
