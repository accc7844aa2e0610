// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tab_bar.h"

#include "nakwire_style.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QStyleOptionTab>

NakTabBar::NakTabBar(QWidget* parent)
    : QTabBar(parent)
{
    setElideMode(Qt::ElideRight);
    setUsesScrollButtons(false);
    setExpanding(false);
    setMovable(true);
    setDrawBase(false);
    connect(this, &QTabBar::currentChanged, this, &NakTabBar::showCloseButtonsThatFit);
}

QSize NakTabBar::sizeHint() const
{
    return { width(), barHeight() };
}

QSize NakTabBar::minimumSizeHint() const
{
    return { 0, barHeight() };
}

QSize NakTabBar::tabSizeHint(int index) const
{
    if (count() == 0)
        return { 1, barHeight() };
    int const share = width() / count();
    int const rest = index == count() - 1 ? width() % count() : 0;
    return { share + rest, barHeight() };
}

// Without this the bar could never become narrower than it is.
QSize NakTabBar::minimumTabSizeHint(int) const
{
    return { 1, barHeight() };
}

void NakTabBar::tabLayoutChange()
{
    QTabBar::tabLayoutChange();
    showCloseButtonsThatFit();
}

// The tip of a tab is its title, which needs no second telling where all of it can be read.
bool NakTabBar::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        int const index = tabAt(static_cast<QHelpEvent*>(event)->pos());
        if (index < 0 || !isElided(index))
            return true;
    }
    return QTabBar::event(event);
}

void NakTabBar::mousePressEvent(QMouseEvent* event)
{
    int const index = tabAt(event->pos());
    if (event->button() == Qt::MiddleButton && index >= 0) {
        emit tabCloseReallyRequested(index);
        return;
    }
    QTabBar::mousePressEvent(event);
}

int NakTabBar::barHeight() const
{
    return 2 * fontMetrics().height();
}

bool NakTabBar::isElided(int index) const
{
    QStyleOptionTab option;
    initStyleOption(&option, index);
    return option.text != tabText(index);
}

void NakTabBar::showCloseButtonsThatFit()
{
    for (int i = 0; i < count(); ++i) {
        if (QWidget* button = tabButton(i, QTabBar::RightSide))
            button->setVisible(
                NakwireStyle::tabShowsClose(tabRect(i).width(), i == currentIndex()));
    }
}
