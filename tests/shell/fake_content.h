// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Tab content that writes down what the tabs ask of it.

#include "tabbed_widget.h"

#include <QWidget>

class FakeContent : public QWidget, public INakTabbedWidget {
    Q_OBJECT
    Q_INTERFACES(INakTabbedWidget)
public:
    FakeContent(NakNavLoc const& place, QWidget* parent);
    ~FakeContent() override;

    // All of them tell the tabs, as a real content would.
    void setTitle(QString const& title);
    void setIcon(QIcon const& icon);
    void setPlace(NakNavLoc const& place);
    void setMenus(QList<QAction*> const& menus);

    QString tabText() override { return m_title; }
    QIcon tabIcon() override { return m_icon; }
    QList<QAction*> tabMenuBarActions() override { return m_menus; }
    NakNavLoc tabNavLoc() const override { return m_place; }
    bool tabCanSetNavLoc(NakNavLoc const& place) const override;
    void tabSetNavLoc(NakNavLoc const& place) override;
    void tabSetStatusIsVisible(bool visible) override;
    void tabPaintStatus(QWidget* widget, QPaintEvent* event) override;
    void tabAddToolBarItems(QToolBar* toolBar) override;

    bool canMove = false; // to any place
    QString log;

    static int alive;

signals:
    void tabDataChanged(NakTabbedDataChangeFlags flags);
    void tabStatusUpdated(QRect const& rect);

private:
    NakNavLoc m_place;
    QString m_title;
    QIcon m_icon;
    QList<QAction*> m_menus;
};
