// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the tests of the model stand on: a client with a store of its own, and rows in it.

#include "dis_client.h"
#include "global_events.h"
#include "preferences.h"
#include "wait_until.h"

#include <QTemporaryDir>

#include <memory>

class ModelWorld {
public:
    explicit ModelWorld(QString const& apiUrl = QStringLiteral("http://127.0.0.1:1/api/v6"));
    ~ModelWorld();

    void run(char const* sql); // on the store
    void tell(DisChange::ChangeType type, FlakeId a, FlakeId b = {}, FlakeId c = {});

    QTemporaryDir dir;
    NakGlobalEvents events;
    NakPreferences preferences;
    std::unique_ptr<DisClient> client;
};
