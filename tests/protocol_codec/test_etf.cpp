// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread_etf.h"
#include "dump.h"
#include "etf_agree.h"
#include "session.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <zlib.h>

#include <cstdlib>
#include <sstream>
#include <vector>

namespace {

// The tree as text, or the error's words.
std::string decode(std::string const& bytes)
{
    Dread::Ctx ctx;
    DreadUtils::BuildResult const built =
        DreadUtils::buildFromEtf(&ctx, bytes.data(), bytes.size());
    if (built.isError) {
        return DreadUtils::toString(built.error).toStdString();
    }
    std::string const text = dump(ctx, built.root);
    Dread::destroy(&ctx);
    Erf::destroy(built.prepared);
    return text;
}

template <std::size_t N> std::string raw(char const (&bytes)[N])
{
    return std::string(bytes, N - 1);
}

// In a block of exactly its size, so that a sanitizer sees every read beyond it.
char const* disagreementExact(std::string const& bytes)
{
    char* const block = static_cast<char*>(malloc(bytes.size()));
    memcpy(block, bytes.data(), bytes.size());
    char const* const text = EtfAgree::disagreement(block, bytes.size());
    free(block);
    return text;
}

struct IndexRow {
    std::string name;
    std::size_t size = 0;
    std::string printed; // ends in "..." if it was too long for the index
};

std::vector<IndexRow> readIndex()
{
    std::vector<IndexRow> rows;
    std::stringstream index(readFile("etf/index.tsv"));
    for (std::string line; std::getline(index, line);) {
        std::size_t const first = line.find('\t');
        std::size_t const second = line.find('\t', first + 1);
        rows.push_back({ line.substr(0, first),
                         std::stoul(line.substr(first + 1, second - first - 1)),
                         line.substr(second + 1) });
    }
    return rows;
}

std::string repeated(std::string const& text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// What the index cannot say: errors, deliberate oddities, and terms cut short in it.
std::string expectedOf(IndexRow const& row)
{
    std::string bytes1to255;
    for (int i = 1; i <= 255; ++i) {
        bytes1to255 += static_cast<char>(i);
    }
    std::string const channel = "{\"id\": \"175928847299117063\", \"name\": \"general\", "
                                "\"nsfw\": false, \"type\": u8:0}";
    struct Special {
        std::string name;
        std::string expected;
    };
    std::vector<Special> const cases{
        { "big_minus_2p63_1", "Value out of range" },
        { "big_2p64", "Value out of range" },
        { "map_int_key", "Invalid map key" },
        { "tuple_unsupported", "Unknown term type 104" },
        { "pid_like_unsupported", "Unknown term type 90" },
        { "nest_list_257", "Value out of range" },
        { "nest_map_257", "Value out of range" },
        // The tail of the improper list is read as the next key, and what follows as its value.
        { "list_improper_in_map", "{\"l\": [\"a\"], \"b\": \"n\"}" },
        { "binary_70000", '"' + std::string(70000, 'x') + '"' },
        { "string_ext_255", quotedBytes(bytes1to255) },
        { "nest_list_256", repeated("[", 256) + "\"x\"" + repeated("]", 256) },
        { "nest_map_256", repeated("{\"k\": ", 255) + "{}" + repeated("}", 255) },
        { "compressed_list", "[" + repeated(channel + ", ", 199) + channel + "]" },
    };
    for (Special const& one : cases) {
        if (one.name == row.name) {
            return one.expected;
        }
    }
    return expectedFromErlang(row.printed);
}

} // namespace

TEST(Etf, ReadsWhatErlangWrites)
{
    std::vector<IndexRow> const rows = readIndex();
    EXPECT_EQ(rows.size(), 44U);
    for (IndexRow const& row : rows) {
        std::string const bytes = readFile("etf/" + row.name + ".etf");
        EXPECT_EQ(bytes.size(), row.size) << row.name;
        std::string const expected = expectedOf(row);
        EXPECT_NE(expected, "") << row.name;
        EXPECT_EQ(decode(bytes), expected) << row.name;
    }
}

TEST(Etf, ReadsTermsByHand)
{
    struct Case {
        std::string bytes;
        char const* expected;
    };
    std::string const longKey = raw("\x83t\0\0\0\1m\0\1\0\0") + std::string(65536, 'k') + "a\1";
    std::vector<Case> const cases{
        { "", "Init error" },
        { raw("\x82"
              "a\1"),
          "Init error" },
        { raw("\x83"), "Ended unexpectedly" },
        { raw("\x83j"), "nil" },
        { raw("\x83"
              "a\7trailing"),
          "u8:7" },
        { raw("\x83s\3nil"), "nil" },
        { raw("\x83s\4true"), "true" },
        { raw("\x83"
              "d\0\5false"),
          "false" },
        { raw("\x83s\4True"), "\"True\"" },
        { raw("\x83s\2ni"), "\"ni\"" },
        { raw("\x83s\0"), "\"\"" },
        { raw("\x83m\0\0\0\0"), "\"\"" },
        { raw("\x83k\0\0"), "\"\"" },
        { raw("\x83n\0\0"), "u64:0" },
        { raw("\x83n\0\1"), "i64:0" },
        { raw("\x83n\1\0\xff"), "u64:255" },
        { raw("\x83n\7\1\1\2\3\4\5\6\7"), "i64:-1976943448883713" },
        { raw("\x83n\x08\2\0\0\0\0\0\0\0\x80"), "i64:-9223372036854775808" },
        { raw("\x83n\x08\1\1\0\0\0\0\0\0\x80"), "Value out of range" },
        { raw("\x83n\x09\0\1\0\0\0\0\0\0\0\0"), "Value out of range" },
        { raw("\x83l\0\0\0\0j"), "[]" },
        { raw("\x83l\0\0\0\0"), "[]" },
        { raw("\x83t\0\0\0\2s\3niljs\4trues\4true"), "{\"nil\": nil, \"true\": true}" },
        { raw("\x83t\0\0\0\2m\0\0\0\1ka\1m\0\0\0\1ka\2"), "{\"k\": u8:1, \"k\": u8:2}" },
        { raw("\x83t\0\0\0\1ja\1"), "Invalid map key" },
        { raw("\x83t\0\0\0\1l\0\0\0\0ja\1"), "Invalid map key" },
        { raw("\x83t\0\0\0\1k\0\1ka\1"), "{\"k\": u8:1}" },
        { longKey, "Value out of range" },
        { raw("\x83l\xff\xff\xff\xff"), "Out of memory" },
        { raw("\x83l\x0a\xaa\xaa\xab"), "Out of memory" },
        { raw("\x83l\x0a\xaa\xaa\xaa"), "Ended unexpectedly" },
        { raw("\x83t\x10\0\0\0"), "Out of memory" },
        { raw("\x83t\x0f\xff\xff\xff"), "Ended unexpectedly" },
        { raw("\x83l\0\0\0\2a\1"), "Ended unexpectedly" },
        { raw("\x83h\0"), "Unknown term type 104" },
        // Too short for the compressed form, which is then a term of no kind.
        { raw("\x83P\0\0\0"), "Unknown term type 80" },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(decode(one.bytes), one.expected) << quotedBytes(one.bytes.substr(0, 40));
        EXPECT_STREQ(disagreementExact(one.bytes), "") << quotedBytes(one.bytes.substr(0, 40));
    }
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

TEST(Etf, AnEmptyBinaryPointsSomewhere)
{
    std::string const bytes = raw("\x83m\0\0\0\0");
    Dread::Ctx ctx;
    auto const built = DreadUtils::buildFromEtf(&ctx, bytes.data(), bytes.size());
    ASSERT_FALSE(built.isError);
    EXPECT_EQ(built.root.string().data, bytes.data() + bytes.size());
    EXPECT_EQ(built.root.string().length, 0U);
    EXPECT_EQ(ctx.capacity, 2048U);
    Dread::destroy(&ctx);
}

TEST(Etf, TheArenaStartsAtThreeTimesTheInput)
{
    std::string const bytes = raw("\x83m\0\0\x0f\xfb") + std::string(0xffb, 'x'); // 4,096 of term
    Dread::Ctx ctx;
    auto const built = DreadUtils::buildFromEtf(&ctx, bytes.data(), bytes.size());
    ASSERT_FALSE(built.isError);
    EXPECT_EQ(ctx.capacity, 16384U);
    Dread::destroy(&ctx);
}

TEST(Etf, TheArenaGrowsUnderTheTree)
{
    // A nil costs a byte and takes a cell of 24, eight times what the arena starts with.
    std::string const bytes = raw("\x83l\0\0\x27\x10") + std::string(10000, 'j') + "j";
    EXPECT_EQ(decode(bytes), "[" + repeated("nil, ", 9999) + "nil]");
}

TEST(Etf, TheCompressedFormMustKeepItsWord)
{
    std::string const term = raw("m\0\0\0\5hello");
    auto const frame = [&](quint32 stated) {
        uLongf length = compressBound(term.size());
        std::string packed(length, '\0');
        compress(reinterpret_cast<Bytef*>(&packed[0]), &length,
                 reinterpret_cast<Bytef const*>(term.data()), term.size());
        std::string bytes = "\x83P";
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes += static_cast<char>(stated >> shift);
        }
        return bytes + packed.substr(0, length);
    };
    EXPECT_EQ(decode(frame(10)), "\"hello\"");
    EXPECT_EQ(decode(frame(9)), "Init error");
    EXPECT_EQ(decode(frame(11)), "Init error");
    EXPECT_EQ(decode(frame(0)), "Init error");
    EXPECT_EQ(decode(frame(256 * 1024 * 1024 + 1)), "Init error");
    EXPECT_EQ(decode(frame(0xFFFFFFFF)), "Init error");
    Erf::PrepData const prepared = Erf::prep(frame(10).data(), frame(10).size());
    EXPECT_TRUE(prepared.owned);
    EXPECT_EQ(prepared.size, 10U);
    Erf::destroy(prepared);
}

TEST(Etf, AnHonestFrameThatInflatesToTooMuchIsRefused)
{
    // A binary of 256 MiB of zeros with its head: five bytes more than are taken.
    quint32 const stated = Erf::maxInflatedSize + 5;
    std::string frame = raw("\x83P\x10\0\0\5");
    std::string const head = raw("m\x10\0\0\0");
    std::string const zeros(1 << 20, '\0');
    std::string packed(4 << 20, '\0');
    z_stream deflater{};
    deflateInit(&deflater, Z_BEST_SPEED);
    deflater.next_out = reinterpret_cast<Bytef*>(&packed[0]);
    deflater.avail_out = static_cast<uInt>(packed.size());
    auto const put = [&](std::string const& bytes, int flush) {
        deflater.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        deflater.avail_in = static_cast<uInt>(bytes.size());
        return deflate(&deflater, flush);
    };
    put(head, Z_NO_FLUSH);
    for (int i = 0; i < 256; ++i) {
        put(zeros, Z_NO_FLUSH);
    }
    ASSERT_EQ(put("", Z_FINISH), Z_STREAM_END);
    ASSERT_EQ(deflater.total_in, stated);
    frame += packed.substr(0, deflater.total_out);
    deflateEnd(&deflater);
    EXPECT_TRUE(Erf::prep(frame.data(), frame.size()).failed);
}

TEST(Etf, TheEnvelopeBoundsTheSize)
{
    char const bytes[] = "\x83j";
    EXPECT_FALSE(Erf::prep(bytes, 0xFFFFFFFE).failed);
    EXPECT_TRUE(Erf::prep(bytes, 0xFFFFFFFF).failed);
    EXPECT_TRUE(Erf::prep(bytes, Q_UINT64_C(0x100000002)).failed);
    EXPECT_TRUE(Erf::prep(bytes, 0).failed);
}

TEST(Etf, StepsThroughEveryEvent)
{
    std::string const bytes =
        raw("\x83t\0\0\0\2d\0\1kl\0\0\0\3ja\7b\xff\xff\xff\xfejm\0\0\0\1vs\1x");
    Erf::State state;
    Erf::init(&state, Erf::prep(bytes.data(), bytes.size()));
    std::string text;
    do {
        Erf::Result const result = Erf::step(&state);
        text += Erf::toString(&result).toStdString() + "\n";
    } while (state.top < Erf::maxNesting);
    EXPECT_EQ(text,
              "Event: Map (2) {\nEvent: 'k'\nEvent: List (3) [\nEvent: Nil\nEvent: Uint8 (7)\n"
              "Event: Int32 (-2)\nEvent: ]\nEvent: Binary [v]\nEvent: 'x'\nEvent: }\n");
    Erf::Result const beyond = Erf::step(&state);
    EXPECT_EQ(Erf::toString(&beyond).toStdString(), "Error: Ended unexpectedly");
}

TEST(Etf, PrintsNumbersAndErrors)
{
    struct Case {
        std::string bytes;
        char const* text;
    };
    std::vector<Case> const cases{
        { raw("n\1\1\5"), "Event: Int64 (-5)" },
        { raw("n\x08\0\xff\xff\xff\xff\xff\xff\xff\xff"), "Event: Uint64 (18446744073709551615)" },
        // 0x4640000000000000 is 2 to the 101st.
        { raw("F\x40\0\0\0\0\0\0\1"), "Event: Float64 (2535301200456458802993406410752)" },
        { raw("n\x09\000123456789"), "Error: Value out of range" },
        { raw("z"), "Error: Unknown term type 122" },
    };
    for (Case const& one : cases) {
        std::string const bytes = "\x83" + one.bytes;
        Erf::State state;
        Erf::init(&state, Erf::prep(bytes.data(), bytes.size()));
        Erf::Result const result = Erf::step(&state);
        EXPECT_EQ(Erf::toString(&result).toStdString(), one.text);
    }
}

TEST(Etf, ATermCutShortConsumesNothing)
{
    std::string const bytes = raw("\x83m\0\0\0\5hell");
    Erf::State state;
    Erf::init(&state, Erf::prep(bytes.data(), bytes.size()));
    EXPECT_TRUE(Erf::step(&state).isError);
    EXPECT_EQ(state.left, bytes.size() - 1);
}

TEST(Etf, PrettyPrintsTheEventStream)
{
    auto const print = [](std::string const& bytes) {
        return Erf::prettyPrintEtf(bytes.data(), bytes.size()).toStdString();
    };
    EXPECT_EQ(print(raw("\x83t\0\0\0\2m\0\0\0\2opa\12s\1dt\0\0\0\1s\1hl\0\0\0\2a\1jj")),
              "Map (2) {\n"
              "  Binary [op] => Uint8 (10)\n"
              "  'd' => Map (1) {\n"
              "    'h' => List (2) [\n"
              "      Uint8 (1)\n"
              "      Nil\n"
              "    ]\n"
              "  }\n"
              "}\n");
    EXPECT_EQ(print(raw("\x83l\0\0\0\2a\1z")),
              "List (2) [\n  Uint8 (1)\n  Error: Unknown term type 122\n");
    EXPECT_EQ(print("?"), "ETF parser init error");
}

TEST(Etf, NestsTo256)
{
    auto const nested = [](int depth) {
        return "\x83" + repeated(raw("l\0\0\0\1"), depth) + "a\1" + repeated("j", depth);
    };
    EXPECT_EQ(decode(nested(256)), repeated("[", 256) + "u8:1" + repeated("]", 256));
    EXPECT_EQ(decode(nested(257)), "Value out of range");
    EXPECT_STREQ(disagreementExact(nested(256)), "");
    EXPECT_STREQ(disagreementExact(nested(257)), "");
}

TEST(Etf, SurvivesEveryCutAndEveryDamage)
{
    std::vector<std::string> frames;
    for (IndexRow const& row : readIndex()) {
        // Cuts of a long run of one byte show nothing new.
        if (row.size < 5000) {
            frames.push_back(readFile("etf/" + row.name + ".etf"));
        }
    }
    frames.push_back(inflatedSession().at(2)); // a guild
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

TEST(Etf, RefusesToMakeJsonTextOfTwoGigabytes)
{
    // Mapped but never touched behind its head: a binary whose length is negative when signed.
    std::size_t const size = std::size_t(0x80000000) + 6;
    void* const block = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    memcpy(block, "\x83m\x80\0\0\0", 6);
    QString error;
    EXPECT_TRUE(Erf::toJson(block, size, error).isNull());
    EXPECT_EQ(error.toStdString(), "Binary string data too large");
    munmap(block, size);
}
