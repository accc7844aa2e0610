// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The manager of the accounts, with a client and a stage that this may connect to.

#include "dis_manager.h"
#include "model_fixture.h"
#include "stage.h"

#include <gtest/gtest.h>

class ManagerTest : public testing::Test {
protected:
    using TokenState = DisStoredAccount::AuthTokenState;

    explicit ManagerTest(stage::StageOptions const& options = {})
        : service(options)
        , model(service.apiUrl())
    {
        restart();
    }
    ~ManagerTest() override
    {
        manager.reset();
        g_disManager = nullptr;
    }

    void restart()
    {
        manager.reset();
        manager = std::make_unique<DisManager>(path, nullptr);
        g_disManager = manager.get();
    }
    // True once the token is accepted.
    bool signIn(DisStoredAccount* account)
    {
        manager->connectWithAccount(account);
        return waitUntil([=] { return account->authTokenState == TokenState::Accepted; });
    }
    bool waitForNoSession()
    {
        return waitUntil([this] { return model.client->sessions().isEmpty(); });
    }

    bool waitForRequest(char const* method, QString const& requestPath)
    {
        return waitUntil([&] { return !service.requests(method, requestPath).isEmpty(); });
    }

    stage::Stage service;
    ModelWorld model;
    DisClient& client = *model.client;
    QString const path = model.dir.filePath(QStringLiteral("nakwire_accounts.bin"));
    std::unique_ptr<DisManager> manager;
};
