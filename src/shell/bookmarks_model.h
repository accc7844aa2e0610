// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The bookmark folders with their entries as a tree of two levels, in line with g_savedData. Rows
// come, go and move one by one, so that a view keeps what is selected, open and in sight. Folders
// can be renamed and everything can be dragged. User-interface thread.

#include "bookmark_actions.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QVector>

class NakBookmarksModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { Name, Server, ColumnCount };

    explicit NakBookmarksModel(QObject* parent);

    // After a change of the saved data; the signal that tells of it comes only later.
    void bringInLine();

    // --- between indexes and what they stand for ---
    bool isFolder(QModelIndex const& index) const;
    int playlistOf(QModelIndex const& index) const; // of an entry: the folder that it is in
    NakNavLoc placeOf(QModelIndex const& index) const; // none for a folder
    QModelIndex folderIndex(int playlist) const;
    QModelIndex entryIndex(int playlist, int entry) const;

    QModelIndex index(int row, int column, QModelIndex const& parent = {}) const override;
    QModelIndex parent(QModelIndex const& child) const override;
    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    bool setData(QModelIndex const& index, QVariant const& value, int role) override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;

    // --- dragging ---
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(QModelIndexList const& indexes) const override;
    bool canDropMimeData(QMimeData const* data, Qt::DropAction action, int row, int column,
                         QModelIndex const& parent) const override;
    bool dropMimeData(QMimeData const* data, Qt::DropAction action, int row, int column,
                      QModelIndex const& parent) override;

signals:
    void dropped(QModelIndex const& index); // where what was dragged is now

private:
    template <typename T>
    void bringInLine(QModelIndex const& parent, QVector<T>* rows, QVector<T> const& wanted);
    void tellNames();
    void dropFolder(int playlist, int row, QModelIndex const& parent);
    void dropEntry(NakBookmarks::Spot const& from, int row, QModelIndex const& parent);
    QVariant folderData(int playlist, int role) const;
    QVariant entryData(NakNavLoc const& place, int column, int role) const;

    QVector<int> m_folders; // playlist ids in order
    QHash<int, QVector<NakNavLoc>> m_entries; // of each of them
    QHash<int, QString> m_names;
};
