// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_model.h"

#include "global_events.h"
#include "settings_file.h"

#include <QScopedValueRollback>

NakSettingsModel::NakSettingsModel(QObject* parent)
    : QObject(parent)
    , m_original(std::make_unique<NakPreferences>(*g_preferences))
    , m_working(std::make_unique<NakPreferences>(*g_preferences))
    , m_originalProxy(NakSettings::tryReadProxySettings(NakSettingsFile()))
{
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            &NakSettingsModel::takeOver);
}

NakSettingsModel::~NakSettingsModel() = default;

void NakSettingsModel::apply()
{
    *g_preferences = *m_working;
    g_preferences->saveToSettingsFile();
    putInForce(*m_working);
}

void NakSettingsModel::revert()
{
    *g_preferences = *m_original;
    g_preferences->saveToSettingsFile();
    restoreProxy();
    putInForce(*m_original);
}

void NakSettingsModel::putInForce(NakPreferences const& preferences)
{
    QScopedValueRollback<bool> const own(m_isOwnChange, true);
    *g_preferences = preferences;
    emit g_globalEvents->preferencesChanged();
}

// Whoever saves while the proxy is switched off erases it, and Apply may have written another: the
// next start would go round it.
void NakSettingsModel::restoreProxy()
{
    NakSettingsFile settings;
    if (NakSettings::tryReadProxySettings(settings) != m_originalProxy)
        NakSettings::tryWriteProxySettings(settings, m_originalProxy);
}

// A menu's check mark, the width of a list: else the next change here would undo it.
void NakSettingsModel::takeOver()
{
    if (m_isOwnChange)
        return;
    *m_working = *g_preferences;
    emit replaced();
}
