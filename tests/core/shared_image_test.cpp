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

int widthOf(SharedImage const& image)
{
    return image.pixmap().width();
}

} // namespace

TEST(SharedImage, Empty)
{
    SharedImage const image;
    EXPECT_TRUE(image.isNull());
    EXPECT_TRUE(image.pixmap().isNull());
    EXPECT_EQ(image.layoutSize(), QSize(-1, -1));
    EXPECT_EQ(image.bytesSize(), 0);
    EXPECT_EQ(&image.pixmap(), &SharedImage().pixmap());
}

TEST(SharedImage, Plain)
{
    QPixmap const pixmap(6, 5);
    SharedImage image = SharedImage::createPlain(pixmap, QSize(3, 2));
    EXPECT_EQ(image.pixmap().size(), QSize(6, 5));
    EXPECT_EQ(image.layoutSize(), QSize(3, 2));
    EXPECT_EQ(image.bytesSize(), pixmap.depth() / 8 * 30);
    image.clear();
    EXPECT_TRUE(image.isNull());
}

TEST(SharedImage, DiesWithItsLastHolder)
{
    static int alive = 0;
    struct Data : SharedImageData {
        Data()
            : SharedImageData(QPixmap(), QSize())
        {
            ++alive;
        }
        ~Data() override { --alive; }
    };
    {
        SharedImage first(new Data);
        SharedImage second = first;
        SharedImage const third = std::move(first);
        EXPECT_TRUE(first.isNull());
        EXPECT_EQ(second, third);
        second = SharedImage(new Data);
        EXPECT_EQ(alive, 2);
        second.reset();
        EXPECT_EQ(alive, 1);
        SharedImage const& same = third;
        second = same;
        second = second; // NOLINT: to itself on purpose
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(SharedImageWeakMap, KeepsNothingAlive)
{
    auto const map = Map::create();
    EXPECT_TRUE(map->get(1).isNull());
    SharedImage image = map->insert(1, picture(3));
    EXPECT_EQ(map->get(1), image);
    EXPECT_EQ(image.layoutSize(), QSize(30, 20));
    EXPECT_TRUE(map->get(2).isNull());
    SharedImage const copy = image;
    image.clear();
    EXPECT_EQ(widthOf(map->get(1)), 3);
    image = copy;
    image.clear();
    EXPECT_FALSE(map->get(1).isNull());
}

TEST(SharedImageWeakMap, ForgetsWithTheLastHolder)
{
    auto const map = Map::create();
    {
        SharedImage const image = map->insert(1, picture(3));
    }
    EXPECT_TRUE(map->get(1).isNull());
}

TEST(SharedImageWeakMap, TheDeathOfAnOlderImageLeavesTheNewer)
{
    auto const map = Map::create();
    SharedImage older = map->insert(1, picture(3));
    SharedImage const olderToo = older;
    SharedImage newer = map->insert(1, picture(4));
    older.clear();
    EXPECT_EQ(widthOf(map->get(1)), 4);
    const_cast<SharedImage&>(olderToo).clear();
    EXPECT_EQ(widthOf(map->get(1)), 4);
    newer.clear();
    EXPECT_TRUE(map->get(1).isNull());
}

TEST(SharedImageWeakMap, MayDieFirst)
{
    auto map = Map::create();
    SharedImage image = map->insert(1, picture(3));
    map.reset();
    EXPECT_EQ(widthOf(image), 3);
    image.clear();
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
