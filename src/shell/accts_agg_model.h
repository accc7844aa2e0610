// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The tree of the accounts view: a group per service, whose accounts the service's component keeps.
// Each view has its own model and components. User-interface thread.

#include "acct_items.h"

#include <QStandardItemModel>
#include <QVector>

class NakAcctsAggModel : public QStandardItemModel {
    Q_OBJECT
public:
    explicit NakAcctsAggModel(QObject* parent);
    ~NakAcctsAggModel() override;

    void addComponent(NakAcct::AcctsModelComponent* component); // takes its group, not itself
    void removeComponent(NakAcct::AcctsModelComponent* component); // its group is deleted
    QVector<NakAcct::AcctsModelComponent*> const& components() const { return m_components; }

    NakAcct::AcctsModelComponent* componentOf(NakAcct::AcctItem const* item) const; // or null
    NakAcct::AcctItem* acctItem(QModelIndex const& index) const; // null for other rows
    int accountCount() const;

private:
    QVector<NakAcct::AcctsModelComponent*> m_components;
};
