// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread_json.h"
#include "dump.h"

#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>

#include <vector>

namespace {

// The tree as text; of an error its domain and code.
std::string decode(std::string const& json)
{
    Dread::Ctx ctx;
    Dread::init(&ctx, 64);
    QByteArray bytes = QByteArray::fromStdString(json);
    DreadJson::Result const result = DreadJson::jsonToDread(&ctx, &bytes);
    std::string const text = result.isError
        ? "error " + std::to_string(static_cast<int>(result.error.domain)) + "."
            + std::to_string(result.error.code)
        : dump(ctx, result.root);
    Dread::destroy(&ctx);
    return text;
}

// Through both forms of the writer, which must give the same.
std::string roundTrip(std::string const& json)
{
    Dread::Ctx ctx;
    Dread::init(&ctx, 64);
    QByteArray bytes = QByteArray::fromStdString(json);
    DreadJson::Result const result = DreadJson::jsonToDread(&ctx, &bytes);
    EXPECT_FALSE(result.isError);
    QByteArray array("old");
    rapidjson::StringBuffer buffer;
    EXPECT_TRUE(DreadJson::dreadToJsonString(&array, ctx, result.root));
    EXPECT_TRUE(DreadJson::dreadToJsonString(&buffer, ctx, result.root));
    EXPECT_EQ(array.toStdString(), buffer.GetString());
    Dread::destroy(&ctx);
    return array.toStdString();
}

std::string nested(int depth, std::string const& inner)
{
    return std::string(static_cast<std::size_t>(depth), '[') + inner
        + std::string(static_cast<std::size_t>(depth), ']');
}

int warnings = 0;
void countWarnings(QtMsgType, QMessageLogContext const&, QString const& text)
{
    warnings += text
        == QLatin1String("DreadJson::jsonToDread: Byte array of JSON string is not detached, "
                         "causing a copy");
}

} // namespace

TEST(DreadJson, ReadsValues)
{
    struct Case {
        char const* json;
        char const* expected;
    };
    std::vector<Case> const cases{
        { "null", "nil" },
        { " true ", "true" },
        { "false", "false" },
        { "0", "u8:0" },
        { "255", "u8:255" },
        { "256", "i32:256" },
        { "-1", "i32:-1" },
        { "2147483647", "i32:2147483647" },
        { "-2147483648", "i32:-2147483648" },
        { "2147483648", "i64:2147483648" },
        { "-2147483649", "i64:-2147483649" },
        { "9223372036854775807", "i64:9223372036854775807" },
        { "9223372036854775808", "u64:9223372036854775808" },
        { "18446744073709551615", "u64:18446744073709551615" },
        { "18446744073709551616", "f64:43f0000000000000" },
        { "1.0", "f64:3ff0000000000000" },
        { "\"a\\u00e9\\n\\ud83d\\ude00\"", "\"a\\c3\\a9\\0a\\f0\\9f\\98\\80\"" },
        { "[]", "[]" },
        { "{}", "{}" },
        { "{\"k\":[1,{\"k\":null}],\"k\":2}", "{\"k\": [u8:1, {\"k\": nil}], \"k\": u8:2}" },
        { "{\"\":1}", "{\"\": u8:1}" },
        // rapidjson's codes: 1 empty, 2 text behind the root, 3 no value, 13 number too big.
        { "", "error 0.1" },
        { "[1] 2", "error 0.2" },
        { "nul", "error 0.3" },
        { "1e999", "error 0.13" },
        { "[1.8e308]", "error 1.1" },
        { "1e-324", "f64:0000000000000000" },
        { "5e-324", "f64:0000000000000001" },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(decode(one.json), one.expected) << one.json;
    }
}

TEST(DreadJson, BoundsDepthAndKeys)
{
    EXPECT_EQ(decode(nested(254, "1")), nested(254, "u8:1"));
    EXPECT_EQ(decode(nested(255, "1")), "error 1.4");
    EXPECT_EQ(decode(nested(255, "")), nested(255, ""));
    EXPECT_EQ(decode(nested(256, "")), "error 1.4");
    // Never closed: the parse must end at the bound, not at the end of the text or the stack.
    EXPECT_EQ(decode(std::string(1 << 20, '[')), "error 1.4");
    std::string const longest(65535, 'k');
    EXPECT_EQ(decode("{\"" + longest + "\":1}"), "{\"" + longest + "\": u8:1}");
    EXPECT_EQ(decode("{\"" + longest + "k\":1}"), "error 1.2");
}

TEST(DreadJson, StringsPointIntoTheText)
{
    Dread::Ctx ctx;
    Dread::init(&ctx, 64);
    QByteArray json("[\"abc\"]");
    json.detach();
    DreadJson::Result const result = DreadJson::jsonToDread(&ctx, &json);
    ASSERT_FALSE(result.isError);
    EXPECT_EQ(Dread::listAt(ctx, result.root.list, 0).string().data, json.constData() + 2);
    Dread::destroy(&ctx);
}

TEST(DreadJson, ASharedTextIsCopiedWithAWarning)
{
    auto* const before = qInstallMessageHandler(countWarnings);
    warnings = 0;
    Dread::Ctx ctx;
    Dread::init(&ctx, 64);
    QByteArray json("[\"a\\u0062c\"]");
    EXPECT_FALSE(DreadJson::jsonToDread(&ctx, &json).isError);
    EXPECT_EQ(warnings, 0);
    json = "[\"a\\u0062c\"]";
    QByteArray const shared = json;
    EXPECT_FALSE(DreadJson::jsonToDread(&ctx, &json).isError);
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(shared, QByteArray("[\"a\\u0062c\"]"));
    Dread::destroy(&ctx);
    qInstallMessageHandler(before);
}

TEST(DreadJson, WritesBackWhatItRead)
{
    std::string const one = "{\"n\":null,\"t\":true,\"f\":false,\"i\":[0,255,256,-1,2147483648,"
                            "-2147483649,18446744073709551615,1.5,1e300],\"s\":\"\\\"\\\\\\n\","
                            "\"\":{},\"e\":[],\"\\u0001\":\"\xc3\xa9\"}";
    EXPECT_EQ(roundTrip(one), one);
    EXPECT_EQ(roundTrip(nested(254, "1")), nested(254, "1"));
    std::string const big = "\"" + std::string(100000, 'x') + "\"";
    EXPECT_EQ(roundTrip(big), big);
}

TEST(DreadJson, WritesDownToDepth255)
{
    auto const write = [](quint32 depth) {
        Dread::Ctx ctx;
        Dread::init(&ctx, 64);
        ctx.used = 24;
        quint32 at = 0;
        for (quint32 i = 0; i < depth; ++i) {
            Dread::VList list;
            Dread::setList(&ctx, at, 1, &list);
            at = list.offset;
        }
        Dread::setString(&ctx, at, nullptr, 0);
        QByteArray json;
        bool const written = DreadJson::dreadToJsonString(&json, ctx, Dread::cellAt(&ctx, 0));
        Dread::destroy(&ctx);
        return written ? json.toStdString() : "refused";
    };
    EXPECT_EQ(write(0), "\"\"");
    EXPECT_EQ(write(255), nested(255, "\"\""));
    EXPECT_EQ(write(256), "refused");
}

TEST(DreadJson, AnArenaThatRefusesIsAnError)
{
    // Full by its numbers alone; the block is never written.
    unsigned char block[24];
    Dread::Ctx ctx{ block, 0xFFFFFFF0, 0xFFFFFFFF };
    QByteArray json("1");
    DreadJson::Result const result = DreadJson::jsonToDread(&ctx, &json);
    EXPECT_TRUE(result.isError);
    EXPECT_EQ(result.error.domain, DreadJson::Domain::Build);
    EXPECT_EQ(result.error.code, 0);
}
