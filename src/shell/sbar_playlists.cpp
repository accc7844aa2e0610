// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_playlists.h"

#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <algorithm>

namespace NakSbar {

namespace {

Item playlistItem(ViewPriv& d, int id)
{
    Item const known = d.playlists.value(id, noItem);
    if (known != noItem)
        return known;
    Item const item =
        createItem(d, Info::of(Kind::Playlist, FlakeId(static_cast<quint64>(id))), noItem);
    setupAsFatGroup(d, item);
    d.view->appendChild(infoOf(d, d.bookmarks).child, item);
    d.playlists.insert(id, item);
    return item;
}

// A row stands for an index, so that only their number has to agree.
void matchEntryCount(ViewPriv& d, int id, Item folder)
{
    Item const parent = infoOf(d, folder).child;
    int const wanted = g_savedData->playlistEntries(id).size();
    int count = 0;
    for (Item item = d.view->firstChild(parent); item != noItem; item = d.view->nextSibling(item))
        ++count;
    for (; count < wanted; ++count)
        d.view->appendChild(parent, createItem(d, Info::entry(id, count), d.styles.row));
    for (; count > wanted; --count)
        deleteItemAndVis(d, d.view->lastChild(parent));
}

void deleteMissing(ViewPriv& d, QVector<NakPlaylist::PlaylistInfo> const& playlists)
{
    auto const items = d.playlists; // which the deletion changes
    for (auto it = items.cbegin(); it != items.cend(); ++it) {
        bool const there =
            std::any_of(playlists.cbegin(), playlists.cend(),
                        [&](auto const& playlist) { return playlist.id == it.key(); });
        if (!there)
            deleteItemAndVis(d, it.value());
    }
}

} // namespace

void createAnyPlaylistItems(ViewPriv& d)
{
    if (!g_savedData)
        return;
    auto const playlists = g_savedData->playlists();
    d.view->beginEdit();
    deleteMissing(d, playlists);
    std::vector<Item> order;
    for (auto const& playlist : playlists) {
        Item const item = playlistItem(d, playlist.id);
        matchEntryCount(d, playlist.id, item);
        order.push_back(item);
    }
    if (!order.empty())
        d.view->prependChild(infoOf(d, d.bookmarks).child, order.front());
    reorderItems(d, order.data(), static_cast<int>(order.size()));
    d.view->endEdit();
}

void playlistsChanged(ViewPriv& d, NakPlaylist::PlaylistsChanges const& changes)
{
    createAnyPlaylistItems(d);
    QSet<int> changed;
    for (auto const& change : changes.individual)
        changed.insert(change.id);
    // An index may stand for an entry of another kind now, so these records are made anew.
    for (LitVisibleItem const& visible : d.view->visibleItems()) {
        Info const& info = infoOf(d, visible.item);
        bool const bookmark = info.kind == Kind::Playlist || info.kind == Kind::PlaylistEntry;
        if (bookmark && changed.contains(info.playlistId())) {
            d.vis.set(visible.item, createVisibleData(d, visible.item));
            invalidateHeader(d, visible.item);
        }
    }
}

} // namespace NakSbar
