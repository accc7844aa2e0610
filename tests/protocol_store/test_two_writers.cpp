// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// One store file as two connected accounts and their readers use it: each worker writes through its
// own connection while others read. Nobody is turned away, and nobody sees half an event.

#include "dis_store.h"
#include "nak_sql.h"
#include "store_fixture.h"
#include "store_invariants.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

constexpr int eventsOfAWriter = 1'500;

// Any events, and between them messages of one channel with ids that rise over both writers.
void write(QString const& path, quint32 seed, std::atomic<int>& lastMessage)
{
    Store store(path);
    EventMaker maker(seed);
    maker.setOwnUser(seed % 2 == 0 ? "90" : "91");
    // Enough for a guild to be written without its indexes, which are made anew.
    store.dispatch("GUILD_CREATE", largeGuild("9", 2'500, "u"));
    for (int i = 0; i < eventsOfAWriter; ++i) {
        QByteArray const id = QByteArray::number(++lastMessage);
        store.dispatch("MESSAGE_CREATE",
                       R"({"channel_id": "900", "author": {"id": "5"}, "content": "text", "id": ")"
                           + id + "\"}");
        maker.make();
        store.dispatch(maker);
        if (i % 4 == 0)
            store.flushStatuses();
    }
}

qint64 number(sqlite3* db, char const* sql)
{
    NakStmt stmt(db, sql);
    return stmt.step() ? stmt.colInt64(0) : -1;
}

// The first thing that is wrong, or empty. Two statements of one transaction see one state.
std::string lookOnce(sqlite3* db, StoreInvariants& invariants, qint64* seen)
{
    NakSql::beginTransaction(db);
    qint64 const mark = number(db, "select last_message_id from guild_channel where id = 900");
    std::this_thread::yield();
    qint64 const last = number(db, "select max(id) from message where channel_id = 900");
    NakSql::endTransaction(db);
    if (mark != last)
        return "mark " + std::to_string(mark) + ", last message " + std::to_string(last);
    if (mark < *seen)
        return "an older state than before";
    *seen = mark;
    return invariants.broken();
}

void read(QString const& path, std::atomic<int>& writers, std::string* wrong, int* looks)
{
    Store const store(path);
    StoreInvariants invariants(store.db);
    qint64 seen = 0;
    while (writers > 0 && wrong->empty()) {
        *wrong = lookOnce(store.db, invariants, &seen);
        ++*looks;
    }
}

} // namespace

// No other event names the channel.
TEST(DisTwoWriters, ReadersSeeWholeEventsAndNobodyIsTurnedAway)
{
    Store store;
    store.dispatch("CHANNEL_CREATE", R"({"id": "900", "type": 0, "guild_id": "9", "name": "c"})");
    std::atomic<int> lastMessage{ 1'000'000 };
    std::atomic<int> writers{ 2 };
    std::string wrong[2];
    int looks[2] = {};
    std::vector<std::thread> threads;
    for (quint32 i = 0; i < 2; ++i) {
        threads.emplace_back([&, i] {
            write(store.path, i, lastMessage);
            --writers;
        });
        threads.emplace_back([&, i] { read(store.path, writers, &wrong[i], &looks[i]); });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong[0] + wrong[1], "");
    EXPECT_GT(looks[0] + looks[1], 10);
    EXPECT_EQ(number(store.db, "select count(*) from message where channel_id = 900"),
              2 * eventsOfAWriter);
    EXPECT_EQ(number(store.db, "select last_message_id from guild_channel where id = 900"),
              lastMessage);
    StoreInvariants invariants(store.db);
    EXPECT_EQ(invariants.broken() + invariants.brokenFile(), "");
}
