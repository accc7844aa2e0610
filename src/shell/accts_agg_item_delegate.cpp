// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "accts_agg_item_delegate.h"

#include "accts_agg_model.h"

#include <QPainter>
#include <QTreeView>

namespace {

constexpr int groupMargin = 8; // above the line of a service, in pixels
constexpr int groupMarginBelow = 3;
constexpr int groupIndent = 8;

QString accountsText(int count)
{
    return count == 1 ? QObject::tr("1 account") : QObject::tr("%1 accounts").arg(count);
}

} // namespace

NakAcctsAggItemDelegate::NakAcctsAggItemDelegate(NakAcctsAggModel* model, QTreeView* view)
    : QStyledItemDelegate(view)
    , m_model(model)
    , m_view(view)
{
}

NakAcctsAggItemDelegate::~NakAcctsAggItemDelegate() = default;

NakAcct::AcctVis* NakAcctsAggItemDelegate::visOf(NakAcct::AcctItem* item) const
{
    auto& vis = m_vis[item];
    if (!vis) {
        NakAcct::AcctVisCreateParams params;
        params.widget = m_view->viewport();
        params.requestRepaint = [item] { item->visualsChanged(); };
        vis.reset(m_model->componentOf(item)->createVis(item, params));
    }
    return vis.get();
}

void NakAcctsAggItemDelegate::paint(QPainter* painter, QStyleOptionViewItem const& option,
                                    QModelIndex const& index) const
{
    NakAcct::AcctItem* const item = m_model->acctItem(index);
    if (!item) {
        paintGroup(painter, option, index);
        return;
    }
    m_view->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, m_view);
    NakAcct::AcctVisPaintOption visOption;
    visOption.selected = option.state & QStyle::State_Selected;
    visOption.active = option.state & QStyle::State_Active;
    visOf(item)->paint(painter, option.rect, visOption);
}

void NakAcctsAggItemDelegate::paintGroup(QPainter* painter, QStyleOptionViewItem const& option,
                                         QModelIndex const& index) const
{
    QRect const line = option.rect.adjusted(groupIndent, groupMargin, 0, -groupMarginBelow);
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(option.palette.color(QPalette::Text));
    QString const name = index.data().toString();
    painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, name);
    int const nameWidth = QFontMetrics(bold).horizontalAdvance(name + QLatin1Char(' '));
    painter->setFont(option.font);
    painter->setPen(option.palette.color(QPalette::Disabled, QPalette::Text));
    painter->drawText(line.adjusted(nameWidth + groupMargin, 0, 0, 0),
                      Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                      accountsText(m_model->rowCount(index)));
}

QSize NakAcctsAggItemDelegate::sizeHint(QStyleOptionViewItem const& option,
                                        QModelIndex const& index) const
{
    int const height = m_model->acctItem(index)
        ? NakAcct::AcctVis::rowHeight(m_view->viewport())
        : option.fontMetrics.height() + groupMargin + groupMarginBelow;
    return { 1, height };
}

void NakAcctsAggItemDelegate::dropHiddenVis()
{
    QRect const viewport = m_view->viewport()->rect();
    for (auto it = m_vis.begin(); it != m_vis.end();) {
        bool const onScreen = m_view->visualRect(it->first->index()).intersects(viewport);
        it = onScreen ? std::next(it) : m_vis.erase(it);
    }
}

void NakAcctsAggItemDelegate::dropVis(NakAcct::AcctItem const* item)
{
    m_vis.erase(item);
}
