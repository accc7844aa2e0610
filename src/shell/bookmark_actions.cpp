// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bookmark_actions.h"

#include "ask_user.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "dis_utils.h"
#include "saved_data.h"

#include <QInputDialog>

namespace {

constexpr int maxFolderNameLength = 100;

// What is left of the text as a folder's name; nothing if it is none.
QString folderNameOf(QString const& text)
{
    return text.trimmed().left(maxFolderNameLength);
}

} // namespace

QString NakBookmarks::unnamedFolder()
{
    return QStringLiteral("Unnamed Folder");
}

QString NakBookmarks::folderName(int playlist)
{
    QString const name = g_savedData->playlistName(playlist);
    return name.isEmpty() ? QStringLiteral("Unknown Folder") : name;
}

bool NakBookmarks::isDiscordChannel(NakNavLoc const& place)
{
    return place.type() == NakNav::Type::Discord
        && place.discordKind() == NakNav::DiscordKind::Channel;
}

QString NakBookmarks::entryText(NakNavLoc const& place)
{
    if (!isDiscordChannel(place))
        return QStringLiteral("[Unknown service]");
    QString name;
    if (g_disClient && g_disManager)
        name = DisUtils::channelDisplayName(place.discordChannelId(), g_disManager->activeUserId());
    return name.isEmpty() ? QStringLiteral("...") : name;
}

NakBookmarks::Spot NakBookmarks::moveEntry(Spot const& from, Spot const& before)
{
    auto source = g_savedData->playlistEntries(from.playlist);
    if (from.index < 0 || from.index >= source.size())
        return from;
    NakNavLoc const place = source.takeAt(from.index);
    bool const sameFolder = from.playlist == before.playlist;
    auto target = sameFolder ? source : g_savedData->playlistEntries(before.playlist);
    int index = before.index - (sameFolder && from.index < before.index ? 1 : 0);
    int const there = target.indexOf(place);
    if (there >= 0) {
        target.remove(there);
        index -= there < index ? 1 : 0;
    }
    index = qBound(0, index, target.size());
    target.insert(index, place);
    // The target first: an end of the program between the two loses nothing.
    g_savedData->setPlaylistEntries(before.playlist, target);
    if (!sameFolder)
        g_savedData->setPlaylistEntries(from.playlist, source);
    return { before.playlist, index };
}

void NakBookmarks::addBookmark(int playlist, NakNavLoc const& place)
{
    auto entries = g_savedData->playlistEntries(playlist);
    if (entries.contains(place))
        return;
    entries.append(place);
    g_savedData->setPlaylistEntries(playlist, entries);
}

void NakBookmarks::renameFolder(int playlist, QString const& text)
{
    QString const name = folderNameOf(text);
    if (!name.isEmpty() && name != g_savedData->playlistName(playlist))
        g_savedData->setPlaylistName(playlist, name);
}

void NakBookmarks::deleteFolder(QWidget* parent, int playlist)
{
    if (g_savedData->playlistEntries(playlist).isEmpty()) {
        g_savedData->deletePlaylist(playlist);
        return;
    }
    NakQuestion const question{
        QStringLiteral("Delete Folder"),
        QStringLiteral("Are you sure you want to delete %1 and the bookmarks in it?")
            .arg(folderName(playlist)),
        QStringLiteral("Delete"),
    };
    NakAsk::ask(parent, question, [playlist] { g_savedData->deletePlaylist(playlist); });
}

void NakBookmarks::askNewFolder(QWidget* parent, QString const& title,
                                std::function<void(int playlist)> const& onCreated)
{
    askFolderName(parent, title, unnamedFolder(), [onCreated](QString const& name) {
        int const playlist = g_savedData->createPlaylist(name);
        if (onCreated)
            onCreated(playlist);
    });
}

void NakBookmarks::askFolderName(QWidget* parent, QString const& title, QString const& preset,
                                 std::function<void(QString const& name)> const& onName)
{
    auto* const dialog = new QInputDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(title);
    dialog->setLabelText(QStringLiteral("New folder name:"));
    dialog->setTextValue(preset);
    QObject::connect(dialog, &QInputDialog::textValueSelected, parent,
                     [onName, preset](QString const& text) {
                         QString const name = folderNameOf(text);
                         onName(name.isEmpty() ? preset : name);
                     });
    dialog->open();
}
