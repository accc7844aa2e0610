// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_bookmark_menus.h"

#include "bookmark_actions.h"
#include "bookmarks_editor.h"
#include "saved_data.h"
#include "sbar_input.h"
#include "sbar_kinds.h"
#include "sbar_menu_tools.h"
#include "sbar_menus.h"
#include "sbar_tree.h"
#include "sbar_view.h"

#include <QMenu>

namespace NakSbar {

using namespace NakBookmarks;

namespace {

void addManageAction(QMenu* menu)
{
    menu->addSeparator();
    addMenuAction(menu, "Manage Bookmarks...", {}, [] { NakBookmarksEditor::summon(); });
}

// The entry that stood there when the menu came up, unless the folder has changed since.
void changeEntry(int playlist, int index, NakNavLoc const& place,
                 void (*change)(QVector<NakNavLoc>& entries, int index))
{
    auto entries = g_savedData->playlistEntries(playlist);
    if (index >= entries.size() || entries.at(index) != place)
        return;
    change(entries, index);
    g_savedData->setPlaylistEntries(playlist, entries);
}

} // namespace

void addBookmarkActions(ViewPriv& d, NakNavLoc const& place, QMenu* menu)
{
    if (!g_savedData)
        return;
    auto const playlists = g_savedData->playlists();
    if (playlists.size() == 1) {
        addMenuAction(menu, "Add Bookmark", {},
                      [id = playlists.first().id, place] { addBookmark(id, place); });
    } else if (!playlists.isEmpty()) {
        QMenu* const folders = menu->addMenu(QStringLiteral("Add Bookmark"));
        for (auto const& playlist : playlists)
            addMenuAction(folders, "%1", playlist.name,
                          [id = playlist.id, place] { addBookmark(id, place); });
    }
    addMenuAction(menu, "Add to New Bookmark Folder...", {}, [&d, place] {
        askNewFolder(d.view, QStringLiteral("Add to New Bookmark Folder"),
                     [place](int playlist) { addBookmark(playlist, place); });
    });
}

void fillBookmarksMenu(ViewPriv& d, Item item, QMenu* menu)
{
    Item const child = infoOf(d, item).child;
    addMenuAction(menu, "Create New Folder...", {},
                  [&d] { askNewFolder(d.view, QStringLiteral("Create New Folder"), {}); });
    menu->addSeparator();
    addMenuAction(menu, "Expand All in Bookmarks", {},
                  [&d, child] { setChildrenCollapsed(d, child, false); });
    addMenuAction(menu, "Collapse All in Bookmarks", {},
                  [&d, child] { setChildrenCollapsed(d, child, true); });
    addManageAction(menu);
}

void fillPlaylistMenu(ViewPriv& d, Item item, QMenu* menu)
{
    int const playlist = infoOf(d, item).playlistId();
    QString const name = folderName(playlist);
    addMenuAction(menu, "Rename %1...", name, [&d, playlist, name] {
        askFolderName(d.view, QStringLiteral("Rename Bookmark Folder"), name,
                      [playlist](QString const& newName) { renameFolder(playlist, newName); });
    });
    addMenuAction(menu, "Delete %1", name, [&d, playlist] { deleteFolder(d.view, playlist); });
    addManageAction(menu);
}

void fillBookmarkMenu(ViewPriv& d, Item item, QMenu* menu)
{
    Info const info = infoOf(d, item);
    int const playlist = info.playlistId();
    int const index = info.entryIndex();
    NakNavLoc const place = placeOf(info);
    addMenuAction(menu, "Open in New Tab", {},
                  [&d, place] { emit d.view->pickedByMiddleClicking(place); });
    menu->addSeparator();
    addMenuAction(menu, "Remove from %1", folderName(playlist), [playlist, index, place] {
        changeEntry(playlist, index, place, [](auto& entries, int at) { entries.removeAt(at); });
    });
    QAction* const up = addMenuAction(menu, "Move Up", {}, [playlist, index, place] {
        changeEntry(playlist, index, place,
                    [](auto& entries, int at) { entries.move(at, at - 1); });
    });
    QAction* const down = addMenuAction(menu, "Move Down", {}, [playlist, index, place] {
        changeEntry(playlist, index, place,
                    [](auto& entries, int at) { entries.move(at, at + 1); });
    });
    up->setEnabled(index > 0);
    down->setEnabled(index + 1 < g_savedData->playlistEntries(playlist).size());
    addManageAction(menu);
}

} // namespace NakSbar
