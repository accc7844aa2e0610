// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tab_wrapper.h"

#include "empty_hint.h"
#include "tab_contents.h"
#include "tabbed_widget.h"

#include <QPainter>
#include <QToolBar>

NakTabWidgetImpl::Wrapper::Wrapper(QAction* back, QAction* forward, QWidget* parent)
    : QWidget(parent)
    , m_toolBar(new QToolBar(this))
{
    m_toolBar->setMovable(false);
    m_toolBar->setContextMenuPolicy(Qt::PreventContextMenu);
    m_toolBar->addAction(back);
    m_toolBar->addAction(forward);
    m_fixedItemCount = m_toolBar->actions().size();
    // Buttons of a tool bar take no focus by themselves; these are the only way for the keyboard.
    for (QAction* action : m_toolBar->actions()) {
        if (QWidget* button = m_toolBar->widgetForAction(action))
            button->setFocusPolicy(Qt::TabFocus);
    }
}

NakTabWidgetImpl::Wrapper::~Wrapper() = default;

INakTabbedWidget* NakTabWidgetImpl::Wrapper::tabbed() const
{
    return qobject_cast<INakTabbedWidget*>(m_content.data());
}

NakNavLoc NakTabWidgetImpl::Wrapper::place() const
{
    INakTabbedWidget const* const page = tabbed();
    return page ? page->tabNavLoc() : m_emptyPlace;
}

bool NakTabWidgetImpl::Wrapper::moveContentTo(NakNavLoc const& place)
{
    INakTabbedWidget* const page = tabbed();
    if (!page)
        return false;
    if (page->tabNavLoc() == place)
        return true;
    if (!page->tabCanSetNavLoc(place))
        return false;
    page->tabSetNavLoc(place);
    return true;
}

void NakTabWidgetImpl::Wrapper::replaceContent(NakNavLoc const& place)
{
    removeContent();
    m_emptyPlace = place;
    QWidget* const content = NakTabContents::create(place, this);
    Q_ASSERT(!content || qobject_cast<INakTabbedWidget*>(content));
    m_content = content;
    update();
}

void NakTabWidgetImpl::Wrapper::addContentToolBarItems()
{
    tabbed()->tabAddToolBarItems(m_toolBar);
}

void NakTabWidgetImpl::Wrapper::showContent()
{
    if (m_content && isVisible())
        m_content->show();
}

// The bar gives up its last line; the two below it stay free.
void NakTabWidgetImpl::Wrapper::layoutChildren()
{
    int const barHeight = m_toolBar->sizeHint().height() - 1;
    m_toolBar->setGeometry(1, 0, width() - 2, barHeight);
    if (m_content) {
        int const top = barHeight + 2;
        m_content->setGeometry(0, top, width(), qMax(height() - top, 0));
    }
}

void NakTabWidgetImpl::Wrapper::resizeEvent(QResizeEvent*)
{
    layoutChildren();
}

void NakTabWidgetImpl::Wrapper::paintEvent(QPaintEvent*)
{
    if (m_content)
        return;
    if (m_emptyPlace.isNone()) {
        paintEmptyHint(this,
                       { QStringLiteral("This tab is empty"),
                         QStringLiteral("What you open next shows here") });
    } else {
        paintEmptyHint(this,
                       { QStringLiteral("This place cannot be shown"),
                         QStringLiteral("Its tab is kept until it can") });
    }
}

void NakTabWidgetImpl::Wrapper::removeContent()
{
    if (!m_content)
        return;
    m_content->deleteLater();
    m_content->setParent(nullptr);
    m_content = nullptr;
    unsetCursor();
    // Items that the content made in the bar belong to the bar, and would outlive it.
    auto const items = m_toolBar->actions();
    for (int i = m_fixedItemCount; i < items.size(); ++i) {
        m_toolBar->removeAction(items.at(i));
        if (items.at(i)->parent() == m_toolBar)
            items.at(i)->deleteLater();
    }
}
