// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"
#include "dis_buff_items.h"
#include "dis_store.h"
#include "nak_sql.h"

#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

constexpr qint64 timeZero = FlakeId::discordEpochMSecs;
FlakeId const channel(7);
FlakeId const otherChannel(8);

// The id of the message at that millisecond after the epoch.
FlakeId at(qint64 msecs)
{
    return FlakeId(static_cast<quint64>(msecs) << 22);
}

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

    void add(qint64 msecs, quint64 author, FlakeId inChannel = channel)
    {
        NakStmt stmt(db,
                     "insert into message (id, channel_id, author_id, type) values (?, ?, ?, 0)");
        stmt.bind(1, at(msecs));
        stmt.bind(2, inChannel);
        stmt.bind(3, FlakeId(author));
        stmt.step();
    }

    void addPending(quint64 nonce, quint64 author, qint64 msecs, FlakeId inChannel = channel)
    {
        pending.insert(FlakeId(nonce), { inChannel, FlakeId(author), QString(), timeZero + msecs });
    }

    // "100" for the message at 100 ms, "p5" for the pending message 5, "-" for none.
    static QString name(DisBuffItem const& item)
    {
        if (!item.isValid()) {
            return QStringLiteral("-");
        }
        return item.isPending() ? QStringLiteral("p%1").arg(item.id.value())
                                : QString::number(item.id.value() >> 22);
    }

    // All spans from the newest to the oldest as the view asks for them.
    QString spansUpwards()
    {
        QStringList spans;
        for (DisBuffSpan span = items->newestSpan(); span.isValid();
             span = items->findAdjacentSpans(span).earlier) {
            spans.append(name(span.first) + QLatin1Char('~') + name(span.last));
        }
        return spans.join(QLatin1Char(' '));
    }

    QString spansDownwards()
    {
        QStringList spans;
        for (DisBuffSpan span = items->oldestSpan(); span.isValid();
             span = items->findAdjacentSpans(span).later) {
            spans.append(name(span.first) + QLatin1Char('~') + name(span.last));
        }
        return spans.join(QLatin1Char(' '));
    }

    QTemporaryDir dir;
    sqlite3* db;
    DisBuffReads reads;
    QMap<FlakeId, DisPendingMsg> pending;
    QSet<FlakeId> muted;
    std::unique_ptr<DisBuffItems> items;
};

TEST_F(BuffItems, EmptyChannelHasNothing)
{
    add(5, 1, otherChannel);
    EXPECT_FALSE(items->oldestItem().isValid());
    EXPECT_FALSE(items->newestItem().isValid());
    EXPECT_FALSE(items->newestSpan().isValid());
    EXPECT_FALSE(items->nearingEndMessageId().isValid());
    EXPECT_FALSE(items->oldestStoredMessageId().isValid());
}

TEST_F(BuffItems, GapDecidesToTheMillisecond)
{
    add(1000, 1);
    add(1000 + 179999, 1);
    add(1000 + 179999 + 180000, 1);
    EXPECT_EQ(spansUpwards(), QStringLiteral("360999~360999 1000~180999"));
    EXPECT_EQ(spansDownwards(), QStringLiteral("1000~180999 360999~360999"));
}

TEST_F(BuffItems, SpanMayLastLongerThanTheGap)
{
    add(0, 1);
    add(150000, 1);
    add(300000, 1);
    EXPECT_EQ(spansUpwards(), QStringLiteral("0~300000"));
}

TEST_F(BuffItems, EndlessSpansAreCutAtTheSamePlacesFromBothSides)
{
    for (int i = 0; i < 64; ++i) {
        add(1000 * i, 1);
    }
    EXPECT_EQ(spansUpwards(), QStringLiteral("0~63000")) << "a long one is whole";
    for (int i = 64; i < 3000; ++i) {
        add(1000 * i, 1);
    }
    items->invalidate();
    QStringList up = spansUpwards().split(QLatin1Char(' '));
    std::reverse(up.begin(), up.end());
    items->invalidate();
    QStringList const down = spansDownwards().split(QLatin1Char(' '));
    EXPECT_EQ(up, down);
    int next = 0;
    for (QString const& span : down) {
        int const first = span.section(QLatin1Char('~'), 0, 0).toInt() / 1000;
        int const last = span.section(QLatin1Char('~'), 1, 1).toInt() / 1000;
        EXPECT_EQ(first, next);
        EXPECT_LT(last - first, 300);
        next = last + 1;
        for (int i = first; i <= last; i += 7) {
            DisBuffSpan const found =
                items->findSpanContainingItem(DisBuffItem::confirmed(at(1000 * i), FlakeId(1)));
            EXPECT_EQ(name(found.first) + QLatin1Char('~') + name(found.last), span);
        }
    }
    EXPECT_EQ(next, 3000);
    EXPECT_GT(down.size(), 20);
}

TEST_F(BuffItems, AuthorsAndChannelsSplit)
{
    add(1, 1);
    add(2, 1);
    add(3, 2);
    add(4, 1, otherChannel);
    add(5, 1);
    EXPECT_EQ(spansUpwards(), QStringLiteral("5~5 3~3 1~2"));
}

TEST_F(BuffItems, MutedAuthorsDoNotExist)
{
    add(1, 9);
    add(2, 1);
    add(3, 9);
    add(4, 1);
    add(5, 9);
    muted.insert(FlakeId(9));
    EXPECT_EQ(spansUpwards(), QStringLiteral("2~4"));
    EXPECT_EQ(name(items->oldestItem()), QStringLiteral("2"));
    EXPECT_EQ(name(items->newestItem()), QStringLiteral("4"));
    // History goes on from what the store really has.
    EXPECT_EQ(items->oldestStoredMessageId(), at(1));
}

TEST_F(BuffItems, AllMutedLeavesOnlyPending)
{
    add(1, 9);
    muted.insert(FlakeId(9));
    EXPECT_FALSE(items->newestItem().isValid());
    addPending(70, 1, 10);
    items->invalidate();
    EXPECT_EQ(spansUpwards(), QStringLiteral("p70~p70"));
    EXPECT_EQ(name(items->oldestItem()), QStringLiteral("p70"));
}

TEST_F(BuffItems, PendingFollowAllConfirmedInTheOrderOfTheirIds)
{
    add(100, 1);
    add(200, 2);
    addPending(50, 1, 300); // an id below those of the store
    addPending(40, 3, 400);
    addPending(45, 1, 500, otherChannel);
    EXPECT_EQ(spansUpwards(), QStringLiteral("p50~p50 p40~p40 200~200 100~100"));
    EXPECT_EQ(spansDownwards(), QStringLiteral("100~100 200~200 p40~p40 p50~p50"));
}

TEST_F(BuffItems, PendingAndConfirmedShareASpan)
{
    add(100, 1);
    addPending(50, 1, 150);
    EXPECT_EQ(spansUpwards(), QStringLiteral("100~p50"));
    EXPECT_EQ(items->newestItem().timestamp, timeZero + 150);
}

TEST_F(BuffItems, PendingWithoutRecordHasNoNeighbours)
{
    add(100, 1);
    DisBuffItem const gone{ FlakeId(50), FlakeId(1), timeZero, DisBuffItem::Pending };
    EXPECT_FALSE(items->findAdjacentItems(gone).earlier.isValid());
    EXPECT_FALSE(items->findAdjacentItems(gone).later.isValid());
    EXPECT_FALSE(items->exists(gone));
}

TEST_F(BuffItems, ExistsKnowsWhatIsThere)
{
    add(100, 1);
    add(200, 2);
    EXPECT_TRUE(items->exists(DisBuffItem::confirmed(at(100), FlakeId(1))));
    EXPECT_FALSE(items->exists(DisBuffItem::confirmed(at(150), FlakeId(1))));
    muted.insert(FlakeId(2));
    EXPECT_FALSE(items->exists(DisBuffItem::confirmed(at(200), FlakeId(2))));
}

TEST_F(BuffItems, NearEndIsTheFiftyFirstOrTheNewest)
{
    for (int i = 1; i <= 50; ++i) {
        add(i, 1);
    }
    EXPECT_EQ(items->nearingEndMessageId(), at(50));
    add(51, 1);
    items->invalidate();
    EXPECT_EQ(items->nearingEndMessageId(), at(51));
    add(52, 1);
    items->invalidate();
    EXPECT_EQ(items->nearingEndMessageId(), at(51));
}

TEST_F(BuffItems, RepeatedQuestionsDoNotRead)
{
    for (int i = 1; i <= 20; ++i) {
        add(i * 200000, 1);
    }
    QString const first = spansUpwards();
    quint64 const before = reads.readCount();
    EXPECT_EQ(spansUpwards(), first);
    EXPECT_EQ(reads.readCount(), before);
}

TEST_F(BuffItems, ReadsOfAPassAreOneTransaction)
{
    add(1, 1);
    EXPECT_NE(sqlite3_get_autocommit(db), 0);
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

// The same sequence, kept as a list.
struct Model {
    std::vector<DisBuffItem> list;

    QString spans() const
    {
        QStringList spans;
        for (size_t begin = 0; begin < list.size();) {
            size_t end = begin;
            while (end + 1 < list.size() && list[end + 1].authorId == list[end].authorId
                   && std::abs(list[end + 1].timestamp - list[end].timestamp) < 180000) {
                ++end;
            }
            spans.append(
                QStringLiteral("%1~%2").arg(list[begin].id.value()).arg(list[end].id.value()));
            begin = end + 1;
        }
        return spans.join(QLatin1Char(' '));
    }
};

TEST_F(BuffItems, AgreesWithAListOnRandomHistories)
{
    std::mt19937 random(20260101);
    auto pick = [&random](int below) {
        return static_cast<int>(random() % static_cast<unsigned>(below));
    };
    for (int round = 0; round < 60; ++round) {
        NakStmt(db, "delete from message").step();
        pending.clear();
        muted.clear();
        if (pick(2) == 0) {
            muted.insert(FlakeId(3));
        }
        Model model;
        qint64 time = 1000;
        int const count = pick(60);
        for (int i = 0; i < count; ++i) {
            int const gaps[] = { 1, 90000, 179999, 180000, 200000 };
            time += gaps[pick(5)];
            quint64 const author = 1 + static_cast<quint64>(pick(3));
            FlakeId const where = pick(6) == 0 ? otherChannel : channel;
            add(time, author, where);
            if (where == channel && !muted.contains(FlakeId(author))) {
                model.list.push_back({ at(time), FlakeId(author), timeZero + time, 0 });
            }
        }
        for (int i = 0, n = pick(6); i < n; ++i) {
            FlakeId const where = pick(4) == 0 ? otherChannel : channel;
            quint64 const author = 1 + static_cast<quint64>(pick(2));
            addPending(10 + static_cast<quint64>(i), author, time + i, where);
            if (where == channel) {
                model.list.push_back({ FlakeId(10 + static_cast<quint64>(i)), FlakeId(author),
                                       timeZero + time + i, 1 });
            }
        }
        items->invalidate();
        QStringList down;
        for (DisBuffSpan span = items->oldestSpan(); span.isValid();
             span = items->findAdjacentSpans(span).later) {
            down.append(
                QStringLiteral("%1~%2").arg(span.first.id.value()).arg(span.last.id.value()));
        }
        ASSERT_EQ(down.join(QLatin1Char(' ')), model.spans()) << "round " << round;
        items->invalidate();
        QStringList up;
        for (DisBuffSpan span = items->newestSpan(); span.isValid();
             span = items->findAdjacentSpans(span).earlier) {
            up.prepend(
                QStringLiteral("%1~%2").arg(span.first.id.value()).arg(span.last.id.value()));
        }
        ASSERT_EQ(up.join(QLatin1Char(' ')), model.spans()) << "round " << round;
    }
}

} // namespace
