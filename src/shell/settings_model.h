// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The preferences while the settings dialog is open: as they were when it opened, and a working
// copy. Every change of the copy is in force at once. User-interface thread; needs g_preferences
// and g_globalEvents.

#include "preferences.h"

#include <QNetworkProxy>
#include <QObject>

#include <memory>

class NakSettingsModel : public QObject {
    Q_OBJECT
public:
    explicit NakSettingsModel(QObject* parent);
    ~NakSettingsModel() override;

    NakPreferences const& working() const { return *m_working; }

    template <typename T> void set(T NakPreferences::*field, T const& value)
    {
        if (m_working.get()->*field == value)
            return;
        m_working.get()->*field = value;
        putInForce(*m_working);
        emit edited();
    }

    void apply(); // puts the working copy in force and into the file
    void revert(); // the same with what was when the dialog opened, the proxy's address included

signals:
    void edited(); // by set()
    void replaced(); // somebody else changed preferences, which the working copy now has too

private:
    void putInForce(NakPreferences const& preferences);
    void restoreProxy();
    void takeOver();

    std::unique_ptr<NakPreferences> const m_original;
    std::unique_ptr<NakPreferences> const m_working;
    QNetworkProxy const m_originalProxy;
    bool m_isOwnChange = false;
};
