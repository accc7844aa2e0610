// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Collects the notifications that are enabled, counts them, and shows the tray icon with its menu
// and messages. Services make notifications, so it exists before them; it owns none of them. It
// needs g_globalEvents and g_preferences. User-interface thread.

#include "notif_tray.h"

#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QVector>

class NakNotifItem;
class QIcon;

class NakNotifManager : public QObject {
    Q_OBJECT
public:
    explicit NakNotifManager(QObject* parent = nullptr);
    ~NakNotifManager() override;

    // In the order in which they became enabled.
    QVector<NakNotifItem*> const& items() const { return m_items; }
    int count() const { return m_items.size(); }

    // Tells every item that can be dismissed that it was.
    void dismissAll();

    // At the begin of the quit: the icon is made of windows of the toolkit's own.
    void hideTrayIcon();

signals:
    // Once for all changes within one event.
    void countChanged();
    void itemAdded(NakNotifItem* item);
    void itemRemoved(NakNotifItem* item);
    // An enabled item is not as it was: whether it could be dismissed, and how many actions it had.
    void itemActionsChanged(NakNotifItem* item, bool wasDismissable, int oldActionsCount);
    // The tray menu's "Quit Nakwire".
    void quitRequested();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    friend class NakNotifItem; // tells what happens to it, and asks for messages

    void itemEnabledChanged(NakNotifItem* item);
    void showTrayMessage(NakNotifItem* item, QString const& title, QString const& text,
                         QIcon const& icon);
    bool shouldCreateTrayMessages() const;
    bool trayMessagesEnabled() const;

    void on_preferencesChanged();
    void on_trayMessageClicked();
    void on_anyAccountConnectionProblemChanged();

    QVector<NakNotifItem*> m_items;
    QPointer<NakNotifItem> m_trayMessageItem; // whose message was shown last
    QBasicTimer m_countTimer;
    NakNotifTray m_tray;
};

namespace NakNotif {

// Between these two calls, both made by src/app.
extern NakNotifManager* g_nakNotifManager;
void createGlobalData();
void destroyGlobalData();

} // namespace NakNotif
