// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "make_id.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

TEST(MakeId, AgreesWithLookingAtEachNumber)
{
    std::mt19937 random(7);
    std::vector<bool> taken(64);
    MakeID ids(63);
    for (int step = 0; step < 20000; ++step) {
        if (random() % 2 == 0) {
            auto const lowest = std::find(taken.begin(), taken.end(), false);
            bool const isFull = lowest == taken.end();
            ASSERT_EQ(ids.CreateID(), isFull ? MakeID::none : quint32(lowest - taken.begin()));
            if (!isFull)
                *lowest = true;
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
        int freeRuns = taken[0] ? 0 : 1;
        for (size_t i = 1; i < taken.size(); ++i)
            freeRuns += !taken[i] && taken[i - 1] ? 1 : 0;
        ASSERT_EQ(ids.freeRangeCount(), freeRuns);
    }
    EXPECT_FALSE(MakeID().DestroyRangeID(5, MakeID::none));
}
