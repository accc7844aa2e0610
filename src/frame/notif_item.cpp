// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notif_item.h"

#include "notif_manager.h"

using NakNotif::g_nakNotifManager;

NakNotifAction::NakNotifAction(QIcon const& icon, QString const& text)
    : m_icon(icon)
    , m_text(text)
{
}

NakNotifAction::NakNotifAction(QString const& text)
    : m_text(text)
{
}

NakNotifItem::NakNotifItem(QObject* parent)
    : QObject(parent)
{
}

NakNotifItem::~NakNotifItem()
{
    setEnabled(false);
}

void NakNotifItem::setEnabled(bool enabled)
{
    if (m_enabled == enabled)
        return;
    m_enabled = enabled;
    if (g_nakNotifManager)
        g_nakNotifManager->itemEnabledChanged(this);
}

void NakNotifItem::setDismissable(bool dismissable)
{
    if (m_dismissable == dismissable)
        return;
    m_dismissable = dismissable;
    if (m_enabled && g_nakNotifManager)
        emit g_nakNotifManager->itemActionsChanged(this, !dismissable, actionsCount());
}

void NakNotifItem::setActions(QVector<NakNotifAction> const& actions)
{
    if (m_actions == actions)
        return;
    int const oldCount = actionsCount();
    m_actions = actions;
    if (m_enabled && g_nakNotifManager)
        emit g_nakNotifManager->itemActionsChanged(this, m_dismissable, oldCount);
}

void NakNotifItem::clearActions()
{
    setActions({});
}

void NakNotifItem::showTrayMessage(QString const& title, QString const& text, QIcon const& icon)
{
    if (g_nakNotifManager)
        g_nakNotifManager->showTrayMessage(this, title, text, icon);
}

bool NakNotifItem::shouldCreateTrayMessages()
{
    return g_nakNotifManager && g_nakNotifManager->shouldCreateTrayMessages();
}

bool NakNotifItem::trayMessagesEnabled()
{
    return g_nakNotifManager && g_nakNotifManager->trayMessagesEnabled();
}
