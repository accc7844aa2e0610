// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_tree.h"

#include "sbar_view.h"

namespace NakSbar {

namespace {

// What the hashes know of an item, by its kind.
void forgetIdentity(ViewPriv& d, Item item, Info const& info)
{
    switch (info.kind) {
    case Kind::Playlist:
        d.playlists.remove(info.playlistId());
        break;
    case Kind::Guild:
        d.guilds.remove(info.id());
        break;
    case Kind::Category:
        d.categories.remove(info.id());
        break;
    case Kind::TextChannel:
        d.channels.remove(info.id());
        break;
    case Kind::VoiceChannel:
        d.channels.remove(info.id());
        d.peopledVoiceChannels.remove(info.id());
        break;
    case Kind::PrivChannel:
        d.privChannels.remove(info.secondId());
        break;
    case Kind::PrivsGroup:
        d.privsGroup = noItem;
        break;
    default:
        break;
    }
    if (d.caret == item)
        d.caret = noItem;
}

// Everything but the numbers themselves, which go with the topmost item.
void forgetSubtree(ViewPriv& d, Item item)
{
    Info const info = infoOf(d, item);
    if (info.child != noItem && isCollapsed(d, item)) {
        forgetSubtree(d, info.child);
        d.view->deleteItem(info.child);
    }
    for (Item child = d.view->firstChild(item); child != noItem; child = d.view->nextSibling(child))
        forgetSubtree(d, child);
    forgetIdentity(d, item, info);
    d.vis.remove(item);
    d.pressed.remove(item);
    d.infos[item] = Info();
}

Item createSection(ViewPriv& d, Kind kind)
{
    Item const section = createItem(d, Info::of(kind), d.styles.section);
    setupAsSection(d, section);
    return section;
}

bool isFatGroup(Kind kind)
{
    return kind == Kind::Playlist || kind == Kind::Guild || kind == Kind::PrivsGroup;
}

} // namespace

Info const& infoOf(ViewPriv const& d, Item item)
{
    static Info const none;
    return item < d.infos.size() ? d.infos[item] : none;
}

void setInfo(ViewPriv& d, Item item, Info const& info)
{
    if (item >= d.infos.size())
        d.infos.resize(item + 1);
    d.infos[item] = info;
}

Item createItem(ViewPriv& d, Info const& info, unsigned int style)
{
    Item const item = d.view->createItem(style);
    setInfo(d, item, info);
    return item;
}

void deleteItemAndVis(ViewPriv& d, Item item)
{
    forgetSubtree(d, item);
    d.view->deleteItem(item);
}

void createInitialItemsAndStyles(ViewPriv& d)
{
    NakSbarView& view = *d.view;
    for (unsigned int* style :
         { &d.styles.root, &d.styles.section, &d.styles.group, &d.styles.groupEnd,
           &d.styles.groupStart, &d.styles.row, &d.styles.alone })
        *style = view.createStyle(0);
    setInfo(d, view.rootItem(), Info());
    view.setItemStyle(view.rootItem(), d.styles.root);
    d.notificationsHolder = createItem(d, Info(), noItem);
    d.notifications = createItem(d, Info::of(Kind::Notifications), d.styles.alone);
    d.bookmarks = createSection(d, Kind::BookmarksSection);
    d.discord = createSection(d, Kind::DiscordSection);
    view.appendChild(view.rootItem(), d.notificationsHolder);
    view.appendChild(view.rootItem(), d.bookmarks);
}

void setStyleHeights(ViewPriv& d)
{
    NakSbarView& view = *d.view;
    view.setStyleHeader(d.styles.root, 1);
    view.setStyleHeader(d.styles.section, d.style.sectionHeight);
    view.setStyleHeader(d.styles.group, d.style.groupHeight);
    view.setStyleHeader(d.styles.groupEnd, d.style.groupEndHeight);
    view.setStyleHeader(d.styles.groupStart, d.style.groupStartHeight);
    view.setStyleHeader(d.styles.row, d.style.rowHeight);
    view.setStyleHeader(d.styles.alone, d.style.aloneHeight);
}

void setupAsSection(ViewPriv& d, Item item)
{
    Item const child = createItem(d, Info(), noItem);
    d.infos[item].child = child;
    d.view->appendChild(item, child);
}

void setupAsFatGroup(ViewPriv& d, Item item)
{
    d.view->setItemStyle(item, d.styles.group);
    Item const child = createItem(d, Info(), d.styles.groupStart);
    d.infos[item].child = child;
    d.view->appendChild(item, child);
    d.view->appendChild(item, createItem(d, Info(), d.styles.groupEnd));
}

bool isCollapsed(ViewPriv const& d, Item item)
{
    Item const child = infoOf(d, item).child;
    return child != noItem && d.view->parent(child) != item;
}

void setCollapsed(ViewPriv& d, Item item, bool collapsed)
{
    NakSbarView& view = *d.view;
    Info const& info = infoOf(d, item);
    if (info.child == noItem || isCollapsed(d, item) == collapsed)
        return;
    view.beginEdit();
    if (collapsed)
        view.detach(info.child);
    else
        view.prependChild(item, info.child);
    if (isFatGroup(info.kind))
        view.setItemStyle(view.lastChild(item), collapsed ? noItem : d.styles.groupEnd);
    view.endEdit();
}

GuildDirectory createAndInsertDirectoryItems(ViewPriv& d, Item parent, Item ownerItem)
{
    GuildDirectory directory;
    directory.holder = createItem(d, Info(), noItem);
    d.view->appendChild(parent, directory.holder);
    for (Item& list : directory.lists) {
        list = createItem(d, Info::of(Kind::DirectoryList, FlakeId(ownerItem)), noItem);
        d.view->appendChild(directory.holder, list);
    }
    return directory;
}

Item ownerOf(ViewPriv const& d, Item item)
{
    Item const list = d.view->parent(item);
    Info const& info = infoOf(d, list);
    return list != noItem && info.kind == Kind::DirectoryList ? info.owner() : noItem;
}

void reorderItems(ViewPriv& d, Item const* items, int count)
{
    for (int i = 1; i < count; ++i) {
        if (d.view->nextSibling(items[i - 1]) != items[i])
            d.view->insertAfter(items[i - 1], items[i]);
    }
}

} // namespace NakSbar
