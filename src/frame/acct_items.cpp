// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "acct_items.h"

#include <QFontMetrics>
#include <QMap>
#include <QWidget>

namespace {

constexpr int rowMargin = 5; // above the first and below the last line, in pixels

QMap<NakAcct::ServiceType, NakAcct::ComponentFactory>& factories()
{
    static QMap<NakAcct::ServiceType, NakAcct::ComponentFactory> all;
    return all;
}

} // namespace

namespace NakAcct {

ServiceGroupItem::ServiceGroupItem(ServiceType service, QString const& name)
    : QStandardItem(name)
    , m_service(service)
{
    setEditable(false);
    setSelectable(false);
}

AcctItem::AcctItem(ServiceType service)
    : m_service(service)
{
    setEditable(false);
}

// --- AcctVis ---

AcctVis::AcctVis(AcctVisCreateParams const& params)
    : m_params(params)
{
}

AcctVis::~AcctVis() = default;

QFont AcctVis::font() const
{
    return m_params.widget->font();
}

QPalette AcctVis::palette() const
{
    return m_params.widget->palette();
}

Qt::LayoutDirection AcctVis::layoutDirection() const
{
    return m_params.widget->layoutDirection();
}

int AcctVis::lineHeight() const
{
    return m_params.widget->fontMetrics().height();
}

int AcctVis::horizontalSpace() const
{
    return lineHeight() / 2;
}

QRect AcctVis::lineRect(int line, QRect const& row) const
{
    int const height = lineHeight();
    int const top = row.top() + (row.height() - linesPerRow * height) / 2;
    return { row.left(), top + line * height, row.width(), height };
}

void AcctVis::requestRepaint() const
{
    m_params.requestRepaint();
}

int AcctVis::rowHeight(QWidget const* widget)
{
    return linesPerRow * widget->fontMetrics().height() + 2 * rowMargin;
}

// --- AcctsModelComponent ---

AcctsModelComponent::AcctsModelComponent(ServiceGroupItem* group, QObject* parent)
    : QObject(parent)
    , m_group(group)
{
}

AcctsModelComponent::~AcctsModelComponent() = default;

void registerComponentFactory(ServiceType service, ComponentFactory const& factory)
{
    if (factory)
        factories().insert(service, factory);
    else
        factories().remove(service);
}

QVector<AcctsModelComponent*> createComponents(QObject* parent)
{
    QVector<AcctsModelComponent*> components;
    for (ComponentFactory const& factory : qAsConst(factories()))
        components.append(factory(parent));
    return components;
}

} // namespace NakAcct
