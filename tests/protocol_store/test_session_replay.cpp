// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A kept session, from its packed bytes to rows, against what a plain model makes of its JSON.

#include "dread_etf.h"
#include "gateway_inflater.h"
#include "session_model.h"
#include "store_fixture.h"

#include <QFile>
#include <QJsonDocument>
#include <QtEndian>

#include <gtest/gtest.h>

namespace {

QByteArray dataFile(char const* name)
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/gateway/") + QLatin1String(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

QList<QByteArray> jsonFrames()
{
    auto lines = dataFile("session.jsonl").split('\n');
    lines.removeAll(QByteArray());
    return lines;
}

std::string expectedRows()
{
    SessionModel model;
    for (auto const& line : jsonFrames()) {
        auto const frame = QJsonDocument::fromJson(line).object();
        model.dispatch(frame[QLatin1String("t")].toString(), frame[QLatin1String("d")].toObject());
    }
    return model.dump();
}

// The order of an embed's keys is that of its encoding; here they are sorted.
std::string canonicalDump(Store const& store)
{
    QString const prefix = QStringLiteral("message_rich_embed: ");
    auto lines = QString::fromStdString(store.dump()).split(QLatin1Char('\n'));
    for (auto& line : lines) {
        if (!line.startsWith(prefix))
            continue;
        int const start = line.indexOf(QLatin1Char('\''));
        auto const json = line.mid(start + 1, line.size() - start - 2).toUtf8();
        auto const sorted = QJsonDocument::fromJson(json).toJson(QJsonDocument::Compact);
        line = line.left(start + 1) + QString::fromUtf8(sorted) + QLatin1Char('\'');
    }
    return lines.join(QLatin1Char('\n')).toStdString();
}

// True if it was a dispatch.
bool dispatchFrame(Store& store, Dread::Ctx const& ctx, Dread::Val const& root)
{
    Dread::VString name;
    Dread::VMap data;
    if (!Dread::find(ctx, root.map, "t", &name) || !Dread::find(ctx, root.map, "d", &data))
        return false;
    (void)store.dispatch(name, ctx, data);
    (void)DisClientImpl::flushBatchedStatuses(store.state, store.prepared);
    return true;
}

int replayPacked(Store& store)
{
    QByteArray const stream = dataFile("session.zstream");
    DisGatewayInflater inflater(64U << 20);
    int dispatched = 0;
    for (int at = 0; at + 4 <= stream.size();) {
        auto const length = qFromBigEndian<quint32>(stream.constData() + at);
        auto const frame = inflater.inflateMessage(stream.constData() + at + 4, length);
        EXPECT_EQ(frame.status, DisGatewayInflater::Status::Frame);
        Dread::Ctx ctx;
        auto const built = DreadUtils::buildFromEtf(&ctx, frame.data, frame.size);
        EXPECT_FALSE(built.isError);
        dispatched += dispatchFrame(store, ctx, built.root) ? 1 : 0;
        Dread::destroy(&ctx);
        Erf::destroy(built.prepared);
        inflater.release();
        at += 4 + static_cast<int>(length);
    }
    return dispatched;
}

} // namespace

TEST(DisSessionReplay, PackedSessionLeavesTheRowsThatItsJsonImplies)
{
    auto const expected = expectedRows();
    Store store;
    EXPECT_EQ(replayPacked(store), 174);
    EXPECT_EQ(lineDifference(expected, canonicalDump(store)), "");
    EXPECT_GT(std::count(expected.begin(), expected.end(), '\n'), 1000);
}

TEST(DisSessionReplay, JsonSessionLeavesTheSameRows)
{
    Store store;
    for (auto const& line : jsonFrames())
        withJson(line, [&](Dread::Ctx const& ctx, Dread::Val const& root) {
            dispatchFrame(store, ctx, root);
        });
    EXPECT_EQ(lineDifference(expectedRows(), canonicalDump(store)), "");
}

TEST(DisSessionReplay, SecondTimeOverChangesOnlyWhatCounts)
{
    Store store;
    replayPacked(store);
    auto const once = store.dump();
    replayPacked(store);
    auto const difference = lineDifference(once, store.dump());
    // Live reactions are counted each time that they are told.
    for (auto const& line : QString::fromStdString(difference).split(QLatin1Char('\n'))) {
        EXPECT_TRUE(line.isEmpty() || line.contains(QLatin1String("reaction_count")))
            << line.toStdString();
    }
}
