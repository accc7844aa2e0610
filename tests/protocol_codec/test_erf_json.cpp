// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dump.h"
#include "etf_agree.h"
#include "inflated_session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/mman.h>

#include <vector>

namespace {

// What a JSON line looks like once it went through Erlang: an empty list is nil, a list of nothing
// but bytes is a string.
QJsonValue throughErlang(QJsonValue const& value)
{
    if (value.isObject()) {
        QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            it.value() = throughErlang(it.value());
        }
        return object;
    }
    if (!value.isArray()) {
        return value;
    }
    QJsonArray array;
    QString bytes;
    for (auto const& element : value.toArray()) {
        array.append(throughErlang(element));
        int const number = element.toInt(-1);
        if (number >= 0 && number <= 255) {
            bytes += QChar(number);
        }
    }
    if (array.isEmpty()) {
        return {};
    }
    return bytes.size() == array.size() ? QJsonValue(bytes) : array;
}

std::string textOf(QJsonValue const& value)
{
    return QJsonDocument(QJsonArray{ value }).toJson().toStdString();
}

QJsonValue json(char const* text)
{
    return QJsonDocument::fromJson('[' + QByteArray(text) + ']').array().at(0);
}

// As textOf, or the error behind a "!".
std::string readTerm(std::string const& bytes)
{
    QString error;
    QJsonValue const value = Erf::toJson(bytes.data(), bytes.size(), error);
    return error.isEmpty() ? textOf(value)
        : value.isNull()   ? '!' + error.toStdString()
                           : "a value and an error";
}

std::string writtenTerm(QJsonValue const& value)
{
    QString error;
    QByteArray const bytes = Erf::toEtf(value, error);
    return error.isEmpty() ? bytes.toStdString() : '!' + error.toStdString();
}

} // namespace

TEST(ErfJson, AWholeSessionEqualsItsJson)
{
    auto const frames = inflatedSession();
    auto const lines = QByteArray::fromStdString(readFile("gateway/session.jsonl")).split('\n');
    ASSERT_EQ(frames.size(), 176);
    for (int i = 0; i < frames.size(); ++i) {
        QJsonValue const line = QJsonDocument::fromJson(lines.at(i)).object();
        EXPECT_EQ(readTerm(frames[i].toStdString()), textOf(throughErlang(line))) << i;
        EXPECT_STREQ(EtfAgree::disagreement(frames[i].data(), frames[i].size()), "") << i;
    }
}

TEST(ErfJson, ReadsTerms)
{
    struct Case {
        std::string term; // behind the version byte
        char const* expected;
    };
    std::vector<Case> const cases{
        { "b\xff\xff\xff\xff", "-1" },
        { raw("n\x08\0\xff\xff\xff\xff\xff\xff\xff\xff"), "\"18446744073709551615\"" },
        { raw("n\1\1\5"), "\"-5\"" },
        { "s\3nil", "null" },
        { "s\4true", "true" },
        { "s\2no", "\"no\"" },
        { raw("t\0\0\0\1s\4truel\0\0\0\2a\1jj"), "{\"true\":[1,null]}" },
        { raw("t\0\0\0\1a\1a\2"), "!Invalid object key: Uint8 (1)" },
        { raw("t\0\0\0\1a"), "!Ended unexpectedly" },
        { raw("l\0\0\0\1t\0\0\0\1s\1kz"), "!Unknown term type 122" },
        { raw("l\0\0\0\2ja"), "!Ended unexpectedly" },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(readTerm("\x83" + one.term),
                  one.expected[0] == '!' ? one.expected : textOf(json(one.expected)));
    }
    EXPECT_EQ(readTerm("\x84j"), "!Failed to initialize parser state");
}

TEST(ErfJson, WritesTerms)
{
    struct Case {
        QJsonValue value;
        std::string bytes; // behind the version byte
    };
    std::vector<Case> const cases{
        { json("null"), raw("s\3nil") },
        { true, raw("s\4true") },
        { false, raw("s\5false") },
        { 0, raw("b\0\0\0\0") },
        { 1, raw("a\1") },
        { 255, raw("a\xff") },
        { 256, raw("b\0\0\1\0") },
        { -1, raw("b\xff\xff\xff\xff") },
        { 2147483647, raw("b\x7f\xff\xff\xff") },
        { json("-2147483648"), raw("b\x80\0\0\0") },
        { json("2147483648"), raw("b\0\0\0\0") },
        { 1.5, raw("b\0\0\0\0") },
        { json("\"\""), raw("m\0\0\0\0") },
        { json("\"\\u00e9\""), raw("m\0\0\0\2\xc3\xa9") },
        { json("[]"), raw("l\0\0\0\0j") },
        { json("[1,[2]]"), raw("l\0\0\0\2a\1l\0\0\0\1a\2jj") },
        { json("{}"), raw("t\0\0\0\0") },
        { json("{\"op\":1,\"d\":\"175928847299117063\"}"),
          raw("t\0\0\0\2m\0\0\0\1dm\0\0\0\022175928847299117063m\0\0\0\2opa\1") },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(quotedBytes(writtenTerm(one.value)), quotedBytes("\x83" + one.bytes));
    }
    EXPECT_EQ(writtenTerm(QJsonValue::Undefined), "!Cannot encode JSON 'undefined' value");
}

TEST(ErfJson, BoundsTheDepthThatItWrites)
{
    QJsonValue value = 1;
    for (int i = 0; i < 256; ++i) {
        value = QJsonArray{ value };
    }
    EXPECT_EQ(writtenTerm(value).size(), 1 + 256 * 5 + 2 + 256);
    EXPECT_EQ(writtenTerm(QJsonArray{ value }), "!JSON value is nested too deeply");
}

TEST(ErfJson, RefusesToMakeATextOfTwoGigabytes)
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
