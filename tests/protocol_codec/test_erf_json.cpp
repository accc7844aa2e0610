// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread_etf.h"
#include "dump.h"
#include "session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <vector>

namespace {

template <std::size_t N> std::string raw(char const (&bytes)[N])
{
    return std::string(bytes, N - 1);
}

// What a JSON line looks like once it went through Erlang: an empty list is nil, a list of nothing
// but bytes is a string.
QJsonValue throughErlang(QJsonValue const& value)
{
    if (value.isObject()) {
        QJsonObject object;
        QJsonObject const source = value.toObject();
        for (auto it = source.begin(); it != source.end(); ++it) {
            object.insert(it.key(), throughErlang(it.value()));
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
        int const number = element.isDouble() ? element.toInt(-1) : -1;
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

// A tree as JSON, numbers of 64 bits as strings.
QJsonValue fromTree(Dread::Ctx const& ctx, Dread::Val const& value)
{
    QJsonArray array;
    QJsonObject object;
    switch (value.tag) {
    case Dread::Tag::Nil:
        return {};
    case Dread::Tag::Bool:
        return value.boolean;
    case Dread::Tag::Uint8:
        return value.uint8;
    case Dread::Tag::Int32:
        return value.int32;
    case Dread::Tag::Int64:
        return QString::number(value.int64);
    case Dread::Tag::Uint64:
        return QString::number(value.uint64);
    case Dread::Tag::Float64:
        return value.float64;
    case Dread::Tag::String:
        return QString::fromUtf8(value.stringData, static_cast<int>(value.stringLength));
    case Dread::Tag::List:
        for (quint32 i = 0; i < value.list.count; ++i) {
            array.append(fromTree(ctx, Dread::listAt(ctx, value.list, i)));
        }
        return array;
    case Dread::Tag::Map:
        for (quint32 i = 0; i < value.map.count; ++i) {
            Dread::Key const& key = Dread::mapKeyAt(ctx, value.map, i);
            object.insert(QString::fromUtf8(key.data, key.length),
                          fromTree(ctx, Dread::mapValueAt(ctx, value.map, i)));
        }
        return object;
    }
    return QJsonValue::Undefined;
}

std::string toEtf(QJsonValue const& value)
{
    QString error;
    QByteArray const bytes = Erf::toEtf(value, error);
    return error.isEmpty() ? bytes.toStdString() : "error: " + error.toStdString();
}

QJsonValue json(char const* text)
{
    return QJsonDocument::fromJson('[' + QByteArray(text) + ']').array().at(0);
}

} // namespace

TEST(ErfJson, AWholeSessionEqualsItsJson)
{
    std::vector<std::string> const frames = inflatedSession();
    QList<QByteArray> lines =
        QByteArray::fromStdString(readFile("gateway/session.jsonl")).split('\n');
    lines.removeLast();
    ASSERT_EQ(frames.size(), 176U);
    ASSERT_EQ(lines.size(), 176);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        QJsonValue const line = QJsonDocument::fromJson(lines.at(static_cast<int>(i))).object();
        std::string const expected = textOf(throughErlang(line));
        QString error;
        EXPECT_EQ(textOf(Erf::toJson(frames[i].data(), frames[i].size(), error)), expected) << i;
        EXPECT_EQ(error.toStdString(), "") << i;
        Dread::Ctx ctx;
        auto const built = DreadUtils::buildFromEtf(&ctx, frames[i].data(), frames[i].size());
        ASSERT_FALSE(built.isError) << i;
        EXPECT_EQ(textOf(fromTree(ctx, built.root)), expected) << i;
        Dread::destroy(&ctx);
        Erf::destroy(built.prepared);
    }
}

TEST(ErfJson, ReadsTerms)
{
    struct Case {
        std::string bytes;
        char const* expected; // JSON, or the error behind a !
    };
    std::vector<Case> const cases{
        { raw("\x83j"), "null" },
        { raw("\x83"
              "a\1"),
          "1" },
        { raw("\x83"
              "b\xff\xff\xff\xff"),
          "-1" },
        { raw("\x83n\x08\0\xff\xff\xff\xff\xff\xff\xff\xff"), "\"18446744073709551615\"" },
        { raw("\x83n\1\1\5"), "\"-5\"" },
        { raw("\x83s\3nil"), "null" },
        { raw("\x83s\4true"), "true" },
        { raw("\x83s\5false"), "false" },
        { raw("\x83s\2no"), "\"no\"" },
        { raw("\x83t\0\0\0\1s\4truel\0\0\0\2a\1jj"), "{\"true\":[1,null]}" },
        { raw("\x83t\0\0\0\1a\1a\2"), "!Invalid object key: Uint8 (1)" },
        { raw("\x83t\0\0\0\1a"), "!Ended unexpectedly" },
        { raw("\x83l\0\0\0\1t\0\0\0\1s\1kz"), "!Unknown term type 122" },
        { raw("\x83l\0\0\0\2ja"), "!Ended unexpectedly" },
        { raw("\x84j"), "!Failed to initialize parser state" },
    };
    for (Case const& one : cases) {
        QString error;
        QJsonValue const value = Erf::toJson(one.bytes.data(), one.bytes.size(), error);
        if (one.expected[0] == '!') {
            EXPECT_EQ('!' + error.toStdString(), one.expected);
            EXPECT_TRUE(value.isNull()) << one.expected;
        } else {
            EXPECT_EQ(textOf(value), textOf(json(one.expected)));
            EXPECT_EQ(error.toStdString(), "") << one.expected;
        }
    }
}

TEST(ErfJson, WritesTerms)
{
    struct Case {
        char const* json;
        std::string bytes; // behind the version byte
    };
    std::vector<Case> const cases{
        { "null", raw("s\3nil") },
        { "true", raw("s\4true") },
        { "false", raw("s\5false") },
        { "0", raw("b\0\0\0\0") },
        { "1", raw("a\1") },
        { "255", raw("a\xff") },
        { "256", raw("b\0\0\1\0") },
        { "-1", raw("b\xff\xff\xff\xff") },
        { "2147483647", raw("b\x7f\xff\xff\xff") },
        { "-2147483648", raw("b\x80\0\0\0") },
        { "2147483648", raw("b\0\0\0\0") },
        { "1.5", raw("b\0\0\0\0") },
        { "\"\"", raw("m\0\0\0\0") },
        { "\"\\u00e9\"", raw("m\0\0\0\2\xc3\xa9") },
        { "[]", raw("l\0\0\0\0j") },
        { "[1,[2]]", raw("l\0\0\0\2a\1l\0\0\0\1a\2jj") },
        { "{}", raw("t\0\0\0\0") },
        { "{\"op\":1,\"d\":\"175928847299117063\"}",
          raw("t\0\0\0\2m\0\0\0\1dm\0\0\0\022175928847299117063m\0\0\0\2opa\1") },
    };
    for (Case const& one : cases) {
        EXPECT_EQ(quotedBytes(toEtf(json(one.json))), quotedBytes("\x83" + one.bytes)) << one.json;
    }
    EXPECT_EQ(toEtf(QJsonValue::Undefined), "error: Cannot encode JSON 'undefined' value");
}

TEST(ErfJson, BoundsTheDepthThatItWrites)
{
    QJsonValue value = 1;
    for (int i = 0; i < 256; ++i) {
        value = QJsonArray{ value };
    }
    EXPECT_EQ(toEtf(value).size(), 1 + 256 * 5 + 2 + 256);
    EXPECT_EQ(toEtf(QJsonArray{ value }), "error: JSON value is nested too deeply");
}
