// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bookmarks_model.h"

#include "bookmark_actions.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "plain_text.h"
#include "saved_data.h"
#include "sbar_glyphs.h"
#include "shell_icons.h"

#include <QDataStream>
#include <QGuiApplication>
#include <QMimeData>
#include <QPalette>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

// An index of a folder carries this, one of an entry the id of its playlist.
constexpr quintptr folderMark = ~quintptr(0);

constexpr int folderItself = -1; // as the index of an entry

QString mimeType()
{
    return QStringLiteral("application/x-nakwire-bookmark");
}

// What is being dragged, if it is of this program and still there.
std::optional<NakBookmarks::Spot> draggedSpot(QMimeData const& data)
{
    NakBookmarks::Spot spot;
    QDataStream stream(data.data(mimeType()));
    stream >> spot.playlist >> spot.index;
    bool const known = stream.status() == QDataStream::Ok
        && (spot.index == folderItself
            || !g_savedData->getPlaylistEntry(spot.playlist, spot.index).isNone());
    return known ? std::optional(spot) : std::nullopt;
}

QString serverName(NakNavLoc const& place)
{
    if (!g_disClient || !NakBookmarks::isDiscordChannel(place))
        return {};
    FlakeId const guild = DisCache::guildIdOfChannel(place.discordChannelId());
    return guild.isValid() ? DisCache::guildName(guild) : QString();
}

// Changes after which a channel or a server may be called otherwise.
bool changesNames(DisChanges const& changes)
{
    using Type = DisChange::ChangeType;
    return changes.isReload()
        || std::any_of(changes.items.cbegin(), changes.items.cend(), [](DisChange const& change) {
               return change.type == Type::GuildChanged || change.type == Type::ChannelChanged
                   || change.type == Type::UserPropertiesChanged
                   || change.type == Type::PrivateRecipientAdded
                   || change.type == Type::PrivateRecipientRemoved;
           });
}

} // namespace

NakBookmarksModel::NakBookmarksModel(QObject* parent)
    : QAbstractItemModel(parent)
{
    bringInLine();
    connect(g_savedData, &NakSavedData::playlistsChanged, this, [this] { bringInLine(); });
    if (g_disClient)
        connect(g_disClient, &DisClient::disChanges, this, [this](DisChanges const& changes) {
            if (changesNames(changes))
                tellNames();
        });
    if (g_disManager)
        connect(g_disManager, &DisManager::activeUserIdChanged, this,
                &NakBookmarksModel::tellNames);
}

// --- in line with what is saved ---

template <typename T>
void NakBookmarksModel::bringInLine(QModelIndex const& parent, QVector<T>* rows,
                                    QVector<T> const& wanted)
{
    QVector<T> rest = wanted;
    for (int row = 0; row < rows->size();) {
        if (rest.removeOne(rows->at(row))) {
            ++row;
            continue;
        }
        beginRemoveRows(parent, row, row);
        rows->remove(row);
        endRemoveRows();
    }
    for (int row = 0; row < wanted.size(); ++row) {
        int const from = rows->indexOf(wanted.at(row), row);
        if (from == row)
            continue;
        if (from > row) {
            beginMoveRows(parent, from, from, parent, row);
            rows->move(from, row);
            endMoveRows();
        } else {
            beginInsertRows(parent, row, row);
            rows->insert(row, wanted.at(row));
            endInsertRows();
        }
    }
}

void NakBookmarksModel::bringInLine()
{
    QVector<int> wanted;
    for (NakPlaylist::PlaylistInfo const& playlist : g_savedData->playlists())
        wanted.append(playlist.id);
    bringInLine({}, &m_folders, wanted);
    for (int const playlist : qAsConst(wanted)) {
        QModelIndex const folder = folderIndex(playlist);
        bringInLine(folder, &m_entries[playlist], g_savedData->playlistEntries(playlist));
        // Not without need: it would take back what is being typed there.
        QString const name = g_savedData->playlistName(playlist);
        if (std::exchange(m_names[playlist], name) != name)
            emit dataChanged(folder, folder);
    }
}

void NakBookmarksModel::tellNames()
{
    for (int const playlist : qAsConst(m_folders)) {
        int const count = m_entries.value(playlist).size();
        if (count > 0)
            emit dataChanged(entryIndex(playlist, 0),
                             entryIndex(playlist, count - 1).siblingAtColumn(Server));
    }
}

// --- indexes ---

bool NakBookmarksModel::isFolder(QModelIndex const& index) const
{
    return index.isValid() && index.internalId() == folderMark;
}

int NakBookmarksModel::playlistOf(QModelIndex const& index) const
{
    return isFolder(index) ? m_folders.value(index.row()) : static_cast<int>(index.internalId());
}

NakNavLoc NakBookmarksModel::placeOf(QModelIndex const& index) const
{
    if (!index.isValid() || isFolder(index))
        return {};
    return m_entries.value(playlistOf(index)).value(index.row());
}

QModelIndex NakBookmarksModel::folderIndex(int playlist) const
{
    return index(m_folders.indexOf(playlist), Name);
}

QModelIndex NakBookmarksModel::entryIndex(int playlist, int entry) const
{
    return index(entry, Name, folderIndex(playlist));
}

QModelIndex NakBookmarksModel::index(int row, int column, QModelIndex const& parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    quintptr const id = isFolder(parent) ? static_cast<quintptr>(playlistOf(parent)) : folderMark;
    return createIndex(row, column, id);
}

QModelIndex NakBookmarksModel::parent(QModelIndex const& child) const
{
    if (!child.isValid() || isFolder(child))
        return {};
    return folderIndex(playlistOf(child));
}

int NakBookmarksModel::rowCount(QModelIndex const& parent) const
{
    if (!parent.isValid())
        return m_folders.size();
    return isFolder(parent) && parent.column() == Name ? m_entries.value(playlistOf(parent)).size()
                                                       : 0;
}

int NakBookmarksModel::columnCount(QModelIndex const&) const
{
    return ColumnCount;
}

// --- what the rows say ---

QVariant NakBookmarksModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid())
        return {};
    if (!isFolder(index))
        return entryData(placeOf(index), index.column(), role);
    return index.column() == Name ? folderData(playlistOf(index), role) : QVariant();
}

QVariant NakBookmarksModel::folderData(int playlist, int role) const
{
    QString const name = NakBookmarks::folderName(playlist);
    switch (role) {
    case Qt::DisplayRole:
        return NakPlainText::titleLine(name);
    case Qt::EditRole:
        return name;
    case Qt::ToolTipRole:
        return NakPlainText::toolTip(name);
    case Qt::DecorationRole:
        return NakShell::icon(name == QLatin1String("Favorites") ? NakSbar::Glyph::star
                                                                 : NakSbar::Glyph::folder);
    default:
        return {};
    }
}

QVariant NakBookmarksModel::entryData(NakNavLoc const& place, int column, int role) const
{
    bool const isDim = column == Server || !NakBookmarks::isDiscordChannel(place);
    if (role == Qt::ForegroundRole && isDim)
        return QGuiApplication::palette().color(QPalette::Disabled, QPalette::Text);
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    QString const text = column == Name ? NakBookmarks::entryText(place) : serverName(place);
    return role == Qt::DisplayRole ? NakPlainText::titleLine(text) : NakPlainText::toolTip(text);
}

bool NakBookmarksModel::setData(QModelIndex const& index, QVariant const& value, int role)
{
    if (role != Qt::EditRole || !isFolder(index))
        return false;
    NakBookmarks::renameFolder(playlistOf(index), value.toString());
    // No more than that: a folder that goes while its name is typed comes here from its removal.
    emit dataChanged(index, index);
    return true;
}

Qt::ItemFlags NakBookmarksModel::flags(QModelIndex const& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags const each = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (!isFolder(index))
        return each | Qt::ItemNeverHasChildren;
    Qt::ItemFlags const folder = each | Qt::ItemIsDropEnabled;
    return index.column() == Name ? folder | Qt::ItemIsEditable : folder;
}

// --- dragging ---

Qt::DropActions NakBookmarksModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

QStringList NakBookmarksModel::mimeTypes() const
{
    return { mimeType() };
}

QMimeData* NakBookmarksModel::mimeData(QModelIndexList const& indexes) const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    QModelIndex const index = indexes.value(0);
    stream << playlistOf(index) << (isFolder(index) ? folderItself : index.row());
    auto* const data = new QMimeData;
    data->setData(mimeType(), bytes);
    return data;
}

// Anywhere: the gaps between rows are too narrow to insist on.
bool NakBookmarksModel::canDropMimeData(QMimeData const* data, Qt::DropAction action, int, int,
                                        QModelIndex const&) const
{
    return action == Qt::MoveAction && draggedSpot(*data);
}

bool NakBookmarksModel::dropMimeData(QMimeData const* data, Qt::DropAction action, int row,
                                     int column, QModelIndex const& parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    auto const from = *draggedSpot(*data);
    if (from.index == folderItself)
        dropFolder(from.playlist, row, parent);
    else
        dropEntry(from, row, parent);
    return true;
}

// On a folder or something in it takes its place.
void NakBookmarksModel::dropFolder(int playlist, int row, QModelIndex const& parent)
{
    int const from = m_folders.indexOf(playlist);
    int const before = row < 0 ? m_folders.size() : row;
    int const between = from < before ? before - 1 : before;
    g_savedData->movePlaylistById(playlist, parent.isValid() ? parent.row() : between);
    bringInLine();
    emit dropped(folderIndex(playlist));
}

// Between two folders, as behind the last one, is the end of the upper one.
void NakBookmarksModel::dropEntry(NakBookmarks::Spot const& from, int row,
                                  QModelIndex const& parent)
{
    int const above = (row < 0 ? m_folders.size() : row) - 1;
    QModelIndex const folder =
        parent.isValid() ? parent.siblingAtColumn(Name) : index(qMax(above, 0), Name);
    int const before = parent.isValid() && row >= 0 ? row : rowCount(folder);
    auto const now = NakBookmarks::moveEntry(from, { playlistOf(folder), before });
    bringInLine();
    emit dropped(entryIndex(now.playlist, now.index));
}
