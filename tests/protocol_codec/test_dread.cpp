// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dump.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::string binary(std::string const& text)
{
    auto const byte = [&](int shift) { return static_cast<char>(text.size() >> shift); };
    return std::string{ 'm', byte(24), byte(16), byte(8), byte(0) } + text;
}

Tree mapOf(std::vector<std::pair<std::string, std::string>> const& entries)
{
    std::string frame = raw("\x83t\0\0\0") + static_cast<char>(entries.size());
    for (auto const& [key, term] : entries) {
        frame += binary(key) + term;
    }
    return Tree(frame);
}

template <typename Out> bool find(Tree const& tree, std::string const& key, Out* out)
{
    return Dread::find(tree.ctx, tree.built.root.map, key.c_str(), out);
}

// Every form of lookup of "k" in one text: what is not found shows as -.
std::string lookups(std::string const& term)
{
    Tree const tree = mapOf({ { "k", term } });
    Dread::VString string{ "left", 4 };
    Dread::VList list{ 9, 9 };
    Dread::VMap map{ 9, 9 };
    bool flag = true;
    qint32 number = 0;
    FlakeId id;
    std::string found = "s ";
    found += find(tree, "k", &string)  ? Dread::toQString(string).toStdString()
        : string.data || string.length ? "not emptied"
                                       : "-";
    found += " l ";
    found += find(tree, "k", &list) ? "yes" : list.count ? "not emptied" : "-";
    found += " m ";
    found += find(tree, "k", &map) ? "yes" : map.count ? "not emptied" : "-";
    found += " b ";
    found += find(tree, "k", &flag) ? (flag ? "1" : "0") : flag ? "set" : "-";
    found += " i ";
    found += find(tree, "k", &number) ? std::to_string(number) : "-";
    found += " f ";
    found += find(tree, "k", &id) ? std::to_string(id.value()) : "-";
    return found;
}

} // namespace

TEST(Dread, EachFormAcceptsItsTags)
{
    struct Case {
        std::string term;
        char const* expected;
    };
    std::vector<Case> const cases{
        { "j", "s - l - m - b - i - f -" },
        { "s\4true", "s - l - m - b 1 i - f -" },
        { "s\5false", "s - l - m - b 0 i - f -" },
        { "a\xc8", "s - l - m - b - i 200 f 200" },
        { "b\xff\xff\xff\xfb", "s - l - m - b - i -5 f 18446744073709551611" },
        { raw("n\4\1\0\0\0\x80"), "s - l - m - b - i -2147483648 f 18446744071562067968" },
        { raw("n\4\1\1\0\0\x80"), "s - l - m - b - i - f 18446744071562067967" },
        { raw("n\4\0\xff\xff\xff\x7f"), "s - l - m - b - i 2147483647 f 2147483647" },
        { raw("n\4\0\0\0\0\x80"), "s - l - m - b - i - f 2147483648" },
        { raw("F\x40\0\0\0\0\0\0\1"), "s - l - m - b - i - f -" },
        { raw("l\0\0\0\0j"), "s - l yes m - b - i - f -" },
        { raw("t\0\0\0\0"), "s - l - m yes b - i - f -" },
        { binary(""), "s  l - m - b - i - f -" },
        { binary("7"), "s 7 l - m - b - i - f 7" },
        { binary("175928847299117063"),
          "s 175928847299117063 l - m - b - i - f 175928847299117063" },
        { binary("007"), "s 007 l - m - b - i - f 7" },
        // 20 digits that pass 64 bits wrap; 21 are no id.
        { binary("18446744073709551616"), "s 18446744073709551616 l - m - b - i - f 0" },
        { binary("000000000000000000001"), "s 000000000000000000001 l - m - b - i - f -" },
        { binary("-1"), "s -1 l - m - b - i - f -" },
        { binary("1 "), "s 1  l - m - b - i - f -" },
        { binary("12a"), "s 12a l - m - b - i - f -" },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(lookups(one.term), one.expected);
    }
}

TEST(Dread, KeysMatchInLengthAndBytesAndTheFirstOfDuplicatesDecides)
{
    std::string const longest(65535, 'k');
    Tree const tree = mapOf({ { "id", "a\1" },
                              { "ids", "a\2" },
                              { "", "a\3" },
                              { longest, "a\4" },
                              { "twice", binary("x") },
                              { "twice", "a\5" },
                              { "id", "a\6" } });
    struct Case {
        std::string key;
        int expected; // -1: not found
    };
    std::vector<Case> const cases{
        { "id", 1 },  { "ids", 2 },   { "", 3 },       { longest, 4 },        { "i", -1 },
        { "is", -1 }, { "idss", -1 }, { "twice", -1 }, { longest + "k", -1 }, { "k", -1 },
    };
    for (Case const& one : cases) {
        qint32 number = -1;
        EXPECT_EQ(find(tree, one.key, &number), one.expected >= 0) << one.key.substr(0, 9);
        EXPECT_EQ(number, one.expected) << one.key.substr(0, 9);
    }
    qint32 number = -1;
    EXPECT_FALSE(Dread::find(tree.ctx, Dread::emptyMap, "id", &number));
}

// The block is small; only the numbers say that it is full, and nothing is written.
TEST(Dread, OffsetsNeverWrap)
{
    unsigned char block[24];
    struct Case {
        quint32 used;
        quint32 more; // bytes
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
    EXPECT_EQ(Dread::toQString(Dread::VString{ "x", 0x80000000 }), QString());
}
