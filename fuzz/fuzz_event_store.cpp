// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as the draws of which events are made: the right keys with any values under them, into
// a store that keeps what always holds of it.

#include "event_maker.h"
#include "fuzz_store.h"

namespace {

constexpr std::size_t maxInput = 4096;
constexpr int flushEvery = 4;

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
