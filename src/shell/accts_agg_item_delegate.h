// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Paints the rows of the accounts tree: a service with the number of its accounts, and each account
// through a painter that its component makes when the row comes on screen. User-interface thread.

#include "acct_items.h"

#include <QStyledItemDelegate>

#include <map>
#include <memory>

class NakAcctsAggModel;
class QTreeView;

class NakAcctsAggItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    NakAcctsAggItemDelegate(NakAcctsAggModel* model, QTreeView* view);
    ~NakAcctsAggItemDelegate() override;

    void paint(QPainter* painter, QStyleOptionViewItem const& option,
               QModelIndex const& index) const override;
    QSize sizeHint(QStyleOptionViewItem const& option, QModelIndex const& index) const override;

    // Drops the painters of rows that are not on screen or not there any more. An item that is
    // about to be deleted must have lost its painter before.
    void dropHiddenVis();
    void dropVis(NakAcct::AcctItem const* item);

private:
    void paintGroup(QPainter* painter, QStyleOptionViewItem const& option,
                    QModelIndex const& index) const;
    NakAcct::AcctVis* visOf(NakAcct::AcctItem* item) const;

    NakAcctsAggModel* m_model;
    QTreeView* m_view;
    mutable std::map<NakAcct::AcctItem const*, std::unique_ptr<NakAcct::AcctVis>> m_vis;
};
