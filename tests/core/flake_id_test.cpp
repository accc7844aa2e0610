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
    { "7", 7 },
    { "0007", 7 },
    { "174820236481134592", 174820236481134592ULL },
    { "9223372036854775808", 9223372036854775808ULL },
    { "18446744073709551614", 18446744073709551614ULL },
    { "18446744073709551615", invalid },
    { "18446744073709551616", invalid },
    { "123456789012345678901", invalid },
    { "-1", invalid },
    { "-174820236481134592", invalid },
    { "12a4", invalid },
    { "0x10", invalid },
    { "1.0", invalid },
    { "1,000", invalid },
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
}

TEST(FlakeId, PartOfAText)
{
    QString const link = QStringLiteral("<@12345>");
    EXPECT_EQ(FlakeId::fromStringRef(link.midRef(2, 5)).value(), 12345U);
}

TEST(FlakeId, JsonNumbersAreNoIds)
{
    EXPECT_FALSE(FlakeId::fromJson(QJsonValue(12345)).isValid());
    EXPECT_FALSE(FlakeId::fromJson(QJsonValue()).isValid());
    EXPECT_FALSE(FlakeId::fromJson(QJsonValue(true)).isValid());
    QJsonArray array{ QStringLiteral("5"), 5 };
    EXPECT_EQ(FlakeId::fromJson(array[0]).value(), 5U);
    EXPECT_FALSE(FlakeId::fromJson(array[1]).isValid());
}

TEST(FlakeId, TextOut)
{
    EXPECT_EQ(FlakeId(0).toString(), QStringLiteral("0"));
    EXPECT_EQ(FlakeId(174820236481134592ULL).toString(), QStringLiteral("174820236481134592"));
    EXPECT_EQ(FlakeId(1ULL << 63).toString(), QStringLiteral("9223372036854775808"));
}

TEST(FlakeId, Time)
{
    EXPECT_EQ(FlakeId(0).toMSecsSinceEpoch_Discord(), 1420070400000);
    EXPECT_EQ(FlakeId((1ULL << 22) - 1).toMSecsSinceEpoch_Discord(), 1420070400000);
    EXPECT_EQ(FlakeId(1000ULL << 22).toMSecsSinceEpoch_Discord(), 1420070401000);
    EXPECT_EQ(FlakeId(1000ULL << 22).toDateTime_Discord().toUTC().toString(Qt::ISODateWithMs),
              QStringLiteral("2015-01-01T00:00:01.000Z"));
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

TEST(FlakeId, Validity)
{
    EXPECT_FALSE(FlakeId().isValid());
    EXPECT_TRUE(FlakeId(0).isValid());
    EXPECT_TRUE(FlakeId(1) < FlakeId(1ULL << 63));
    EXPECT_TRUE(FlakeId(1ULL << 63) < FlakeId());
}
