// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread_json.h"
#include "dump.h"

#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>

#include <vector>

namespace {

// A document's tree.
struct Read {
    Dread::Ctx ctx;
    DreadJson::Result result;

    explicit Read(QByteArray* json)
    {
        Dread::init(&ctx, 64);
        result = DreadJson::jsonToDread(&ctx, json);
    }
    ~Read() { Dread::destroy(&ctx); }
    Read(Read const&) = delete;
    Read& operator=(Read const&) = delete;
};

// The tree as text; of an error its domain and code.
std::string decode(std::string const& json)
{
    QByteArray bytes = QByteArray::fromStdString(json);
    Read const read(&bytes);
    auto const& error = read.result.error;
    return read.result.isError ? "error " + std::to_string(static_cast<int>(error.domain)) + "."
            + std::to_string(error.code)
                               : dump(read.ctx, read.result.root);
}

// Through both forms of the writer, which must give the same.
std::string roundTrip(std::string const& json)
{
    QByteArray bytes = QByteArray::fromStdString(json);
    Read const read(&bytes);
    EXPECT_FALSE(read.result.isError);
    QByteArray array("old");
    rapidjson::StringBuffer buffer;
    EXPECT_TRUE(DreadJson::dreadToJsonString(&array, read.ctx, read.result.root));
    EXPECT_TRUE(DreadJson::dreadToJsonString(&buffer, read.ctx, read.result.root));
    EXPECT_EQ(array.toStdString(), buffer.GetString());
    return array.toStdString();
}

std::string nested(int depth, std::string const& inner)
{
    return repeated("[", depth) + inner + repeated("]", depth);
}

int warnings = 0;
void countWarnings(QtMsgType, QMessageLogContext const&, QString const& text)
{
    warnings += text
        == QLatin1String("DreadJson::jsonToDread: Byte array of JSON string is not detached, "
                         "causing a copy");
}

} // namespace

TEST(DreadJson, Reads)
{
    std::string const longest(65535, 'k');
    struct Case {
        std::string json;
        std::string expected;
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
        { "5e-324", "f64:0000000000000001" },
        // Depth and length of keys are bounded.
        { nested(254, "1"), nested(254, "u8:1") },
        { nested(255, "1"), "error 1.4" },
        { nested(255, ""), nested(255, "") },
        { nested(256, ""), "error 1.4" },
        // Never closed: the parse must end at the bound, not at the end of the text or the stack.
        { std::string(1 << 20, '['), "error 1.4" },
        { "{\"" + longest + "\":1}", "{\"" + longest + "\": u8:1}" },
        { "{\"" + longest + "k\":1}", "error 1.2" },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(decode(one.json), one.expected) << one.json.substr(0, 80);
    }
}

TEST(DreadJson, StringsPointIntoTheTextAndASharedOneIsCopiedWithAWarning)
{
    auto* const before = qInstallMessageHandler(countWarnings);
    warnings = 0;
    std::string const text = "[\"a\\u0062c\"]";
    QByteArray json = QByteArray::fromStdString(text);
    Read const read(&json);
    ASSERT_FALSE(read.result.isError);
    EXPECT_EQ(Dread::listAt(read.ctx, read.result.root.list, 0).string().data,
              json.constData() + 2);
    EXPECT_EQ(warnings, 0);
    json = QByteArray::fromStdString(text);
    QByteArray const shared = json;
    EXPECT_FALSE(Read(&json).result.isError);
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(shared.toStdString(), text);
    qInstallMessageHandler(before);
}

TEST(DreadJson, WritesBackWhatItRead)
{
    for (std::string const& json : {
             std::string("{\"n\":null,\"t\":true,\"f\":false,\"i\":[0,255,256,-1,2147483648,"
                         "-2147483649,18446744073709551615,1.5,1e300],\"s\":\"\\\"\\\\\\n\","
                         "\"\":{},\"e\":[],\"\\u0001\":\"\xc3\xa9\"}"),
             nested(254, "1"),
             "\"" + std::string(100000, 'x') + "\"",
         }) {
        EXPECT_EQ(roundTrip(json), json);
    }
}

TEST(DreadJson, WritesDownToDepth255)
{
    auto const write = [](int depth) {
        Tree const tree("\x83" + repeated(raw("l\0\0\0\1"), depth) + raw("m\0\0\0\0")
                        + repeated("j", depth));
        EXPECT_FALSE(tree.built.isError);
        QByteArray json;
        bool const written = DreadJson::dreadToJsonString(&json, tree.ctx, tree.built.root);
        return written ? json.toStdString() : "refused";
    };
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
