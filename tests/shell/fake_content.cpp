// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "fake_content.h"

#include <QPaintEvent>
#include <QToolBar>

int FakeContent::alive = 0;

FakeContent::FakeContent(NakNavLoc const& place, QWidget* parent)
    : QWidget(parent)
    , m_place(place)
    , m_title(QStringLiteral("tab ") + place.discordChannelId().toString())
{
    setFocusPolicy(Qt::StrongFocus);
    ++alive;
}

FakeContent::~FakeContent()
{
    --alive;
    // Contents may speak up at the very end.
    emit tabDataChanged(NakTabbedDataChangeFlag::All);
}

void FakeContent::setTitle(QString const& title)
{
    m_title = title;
    emit tabDataChanged(NakTabbedDataChangeFlag::Text);
}

void FakeContent::setIcon(QIcon const& icon)
{
    m_icon = icon;
    emit tabDataChanged(NakTabbedDataChangeFlag::Icon);
}

void FakeContent::setPlace(NakNavLoc const& place)
{
    m_place = place;
    emit tabDataChanged(NakTabbedDataChangeFlag::Place);
}

void FakeContent::setMenus(QList<QAction*> const& menus)
{
    m_menus = menus;
    emit tabDataChanged(NakTabbedDataChangeFlag::Menus);
}

bool FakeContent::tabCanSetNavLoc(NakNavLoc const&) const
{
    return canMove;
}

void FakeContent::tabSetNavLoc(NakNavLoc const& place)
{
    m_place = place;
    m_title = QStringLiteral("tab ") + place.discordChannelId().toString();
    log += QStringLiteral("move;");
}

void FakeContent::tabSetStatusIsVisible(bool visible)
{
    log += visible ? QStringLiteral("shown;") : QStringLiteral("hidden;");
}

void FakeContent::tabPaintStatus(QWidget*, QPaintEvent* event)
{
    log += QStringLiteral("paint %1;").arg(event->rect().isEmpty() ? 0 : 1);
}

void FakeContent::tabAddToolBarItems(QToolBar* toolBar)
{
    toolBar->addAction(QStringLiteral("of ") + m_title);
}
