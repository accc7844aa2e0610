// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// What each kind of row says, read from its store at the moment of the call.

#include "bookmark_actions.h"
#include "dis_avatar_images.h"
#include "dis_cache.h"
#include "dis_manager.h"
#include "dis_utils.h"
#include "notif_manager.h"
#include "saved_data.h"
#include "sbar_glyphs.h"
#include "sbar_kinds.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

namespace NakSbar {

namespace {

using NakStyle::SbarTone;

QString orDots(QString const& name)
{
    return name.isEmpty() ? QStringLiteral("...") : name;
}

void showUnread(RowContent* content, int count)
{
    if (count <= 0)
        return;
    content->badge = BadgeKind::Number;
    content->number = count;
    content->tone = SbarTone::Strong;
}

int unreadCount(FlakeId channel)
{
    return g_disManager ? g_disManager->channelUnreadCount(channel) : 0;
}

void showMuted(RowContent* content, FlakeId channel)
{
    if (!g_disManager || !g_disManager->mutedChannels().contains(channel))
        return;
    content->flags[1] = Glyph::muted;
    content->tone = SbarTone::Dim;
}

// Channels of guilds: those that the user has no access to are listed all the same.
void showAccess(RowContent* content, ViewPriv const& d, FlakeId channel)
{
    if (DisCache::userCanAccessGuildChannel(d.activeUser, channel))
        return;
    content->flags[0] = Glyph::lock;
    content->tone = SbarTone::Dim;
}

bool isPrivate(FlakeId channel)
{
    DisChannelType const type = DisCache::channelType(channel);
    return type == DisChannelType::Private || type == DisChannelType::PrivateGroup;
}

// The other one of a pair; invalid if there is none.
FlakeId partnerIn(FlakeId channel, FlakeId ownUser)
{
    for (FlakeId const user : DisCache::privateChannelParticipants(channel)) {
        if (user != ownUser)
            return user;
    }
    return {};
}

void showPrivateChannel(RowContent* content, ViewPriv const& d, FlakeId channel)
{
    if (DisCache::channelType(channel) == DisChannelType::PrivateGroup) {
        content->glyph = Glyph::people;
        return;
    }
    content->hasStatus = true;
    content->status = DisCache::userStatusCode(partnerIn(channel, d.activeUser));
}

} // namespace

RowContent Vis_Section::read(ViewPriv const& d, Info const& info) const
{
    RowContent content;
    if (info.kind == Kind::BookmarksSection) {
        content.text = QStringLiteral("Bookmarks");
        content.glyph = Glyph::bookmarks;
    } else {
        content.text = QStringLiteral("Discord");
        if (g_disAvatarImages)
            content.picture = g_disAvatarImages->discordLogoIcon().pixmap(d.style.smallGlyphSize);
    }
    return content;
}

RowContent Vis_Playlist::read(ViewPriv const&, Info const& info) const
{
    RowContent content;
    content.text = orDots(g_savedData->playlistName(info.playlistId()));
    bool const starred = content.text == QLatin1String("Favorites");
    content.glyph = starred ? Glyph::star : Glyph::folder;
    return content;
}

RowContent Vis_PL_DiscordTextChannel::read(ViewPriv const& d, Info const& info) const
{
    NakNavLoc const place = placeOf(info);
    RowContent content;
    // The folder has shrunk, and this row is about to go.
    if (place.isNone())
        return content;
    FlakeId const channel = place.discordChannelId();
    content.text = NakBookmarks::entryText(place);
    showUnread(&content, unreadCount(channel));
    if (d.dis && isPrivate(channel))
        showPrivateChannel(&content, d, channel);
    showMuted(&content, channel);
    return content;
}

RowContent Vis_PL_Unknown::read(ViewPriv const&, Info const& info) const
{
    RowContent content;
    content.text = NakBookmarks::entryText(placeOf(info));
    content.tone = SbarTone::Dim;
    return content;
}

RowContent Vis_Notifications::read(ViewPriv const&, Info const&) const
{
    RowContent content;
    content.text = QStringLiteral("Notifications");
    content.glyph = Glyph::notifications;
    if (NakNotif::g_nakNotifManager)
        showUnread(&content, NakNotif::g_nakNotifManager->count());
    return content;
}

RowContent Vis_DiscordGuild::read(ViewPriv const& d, Info const& info) const
{
    RowContent content;
    content.text = orDots(DisCache::guildName(info.id()));
    if (g_disAvatarImages)
        content.picture = g_disAvatarImages->getGuildIcon(info.id(), d.style.iconSize).pixmap();
    if (content.picture.isNull())
        content.picture = d.style.letterTile(content.text);
    showUnread(&content, discordGuildDirectoryUnreadCount(d, info.directory()));
    return content;
}

RowContent Vis_DiscordGuildTextChannel::read(ViewPriv const& d, Info const& info) const
{
    RowContent content;
    content.text = orDots(DisCache::guildChannelDisplayName(info.id()));
    showUnread(&content, unreadCount(info.id()));
    showAccess(&content, d, info.id());
    showMuted(&content, info.id());
    return content;
}

RowContent Vis_DiscordGuildVoiceChannel::read(ViewPriv const& d, Info const& info) const
{
    RowContent content;
    content.text = orDots(DisCache::guildChannelDisplayName(info.id()));
    content.glyph = Glyph::microphone;
    d.dis->forEachRow(
        Stmt::VoiceUserCount, [&](NakStmt const& row) { content.number = row.colInt(0); },
        info.id());
    if (content.number > 0)
        content.badge = BadgeKind::Members;
    showAccess(&content, d, info.id());
    return content;
}

RowContent Vis_DiscordGuildChannelCategory::read(ViewPriv const& d, Info const& info) const
{
    RowContent content;
    content.text = orDots(DisCache::guildChannelDisplayName(info.id()));
    showUnread(&content, discordGuildDirectoryUnreadCount(d, info.directory()));
    return content;
}

RowContent Vis_DiscordVoiceUser::read(ViewPriv const& d, Info const& info) const
{
    RowContent content;
    auto const states = DisCache::userVoiceStateMap(info.secondId());
    DisUserVoiceState const state = states.value(info.id());
    content.text = orDots(DisCache::userNameOrNickInGuild(info.id(), state.guildId));
    if (g_disAvatarImages)
        content.picture = g_disAvatarImages->getAvatar(info.id(), d.style.smallGlyphSize).pixmap();
    if (state.deaf || state.selfDeaf)
        content.flags[0] = Glyph::soundOff;
    if (state.mute || state.selfMute)
        content.flags[1] = Glyph::microphoneOff;
    return content;
}

RowContent Vis_DiscordPrivsGroup::read(ViewPriv const& d, Info const&) const
{
    RowContent content;
    content.text = QStringLiteral("Direct Messages");
    content.glyph = Glyph::envelope;
    showUnread(&content, discordPrivsGroupUnreadCount(d, d.privsGroup));
    return content;
}

RowContent Vis_DiscordPrivChannel::read(ViewPriv const& d, Info const& info) const
{
    FlakeId const channel = info.secondId();
    RowContent content;
    content.text = orDots(DisUtils::channelDisplayName(channel, d.activeUser));
    showPrivateChannel(&content, d, channel);
    showUnread(&content, unreadCount(channel));
    showMuted(&content, channel);
    return content;
}

int discordGuildDirectoryUnreadCount(ViewPriv const& d, GuildDirectory const& directory)
{
    if (!g_disManager || g_disManager->unreadCounts().isEmpty())
        return 0;
    NakSbarView const& view = *d.view;
    int count = 0;
    for (Item item = view.firstChild(directory.list(ChanSortType::Text)); item != noItem;
         item = view.nextSibling(item))
        count += unreadCount(infoOf(d, item).id()) >= 1 ? 1 : 0;
    for (Item item = view.firstChild(directory.list(ChanSortType::Categories)); item != noItem;
         item = view.nextSibling(item))
        count += discordGuildDirectoryUnreadCount(d, infoOf(d, item).directory());
    return count;
}

int discordPrivsGroupUnreadCount(ViewPriv const& d, Item group)
{
    int count = 0;
    for (Item item = d.view->firstChild(infoOf(d, group).child); item != noItem;
         item = d.view->nextSibling(item))
        count += unreadCount(infoOf(d, item).secondId()) >= 1 ? 1 : 0;
    return count;
}

} // namespace NakSbar
