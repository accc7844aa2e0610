// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_items.h"
#include "dis_store.h"
#include "nak_sql.h"

#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr qint64 timeZero = FlakeId::discordEpochMSecs;
FlakeId const channel(7);
FlakeId const otherChannel(8);

// The id of the message at that millisecond after the epoch.
FlakeId at(qint64 msecs)
{
    return FlakeId(static_cast<quint64>(msecs) << 22);
}

// A message at a millisecond, or a pending one by its nonce.
struct Entry {
    qint64 msecs = 0;
    quint64 author = 1;
    quint64 nonce = 0;
    bool elsewhere = false; // in another channel
};

class BuffItems : public testing::Test {
protected:
    BuffItems()
        : db(createDisStore(dir.filePath(QStringLiteral("store.nakdb"))))
        , reads(db)
    {
        DisBuffItemsSources sources;
        sources.db = db;
        sources.reads = &reads;
        sources.pending = &pending;
        sources.isUserMuted = [this](FlakeId user) { return muted.contains(user); };
        items = std::make_unique<DisBuffItems>(sources);
        items->setChannelId(channel);
    }
    ~BuffItems() override
    {
        items.reset();
        NakSql::closeDb(db);
    }

    void add(Entry const& entry)
    {
        FlakeId const where = entry.elsewhere ? otherChannel : channel;
        if (entry.nonce != 0) {
            pending.insert(FlakeId(entry.nonce),
                           { where, FlakeId(entry.author), QString(), timeZero + entry.msecs });
            return;
        }
        NakStmt stmt(db,
                     "insert into message (id, channel_id, author_id, type) values (?, ?, ?, 0)");
        stmt.bind(1, at(entry.msecs));
        stmt.bind(2, where);
        stmt.bind(3, FlakeId(entry.author));
        stmt.step();
    }
    // Nothing else is there afterwards.
    void set(std::vector<Entry> const& entries)
    {
        NakStmt(db, "delete from message").step();
        pending.clear();
        for (Entry const& entry : entries)
            add(entry);
        items->invalidate();
    }

    // "100" for the message at 100 ms, "p5" for the pending message 5.
    static QString name(DisBuffItem const& item)
    {
        return item.isPending() ? QStringLiteral("p%1").arg(item.id.value())
                                : QString::number(item.id.value() >> 22);
    }
    static QString name(DisBuffSpan const& span)
    {
        return name(span.first) + QLatin1Char('~') + name(span.last);
    }

    // All spans as the view asks for them, from the newest to the oldest and the other way.
    std::string spans(bool upwards)
    {
        items->invalidate();
        QStringList all;
        for (DisBuffSpan span = upwards ? items->newestSpan() : items->oldestSpan(); span.isValid();
             span = upwards ? items->findAdjacentSpans(span).earlier
                            : items->findAdjacentSpans(span).later)
            all.append(name(span));
        if (upwards)
            std::reverse(all.begin(), all.end());
        return all.join(QLatin1Char(' ')).toStdString();
    }

    QTemporaryDir dir;
    sqlite3* db;
    DisBuffReads reads;
    QMap<FlakeId, DisPendingMsg> pending;
    QSet<FlakeId> muted{ FlakeId(9) };
    std::unique_ptr<DisBuffItems> items;
};

TEST_F(BuffItems, WhatBelongsTogether)
{
    constexpr bool elsewhere = true;
    struct {
        std::vector<Entry> entries;
        char const* spans;
    } const cases[] = {
        { { { 5, 1, 0, elsewhere }, { 6, 1, 70, elsewhere } }, "" },
        // Gaps of 179,999 and 180,000 milliseconds.
        { { { 1000 }, { 180999 }, { 360999 } }, "1000~180999 360999~360999" },
        { { { 0 }, { 150000 }, { 300000 } }, "0~300000" },
        { { { 1 }, { 2 }, { 3, 2 }, { 4, 1, 0, elsewhere }, { 5 } }, "1~2 3~3 5~5" },
        { { { 1, 9 }, { 2 }, { 3, 9 }, { 4 }, { 5, 9 } }, "2~4" },
        { { { 1, 9 }, { 10, 1, 70 } }, "p70~p70" },
        { { { 100 }, { 150, 1, 50 } }, "100~p50" },
        // Pending ones by their numbers, even if these are below those of the store.
        { { { 100 }, { 200, 2 }, { 300, 1, 50 }, { 400, 3, 40 } },
          "100~100 200~200 p40~p40 p50~p50" },
    };
    for (auto const& c : cases) {
        set(c.entries);
        EXPECT_EQ(spans(true), c.spans);
        EXPECT_EQ(spans(false), c.spans);
        EXPECT_EQ(items->oldestItem().isValid(), *c.spans != 0);
        EXPECT_EQ(items->newestItem().isValid(), *c.spans != 0);
    }
}

TEST_F(BuffItems, EndlessSpansAreCutAtTheSamePlacesFromBothSides)
{
    std::vector<Entry> log;
    for (int i = 0; i < 64; ++i)
        log.push_back({ 1000 * i });
    set(log);
    EXPECT_EQ(spans(true), "0~63000") << "a long one is whole";
    for (int i = 64; i < 3000; ++i)
        log.push_back({ 1000 * i });
    set(log);
    std::string const up = spans(true);
    EXPECT_EQ(up, spans(false));
    auto const all = QString::fromStdString(up).split(QLatin1Char(' '));
    int next = 0;
    for (QString const& span : all) {
        int const first = span.section(QLatin1Char('~'), 0, 0).toInt() / 1000;
        int const last = span.section(QLatin1Char('~'), 1, 1).toInt() / 1000;
        EXPECT_EQ(first, next);
        EXPECT_LT(last - first, 300);
        next = last + 1;
        for (int i = first; i <= last; i += 7) {
            auto const item = DisBuffItem::confirmed(at(1000 * i), FlakeId(1));
            EXPECT_EQ(name(items->findSpanContainingItem(item)), span);
        }
    }
    EXPECT_EQ(next, 3000);
    EXPECT_GT(all.size(), 20);
}

TEST_F(BuffItems, NearEndIsTheFiftyFirstOrTheNewest)
{
    EXPECT_FALSE(items->nearingEndMessageId().isValid());
    for (int i = 1; i <= 52; ++i) {
        add({ i });
        items->invalidate();
        EXPECT_EQ(items->nearingEndMessageId(), at(std::min(i, 51)));
    }
}

TEST_F(BuffItems, ReadsOfAPassAreOneTransaction)
{
    set({ { 1 }, { 200001 }, { 400001 } });
    {
        DisBuffReads::Scope const outer(reads);
        EXPECT_NE(sqlite3_get_autocommit(db), 0) << "begins with the first row only";
        items->newestItem();
        EXPECT_EQ(sqlite3_get_autocommit(db), 0);
        {
            DisBuffReads::Scope const inner(reads);
            items->oldestItem();
        }
        EXPECT_EQ(sqlite3_get_autocommit(db), 0);
    }
    EXPECT_NE(sqlite3_get_autocommit(db), 0);
}

} // namespace
