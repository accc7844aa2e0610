// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The whole session of the test data through a real web socket leaves the rows that it leaves when
// its frames are handled directly.

#include "dread_etf.h"
#include "inflated_session.h"
#include "session_fixture.h"
#include "store_fixture.h"

namespace {

std::string rowsOfDirectHandling()
{
    Store store;
    for (QByteArray const& frame : inflatedSession()) {
        Dread::Ctx ctx;
        auto const built =
            DreadUtils::buildFromEtf(&ctx, frame.constData(), static_cast<size_t>(frame.size()));
        Dread::VString name;
        Dread::VMap data;
        if (Dread::find(ctx, built.root.map, "t", &name)
            && Dread::find(ctx, built.root.map, "d", &data))
            (void)store.dispatch(name, ctx, data);
        Erf::destroy(built.prepared);
        Dread::destroy(&ctx);
    }
    (void)DisClientImpl::flushBatchedStatuses(store.state, store.prepared);
    return store.dump();
}

} // namespace

TEST(PackedSession, SocketAndDirectHandlingLeaveTheSameRows)
{
    std::string const expected = rowsOfDirectHandling();
    ASSERT_GT(std::count(expected.begin(), expected.end(), '\n'), 500);

    BareGateway gateway;
    // The batch must be written once, at the end, as it is above.
    DisSessionTimings timings = quickTimings();
    timings.statusBatch = 300;
    TestClient test(QStringLiteral("http://127.0.0.1:1/api/v6"), timings);
    bool batchWritten = false;
    QObject::connect(test.client.get(), &DisClient::disChanges, [&](DisChanges const& changes) {
        batchWritten |=
            changes.has(DisChange::ChangeType::UserStatusChanged) && !changes.isReload();
    });
    test.connectTo(gateway.url());
    ASSERT_TRUE(gateway.waitForConnection());
    for (QByteArray const& message : packedSession())
        gateway.sendBytes(message);
    ASSERT_TRUE(waitUntil([&] { return batchWritten; }));
    waitUntil([&] { return Store::dump(test.client->db()) == expected; });
    EXPECT_EQ(Store::dump(test.client->db()), expected);
}
