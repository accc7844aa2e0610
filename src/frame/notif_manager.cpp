// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notif_manager.h"

#include "global_events.h"
#include "nak_go.h"
#include "notif_item.h"
#include "preferences.h"

#include <QApplication>
#include <QStyle>
#include <QTimerEvent>
#include <QWidget>

#include <algorithm>

NakNotifManager* NakNotif::g_nakNotifManager = nullptr;

void NakNotif::createGlobalData()
{
    g_nakNotifManager = new NakNotifManager;
}

void NakNotif::destroyGlobalData()
{
    delete g_nakNotifManager;
    g_nakNotifManager = nullptr;
}

NakNotifManager::NakNotifManager(QObject* parent)
    : QObject(parent)
{
    connect(&m_tray, &NakNotifTray::activated, this, &NakGo::activateAnyChatWindow);
    connect(&m_tray, &NakNotifTray::messageClicked, this, &NakNotifManager::on_trayMessageClicked);
    connect(&m_tray, &NakNotifTray::quitRequested, this, &NakNotifManager::quitRequested);
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            &NakNotifManager::on_preferencesChanged);
    connect(g_globalEvents, &NakGlobalEvents::anyAccountConnectionProblemChanged, this,
            &NakNotifManager::on_anyAccountConnectionProblemChanged);
    on_preferencesChanged();
}

NakNotifManager::~NakNotifManager() = default;

void NakNotifManager::hideTrayIcon()
{
    m_tray.hideOrShowTrayIcon(false);
}

void NakNotifManager::dismissAll()
{
    // Whoever hears of it may withdraw or delete any of them.
    QVector<QPointer<NakNotifItem>> items;
    for (NakNotifItem* item : qAsConst(m_items))
        items.append(item);
    for (auto const& item : qAsConst(items)) {
        if (item && item->isDismissable())
            emit item->dismissed();
    }
}

void NakNotifManager::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_countTimer.timerId()) {
        QObject::timerEvent(event);
        return;
    }
    m_countTimer.stop();
    emit countChanged();
}

void NakNotifManager::itemEnabledChanged(NakNotifItem* item)
{
    if (!m_countTimer.isActive())
        m_countTimer.start(0, this);
    if (item->isEnabled()) {
        m_items.append(item);
        emit itemAdded(item);
        return;
    }
    if (m_trayMessageItem == item)
        m_trayMessageItem.clear();
    m_items.removeOne(item);
    emit itemRemoved(item);
}

// --- tray ---

void NakNotifManager::on_preferencesChanged()
{
    m_tray.hideOrShowTrayIcon(g_preferences->showSystemTrayIcon);
}

bool NakNotifManager::trayMessagesEnabled() const
{
    return g_preferences->useSystemTrayMessages && m_tray.isVisible();
}

bool NakNotifManager::shouldCreateTrayMessages() const
{
    if (!trayMessagesEnabled())
        return false;
    if (QGuiApplication::applicationState() != Qt::ApplicationActive)
        return true;
    // Another window of ours may be the active one while those with conversations are put away.
    auto const windows = NakGo::chatWindows();
    return std::all_of(windows.begin(), windows.end(),
                       [](QWidget const* window) { return window->isMinimized(); });
}

void NakNotifManager::showTrayMessage(NakNotifItem* item, QString const& title, QString const& text,
                                      QIcon const& icon)
{
    if (!m_tray.isVisible())
        return;
    m_trayMessageItem = item;
    m_tray.showMessage(title, text, icon);
}

void NakNotifManager::on_trayMessageClicked()
{
    if (m_trayMessageItem)
        emit m_trayMessageItem->trayMessageClicked();
    else
        NakGo::activateAnyChatWindow();
}

void NakNotifManager::on_anyAccountConnectionProblemChanged()
{
    bool const active = QGuiApplication::applicationState() == Qt::ApplicationActive;
    if (active || !g_globalEvents->anyAccountConnectionProblem())
        return;
    auto const windows = NakGo::chatWindows();
    if (!windows.isEmpty())
        QApplication::alert(windows.first(), 0);
    showTrayMessage(nullptr, QStringLiteral("Connection Failure"),
                    QStringLiteral("Account connection lost"),
                    QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning));
}
