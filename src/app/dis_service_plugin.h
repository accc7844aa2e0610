// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Discord as a service: makes the Discord singletons, in order, and takes them down once the
// sessions have gone. User-interface thread; owned by the application, which the plugin outlives
// never.

#include "i_nak_service.h"

#include <QObject>

#include <memory>

class DisJumpProvider;

class DisServicePlugin : public QObject, public INakService {
    Q_OBJECT
    Q_INTERFACES(INakService)
public:
    explicit DisServicePlugin(QObject* parent);
    ~DisServicePlugin() override;

    void deinit() override;

    // Whether the start of the program connects an account.
    static bool anyAccountConnectsByItself();

private:
    void createGlobals();
    void destroyGlobals(); // also when some are gone
    void registerDoors();
    void finishDeinit();

    std::unique_ptr<DisJumpProvider> m_jumpProvider;
};
