// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench_store.h"

#include "dis_store.h"
#include "nak_sql.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace Bench {

void stop(char const* why)
{
    fprintf(stderr, "bench: %s\n", why);
    exit(1);
}

Decoded::Decoded(QByteArray const& frame)
    : built(DreadUtils::buildFromEtf(&ctx, frame.constData(), static_cast<quint64>(frame.size())))
{
    if (built.isError)
        stop("the frame does not decode");
}

Decoded::~Decoded()
{
    Dread::destroy(&ctx);
    Erf::destroy(built.prepared);
}

Dread::VMap Decoded::data() const
{
    return map(ctx, built.root.map, "d");
}

FreshStore::FreshStore()
    : db(createDisStore(directory.filePath(QStringLiteral("store.nakdb"))))
{
    initializeDbPrepStmts(prepared, db);
}

FreshStore::~FreshStore()
{
    finalizeDbPrepStmts(prepared);
    NakSql::closeDb(db);
}

std::string dump(sqlite3* db)
{
    std::vector<std::string> lines;
    auto const query = [&](std::string const& sql, auto&& row) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
            stop(sqlite3_errmsg(db));
        while (sqlite3_step(stmt) == SQLITE_ROW)
            row(stmt);
        sqlite3_finalize(stmt);
    };
    auto const column = [](sqlite3_stmt* stmt, int i) {
        auto const* value = reinterpret_cast<char const*>(sqlite3_column_text(stmt, i));
        return std::string(value ? value : "null");
    };
    std::vector<std::string> tables;
    query("select name from sqlite_master where type = 'table' order by name",
          [&](sqlite3_stmt* stmt) { tables.push_back(column(stmt, 0)); });
    for (auto const& table : tables) {
        query("select * from " + table, [&](sqlite3_stmt* stmt) {
            std::string line = table;
            for (int i = 0; i < sqlite3_column_count(stmt); ++i)
                line += '|' + column(stmt, i);
            lines.push_back(line);
        });
    }
    std::sort(lines.begin(), lines.end());
    std::string all;
    for (auto const& line : lines)
        all += line + '\n';
    return all;
}

Value number(qint64 value)
{
    return { Value::Integer, value, nullptr, 0 };
}

Value text(char const* data, quint32 length)
{
    return { Value::Text, 0, data, static_cast<int>(length) };
}

Value orEmpty(Value value)
{
    return value.kind == Value::Text ? value : text("", 0);
}

Dread::VMap map(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key)
{
    Dread::VMap value;
    Dread::find(ctx, from, key, &value);
    return value;
}

Value integer(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key)
{
    auto const* value = Dread::findVal(ctx, from, key);
    if (!value || value->tag == Dread::Tag::Nil)
        return {};
    if (value->tag == Dread::Tag::Bool)
        return number(value->boolean ? 1 : 0);
    FlakeId id;
    qint32 small = 0;
    if (Dread::find(ctx, from, key, &small))
        return number(small);
    Dread::toFlakeId(*value, &id);
    return number(static_cast<qint64>(id.value()));
}

Value string(Dread::Ctx const& ctx, Dread::VMap const& from, char const* key)
{
    Dread::VString value;
    return Dread::find(ctx, from, key, &value) ? text(value.data, value.length) : Value();
}

BareStatements::BareStatements(sqlite3* db, char const* const* texts, int count)
    : m_db(db)
{
    for (int i = 0; i < count; ++i) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, texts[i], -1, &stmt, nullptr) != SQLITE_OK)
            stop(sqlite3_errmsg(db));
        m_statements.push_back(stmt);
    }
}

BareStatements::~BareStatements()
{
    for (auto* stmt : m_statements)
        sqlite3_finalize(stmt);
}

int BareStatements::run(int which, std::vector<Value> const& values)
{
    auto* const stmt = m_statements[static_cast<size_t>(which)];
    int index = 0;
    for (auto const& value : values) {
        ++index;
        if (value.kind == Value::Integer)
            sqlite3_bind_int64(stmt, index, value.integer);
        else if (value.kind == Value::Text)
            sqlite3_bind_text(stmt, index, value.text, value.length, SQLITE_STATIC);
        else
            sqlite3_bind_null(stmt, index);
    }
    int rows = 0;
    int code = SQLITE_ROW;
    while ((code = sqlite3_step(stmt)) == SQLITE_ROW)
        ++rows;
    if (code != SQLITE_DONE)
        stop(sqlite3_errmsg(m_db));
    sqlite3_reset(stmt);
    return rows;
}

} // namespace Bench
