// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What targets that write to a store share.

#include "dis_db_prepared.h"
#include "dis_store.h"
#include "store_invariants.h"

#include <cstdio>
#include <cstdlib>

// A store in memory, for all inputs; each leaves it empty.
struct Store {
    DisDbPrepared prepared;
    std::unique_ptr<StoreInvariants> invariants;
    Store()
    {
        sqlite3* const db = createDisStore(QStringLiteral(":memory:"));
        initializeDbPrepStmts(prepared, db);
        invariants = std::make_unique<StoreInvariants>(db);
    }
};

// Ends the program, as a find, if anything is said to be broken.
inline void check(std::string const& broken)
{
    if (!broken.empty()) {
        fprintf(stderr, "%s\n", broken.c_str());
        abort();
    }
}
