// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dump.h"
#include "etf_agree.h"
#include "inflated_session.h"

#include <sys/mman.h>
#include <zlib.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

namespace {

std::string decode(std::string const& bytes)
{
    return Tree(bytes).text();
}

// In a block of exactly its size, so that a sanitizer sees every read beyond it.
char const* disagreementExact(std::string const& bytes)
{
    std::unique_ptr<char[]> const block(new char[bytes.size()]);
    memcpy(block.get(), bytes.data(), bytes.size());
    return EtfAgree::disagreement(block.get(), bytes.size());
}

// What each term of tests/data/etf reads as, by name.
std::map<std::string, std::string> expectedTrees()
{
    std::string const channel = "{\"id\": \"175928847299117063\", \"name\": \"general\", "
                                "\"nsfw\": false, \"type\": u8:0}";
    std::map<std::string, std::string> trees{
        { "binary_70000", '"' + std::string(70000, 'x') + '"' },
        { "compressed_list", "[" + repeated(channel + ", ", 199) + channel + "]" },
    };
    std::stringstream lines(readFile("etf/trees.tsv"));
    for (std::string line; std::getline(lines, line);) {
        std::size_t const tab = line.find('\t');
        trees[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return trees;
}

// The compressed form of a term, with the size that it states.
std::string compressed(quint32 stated, void const* term, std::size_t size)
{
    uLongf length = compressBound(size);
    std::string packed(length, '\0');
    compress2(reinterpret_cast<Bytef*>(&packed[0]), &length, static_cast<Bytef const*>(term), size,
              Z_BEST_SPEED);
    std::string bytes = "\x83P";
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(stated >> shift);
    }
    return bytes + packed.substr(0, length);
}

} // namespace

TEST(Etf, ReadsWhatErlangWrites)
{
    auto const trees = expectedTrees();
    EXPECT_EQ(trees.size(), 44U);
    for (auto const& [name, tree] : trees) {
        EXPECT_EQ(decode(readFile("etf/" + name + ".etf")), tree) << name;
    }
}

TEST(Etf, ReadsTermsByHand)
{
    struct Case {
        std::string term; // behind the version byte
        std::string expected;
    };
    std::vector<Case> const cases{
        { "", "Ended unexpectedly" },
        { "j", "nil" },
        { "a\7trailing", "u8:7" },
        { "s\3nil", "nil" },
        { "s\4true", "true" },
        { raw("d\0\5false"), "false" },
        { "s\4True", "\"True\"" },
        { "s\2ni", "\"ni\"" },
        { raw("s\0"), "\"\"" },
        { raw("m\0\0\0\0"), "\"\"" },
        { raw("k\0\0"), "\"\"" },
        { raw("n\0\0"), "u64:0" },
        { raw("n\0\1"), "i64:0" },
        { raw("n\1\0\xff"), "u64:255" },
        { raw("n\7\1\1\2\3\4\5\6\7"), "i64:-1976943448883713" },
        { raw("n\x08\2\0\0\0\0\0\0\0\x80"), "i64:-9223372036854775808" },
        { raw("n\x08\1\1\0\0\0\0\0\0\x80"), "Value out of range" },
        { raw("n\x09\0\1\0\0\0\0\0\0\0\0"), "Value out of range" },
        { raw("l\0\0\0\0j"), "[]" },
        { raw("t\0\0\0\2s\3niljs\4trues\4true"), "{\"nil\": nil, \"true\": true}" },
        { raw("t\0\0\0\2m\0\0\0\1ka\1m\0\0\0\1ka\2"), "{\"k\": u8:1, \"k\": u8:2}" },
        { raw("t\0\0\0\1k\0\1ka\1"), "{\"k\": u8:1}" },
        { raw("t\0\0\0\1ja\1"), "Invalid map key" },
        { raw("t\0\0\0\1l\0\0\0\0ja\1"), "Invalid map key" },
        { raw("t\0\0\0\1m\0\1\0\0") + std::string(65536, 'k') + "a\1", "Value out of range" },
        { "l\xff\xff\xff\xff", "Out of memory" },
        { "l\x0a\xaa\xaa\xab", "Out of memory" },
        { "l\x0a\xaa\xaa\xaa", "Ended unexpectedly" },
        { raw("t\x10\0\0\0"), "Out of memory" },
        { "t\x0f\xff\xff\xff", "Ended unexpectedly" },
        { raw("l\0\0\0\2a\1"), "Ended unexpectedly" },
        { raw("h\0"), "Unknown term type 104" },
        // Too short for the compressed form, which is then a term of no kind.
        { raw("P\0\0\0"), "Unknown term type 80" },
        // A nil costs a byte and takes a cell of 24: the arena grows under the tree.
        { raw("l\0\0\x27\x10") + std::string(10001, 'j'), "[" + repeated("nil, ", 9999) + "nil]" },
    };
    for (Case const& one : cases) {
        std::string const frame = "\x83" + one.term;
        EXPECT_EQ(decode(frame), one.expected) << quotedBytes(frame.substr(0, 40));
        EXPECT_STREQ(disagreementExact(frame), "") << quotedBytes(frame.substr(0, 40));
    }
    EXPECT_EQ(decode(""), "Init error");
    EXPECT_EQ(decode("\x82j"), "Init error");
}

TEST(Etf, EveryTermNeedsAllItsBytes)
{
    std::vector<std::string> const terms{
        raw("F\x3f\xf8\0\0\0\0\0\0"),
        raw("a\1"),
        raw("b\0\0\1\0"),
        raw("d\0\2ok"),
        raw("k\0\2\1\2"),
        raw("l\0\0\0\0"),
        raw("m\0\0\0\2ok"),
        raw("n\2\0\1\1"),
        raw("n\x08\0\1\2\3\4\5\6\7\x08"),
        raw("s\2ok"),
        raw("t\0\0\0\0"),
    };
    for (std::string const& term : terms) {
        EXPECT_NE(decode("\x83" + term), "Ended unexpectedly") << term;
        for (std::size_t length = 0; length < term.size(); ++length) {
            EXPECT_EQ(decode("\x83" + term.substr(0, length)), "Ended unexpectedly") << term;
        }
    }
}

TEST(Etf, TheCompressedFormMustKeepItsWord)
{
    for (quint32 const stated : { 0U, 9U, 10U, 11U, 0xFFFFFFFFU }) {
        std::string const frame = compressed(stated, "m\0\0\0\5hello", 10);
        EXPECT_EQ(decode(frame), stated == 10 ? "\"hello\"" : "Init error") << stated;
    }
    // Honest, but a byte more than is taken. Zeros that are never written take no memory.
    quint32 const size = Erf::maxInflatedSize + 1;
    std::unique_ptr<void, decltype(&free)> const term(calloc(size, 1), free);
    memcpy(term.get(), "m\x0f\xff\xff\xfc", 5);
    std::string const frame = compressed(size, term.get(), size);
    EXPECT_TRUE(Erf::prep(frame.data(), frame.size()).failed);
}

TEST(Etf, TheEnvelopeBoundsTheSize)
{
    char const bytes[] = "\x83j";
    EXPECT_FALSE(Erf::prep(bytes, 0xFFFFFFFE).failed);
    EXPECT_TRUE(Erf::prep(bytes, 0xFFFFFFFF).failed);
    EXPECT_TRUE(Erf::prep(bytes, Q_UINT64_C(0x100000002)).failed);
}

TEST(Etf, PrettyPrints)
{
    struct Case {
        std::string term;
        char const* events;
        char const* tree;
    };
    std::vector<Case> const cases{
        { raw("t\0\0\0\2m\0\0\0\2opa\12s\1dt\0\0\0\1s\1hl\0\0\0\3a\1jm\0\0\0\2\xc3\xa9j"),
          "Map (2) {\n  Binary [op] => Uint8 (10)\n  'd' => Map (1) {\n    'h' => List (3) [\n"
          "      Uint8 (1)\n      Nil\n      Binary [\xc3\xa9]\n    ]\n  }\n}\n",
          "{\n  op: (Uint8) 10\n  d: {\n    h: [\n      (Uint8) 1\n      Nil\n"
          "      \"\xc3\xa9\"\n    ]\n  }\n}" },
        // 0x4640000000000000 is 2 to the 101st.
        { raw("l\0\0\0\5b\xff\xff\xff\xfen\1\1\5n\1\0\5F\x40\0\0\0\0\0\0\1s\4true"),
          "List (5) [\n  Int32 (-2)\n  Int64 (-5)\n  Uint64 (5)\n"
          "  Float64 (2535301200456458802993406410752)\n  'true'\n]\n",
          "[\n  (Int32) -2\n  (Int64) -5\n  (Uint64) 5\n  (Float64) 2.5353e+30\n  True\n]" },
        { raw("l\0\0\0\2a\1z"), "List (2) [\n  Uint8 (1)\n  Error: Unknown term type 122\n",
          "Unknown term type 122" },
    };
    for (Case const& one : cases) {
        Tree const tree("\x83" + one.term);
        auto const events = Erf::prettyPrintEtf(tree.bytes.data(), tree.bytes.size());
        EXPECT_EQ(events.toStdString(), one.events);
        EXPECT_EQ(tree.built.isError ? tree.text()
                                     : Dread::prettyPrint(tree.ctx, tree.built.root).toStdString(),
                  one.tree);
    }
    EXPECT_EQ(Erf::prettyPrintEtf("?", 1), QStringLiteral("ETF parser init error"));
}

TEST(Etf, SurvivesEveryCutAndEveryDamage)
{
    std::vector<std::string> frames;
    for (auto const& named : expectedTrees()) {
        frames.push_back(readFile("etf/" + named.first + ".etf"));
        if (frames.back().size() > 5000) {
            frames.pop_back(); // cuts of a long run of one byte show nothing new
        }
    }
    frames.push_back(inflatedSession().at(2).toStdString()); // a guild
    ASSERT_GT(frames.back().size(), 10000U);
    for (std::string const& frame : frames) {
        for (std::size_t i = 0; i < frame.size(); ++i) {
            ASSERT_STREQ(disagreementExact(frame.substr(0, i)), "") << i;
            std::string damaged = frame;
            damaged[i] = static_cast<char>(damaged[i] ^ (1 << i % 8));
            ASSERT_STREQ(disagreementExact(damaged), "") << i;
            damaged[i] = "aljtmns\xff"[i / 3 % 8];
            ASSERT_STREQ(disagreementExact(damaged), "") << i;
        }
    }
}
