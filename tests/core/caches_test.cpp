// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "kv_cache.h"
#include "ord_cache.h"

#include <QString>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Pair = std::pair<int, int>;

// What a cache should hold, the most recent first.
template <typename Key> struct Recent {
    struct Entry {
        Key key;
        int value;
        int cost;
    };
    std::vector<Entry> entries;

    bool drop(Key const& key)
    {
        return dropIf([&](Key const& other) { return other == key; });
    }
    template <typename Predicate> bool dropIf(Predicate goes)
    {
        auto const first = std::remove_if(entries.begin(), entries.end(),
                                          [&](Entry const& entry) { return goes(entry.key); });
        bool const any = first != entries.end();
        entries.erase(first, entries.end());
        return any;
    }
    void put(Key const& key, int value, int cost = 1)
    {
        entries.insert(entries.begin(), { key, value, cost });
    }
    Entry const* use(Key const& key)
    {
        auto const it = std::find_if(entries.begin(), entries.end(),
                                     [&](Entry const& entry) { return entry.key == key; });
        if (it == entries.end())
            return nullptr;
        std::rotate(entries.begin(), it, it + 1);
        return &entries.front();
    }
    int cost() const
    {
        int sum = 0;
        for (Entry const& entry : entries)
            sum += entry.cost;
        return sum;
    }
    void shrinkTo(int most)
    {
        while (!entries.empty() && cost() > most)
            entries.pop_back();
    }
};

} // namespace

TEST(KVCache, GoesLikeAPlainList)
{
    NakKVCache<int, int> cache(20);
    int max = 20;
    Recent<int> model;
    std::mt19937 random(1);
    auto const upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
    for (int step = 0; step < 20000; ++step) {
        int const key = upTo(40);
        int const what = upTo(200);
        if (what == 0) {
            cache.clear();
            model.entries.clear();
        } else if (what < 4) {
            max = upTo(30);
            cache.setMaxAndReserveCount(max);
            model.shrinkTo(max);
        } else if (what < 10) {
            auto const goes = [key](int other) { return other % 5 == key % 5; };
            cache.removeIf([&](int other, int) { return goes(other); });
            model.dropIf(goes);
        } else if (what < 40) {
            ASSERT_EQ(cache.remove(key), model.drop(key));
        } else if (what < 90) {
            int const* const found = cache.find(key);
            auto const* const expected = model.use(key);
            ASSERT_EQ(found ? *found : -1, expected ? expected->value : -1);
        } else {
            int const cost = upTo(10) == 0 ? upTo(30) : upTo(4);
            int const* const kept = cache.insert(key, step, cost);
            model.drop(key); // a value that is too large erases the old one too
            ASSERT_EQ(kept != nullptr, cost <= max);
            if (kept) {
                model.shrinkTo(max - cost);
                model.put(key, step, cost);
            }
        }
        ASSERT_EQ(cache.totalCost(), model.cost()) << step;
        ASSERT_EQ(cache.count(), static_cast<int>(model.entries.size())) << step;
        int const asked = upTo(30) - 3;
        QVector<int> expected; // never the oldest
        for (size_t i = 0; i + 1 < model.entries.size(); ++i)
            expected.append(model.entries[i].key);
        ASSERT_EQ(cache.recentKeys(asked), asked < 0 ? expected : expected.mid(0, asked)) << step;
    }
}

TEST(OrdCache, GoesLikeAPlainList)
{
    for (int const capacity : { 0, 1, 12 }) {
        OrdCache<Pair, int> cache(static_cast<quint16>(capacity));
        Recent<Pair> model;
        std::mt19937 random(2);
        for (int step = 0; step < 20000; ++step) {
            Pair const key(random() % 5, random() % 5);
            int const what = static_cast<int>(random() % 100);
            if (what == 0) {
                cache.clear();
                model.entries.clear();
            } else if (what < 8) {
                cache.erase(cache.lowerBound({ key.first, 0 }),
                            cache.upperBound({ key.first, key.second }));
                model.dropIf([key](Pair const& other) {
                    return other.first == key.first && other.second <= key.second;
                });
            } else if (what < 30) {
                ASSERT_EQ(cache.insert(key, step), capacity > 0);
                model.drop(key);
                model.put(key, step);
            } else {
                auto const* const known = model.use(key);
                int const value = known ? known->value : step;
                ASSERT_EQ(cache.findOrFill(key, [step] { return step; }), value) << step;
                if (!known)
                    model.put(key, step);
            }
            model.shrinkTo(capacity);
            std::vector<Pair> expected;
            for (auto const& entry : model.entries)
                expected.push_back(entry.key);
            std::sort(expected.begin(), expected.end());
            std::vector<Pair> keys;
            for (auto const& entry : cache)
                keys.push_back(entry.first);
            ASSERT_EQ(keys, expected) << step;
        }
    }
}
