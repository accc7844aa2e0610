// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Fill = std::function<void(Dread::Ctx*, quint32)>;

// A map built by hand, entry by entry.
class MapOf {
public:
    explicit MapOf(std::vector<std::pair<std::string, Fill>> const& entries)
    {
        Dread::init(&ctx, 24);
        ctx.used = 24;
        m_keys.reserve(entries.size());
        EXPECT_EQ(Dread::setMap(&ctx, 0, static_cast<quint32>(entries.size()), &map), 0);
        for (quint32 i = 0; i < entries.size(); ++i) {
            m_keys.push_back(entries[i].first);
            Dread::setMapKey(&ctx, map, i, m_keys[i].data(),
                             static_cast<quint16>(m_keys[i].size()));
            entries[i].second(&ctx, map.offset + 16 * map.count + 24 * i);
        }
    }
    ~MapOf() { Dread::destroy(&ctx); }
    MapOf(MapOf const&) = delete;
    MapOf& operator=(MapOf const&) = delete;

    Dread::Ctx ctx;
    Dread::VMap map;

private:
    std::vector<std::string> m_keys;
};

Fill text(char const* value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) {
        Dread::setString(ctx, offset, value, static_cast<quint32>(strlen(value)));
    };
}
Fill uint8(quint8 value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) { Dread::setUint8(ctx, offset, value); };
}
Fill int32(qint32 value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) { Dread::setInt32(ctx, offset, value); };
}
Fill int64(qint64 value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) { Dread::setInt64(ctx, offset, value); };
}
Fill uint64(quint64 value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) { Dread::setUint64(ctx, offset, value); };
}
Fill boolean(bool value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) { Dread::setBool(ctx, offset, value); };
}
Fill float64(double value)
{
    return [=](Dread::Ctx* ctx, quint32 offset) { Dread::setFloat64(ctx, offset, value); };
}
void nil(Dread::Ctx* ctx, quint32 offset)
{
    Dread::setNil(ctx, offset);
}
void emptyList(Dread::Ctx* ctx, quint32 offset)
{
    Dread::VList list;
    Dread::setList(ctx, offset, 0, &list);
}

// Every form of lookup of "k" in one text: what is not found shows as -.
std::string lookups(Fill const& fill)
{
    MapOf const one({ { "k", fill } });
    Dread::VString string{ "left", 4 };
    Dread::VList list{ 9, 9 };
    Dread::VMap map{ 9, 9 };
    bool flag = true;
    qint32 number = 0;
    FlakeId id;
    std::string found = "s ";
    found += Dread::find(one.ctx, one.map, "k", &string)
        ? Dread::toQString(string).toStdString()
        : std::string(string.data || string.length ? "not emptied" : "-");
    found += " l ";
    found += Dread::find(one.ctx, one.map, "k", &list) ? "yes" : list.count ? "not emptied" : "-";
    found += " m ";
    found += Dread::find(one.ctx, one.map, "k", &map) ? "yes" : map.count ? "not emptied" : "-";
    found += " b ";
    found += Dread::find(one.ctx, one.map, "k", &flag) ? (flag ? "1" : "0") : flag ? "set" : "-";
    found += " i ";
    found += Dread::find(one.ctx, one.map, "k", &number) ? std::to_string(number) : "-";
    found += " f ";
    found += Dread::find(one.ctx, one.map, "k", &id) ? std::to_string(id.value()) : "-";
    return found;
}

} // namespace

TEST(Dread, EachFormAcceptsItsTags)
{
    struct Case {
        Fill fill;
        char const* expected;
    };
    std::vector<Case> const cases{
        { nil, "s - l - m - b - i - f -" },
        { boolean(true), "s - l - m - b 1 i - f -" },
        { boolean(false), "s - l - m - b 0 i - f -" },
        { uint8(200), "s - l - m - b - i 200 f 200" },
        { int32(-5), "s - l - m - b - i -5 f 18446744073709551611" },
        { int64(-2147483648LL), "s - l - m - b - i -2147483648 f 18446744071562067968" },
        { int64(-2147483649LL), "s - l - m - b - i - f 18446744071562067967" },
        { int64(2147483647), "s - l - m - b - i 2147483647 f 2147483647" },
        { int64(2147483648LL), "s - l - m - b - i - f 2147483648" },
        { uint64(2147483647), "s - l - m - b - i 2147483647 f 2147483647" },
        { uint64(2147483648ULL), "s - l - m - b - i - f 2147483648" },
        { uint64(175928847299117063ULL), "s - l - m - b - i - f 175928847299117063" },
        { float64(3), "s - l - m - b - i - f -" },
        { emptyList, "s - l yes m - b - i - f -" },
        { text(""), "s  l - m - b - i - f -" },
        { text("7"), "s 7 l - m - b - i - f 7" },
        { text("175928847299117063"), "s 175928847299117063 l - m - b - i - f 175928847299117063" },
        { text("007"), "s 007 l - m - b - i - f 7" },
        // 20 digits that pass 64 bits wrap; 21 are no id.
        { text("18446744073709551616"), "s 18446744073709551616 l - m - b - i - f 0" },
        { text("000000000000000000001"), "s 000000000000000000001 l - m - b - i - f -" },
        { text("-1"), "s -1 l - m - b - i - f -" },
        { text("1 "), "s 1  l - m - b - i - f -" },
        { text("12a"), "s 12a l - m - b - i - f -" },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(lookups(one.fill), one.expected);
    }
}

TEST(Dread, TheFirstOfDuplicatesDecides)
{
    MapOf const map(
        { { "a", uint8(1) }, { "k", text("x") }, { "k", uint8(2) }, { "a", uint8(3) } });
    qint32 number = -1;
    EXPECT_TRUE(Dread::find(map.ctx, map.map, "a", &number));
    EXPECT_EQ(number, 1);
    number = -1;
    EXPECT_FALSE(Dread::find(map.ctx, map.map, "k", &number));
    EXPECT_EQ(number, -1);
}

TEST(Dread, KeysMatchInLengthAndBytes)
{
    std::string const longest(65535, 'k');
    MapOf const map(
        { { "id", uint8(1) }, { "ids", uint8(2) }, { "", uint8(3) }, { longest, uint8(4) } });
    struct Case {
        std::string key;
        int expected; // -1: not found
    };
    for (Case const& one : std::vector<Case>{ { "id", 1 },
                                              { "ids", 2 },
                                              { "", 3 },
                                              { "i", -1 },
                                              { "is", -1 },
                                              { "idss", -1 },
                                              { longest, 4 },
                                              { longest + "k", -1 },
                                              { longest + "kk", -1 } }) {
        qint32 number = -1;
        Dread::find(map.ctx, map.map, one.key.c_str(), &number);
        EXPECT_EQ(number, one.expected) << one.key.size();
    }
    qint32 number = -1;
    EXPECT_FALSE(Dread::find(map.ctx, Dread::emptyMap, "id", &number));
}

TEST(Dread, TheArenaGrowsToPowersOfTwo)
{
    Dread::Ctx ctx;
    Dread::init(&ctx, 100);
    EXPECT_EQ(ctx.capacity, 100U);
    ctx.used = 90;
    EXPECT_TRUE(Dread::ensureMoreCapacity(&ctx, 10));
    EXPECT_EQ(ctx.capacity, 100U);
    EXPECT_TRUE(Dread::ensureMoreCapacity(&ctx, 38));
    EXPECT_EQ(ctx.capacity, 128U);
    EXPECT_TRUE(Dread::ensureMoreCapacity(&ctx, 39));
    EXPECT_EQ(ctx.capacity, 256U);
    Dread::setCapacity(&ctx, 200);
    EXPECT_EQ(ctx.capacity, 200U);
    EXPECT_EQ(ctx.used, 90U);
    Dread::clear(&ctx);
    EXPECT_EQ(ctx.used, 0U);
    EXPECT_EQ(ctx.capacity, 200U);
    Dread::destroy(&ctx);
    EXPECT_EQ(ctx.buf, nullptr);
}

TEST(Dread, OffsetsNeverWrap)
{
    // The block is small; only the numbers say that it is full, and nothing is written.
    unsigned char block[24];
    struct Case {
        quint32 used;
        quint32 more;
        bool fits;
    };
    for (Case const& one : { Case{ 0xFFFFFFE0, 0x1F, true }, Case{ 0xFFFFFFE0, 0x20, false },
                             Case{ 0xFFFFFFFF, 0, true }, Case{ 0xFFFFFFFF, 1, false },
                             Case{ 1, 0xFFFFFFFF, false } }) {
        Dread::Ctx ctx{ block, one.used, 0xFFFFFFFF };
        EXPECT_EQ(Dread::ensureMoreCapacity(&ctx, one.more), one.fits) << one.used;
    }
    struct Reservation {
        quint32 used;
        quint32 count;
        int list;
        int map;
    };
    for (Reservation const& one :
         { Reservation{ 0, 0xAAAAAAA, 0, 1 }, Reservation{ 0, 0xAAAAAAB, 1, 1 },
           Reservation{ 0, 0x6666666, 0, 0 }, Reservation{ 0, 0x6666667, 0, 1 },
           Reservation{ 0, 0xFFFFFFF, 1, 1 }, Reservation{ 0, 0x10000000, 1, 1 },
           Reservation{ 0xFFFFFFD0, 1, 0, 0 }, Reservation{ 0xFFFFFFD8, 1, 0, 1 },
           Reservation{ 0xFFFFFFE8, 1, 1, 1 }, Reservation{ 0xFFFFFFF8, 0, 0, 0 } }) {
        Dread::VList list;
        Dread::VMap map;
        Dread::Ctx ctx{ block, one.used, 0xFFFFFFFF };
        EXPECT_EQ(Dread::setList(&ctx, 0, one.count, &list), one.list) << one.used << one.count;
        ctx = { block, one.used, 0xFFFFFFFF };
        EXPECT_EQ(Dread::setMap(&ctx, 0, one.count, &map), one.map) << one.used << one.count;
    }
}

TEST(Dread, PrettyPrints)
{
    MapOf const map({
        { "nil", nil },
        { "b", boolean(true) },
        { "u", uint8(1) },
        { "i", int32(-2) },
        { "j", int64(-3) },
        { "w", uint64(4) },
        { "f", float64(1.5) },
        { "s", text("\xc3\xa9") },
        { "e", emptyList },
        { "l",
          [](Dread::Ctx* ctx, quint32 offset) {
              Dread::VList list;
              Dread::setList(ctx, offset, 1, &list);
              Dread::setBool(ctx, list.offset, false);
          } },
    });
    EXPECT_EQ(Dread::prettyPrint(map.ctx, map.map).toStdString(),
              "{\n  nil: Nil\n  b: True\n  u: (Uint8) 1\n  i: (Int32) -2\n  j: (Int64) -3\n"
              "  w: (Uint64) 4\n  f: (Float64) 1.5\n  s: \"\xc3\xa9\"\n  e: [\n  ]\n"
              "  l: [\n    False\n  ]\n}");
    EXPECT_EQ(Dread::toQString(Dread::emptyString), QString());
    EXPECT_EQ(Dread::toQString(Dread::VString{ "x", 0x80000000 }), QString());
}
