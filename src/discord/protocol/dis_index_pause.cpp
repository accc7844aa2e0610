// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_index_pause.h"

#include "nak_stmt.h"

namespace {

constexpr char indexesSql[] =
    "select name, sql from sqlite_master where type = 'index' and sql is not null and tbl_name in "
    "('user', 'guild_member', 'guild_member_role', 'role', 'guild_channel', "
    "'guild_voice_channel', 'guild_channel_category')";

void exec(sqlite3* db, QByteArray const& sql)
{
    int const code = sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        NakSql::exitWithFatalDatabaseError(db, code);
}

} // namespace

DisIndexPause::DisIndexPause(sqlite3* db)
    : m_db(db)
{
    QVector<QByteArray> names;
    {
        NakStmt indexes(db, indexesSql);
        while (indexes.step()) {
            names.append(indexes.colTextByteArray(0));
            m_creates.append(indexes.colTextByteArray(1));
        }
    }
    for (auto const& name : names)
        exec(m_db, "drop index " + name);
}

DisIndexPause::~DisIndexPause()
{
    for (auto const& sql : m_creates)
        exec(m_db, sql);
}
