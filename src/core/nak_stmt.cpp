// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_stmt.h"

NakStmt::NakStmt(sqlite3* db, char const* sql, int* rcOut)
{
    int const code = sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr);
    if (rcOut)
        *rcOut = code;
    else if (code != SQLITE_OK)
        NakSql::exitWithFatalDatabaseError(db, code);
}
