// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "model_fixture.h"

#include "deployment.h"
#include "dis_cache.h"
#include "notif_manager.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

ModelWorld::ModelWorld(QString const& apiUrl)
{
    NakDeployment deployment;
    deployment.discordApiUrl = apiUrl;
    deployment.programProjectUrl = QStringLiteral("https://project.invalid");
    g_globalEvents = &events;
    g_preferences = &preferences;
    NakNotif::createGlobalData();
    client =
        std::make_unique<DisClient>(DisClientConstants::fromDeployment(deployment),
                                    dir.filePath(QStringLiteral("discord_client.nakdb")), nullptr);
    g_disClient = client.get();
    DisSessionTimings timings;
    timings.reconnectFirst = 20;
    timings.historyPause = 20;
    client->setSessionTimings(timings);
    DisCache::createGlobalData();
}

ModelWorld::~ModelWorld()
{
    DisCache::destroyGlobalData();
    client.reset();
    g_disClient = nullptr;
    NakNotif::destroyGlobalData();
    g_preferences = nullptr;
    g_globalEvents = nullptr;
}

void ModelWorld::run(char const* sql)
{
    char* error = nullptr;
    sqlite3_exec(client->db(), sql, nullptr, nullptr, &error);
    EXPECT_EQ(error, nullptr) << error << " in " << sql;
    sqlite3_free(error);
}

void ModelWorld::tell(DisChange::ChangeType type, FlakeId a, FlakeId b, FlakeId c)
{
    DisChanges changes;
    changes.add(type, a, b, c);
    client->postLocalChanges(changes);
}
