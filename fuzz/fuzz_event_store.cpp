// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as the draws of which events are made: the right keys with any values under them, into
// a store that keeps what always holds of it.

#include "dis_db_prepared.h"
#include "dis_store.h"
#include "event_maker.h"
#include "store_invariants.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::size_t maxInput = 4096;
constexpr int flushEvery = 4;

void check(std::string const& broken)
{
    if (!broken.empty()) {
        fprintf(stderr, "fuzz_event_store: %s\n", broken.c_str());
        abort();
    }
}

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size > maxInput)
        return 0;
    static Store store;
    std::size_t at = 0;
    // At the end of the bytes everything is the first of its kind, and as it should be.
    EventMaker maker([&](quint32 below) { return at < size ? data[at++] % below : 0; });
    DisClientImpl::DisEventState state;
    int made = 0;
    while (at < size) {
        maker.make();
        ++made;
        if (maker.data().tag == Dread::Tag::Map)
            check(StoreInvariants::broken(DisClientImpl::processDispatch(
                state, store.prepared, maker.ctx(), maker.name(), maker.data().map)));
        if (made % flushEvery == 0)
            check(StoreInvariants::broken(
                DisClientImpl::flushBatchedStatuses(state, store.prepared)));
    }
    check(store.invariants->broken());
    clearDisStore(store.prepared.db);
    return 0;
}
