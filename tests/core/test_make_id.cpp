// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "make_id.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

// Lowest free number by looking at each.
quint32 lowestFree(std::vector<bool> const& taken)
{
    for (std::size_t i = 0; i < taken.size(); ++i) {
        if (!taken[i]) {
            return static_cast<quint32>(i);
        }
    }
    return MakeID::none;
}

int freeRuns(std::vector<bool> const& taken)
{
    int runs = 0;
    for (std::size_t i = 0; i < taken.size(); ++i) {
        runs += !taken[i] && (i == 0 || taken[i - 1]) ? 1 : 0;
    }
    return runs;
}

TEST(MakeId, AgreesWithLookingAtEachNumber)
{
    std::mt19937 random(7);
    std::vector<bool> taken(64);
    MakeID ids(63);
    for (int step = 0; step < 20000; ++step) {
        if (random() % 2 == 0) {
            quint32 const expected = lowestFree(taken);
            ASSERT_EQ(ids.CreateID(), expected);
            if (expected != MakeID::none) {
                taken[expected] = true;
            }
        } else {
            quint32 const first = random() % 66;
            quint32 const count = random() % 6 == 0 ? random() % 8 : 1;
            bool all = count > 0 && first + count <= taken.size();
            for (quint32 i = first; all && i < first + count; ++i) {
                all = taken[i];
            }
            ASSERT_EQ(ids.DestroyRangeID(first, count), all) << first << "+" << count;
            for (quint32 i = first; all && i < first + count; ++i) {
                taken[i] = false;
            }
        }
        quint32 const asked = random() % 66;
        ASSERT_EQ(ids.IsID(asked), asked < taken.size() && taken[asked]);
        ASSERT_EQ(ids.freeRangeCount(), freeRuns(taken));
    }
    EXPECT_FALSE(MakeID().DestroyRangeID(5, MakeID::none));
}

} // namespace
