// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared_image.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace {

using Map = SharedImageWeakMap<int>;

ImageCreationData picture(int width)
{
    return { QPixmap(width, 2), QSize(width * 10, 20) };
}

} // namespace

TEST(SharedImageWeakMap, KeepsNothingAlive)
{
    auto map = Map::create();
    EXPECT_TRUE(map->get(1).isNull());
    SharedImage older = map->insert(1, picture(3));
    SharedImage olderToo = older;
    EXPECT_EQ(map->get(1), older);
    EXPECT_TRUE(map->get(2).isNull());
    older.clear();
    EXPECT_EQ(map->get(1), olderToo);
    SharedImage newer = map->insert(1, picture(4));
    olderToo.clear(); // leaves the newer one
    EXPECT_EQ(map->get(1), newer);
    newer.clear();
    EXPECT_TRUE(map->get(1).isNull());
    SharedImage const survivor = map->insert(1, picture(3));
    map.reset();
    EXPECT_EQ(survivor.layoutSize(), QSize(30, 20));
}

TEST(SharedImageWeakMap, AnImageThatIsBeingDestroyedIsNotFound)
{
    SharedImageData data{ QPixmap(), QSize() }; // nobody holds it
    EXPECT_TRUE(SharedImage::createIfAlive(&data).isNull());
    EXPECT_EQ(data.refCount.loadRelaxed(), 0);
}

TEST(SharedImageWeakMap, ManyThreads)
{
    auto map = Map::create();
    std::vector<ImageCreationData> pictures;
    for (int key = 0; key < 4; ++key)
        pictures.push_back(picture(key + 1));
    std::atomic<int> wrong{ 0 };
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed) {
        threads.emplace_back([&, seed] {
            std::mt19937 random(seed);
            SharedImage held[4];
            for (int step = 0; step < 20000; ++step) {
                unsigned const key = random() % 4;
                SharedImage& image = held[random() % 4];
                image = random() % 3 ? map->get(static_cast<int>(key))
                                     : map->insert(static_cast<int>(key), pictures[key]);
                if (!image.isNull() && image.layoutSize() != pictures[key].layoutSize)
                    ++wrong;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    for (int key = 0; key < 4; ++key)
        EXPECT_TRUE(map->get(key).isNull());
}
