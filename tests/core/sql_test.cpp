// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "files.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

namespace {

class Sql : public testing::Test {
protected:
    QString path() const { return m_directory.filePath(QStringLiteral("k\u00fc.db")); }

    // "version 3: 5,6", or the error that the table's rows cannot be read.
    static std::string contents(sqlite3* db)
    {
        NakStmt version(db, "pragma user_version");
        version.step();
        std::string out = "version " + std::to_string(version.colInt(0)) + ":";
        int code = 0;
        NakStmt rows(db, "select group_concat(a) from t", &code);
        if (code != SQLITE_OK || !rows.step())
            return out + " no table";
        return out + ' ' + rows.colString(0).toStdString();
    }

    static int busyTimeout(sqlite3* db)
    {
        NakStmt stmt(db, "pragma busy_timeout");
        stmt.step();
        return stmt.colInt(0);
    }

    // What is in the file after it was opened with this version; it gets one row more.
    using Open = sqlite3* (*)(QString const&, char const*, int);
    std::string openAndInsert(Open open, char const* schema, int version, int row) const
    {
        sqlite3* db = open(path(), schema, version);
        if (!db)
            return "null";
        EXPECT_EQ(busyTimeout(db), 15000);
        std::string const found = contents(db);
        QByteArray const sql = "insert into t values (" + QByteArray::number(row) + ")";
        NakStmt(db, sql.constData()).step();
        EXPECT_EQ(NakSql::lastInsertRowId(db), row);
        EXPECT_EQ(NakSql::closeDb(db), SQLITE_OK);
        return found;
    }

    QTemporaryDir m_directory;
};

constexpr char const* schema = "create table t (a integer primary key)";
constexpr char const* appendableSchema = "create table if not exists t (a integer primary key);";
constexpr char const* longerSchema = "create table if not exists t (a integer primary key);"
                                     "create table if not exists later (b)";

} // namespace

TEST_F(Sql, CacheOfAnotherVersionIsMadeAnew)
{
    Open const open = NakSql::openDbWithSchemaAndUserVersion;
    EXPECT_EQ(openAndInsert(open, schema, 3, 5), "version 3: ");
    EXPECT_EQ(openAndInsert(open, schema, 3, 6), "version 3: 5");
    EXPECT_EQ(openAndInsert(open, schema, 4, 7), "version 4: ");
    EXPECT_EQ(openAndInsert(open, schema, 2, 8), "version 2: ");
    EXPECT_EQ(openAndInsert(open, schema, 2, 9), "version 2: 8");
    for (QByteArray const& bytes : { QByteArray(), QByteArray("x"), QByteArray(10000, 'x') }) {
        writeFile(path(), bytes);
        EXPECT_EQ(openAndInsert(open, schema, 3, 5), "version 3: ") << bytes.size();
    }
}

TEST_F(Sql, StoreOfAnotherVersionIsLeftAlone)
{
    Open const open = NakSql::openDbWithAppendableSchema;
    EXPECT_EQ(openAndInsert(open, appendableSchema, 3, 5), "version 3: ");
    EXPECT_EQ(openAndInsert(open, appendableSchema, 3, 6), "version 3: 5");
    QByteArray const before = fileBytes(path());
    EXPECT_EQ(openAndInsert(open, appendableSchema, 4, 7), "null");
    EXPECT_EQ(openAndInsert(open, appendableSchema, 2, 7), "null");
    EXPECT_EQ(fileBytes(path()), before);
    sqlite3* db = open(path(), longerSchema, 3); // gains a table without a new version
    EXPECT_EQ(contents(db), "version 3: 5,6");
    int code = -1;
    {
        NakStmt const later(db, "select b from later", &code);
    }
    EXPECT_EQ(code, SQLITE_OK);
    NakSql::closeDb(db);
    writeFile(path(), QByteArray(10000, 'x'));
    EXPECT_EQ(openAndInsert(open, appendableSchema, 3, 5), "null");
    EXPECT_EQ(fileBytes(path()), QByteArray(10000, 'x'));
}

TEST_F(Sql, OpenOfAnExistingFileMakesNone)
{
    struct {
        char const* what;
        std::function<sqlite3*()> open;
        bool readOnly;
    } const ways[] = {
        { "read only", [this] { return NakSql::tryOpenReadOnlyDbWithVersion(path(), 3); }, true },
        { "no mutex",
          [this] { return NakSql::openDbNoMutex(QFile::encodeName(path()).constData()); }, false },
        { "for a reader of WAL", [this] { return NakSql::tryOpenDbReadOnly(path()); }, false },
    };
    for (auto const& way : ways)
        EXPECT_EQ(way.open(), nullptr) << way.what;
    EXPECT_FALSE(QFile::exists(path()));
    openAndInsert(NakSql::openDbWithSchemaAndUserVersion, schema, 3, 5);
    EXPECT_EQ(NakSql::tryOpenReadOnlyDbWithVersion(path(), 4), nullptr);
    for (auto const& way : ways) {
        sqlite3* db = way.open();
        ASSERT_NE(db, nullptr) << way.what;
        EXPECT_EQ(busyTimeout(db), 15000);
        EXPECT_EQ(sqlite3_db_readonly(db, "main"), way.readOnly ? 1 : 0) << way.what;
        EXPECT_EQ(contents(db), "version 3: 5");
        NakSql::closeDb(db);
    }
}

TEST_F(Sql, CloseWithALivingStatement)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(NakSql::openDb(":memory:", &db), SQLITE_OK);
    NakStmt stmt(db, "select 1");
    ASSERT_TRUE(stmt.step());
    EXPECT_EQ(NakSql::closeDb(db), SQLITE_BUSY);
    EXPECT_EQ(stmt.colInt(0), 1); // and the leak check sees that the connection goes with it
}
