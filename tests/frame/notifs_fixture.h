// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The globals of notifications, and notifications that tell what happens to them.

#include "global_events.h"
#include "gui_icons.h"
#include "notif_manager.h"
#include "preferences.h"
#include "text_notif.h"

#include <gtest/gtest.h>

#include <memory>

class NotifsTest : public testing::Test {
protected:
    NotifsTest()
    {
        g_globalEvents = &m_events;
        g_preferences = &m_preferences;
        g_guiIcons = &m_icons;
        NakNotif::createGlobalData();
    }
    ~NotifsTest() override
    {
        NakNotif::destroyGlobalData();
        g_guiIcons = nullptr;
        g_preferences = nullptr;
        g_globalEvents = nullptr;
    }

    template <typename T> void tell(char const* text, T const& value)
    {
        m_told += QString::fromLatin1(text).arg(value) + u';';
    }
    std::string takeTold() { return std::exchange(m_told, QString()).toStdString(); }

    std::unique_ptr<NakTextNotif> make(char const* name, int actions = 0)
    {
        auto notif = std::make_unique<NakTextNotif>();
        notif->item()->setObjectName(QLatin1String(name));
        notif->setText(QLatin1String(name));
        notif->setActions(
            QVector<NakNotifAction>(actions, NakNotifAction(QStringLiteral("Action"))));
        QObject::connect(notif.get(), &NakTextNotif::dismissed,
                         [this, name] { tell("dismissed %1", QLatin1String(name)); });
        QObject::connect(notif.get(), &NakTextNotif::actionTriggered,
                         [this, name](int index, QObject*) {
                             tell("action %1", QLatin1String(name) + QString::number(index));
                         });
        return notif;
    }

    NakGlobalEvents m_events;
    NakPreferences m_preferences;
    NakGuiIcons m_icons;
    QString m_told;
};
