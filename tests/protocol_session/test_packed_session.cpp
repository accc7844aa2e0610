// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The whole session of the test data through a real web socket leaves the rows that it leaves when
// its frames are handled directly.

#include "dis_db_prepared.h"
#include "dis_events.h"
#include "dis_store.h"
#include "dread_etf.h"
#include "gateway_inflater.h"
#include "nak_sql.h"
#include "nak_stmt.h"
#include "session_fixture.h"

#include <QFile>
#include <QtEndian>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>

namespace {

QVector<QByteArray> packedMessages()
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/gateway/session.zstream"));
    QVector<QByteArray> messages;
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QByteArray const bytes = file.readAll();
    for (int at = 0; at + 4 <= bytes.size();) {
        int const size = static_cast<int>(qFromBigEndian<quint32>(bytes.constData() + at));
        messages.append(bytes.mid(at + 4, size));
        at += 4 + size;
    }
    return messages;
}

// Every row of every table as a line of text, in a fixed order.
QByteArray dump(sqlite3* db)
{
    QByteArray out;
    NakStmt tables(db, "select name from sqlite_master where type = 'table' order by name");
    while (tables.step()) {
        QByteArray const table = tables.colTextByteArray(0);
        QVector<QByteArray> rows;
        NakStmt content(db, ("select * from " + table).constData());
        NakStmt columns(db,
                        ("select count(*) from pragma_table_info('" + table + "')").constData());
        columns.step();
        while (content.step()) {
            QByteArray row = table;
            for (int i = 0; i < columns.colInt(0); ++i)
                row += '|'
                    + (content.colIsNotNull(i) ? '=' + content.colTextByteArray(i)
                                               : QByteArray("null"));
            rows.append(row);
        }
        std::sort(rows.begin(), rows.end());
        for (QByteArray const& row : qAsConst(rows))
            out += row + '\n';
    }
    return out;
}

QByteArray rowsOfDirectHandling(QVector<QByteArray> const& messages)
{
    QTemporaryDir dir;
    sqlite3* const db = createDisStore(dir.filePath(QStringLiteral("direct.nakdb")));
    DisDbPrepared prepared;
    initializeDbPrepStmts(prepared, db);
    DisClientImpl::DisEventState state;
    DisGatewayInflater inflater(64 << 20);
    for (QByteArray const& message : messages) {
        auto const frame =
            inflater.inflateMessage(message.constData(), static_cast<quint32>(message.size()));
        Dread::Ctx ctx;
        auto const built = DreadUtils::buildFromEtf(&ctx, frame.data, frame.size);
        Dread::VString name;
        Dread::VMap data;
        if (Dread::find(ctx, built.root.map, "t", &name)
            && Dread::find(ctx, built.root.map, "d", &data))
            (void)DisClientImpl::processDispatch(state, prepared, ctx, name, data);
        Erf::destroy(built.prepared);
        Dread::destroy(&ctx);
        inflater.release();
    }
    (void)DisClientImpl::flushBatchedStatuses(state, prepared);
    QByteArray const rows = dump(db);
    finalizeDbPrepStmts(prepared);
    NakSql::closeDb(db);
    return rows;
}

} // namespace

TEST(PackedSession, SocketAndDirectHandlingLeaveTheSameRows)
{
    QVector<QByteArray> const messages = packedMessages();
    ASSERT_EQ(messages.size(), 176);
    QByteArray const expected = rowsOfDirectHandling(messages);
    ASSERT_GT(expected.count('\n'), 500);

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
    for (QByteArray const& message : messages)
        gateway.sendBytes(message);
    ASSERT_TRUE(waitUntil([&] { return batchWritten; }));
    ASSERT_TRUE(waitUntil([&] { return dump(test.client->db()) == expected; }));
    EXPECT_EQ(dump(test.client->db()), expected);
}
