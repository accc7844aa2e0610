// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Opening, stamping and closing of databases, and the end of the process when one fails. Every
// database is a cache of remote state or a small local store, so trouble with it is repaired by
// throwing the file away or is fatal; callers of normal statements check for nothing.
//
// A connection belongs to the store that opened it and is used from one thread at a time. Each
// waits up to 15 seconds for a busy database.

#include <QString>

struct sqlite3;

namespace NakSql {

// --- open; path in Qt's form unless it is a char const*, which is in the file system's encoding
// ---

// For caches: a file of another version is deleted and made anew from the schema.
sqlite3* openDbWithSchemaAndUserVersion(QString const& path, char const* schema, int version);

// For what the user wants to keep: null, and the file left alone, when it has another version; a
// file without a single page counts as missing. The schema is executed every time, so that a store
// can gain tables without a new version; it must consist of statements that can run again.
sqlite3* openDbWithAppendableSchema(QString const& path, char const* schema, int version);

// Null when the file cannot be opened or has another version.
sqlite3* tryOpenReadOnlyDbWithVersion(QString const& path, int version);

int openDb(char const* path, sqlite3** out); // made if missing; the SQLite code
sqlite3* openDbNoMutex(char const* path); // null on failure; never makes the file
// Opens for writing too, in spite of the name: a reader of a WAL database must be able to write to
// its shared memory.
sqlite3* tryOpenDbReadOnly(QString const& path);

// Never fails for good: while a statement is alive, the connection goes away with its last one.
// The first SQLite code.
int closeDb(sqlite3* db);

// Gives a busy database up at once when the thread that uses the connection is asked to stop:
// whoever ends a thread waits for it.
void waitNoLongerThanThread(sqlite3* db);

// --- use ---
void beginTransaction(sqlite3* db);
int endTransaction(sqlite3* db); // the SQLite code: a full disk shows only here
qint64 lastInsertRowId(sqlite3* db);

// --- the end of the process; any thread, one box however many threads fail ---
[[noreturn]] void exitWithFatalDatabaseError(sqlite3* db, int code);
[[noreturn]] void exitWithGenericDbError(int code);
[[noreturn]] void exitWithMessage(QString const& text);
// For the application's thread while it waits for another one, in place of its event loop: a worker
// that failed stays where it is, and its message waits for this thread.
void showFailureOfWorker();

} // namespace NakSql

// The transaction of a scope: begun here, ended there.
class NakSqlTransaction {
public:
    explicit NakSqlTransaction(sqlite3* db)
        : m_db(db)
    {
        NakSql::beginTransaction(m_db);
    }
    ~NakSqlTransaction() { NakSql::endTransaction(m_db); }
    NakSqlTransaction(NakSqlTransaction const&) = delete;
    NakSqlTransaction& operator=(NakSqlTransaction const&) = delete;

private:
    sqlite3* m_db;
};
