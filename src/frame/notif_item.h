// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A notification, which service code makes and keeps. Fill it in first, then setEnabled(true)
// publishes it: it is in NakNotifManager's list for as long as it is enabled. It never ends by
// itself: on dismissed() or an action its owner decides, usually by setEnabled(false) or by
// deleting it, both of which it may do from inside these signals. User-interface thread.

#include "notif_vis.h"

#include <QIcon>
#include <QString>
#include <QVector>

class NakNotifAction {
public:
    NakNotifAction() = default;
    NakNotifAction(QIcon const& icon, QString const& text);
    explicit NakNotifAction(QString const& text);

    QIcon const& icon() const { return m_icon; }
    QString const& text() const { return m_text; } // plain
    // Of the icon, as QIcon has it.
    qint64 cacheKey() const { return m_icon.cacheKey(); }

    friend bool operator==(NakNotifAction const& a, NakNotifAction const& b)
    {
        return a.cacheKey() == b.cacheKey() && a.m_text == b.m_text;
    }
    friend bool operator!=(NakNotifAction const& a, NakNotifAction const& b) { return !(a == b); }

private:
    QIcon m_icon;
    QString m_text;
};

class NakNotifItem : public QObject {
    Q_OBJECT
public:
    explicit NakNotifItem(QObject* parent = nullptr);
    ~NakNotifItem() override; // an enabled one is withdrawn first

    // A form for one list. It belongs to params.parent; a list lets go of it when the item is
    // withdrawn but deletes it later, so it must be able to outlive the item by that much.
    virtual NakNotifVis* createVis(NakNotif::VisCtorParams const& params) = 0;

    bool isEnabled() const { return m_enabled; } // starts off
    void setEnabled(bool enabled);
    // Whether the user can dismiss it; starts on.
    bool isDismissable() const { return m_dismissable; }
    void setDismissable(bool dismissable);

    QVector<NakNotifAction> const& actions() const { return m_actions; }
    int actionsCount() const { return m_actions.size(); }
    void setActions(QVector<NakNotifAction> const& actions);
    void clearActions();

    // A message that pops up from the tray icon for ten seconds. Nothing without a visible icon;
    // whether the user wants it is for the caller to ask. Plain text.
    void showTrayMessage(QString const& title, QString const& text, QIcon const& icon);
    // The user wants messages, the tray shows them, and no chat window is being looked at.
    static bool shouldCreateTrayMessages();
    // The user wants messages and the tray shows them.
    static bool trayMessagesEnabled();

signals:
    void dismissed();
    // index into actions(); sender is the list widget in which it was picked.
    void actionTriggered(int index, QObject* sender);
    void trayMessageClicked();

private:
    bool m_enabled = false;
    bool m_dismissable = true;
    QVector<NakNotifAction> m_actions;
};
