// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_store.h"
#include "nak_sql.h"
#include "store_fixture.h"

#include <QFile>

#include <gtest/gtest.h>

TEST(DisStore, NewStoreIsEmptyAndOldFilesAreDiscarded)
{
    QTemporaryDir directory;
    QString const path = directory.filePath(QStringLiteral("old.nakdb"));
    for (auto const& suffix : { QString(), QStringLiteral("-wal"), QStringLiteral("-shm") }) {
        QFile file(path + suffix);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("not a database at all, but long enough to be taken for one by its size");
    }
    NakSql::closeDb(createDisStore(path));

    Store store;
    EXPECT_EQ(store.dump(), "");
    EXPECT_EQ(store.rows("pragma journal_mode"), "'wal'\n");
    EXPECT_EQ(store.rows("pragma synchronous"), "0\n");
}

TEST(DisStore, FurtherConnectionSeesRowsAndNeverWaitsForTheDisk)
{
    Store store;
    store.exec("insert into local_user (id) values (7)");
    sqlite3* other = openDisStore(store.path);
    DisDbPrepared prepared;
    initializeDbPrepStmts(prepared, other);
    prepared.ensureUserExists(FlakeId(9));
    finalizeDbPrepStmts(prepared);
    NakSql::closeDb(other);
    EXPECT_EQ(store.dump(),
              "local_user: 7\n"
              "user: 9|''|''|''|0|0|null|1|null|null\n");
}

TEST(DisStore, ClearingTakesAllRowsAndLeavesTheTables)
{
    Store store;
    store.exec("insert into local_user (id) values (7)");
    store.exec("insert into message (id, type) values (1, 0)");
    auto const tables = store.rows("select name from sqlite_master order by name");
    clearDisStore(store.db);
    EXPECT_EQ(store.dump(), "");
    EXPECT_EQ(store.rows("select name from sqlite_master order by name"), tables);
}

TEST(DisStore, ReadStatementsCompile)
{
    Store store;
    DisCache::createGlobalData(store.db);
    EXPECT_EQ(DisCache::userName(FlakeId(1)), QString());
    DisCache::destroyGlobalData();
}
