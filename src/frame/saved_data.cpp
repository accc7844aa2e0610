// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "saved_data.h"

#include "data_paths.h"
#include "event_log.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QDir>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <algorithm>
#include <optional>
#include <utility>

using NakPlaylist::PlaylistInfo;

NakSavedData* g_savedData = nullptr;

struct NakSavedDataPriv {
    sqlite3* db = nullptr;
    bool keepsChanges = true;
    QVector<PlaylistInfo> playlists; // in position order
    QHash<int, QVector<NakNavLoc>> entries; // of the folders that were asked for
    QTimer timer; // runs while changes are pending
    NakPlaylist::PlaylistsChanges pending;
};

namespace {

constexpr int dbVersion = 1;

// Executed at every start.
constexpr char schema[] = R"(
PRAGMA synchronous=NORMAL;
PRAGMA journal_mode=WAL;
create table if not exists playlist (
    id integer primary key,
    name text not null,
    position int not null,
    content text not null
);
create index if not exists playlist_position_idx on playlist (position);
create table if not exists key_value (
    key text primary key,
    value not null
);
create table if not exists discord_call_user_mix (
    user_id integer primary key,
    version int not null,
    value not null
);
)";

void logWarning(QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Application, EvLog::Severity::Warn, text);
}

// --- open ---

// What the user does goes on working, in a store of memory, when the file is not ours to write.
void openStore(NakSavedDataPriv* d)
{
    QString const path = NakSavedData::dbFilePath();
    d->db = NakSql::openDbWithAppendableSchema(path, schema, dbVersion);
    if (!d->db) {
        d->db = NakSql::openDbWithAppendableSchema(QStringLiteral(":memory:"), schema, dbVersion);
        d->keepsChanges = false;
        logWarning(NakSavedData::tr("%1 was written by another version of Nakwire or is damaged. "
                                    "It is left as it is; changes of bookmarks are not kept")
                       .arg(path));
    } else if (sqlite3_db_readonly(d->db, "main") == 1) {
        d->keepsChanges = false;
        logWarning(
            NakSavedData::tr("%1 is write-protected; changes of bookmarks are not kept").arg(path));
    }
}

// --- write ---

// A full disk or a protected file takes nothing; what the user did lives on in memory.
bool tookIt(int code)
{
    if (code != SQLITE_OK)
        logWarning(NakSavedData::tr("A change of bookmarks or other saved data could not be saved "
                                    "(SQLite code %1)")
                       .arg(code));
    return code == SQLITE_OK;
}

bool write(NakStmt* stmt)
{
    stmt->step();
    return tookIt(stmt->reset());
}

// At the end; its id, or none if the file did not take it.
std::optional<int> insertPlaylist(sqlite3* db, QString const& name)
{
    NakStmt stmt(db,
                 "insert into playlist (name, position, content)"
                 " select ?, coalesce(max(position) + 1, 0), '[]' from playlist");
    stmt.bind(1, name);
    if (!write(&stmt))
        return {};
    return static_cast<int>(NakSql::lastInsertRowId(db));
}

// Of a folder that is not in the file. The file gives no such number by itself.
int makeUnsavedId(QVector<PlaylistInfo> const& playlists)
{
    int last = 1 << 30;
    for (PlaylistInfo const& info : playlists)
        last = qMax(last, info.id);
    return last + 1;
}

QVector<PlaylistInfo> loadPlaylists(sqlite3* db)
{
    QVector<PlaylistInfo> playlists;
    NakStmt stmt(db, "select id, name from playlist order by position asc");
    while (stmt.step())
        playlists.append({ stmt.colInt(0), stmt.colString(1) });
    return playlists;
}

// --- entries ---

enum EntryType {
    OldDiscordChannel = 1, // of older releases; read only
    Place = 2,
};

NakNavLoc placeFromEntry(QJsonObject const& entry)
{
    switch (entry.value(QLatin1String("type")).toInt()) {
    case OldDiscordChannel: {
        auto const id = FlakeId::fromJson(entry.value(QLatin1String("channel_id")));
        return id.isValid() ? NakNavLoc::discordChannel(id) : NakNavLoc();
    }
    case Place:
        return NakNav::loadFromJson(entry.value(QLatin1String("data")));
    default:
        return NakNavLoc();
    }
}

// What makes no place is left out.
QVector<NakNavLoc> parseContent(QByteArray const& content)
{
    QVector<NakNavLoc> places;
    QJsonArray const entries = QJsonDocument::fromJson(content).array();
    for (QJsonValue const& entry : entries) {
        NakNavLoc const place = placeFromEntry(entry.toObject());
        if (!place.isNone())
            places.append(place);
    }
    return places;
}

QByteArray encodeContent(QVector<NakNavLoc> const& places)
{
    QJsonArray entries;
    for (NakNavLoc const& place : places) {
        entries.append(QJsonObject{ { QStringLiteral("type"), Place },
                                    { QStringLiteral("data"), NakNav::saveToJson(place) } });
    }
    return QJsonDocument(entries).toJson(QJsonDocument::Compact);
}

QVector<NakNavLoc> loadEntries(sqlite3* db, int id)
{
    NakStmt stmt(db, "select content from playlist where id = ?");
    stmt.bind(1, id);
    return stmt.step() ? parseContent(stmt.colTextByteArray(0)) : QVector<NakNavLoc>();
}

QVector<NakNavLoc> const& cachedEntries(NakSavedDataPriv* d, int id)
{
    auto found = d->entries.find(id);
    if (found == d->entries.end())
        found = d->entries.insert(id, loadEntries(d->db, id));
    return *found;
}

// --- changes ---

PlaylistInfo* findPlaylist(NakSavedDataPriv* d, int id)
{
    auto const found = std::find_if(d->playlists.begin(), d->playlists.end(),
                                    [id](PlaylistInfo const& info) { return info.id == id; });
    return found == d->playlists.end() ? nullptr : &*found;
}

void addIndividualChangeFlags(NakSavedDataPriv* d, int id, quint32 flags)
{
    auto& changes = d->pending.individual;
    auto const found = std::find_if(changes.begin(), changes.end(),
                                    [id](auto const& change) { return change.id == id; });
    if (found == changes.end())
        changes.append({ id, flags });
    else
        found->flags |= flags;
    d->timer.start();
}

} // namespace

NakSavedData::NakSavedData(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<NakSavedDataPriv>())
{
    openStore(d.get());
    if (!NakStmt(d->db, "select id from playlist").step())
        insertPlaylist(d->db, tr("Favorites"));
    d->playlists = loadPlaylists(d->db);
    d->timer.setSingleShot(true);
    d->timer.setInterval(0);
    connect(&d->timer, &QTimer::timeout, this,
            [this] { emit playlistsChanged(std::exchange(d->pending, {})); });
}

NakSavedData::~NakSavedData()
{
    NakSql::closeDb(d->db);
}

QString NakSavedData::dbFilePath()
{
    return NakDataPaths::appDataPathCreated() + QDir::separator()
        + QStringLiteral("user_data.nakdb");
}

bool NakSavedData::keepsChanges() const
{
    return d->keepsChanges;
}

// --- blobs ---

void NakSavedData::storeBlob(QString const& key, QByteArray const& value)
{
    NakStmt stmt(d->db, "replace into key_value (key, value) values (?, ?)");
    stmt.bind(1, key);
    stmt.bind(2, value);
    write(&stmt);
}

void NakSavedData::deleteBlob(QString const& key)
{
    NakStmt stmt(d->db, "delete from key_value where key = ?");
    stmt.bind(1, key);
    write(&stmt);
}

QByteArray NakSavedData::loadBlob(QString const& key) const
{
    NakStmt stmt(d->db, "select value from key_value where key = ?");
    stmt.bind(1, key);
    return stmt.step() ? stmt.colBlobByteArray(0) : QByteArray();
}

// --- folders ---

QVector<PlaylistInfo> const& NakSavedData::playlists() const
{
    return d->playlists;
}

QString NakSavedData::playlistName(int id) const
{
    PlaylistInfo const* const info = findPlaylist(d.get(), id);
    return info ? info->name : QString();
}

void NakSavedData::setPlaylistName(int id, QString const& name)
{
    PlaylistInfo* const info = findPlaylist(d.get(), id);
    if (!info)
        return;
    NakStmt stmt(d->db, "update playlist set name = ? where id = ?");
    stmt.bind(1, name);
    stmt.bind(2, id);
    write(&stmt);
    info->name = name;
    addIndividualChangeFlags(d.get(), id, NakPlaylist::NameChanged);
}

int NakSavedData::createPlaylist(QString const& name)
{
    std::optional<int> const saved = insertPlaylist(d->db, name);
    int const id = saved ? *saved : makeUnsavedId(d->playlists);
    d->playlists.append({ id, name });
    d->entries.insert(id, {});
    addIndividualChangeFlags(d.get(), id, NakPlaylist::Created);
    return id;
}

void NakSavedData::deletePlaylist(int id)
{
    PlaylistInfo* const info = findPlaylist(d.get(), id);
    if (!info)
        return;
    NakStmt stmt(d->db, "delete from playlist where id = ?");
    stmt.bind(1, id);
    write(&stmt);
    d->playlists.erase(info);
    d->entries.remove(id);
    addIndividualChangeFlags(d.get(), id, NakPlaylist::Deleted);
}

void NakSavedData::movePlaylistById(int id, int toIndex)
{
    QVector<int> ids;
    for (PlaylistInfo const& info : qAsConst(d->playlists))
        ids.append(info.id);
    int const from = ids.indexOf(id);
    if (from < 0)
        return;
    ids.move(from, qBound(0, toIndex, ids.size() - 1));
    setPlaylistOrdering(ids);
}

void NakSavedData::setPlaylistOrdering(QVector<int> const& ids)
{
    auto const rank = [&ids](PlaylistInfo const& info) {
        int const index = ids.indexOf(info.id);
        return index < 0 ? ids.size() : index;
    };
    std::stable_sort(
        d->playlists.begin(), d->playlists.end(),
        [&](PlaylistInfo const& a, PlaylistInfo const& b) { return rank(a) < rank(b); });
    NakSql::beginTransaction(d->db);
    NakStmt stmt(d->db, "update playlist set position = ? where id = ?");
    for (int position = 0; position < d->playlists.size(); ++position) {
        stmt.bind(1, position);
        stmt.bind(2, d->playlists.at(position).id);
        stmt.step();
        stmt.reset();
    }
    tookIt(NakSql::endTransaction(d->db));
    d->pending.orderChanged = true;
    d->timer.start();
}

// --- entries ---

QVector<NakNavLoc> NakSavedData::playlistEntries(int id) const
{
    return findPlaylist(d.get(), id) ? cachedEntries(d.get(), id) : QVector<NakNavLoc>();
}

void NakSavedData::setPlaylistEntries(int id, QVector<NakNavLoc> const& entries)
{
    if (!findPlaylist(d.get(), id))
        return;
    QVector<NakNavLoc> kept = entries;
    kept.removeAll(NakNavLoc());
    QByteArray const content = encodeContent(kept);
    NakStmt stmt(d->db, "update playlist set content = ? where id = ?");
    stmt.bindUtf8(1, content.constData(), content.size());
    stmt.bind(2, id);
    write(&stmt);
    d->entries.insert(id, kept);
    addIndividualChangeFlags(d.get(), id, NakPlaylist::EntriesChanged);
}

NakNavLoc NakSavedData::getPlaylistEntry(int id, int index) const
{
    return findPlaylist(d.get(), id) ? cachedEntries(d.get(), id).value(index) : NakNavLoc();
}
