// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "flake_id.h"

#include <QDataStream>
#include <QJsonArray>
#include <QJsonValue>

#include <gtest/gtest.h>

namespace {

constexpr quint64 invalid = 0xFFFFFFFFFFFFFFFFULL;

struct TextCase {
    char const* text; // null: a null string
    quint64 value;
};

constexpr TextCase textCases[] = {
    { nullptr, invalid },
    { "", invalid },
    { "0", 0 },
    { "007", 7 },
    { "174820236481134592", 174820236481134592ULL },
    { "9223372036854775808", 9223372036854775808ULL },
    { "18446744073709551614", 18446744073709551614ULL },
    { "18446744073709551615", invalid },
    { "18446744073709551616", invalid },
    { "123456789012345678901", invalid },
    { "-1", invalid },
    { "12a4", invalid },
    { "0x10", invalid },
    { "1.0", invalid },
};

} // namespace

TEST(FlakeId, Text)
{
    for (TextCase const& c : textCases) {
        QString const text = c.text ? QString::fromLatin1(c.text) : QString();
        SCOPED_TRACE(text.toStdString());
        EXPECT_EQ(FlakeId::fromString(text).value(), c.value);
        EXPECT_EQ(FlakeId::fromStringRef(QStringRef(&text)).value(), c.value);
        EXPECT_EQ(FlakeId::fromJson(QJsonValue(text)).value(), c.value);
    }
    EXPECT_EQ(FlakeId::fromStringRef(QStringRef()).value(), invalid);
    QString const link = QStringLiteral("<@12345>");
    EXPECT_EQ(FlakeId::fromStringRef(link.midRef(2, 5)).value(), 12345U);
}

TEST(FlakeId, JsonNumbersAreNoIds)
{
    QJsonArray array{ QStringLiteral("5"), 5, QJsonValue(), true };
    EXPECT_EQ(FlakeId::fromJson(array[0]).value(), 5U);
    for (int i = 1; i < array.size(); ++i) {
        EXPECT_FALSE(FlakeId::fromJson(array[i]).isValid()) << i;
        EXPECT_FALSE(FlakeId::fromJson(array.at(i)).isValid()) << i;
    }
}

TEST(FlakeId, TextOutAndTime)
{
    struct {
        quint64 id;
        char const* text;
    } const cases[] = {
        { 0, "0 2015-01-01T00:00:00.000Z" },
        { (1ULL << 22) - 1, "4194303 2015-01-01T00:00:00.000Z" },
        { 1000ULL << 22, "4194304000 2015-01-01T00:00:01.000Z" },
        { 1ULL << 63, "9223372036854775808 2084-09-06T15:47:35.552Z" },
    };
    for (auto const& c : cases) {
        FlakeId const id(c.id);
        QString const time = id.toDateTime_Discord().toUTC().toString(Qt::ISODateWithMs);
        EXPECT_EQ((id.toString() + QLatin1Char(' ') + time).toStdString(), c.text);
    }
}

TEST(FlakeId, Stream)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << FlakeId(0x8001020304050607ULL) << FlakeId();
    EXPECT_EQ(bytes.toHex(), QByteArray("8001020304050607ffffffffffffffff"));
    for (int length = 0; length <= bytes.size(); ++length) {
        QDataStream stream(bytes.left(length));
        FlakeId first(1);
        FlakeId second(1);
        stream >> first >> second;
        EXPECT_EQ(first.value(), length < 8 ? invalid : 0x8001020304050607ULL) << length;
        EXPECT_EQ(second.value(), invalid) << length;
    }
}
