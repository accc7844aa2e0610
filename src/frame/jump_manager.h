// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The providers of quick jump. Services add theirs when they start and remove them before they go;
// an open view follows. User-interface thread.

#include <QObject>
#include <QVector>

class NakJumpManager : public QObject {
    Q_OBJECT
public:
    explicit NakJumpManager(QObject* parent = nullptr);
    ~NakJumpManager() override;

    // A provider is an INakJumpProvider too. Not owned. Adding it twice, or removing what was not
    // added, does nothing.
    void addJumpProvider(QObject* provider);
    void removeJumpProvider(QObject* provider);
    QVector<QObject*> const& jumpProviders() const { return m_providers; }

signals:
    void providerAdded(QObject* provider);
    void providerRemoved(QObject* provider);

private:
    QVector<QObject*> m_providers;
};

namespace NakJump {

// Set and cleared in src/app.
extern NakJumpManager* g_nakJumpManager;

} // namespace NakJump
