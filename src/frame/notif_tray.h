// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The icon in the desktop's tray, its menu and its messages; the one place that knows the toolkit's
// tray. Nothing of it is made before the icon is wanted: the toolkit asks the session bus for it.
// User-interface thread; owned by NakNotifManager.

#include <QObject>

#include <memory>

class QIcon;
class QMenu;
class QSystemTrayIcon;

class NakNotifTray : public QObject {
    Q_OBJECT
public:
    NakNotifTray();
    ~NakNotifTray() override;

    void hideOrShowTrayIcon(bool wanted);
    // The icon is wanted and the desktop has a tray. A tray that comes later is taken when it
    // comes.
    bool isVisible() const;

    // For ten seconds. Plain text, cut to what fits a message. Only with a visible icon.
    void showMessage(QString const& title, QString const& text, QIcon const& icon);

signals:
    void activated(); // a click on the icon
    void messageClicked();
    void quitRequested();

private:
    void makeMenu();
    void makeIcon();

    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon; // uses the menu
    bool m_onSessionBus = false; // the icon is told of there, and stands in no window
};
