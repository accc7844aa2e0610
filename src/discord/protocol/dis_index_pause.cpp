// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_index_pause.h"

#include "nak_stmt.h"

namespace {

constexpr char indexesSql[] =
    "select name, sql from sqlite_master where type = 'index' and sql is not null and tbl_name in "
    "('user', 'guild_member', 'guild_member_role', 'role', 'guild_channel', "
    "'guild_voice_channel', 'guild_channel_category')";

// On a full disk the whole transaction is taken back, and with it what was dropped: no index may be
// missing from then on.
void exec(sqlite3* db, QByteArray const& sql)
{
    if (sqlite3_get_autocommit(db))
        return; // taken back already
    int const code = sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr);
    if (code == SQLITE_FULL || code == SQLITE_IOERR)
        sqlite3_exec(db, "rollback", nullptr, nullptr, nullptr);
    else if (code != SQLITE_OK)
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
