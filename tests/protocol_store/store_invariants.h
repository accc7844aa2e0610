// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What holds of the store and of what is told, whatever events came and in whatever shape. What the
// service alone can keep true is not among it: a member of a guild that was never told of, or the
// embeds of a message that is not loaded, are rows without their owner and no fault.

#include "dis_events.h"
#include "nak_stmt.h"

#include <memory>
#include <string>

class StoreInvariants {
public:
    // Also watches the updates that come through this connection from now on. The store was made by
    // createDisStore, and its own users come from READY alone.
    explicit StoreInvariants(sqlite3* db);

    // A line each that does not hold; empty if all do.
    std::string broken();
    // Slow: the file's own order, and that no table or index is missing.
    std::string brokenFile() const;

    // The same of one event's outcome.
    static std::string broken(DisClientImpl::DisEventOutcome const& outcome);
    static std::string broken(DisChanges const& changes);

private:
    sqlite3* m_db;
    std::string m_schema;
    std::unique_ptr<NakStmt> m_questions;
};
