// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the user has built up and no network gives back: bookmark folders ("playlists") with their
// entries, and small named blobs. One database, open for the program's life. User-interface thread;
// made and deleted by src/app.

#include "nav_loc.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVector>

#include <memory>

namespace NakPlaylist {

struct PlaylistInfo {
    int id = 0;
    QString name;
};

enum ChangeFlag : quint32 { Created = 1, Deleted = 2, NameChanged = 4, EntriesChanged = 8 };

struct IndividualChange {
    int id = 0;
    quint32 flags = 0; // ChangeFlag bits
};

// Everything that happened to the folders in one event.
struct PlaylistsChanges {
    QVector<IndividualChange> individual; // one per folder
    bool orderChanged = false;
};

} // namespace NakPlaylist

struct NakSavedDataPriv;

class NakSavedData : public QObject {
    Q_OBJECT
public:
    // A new store gets one folder.
    explicit NakSavedData(QObject* parent);
    ~NakSavedData() override;

    static QString dbFilePath();

    // False when the file cannot take changes: another version of the program wrote it, or it is
    // damaged or write-protected. Everything works all the same, and changes are forgotten when the
    // program ends.
    bool keepsChanges() const;

    // --- blobs, by a key of the caller's own ---
    void storeBlob(QString const& key, QByteArray const& value);
    void deleteBlob(QString const& key);
    QByteArray loadBlob(QString const& key) const; // empty for an unknown key

    // --- folders, in the user's order; an id that does not exist does nothing ---
    QVector<NakPlaylist::PlaylistInfo> const& playlists() const;
    QString playlistName(int id) const; // empty for an id that does not exist
    void setPlaylistName(int id, QString const& name);
    int createPlaylist(QString const& name); // at the end; its id
    void deletePlaylist(int id);
    void movePlaylistById(int id, int toIndex); // where it stands afterwards
    // Folders that are not named come last, in their old order.
    void setPlaylistOrdering(QVector<int> const& ids);

    // --- entries of a folder; none is never an entry ---
    QVector<NakNavLoc> playlistEntries(int id) const;
    void setPlaylistEntries(int id, QVector<NakNavLoc> const& entries);
    NakNavLoc getPlaylistEntry(int id, int index) const; // none outside of the folder

signals:
    // Once after the event in which folders changed, however many changes it made.
    void playlistsChanged(NakPlaylist::PlaylistsChanges const& changes);

private:
    std::unique_ptr<NakSavedDataPriv> d;
};

// Set and cleared in src/app.
extern NakSavedData* g_savedData;
