// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "kv_cache.h"
#include "ord_cache.h"

#include <QString>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

// Every key but the oldest, as recentKeys gives them.
std::string keys(NakKVCache<int, QString> const& cache, int count = -1)
{
    std::string out;
    for (int key : cache.recentKeys(count))
        out += std::to_string(key) + ' ';
    return out;
}

std::string valueOf(NakKVCache<int, QString>& cache, int key)
{
    QString const* value = cache.find(key);
    return value ? value->toStdString() : "absent";
}

QString text(int number)
{
    return QString::number(number);
}

} // namespace

TEST(KVCache, ForgetsWhatWasUsedLongestAgo)
{
    NakKVCache<int, QString> cache(3);
    for (int key : { 1, 2, 3 })
        EXPECT_EQ(*cache.insert(key, text(key)), text(key));
    EXPECT_EQ(keys(cache), "3 2 ");
    EXPECT_EQ(valueOf(cache, 1), "1"); // now the most recent
    cache.insert(4, text(4));
    EXPECT_EQ(valueOf(cache, 2), "absent");
    EXPECT_EQ(keys(cache), "4 1 ");
    EXPECT_EQ(cache.count(), 3);
}

TEST(KVCache, Costs)
{
    NakKVCache<int, QString> cache(10);
    cache.insert(1, text(1), 4);
    cache.insert(2, text(2), 4);
    cache.insert(3, text(3), 2);
    EXPECT_EQ(cache.totalCost(), 10);
    cache.insert(4, text(4), 5); // 1 and 2 have to go: 2 + 5 fit
    EXPECT_EQ(valueOf(cache, 1), "absent");
    EXPECT_EQ(valueOf(cache, 2), "absent");
    EXPECT_EQ(valueOf(cache, 3), "3");
    EXPECT_EQ(cache.totalCost(), 7);
    cache.insert(4, text(44), 1);
    EXPECT_EQ(valueOf(cache, 4), "44");
    EXPECT_EQ(cache.totalCost(), 3);
    EXPECT_NE(cache.insert(5, text(5), 10), nullptr); // as large as all
    EXPECT_EQ(cache.count(), 1);
}

TEST(KVCache, TooLargeAValueErasesTheOldOne)
{
    NakKVCache<int, QString> cache(10);
    EXPECT_EQ(cache.insert(1, text(1), 11), nullptr);
    EXPECT_EQ(valueOf(cache, 1), "absent");
    cache.insert(1, text(1), 1);
    cache.insert(2, text(2), 1);
    EXPECT_EQ(cache.insert(1, text(1), 11), nullptr);
    EXPECT_EQ(valueOf(cache, 1), "absent");
    EXPECT_EQ(valueOf(cache, 2), "2");
    EXPECT_EQ(cache.totalCost(), 1);
}

TEST(KVCache, RecentKeys)
{
    struct {
        int entries;
        int count;
        char const* keys;
    } const cases[] = {
        { 0, 5, "" },         { 1, -1, "" },         { 1, 1, "" }, { 2, -1, "2 " },
        { 2, 2, "2 " },       { 5, 1, "5 " },        { 5, 0, "" }, { 5, 4, "5 4 3 2 " },
        { 5, 9, "5 4 3 2 " }, { 5, -3, "5 4 3 2 " },
    };
    for (auto const& c : cases) {
        NakKVCache<int, QString> cache(10);
        for (int key = 1; key <= c.entries; ++key)
            cache.insert(key, text(key));
        EXPECT_EQ(keys(cache, c.count), c.keys) << c.entries << ' ' << c.count;
    }
}

TEST(KVCache, RemoveClearAndShrink)
{
    NakKVCache<int, QString> cache(5);
    for (int key = 1; key <= 5; ++key)
        cache.insert(key, text(key));
    EXPECT_TRUE(cache.remove(3)); // from the middle, the head and the tail
    EXPECT_TRUE(cache.remove(5));
    EXPECT_TRUE(cache.remove(1));
    EXPECT_FALSE(cache.remove(1));
    EXPECT_EQ(keys(cache), "4 ");
    cache.setMaxAndReserveCount(1);
    EXPECT_EQ(valueOf(cache, 2), "absent");
    EXPECT_EQ(valueOf(cache, 4), "4");
    cache.setMaxAndReserveCount(0);
    EXPECT_EQ(cache.count(), 0);
    EXPECT_EQ(cache.insert(1, text(1)), nullptr);
    cache.setMaxAndReserveCount(2);
    cache.insert(1, text(1));
    cache.clear();
    EXPECT_EQ(cache.totalCost(), 0);
    EXPECT_EQ(valueOf(cache, 1), "absent");
    EXPECT_NE(cache.insert(1, text(1)), nullptr);
}

TEST(KVCache, GoesLikeAPlainList)
{
    NakKVCache<int, QString> cache(20);
    std::vector<int> model; // the most recent first
    auto modelErase = [&](int key) {
        model.erase(std::remove(model.begin(), model.end(), key), model.end());
    };
    std::mt19937 random(1);
    for (int step = 0; step < 20000; ++step) {
        int const key = static_cast<int>(random() % 40);
        bool const known = std::count(model.begin(), model.end(), key) > 0;
        switch (random() % 16) {
        case 0: {
            auto const goes = [&](int other) { return other % 5 == key % 5; };
            cache.removeIf([&](int other, QString const&) { return goes(other); });
            model.erase(std::remove_if(model.begin(), model.end(), goes), model.end());
            break;
        }
        case 1:
        case 2:
        case 3:
            ASSERT_EQ(cache.find(key) != nullptr, known);
            if (known) {
                modelErase(key);
                model.insert(model.begin(), key);
            }
            break;
        case 4:
        case 5:
        case 6:
            ASSERT_EQ(cache.remove(key), known);
            modelErase(key);
            break;
        default:
            cache.insert(key, text(key));
            modelErase(key);
            model.insert(model.begin(), key);
            model.resize(std::min<size_t>(model.size(), 20));
        }
        QVector<int> expected;
        for (size_t i = 0; i + 1 < model.size(); ++i)
            expected.append(model[i]);
        ASSERT_EQ(cache.recentKeys(-1), expected) << step;
    }
}

TEST(HandlesList, TakesInSequenceAndGivesBackTheLastFreed)
{
    HandlesList list(3);
    EXPECT_EQ(list.tail(), HandlesList::noHandle);
    for (int expected : { 0, 1, 2, 0xFFFF, 0xFFFF })
        EXPECT_EQ(list.takeId(), expected);
    EXPECT_TRUE(list.isFull());
    list.freeId(1);
    EXPECT_FALSE(list.isFull());
    EXPECT_EQ(list.takeId(), 1);
    EXPECT_TRUE(list.isFull());
    list.freeId(0);
    list.freeId(2);
    EXPECT_EQ(list.takeId(), 2);
    EXPECT_EQ(list.takeId(), 0);
    EXPECT_EQ(list.takeId(), 0xFFFF);
}

TEST(HandlesList, FreedBeforeAllWereUsed)
{
    HandlesList list(4);
    EXPECT_EQ(list.takeId(), 0);
    EXPECT_EQ(list.takeId(), 1);
    list.freeId(0);
    for (int expected : { 0, 2, 3, 0xFFFF })
        EXPECT_EQ(list.takeId(), expected);
}

TEST(HandlesList, TailIsTheOneUsedLongestAgo)
{
    HandlesList list(3);
    for (int i = 0; i < 3; ++i)
        list.takeId();
    EXPECT_EQ(list.tail(), 0);
    list.touchId(0);
    EXPECT_EQ(list.tail(), 1);
    list.touchId(0);
    EXPECT_EQ(list.tail(), 1);
    list.touchId(2);
    list.freeId(1);
    EXPECT_EQ(list.tail(), 0);
    list.freeId(0);
    list.freeId(2);
    EXPECT_EQ(list.tail(), HandlesList::noHandle);
}

TEST(HandlesList, ClearAndCapacity)
{
    HandlesList list(3);
    list.setCapacity(2);
    EXPECT_EQ(list.takeId(), 0);
    EXPECT_EQ(list.takeId(), 1);
    list.freeId(0);
    list.clear();
    EXPECT_EQ(list.tail(), HandlesList::noHandle);
    for (int expected : { 0, 1, 0xFFFF })
        EXPECT_EQ(list.takeId(), expected);
    list.setCapacity(3);
    for (int expected : { 0, 1, 2, 0xFFFF })
        EXPECT_EQ(list.takeId(), expected);
    list.setCapacity(0);
    EXPECT_EQ(list.takeId(), 0xFFFF);
    HandlesList largest(0xFFFF);
    for (int expected = 0; expected < 0xFFFF; ++expected)
        ASSERT_EQ(largest.takeId(), expected);
    EXPECT_EQ(largest.takeId(), 0xFFFF);
}

TEST(HandlesList, GivesNoHandleTwice)
{
    HandlesList list(16);
    std::set<quint16> taken;
    std::mt19937 random(2);
    for (int step = 0; step < 20000; ++step) {
        if (random() % 2) {
            quint16 const id = list.takeId();
            ASSERT_EQ(id == HandlesList::noHandle, taken.size() == 16) << step;
            if (id != HandlesList::noHandle) {
                ASSERT_TRUE(taken.insert(id).second) << step;
            }
        } else if (!taken.empty()) {
            quint16 const id = *taken.lower_bound(static_cast<quint16>(random() % 16)
                                                  % static_cast<quint16>(*taken.rbegin() + 1));
            list.freeId(id);
            taken.erase(id);
        }
    }
}

namespace {

using Pair = std::pair<int, int>;
using PairCache = OrdCache<Pair, QString>;

std::string contents(PairCache const& cache)
{
    std::string out;
    for (auto const& entry : cache)
        out += std::to_string(entry.first.first) + '/' + std::to_string(entry.first.second) + ' ';
    return out;
}

} // namespace

TEST(OrdCache, FillsAndForgets)
{
    PairCache cache(3);
    int fills = 0;
    auto value = [&](Pair key) {
        return cache.findOrFill(key, [&] {
            ++fills;
            return QString::number(key.first * 10 + key.second);
        });
    };
    for (Pair key : { Pair(2, 1), Pair(1, 2), Pair(1, 1) })
        EXPECT_EQ(value(key), QString::number(key.first * 10 + key.second));
    EXPECT_EQ(fills, 3);
    EXPECT_EQ(value({ 2, 1 }), QStringLiteral("21"));
    EXPECT_EQ(fills, 3);
    EXPECT_EQ(value({ 3, 3 }), QStringLiteral("33")); // in place of 1/2
    EXPECT_EQ(contents(cache), "1/1 2/1 3/3 ");
    EXPECT_EQ(cache.find({ 1, 2 }), nullptr);
    EXPECT_EQ(*cache.find({ 1, 1 }), QStringLiteral("11"));
}

TEST(OrdCache, InsertReplaces)
{
    PairCache cache(2);
    EXPECT_TRUE(cache.insert({ 1, 1 }, text(1)));
    EXPECT_TRUE(cache.insert({ 1, 2 }, text(2)));
    EXPECT_TRUE(cache.insert({ 1, 1 }, text(3)));
    EXPECT_EQ(*cache.find({ 1, 1 }), text(3));
    EXPECT_TRUE(cache.insert({ 1, 3 }, text(4)));
    EXPECT_EQ(contents(cache), "1/1 1/3 ");
}

TEST(OrdCache, ErasesARange)
{
    PairCache cache(6);
    for (int first = 1; first <= 3; ++first) {
        for (int second = 1; second <= 2; ++second)
            cache.insert({ first, second }, text(first));
    }
    cache.erase(cache.lowerBound({ 2, 0 }), cache.lowerBound({ 3, 0 }));
    EXPECT_EQ(contents(cache), "1/1 1/2 3/1 3/2 ");
    cache.insert({ 9, 1 }, text(9)); // the freed handles serve again
    cache.insert({ 9, 2 }, text(9));
    EXPECT_EQ(contents(cache), "1/1 1/2 3/1 3/2 9/1 9/2 ");
    cache.insert({ 9, 3 }, text(9));
    EXPECT_EQ(contents(cache), "1/2 3/1 3/2 9/1 9/2 9/3 ");
    EXPECT_EQ(*cache.find({ 3, 2 }), text(3));
    cache.erase(cache.begin(), cache.end());
    EXPECT_EQ(cache.count(), 0);
    cache.insert({ 1, 1 }, text(1));
    EXPECT_EQ(*cache.find({ 1, 1 }), text(1));
}

TEST(OrdCache, WithoutRoomNothingIsKept)
{
    PairCache cache(0);
    EXPECT_FALSE(cache.insert({ 1, 1 }, text(1)));
    EXPECT_EQ(cache.findOrFill({ 1, 1 }, [] { return text(5); }), text(5));
    EXPECT_EQ(cache.count(), 0);
}
