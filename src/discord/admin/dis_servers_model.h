// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The guilds of a user in the user's order, which rows can be moved in. User-interface thread.

#include "flake_id.h"

#include <QAbstractListModel>
#include <QVector>

class DisServersModel : public QAbstractListModel {
    Q_OBJECT
public:
    explicit DisServersModel(QObject* parent);
    ~DisServersModel() override;

    void load(FlakeId user); // as the store has it; none for the invalid user
    QVector<FlakeId> const& guilds() const { return m_guilds; }

    int rowCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    bool moveRows(QModelIndex const& from, int row, int count, QModelIndex const& to,
                  int before) override;

private:
    void pictureCame(FlakeId guild);

    QVector<FlakeId> m_guilds;
};
