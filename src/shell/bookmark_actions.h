// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the side bar's menus and the bookmarks editor do with bookmark folders and their entries,
// and what both call them. User-interface thread; needs g_savedData.

#include "nav_loc.h"

#include <QString>

#include <functional>

class QWidget;

namespace NakBookmarks {

QString unnamedFolder(); // what a folder is called that nobody gave a name
QString folderName(int playlist);
bool isDiscordChannel(NakNavLoc const& place);
// As the side bar writes it: a Discord channel by its name of the moment.
QString entryText(NakNavLoc const& place);

// Where an entry stands.
struct Spot {
    int playlist = 0;
    int index = 0;
};
// Before the entry that stands at the place now; a folder never holds the same place twice. Where
// it stands afterwards.
Spot moveEntry(Spot const& from, Spot const& before);

void addBookmark(int playlist, NakNavLoc const& place); // nothing if the folder has it
// Text that is no name changes nothing.
void renameFolder(int playlist, QString const& text);
// Asks before entries go with it.
void deleteFolder(QWidget* parent, int playlist);
void askNewFolder(QWidget* parent, QString const& title,
                  std::function<void(int playlist)> const& onCreated);
// Asks for a folder's name. What comes is neither empty nor overlong.
void askFolderName(QWidget* parent, QString const& title, QString const& preset,
                   std::function<void(QString const& name)> const& onName);

} // namespace NakBookmarks
