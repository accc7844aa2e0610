// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the benches of the store share: a store of their own, and the bare loop that is their floor:
// prepared statements, values that are at hand, and nothing else.

#include "dis_db_prepared.h"
#include "dread.h"
#include "dread_etf.h"

#include <QTemporaryDir>

#include <string>
#include <vector>

struct sqlite3_stmt;

namespace Bench {

// A decoded frame. The bytes must outlive it.
struct Decoded {
    explicit Decoded(QByteArray const& frame);
    ~Decoded();
    Decoded(Decoded const&) = delete;
    Decoded& operator=(Decoded const&) = delete;

    Dread::VMap data() const; // "d"

    Dread::Ctx ctx;
    DreadUtils::BuildResult built;
};

// A new store in a folder of its own, which go with it.
struct FreshStore {
    FreshStore();
    ~FreshStore();
    FreshStore(FreshStore const&) = delete;
    FreshStore& operator=(FreshStore const&) = delete;

    QTemporaryDir directory;
    sqlite3* db;
    DisDbPrepared prepared;
};

// All rows of all tables, sorted.
std::string dump(sqlite3* db);

// --- values and what they are read from ---

struct Value {
    enum Kind { Null, Integer, Text } kind = Null;
    qint64 integer = 0;
    char const* text = nullptr;
    int length = 0;
};

Value number(qint64 value);
Value text(char const* data, quint32 length);
Value orEmpty(Value value); // where the column is never null
Dread::VMap map(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key);
Value integer(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key); // or null
Value string(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key); // or null
template <typename Function>
void each(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key, Function function)
{
    Dread::VList list;
    Dread::find(ctx, from, key, &list);
    for (quint32 i = 0; i < list.count; ++i)
        function(Dread::listAt(ctx, list, i).map);
}

// --- the bare loop ---

// Statements by their place in a table of texts.
class BareStatements {
public:
    BareStatements(sqlite3* db, char const* const* texts, int count);
    ~BareStatements();
    BareStatements(BareStatements const&) = delete;
    BareStatements& operator=(BareStatements const&) = delete;

    // One whole execution. The number of rows that it gave.
    int run(int which, std::vector<Value> const& values);

private:
    sqlite3* m_db;
    std::vector<sqlite3_stmt*> m_statements;
};

[[noreturn]] void stop(char const* why);

} // namespace Bench
