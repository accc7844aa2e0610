// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_menus.h"

#include "dis_cache.h"
#include "dis_client.h"
#include "dis_guild_settings_window.h"
#include "dis_invite_dialog.h"
#include "dis_leave_guild.h"
#include "dis_manager.h"
#include "dis_servers_window.h"
#include "sbar_bookmark_menus.h"
#include "sbar_input.h"
#include "sbar_kinds.h"
#include "sbar_menu_tools.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <QMenu>

namespace NakSbar {

namespace {

// The categories of a guild.
void setCategoriesCollapsed(ViewPriv& d, FlakeId guild, bool collapsed)
{
    Item const list =
        infoOf(d, d.guilds.value(guild, noItem)).directory().list(ChanSortType::Categories);
    if (list == noItem)
        return;
    setChildrenCollapsed(d, list, collapsed);
}

void addChannelActions(ViewPriv& d, FlakeId channel, QMenu* menu)
{
    NakNavLoc const place = NakNavLoc::discordChannel(channel);
    addMenuAction(menu, "Open in New Tab", {},
                  [&d, place] { emit d.view->pickedByMiddleClicking(place); });
    addBookmarkActions(d, place, menu);
    menu->addSeparator();
    bool const muted = g_disManager->mutedChannels().contains(channel);
    QAction* const mute = addMenuAction(
        menu, "Mute", {}, [channel, muted] { g_disManager->setChannelMuted(channel, !muted); });
    mute->setCheckable(true);
    mute->setChecked(muted);
    // What is muted is kept with the settings of guilds; a private channel has none.
    mute->setEnabled(DisCache::guildIdOfChannel(channel).isValid());
}

void addManageServers(ViewPriv& d, QMenu* menu)
{
    addMenuAction(menu, "Manage Discord Servers...", {},
                  [&d] { DisServersWindow::summon(d.view->window()); });
}

// There is no voice to join with yet.
void addVoiceAction(QMenu* menu, char const* pattern, QString const& name)
{
    addMenuAction(menu, pattern, name, [] {})->setEnabled(false);
}

} // namespace

QMenu* popUpMenu(ViewPriv& d, Item item, QPoint const& point)
{
    auto const fill = traitsOf(infoOf(d, item)).fillMenu;
    if (!fill)
        return nullptr;
    auto* const menu = new QMenu(d.view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fill(d, item, menu);
    menu->popup(d.view->viewport()->mapToGlobal(point));
    return menu;
}

void fillDiscordMenu(ViewPriv& d, Item item, QMenu* menu)
{
    Item const child = infoOf(d, item).child;
    addManageServers(d, menu);
    menu->addSeparator();
    addMenuAction(menu, "Expand All in Discord", {},
                  [&d, child] { setChildrenCollapsed(d, child, false); });
    addMenuAction(menu, "Collapse All in Discord", {},
                  [&d, child] { setChildrenCollapsed(d, child, true); });
}

void fillGuildMenu(ViewPriv& d, Item item, QMenu* menu)
{
    FlakeId const guild = infoOf(d, item).id();
    QString const name = DisCache::guildName(guild);
    addMenuAction(menu, "Mark %1 as Read", name, [guild] { g_disManager->markGuildAsRead(guild); });
    menu->addSeparator();
    addMenuAction(menu, "%1 Settings...", name, [&d, guild] {
        DisGuildSettingsWindow::summon(d.activeUser, guild, d.view->window());
    });
    addManageServers(d, menu);
    addMenuAction(menu, "Leave %1", name, [&d, guild] {
        DisLeaveGuild::ask(d.view, d.activeUser, guild);
    })->setEnabled(DisLeaveGuild::isPossible(d.activeUser, guild));
    menu->addSeparator();
    addMenuAction(menu, "Expand Categories in %1", name,
                  [&d, guild] { setCategoriesCollapsed(d, guild, false); });
    addMenuAction(menu, "Collapse Categories in %1", name,
                  [&d, guild] { setCategoriesCollapsed(d, guild, true); });
}

void fillTextChannelMenu(ViewPriv& d, Item item, QMenu* menu)
{
    FlakeId const channel = infoOf(d, item).id();
    addChannelActions(d, channel, menu);
    addMenuAction(menu, "Invite to %1...", DisCache::guildChannelDisplayName(channel),
                  [&d, channel] {
                      auto* const dialog =
                          new DisInviteDialog(d.activeUser, channel, d.view->window());
                      dialog->show();
                  })
        ->setEnabled(DisCache::userCanCreateInviteForGuildChannel(d.activeUser, channel));
}

void fillVoiceChannelMenu(ViewPriv& d, Item item, QMenu* menu)
{
    FlakeId const channel = infoOf(d, item).id();
    addVoiceAction(menu, "Join Voice: %1", DisCache::guildChannelDisplayName(channel));
}

void fillPrivChannelMenu(ViewPriv& d, Item item, QMenu* menu)
{
    FlakeId const user = infoOf(d, item).id();
    FlakeId const channel = infoOf(d, item).secondId();
    addChannelActions(d, channel, menu);
    addVoiceAction(menu, "Voice Call", {});
    menu->addSeparator();
    bool const group = DisCache::channelType(channel) == DisChannelType::PrivateGroup;
    addMenuAction(menu, group ? "Leave Group Chat" : "Close Direct Message", {},
                  [user, channel] { g_disClient->deleteChannel(user, channel); });
}

} // namespace NakSbar
