// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A kept session, from its packed bytes to rows. What the rows must be was worked out from its JSON
// by a plain model that shared nothing with the client.

#include "dread_etf.h"
#include "inflated_session.h"
#include "store_fixture.h"

#include <QStringList>

namespace {

std::string expectedRows()
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/gateway/session.rows"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll().toStdString();
}

// Says how many frames were dispatches.
int replay(Store& store)
{
    int dispatched = 0;
    for (QByteArray const& frame : inflatedSession()) {
        Dread::Ctx ctx;
        auto const built =
            DreadUtils::buildFromEtf(&ctx, frame.constData(), static_cast<quint64>(frame.size()));
        EXPECT_FALSE(built.isError);
        Dread::VString name;
        Dread::VMap data;
        if (Dread::find(ctx, built.root.map, "t", &name)
            && Dread::find(ctx, built.root.map, "d", &data)) {
            store.dispatch(name, ctx, data);
            store.flushStatuses();
            ++dispatched;
        }
        Dread::destroy(&ctx);
        Erf::destroy(built.prepared);
    }
    return dispatched;
}

} // namespace

TEST(DisSessionReplay, LeavesTheRowsThatItsJsonImplies)
{
    Store store;
    EXPECT_EQ(replay(store), 174);
    auto const rows = store.dump();
    EXPECT_EQ(lineDifference(expectedRows(), rows), "");

    // A second time over, live reactions are counted again, and nothing else changes.
    replay(store);
    auto const difference = QString::fromStdString(lineDifference(rows, store.dump()));
    for (auto const& line : difference.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        EXPECT_TRUE(line.contains(QLatin1String("reaction_count"))) << line.toStdString();
}
