// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_discord_stmts.h"

namespace {

constexpr char const* statementTexts[] = {
#define NAK_SBAR_STATEMENT_TEXT(name, sql) sql,
    NAK_SBAR_STATEMENTS(NAK_SBAR_STATEMENT_TEXT)
#undef NAK_SBAR_STATEMENT_TEXT
};

} // namespace

NakSbar::DisStmts::DisStmts(sqlite3* db)
{
    for (size_t i = 0; i < m_stmts.size(); ++i)
        m_stmts[i] = std::make_unique<NakStmt>(db, statementTexts[i]);
}
