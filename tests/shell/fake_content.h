// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Tab content that writes down what the tabs ask of it.

#include "tabbed_widget.h"

#include <QIcon>
#include <QPaintEvent>
#include <QToolBar>

class FakeContent : public QWidget, public INakTabbedWidget {
    Q_OBJECT
    Q_INTERFACES(INakTabbedWidget)
    using Flag = NakTabbedDataChangeFlag;

public:
    FakeContent(NakNavLoc const& place, QWidget* parent)
        : QWidget(parent)
    {
        setFocusPolicy(Qt::StrongFocus);
        become(place);
        ++alive;
    }
    ~FakeContent() override
    {
        --alive;
        emit tabDataChanged(Flag::All); // contents may speak up at the very end
    }

    // All of them tell the tabs, as a real content would.
    void setTitle(QString const& title) { change(m_title, title, Flag::Text); }
    void setIcon(QIcon const& icon) { change(m_icon, icon, Flag::Icon); }
    void setPlace(NakNavLoc const& place) { change(m_place, place, Flag::Place); }
    void setMenus(QList<QAction*> const& menus) { change(m_menus, menus, Flag::Menus); }

    QString tabText() override { return m_title; }
    QIcon tabIcon() override { return m_icon; }
    QList<QAction*> tabMenuBarActions() override { return m_menus; }
    NakNavLoc tabNavLoc() const override { return m_place; }
    bool tabCanSetNavLoc(NakNavLoc const&) const override { return canMove; }
    void tabSetNavLoc(NakNavLoc const& place) override
    {
        become(place);
        log += QStringLiteral("move;");
    }
    void tabSetStatusIsVisible(bool visible) override
    {
        log += visible ? QStringLiteral("shown;") : QStringLiteral("hidden;");
    }
    void tabPaintStatus(QWidget*, QPaintEvent* event) override
    {
        log += event->rect().isEmpty() ? QStringLiteral("paint 0;") : QStringLiteral("paint 1;");
    }
    void tabAddToolBarItems(QToolBar* toolBar) override
    {
        toolBar->addAction(QStringLiteral("of ") + m_title);
    }

    bool canMove = false; // to any place
    QString log;

    static inline int alive = 0;

signals:
    void tabDataChanged(NakTabbedDataChangeFlags flags);
    void tabStatusUpdated(QRect const& rect);

private:
    void become(NakNavLoc const& place)
    {
        m_place = place;
        m_title = QStringLiteral("tab ") + place.discordChannelId().toString();
    }
    template <typename T> void change(T& field, T const& value, Flag flag)
    {
        field = value;
        emit tabDataChanged(flag);
    }

    NakNavLoc m_place;
    QString m_title;
    QIcon m_icon;
    QList<QAction*> m_menus;
};
