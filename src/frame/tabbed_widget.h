// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The contract between a tab and its content. User-interface thread.

#include "nav_loc.h"

#include <QAction>
#include <QIcon>
#include <QList>
#include <QRect>
#include <QtPlugin>

class QPaintEvent;
class QToolBar;
class QWidget;

enum class NakTabbedDataChangeFlag : quint32 { Text = 1, Icon = 2, Menus = 4, Place = 8, All = 15 };
Q_DECLARE_FLAGS(NakTabbedDataChangeFlags, NakTabbedDataChangeFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(NakTabbedDataChangeFlags)
Q_DECLARE_METATYPE(NakTabbedDataChangeFlags)

// A content widget derives from QWidget and this, and declares Q_INTERFACES(INakTabbedWidget). It
// also has two signals, looked up by name: tabDataChanged(NakTabbedDataChangeFlags) and
// tabStatusUpdated(QRect).
class INakTabbedWidget {
public:
    virtual ~INakTabbedWidget();

    virtual QString tabText() = 0;
    virtual QIcon tabIcon() = 0;
    // Actions for the window's menu bar; each with a menu becomes a menu of the bar.
    virtual QList<QAction*> tabMenuBarActions() { return {}; }
    virtual NakNavLoc tabNavLoc() const = 0;
    // Whether this content can move to the place without being replaced.
    virtual bool tabCanSetNavLoc(NakNavLoc const&) const { return false; }
    virtual void tabSetNavLoc(NakNavLoc const&) { }
    // The tab became the current one of its window, or stopped being it.
    virtual void tabSetStatusIsVisible(bool) { }
    virtual void tabPaintStatus(QWidget*, QPaintEvent*) { }
    virtual void tabAddToolBarItems(QToolBar*) { }
};

Q_DECLARE_INTERFACE(INakTabbedWidget, "Nakwire.INakTabbedWidget")
