// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "accts_agg_model.h"

#include <algorithm>

NakAcctsAggModel::NakAcctsAggModel(QObject* parent)
    : QStandardItemModel(parent)
{
}

NakAcctsAggModel::~NakAcctsAggModel() = default;

void NakAcctsAggModel::addComponent(NakAcct::AcctsModelComponent* component)
{
    m_components.append(component);
    appendRow(component->group());
}

void NakAcctsAggModel::removeComponent(NakAcct::AcctsModelComponent* component)
{
    if (m_components.removeOne(component))
        removeRow(component->group()->row());
}

NakAcct::AcctsModelComponent* NakAcctsAggModel::componentOf(NakAcct::AcctItem const* item) const
{
    auto const found =
        std::find_if(m_components.cbegin(), m_components.cend(), [item](auto const* component) {
            return component->group()->service() == item->service();
        });
    return found == m_components.cend() ? nullptr : *found;
}

NakAcct::AcctItem* NakAcctsAggModel::acctItem(QModelIndex const& index) const
{
    QStandardItem* const item = itemFromIndex(index);
    return item && item->type() == NakAcct::acctItemType ? static_cast<NakAcct::AcctItem*>(item)
                                                         : nullptr;
}

int NakAcctsAggModel::accountCount() const
{
    int count = 0;
    for (NakAcct::AcctsModelComponent const* component : m_components)
        count += component->group()->rowCount();
    return count;
}
