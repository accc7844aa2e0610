// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "flake_id.h"

#include <QDataStream>
#include <QJsonArray>

#include <gtest/gtest.h>

namespace {

constexpr quint64 invalid = 0xFFFFFFFFFFFFFFFFULL;

} // namespace

TEST(FlakeId, ReadFromText)
{
    struct {
        QString text;
        quint64 value;
    } const cases[] = {
        { QString(), invalid },
        { QStringLiteral(""), invalid },
        { QStringLiteral("0"), 0 },
        { QStringLiteral("007"), 7 },
        { QStringLiteral("18446744073709551614"), 18446744073709551614ULL },
        { QStringLiteral("18446744073709551615"), invalid },
        { QStringLiteral("18446744073709551616"), invalid },
        { QStringLiteral("-1"), invalid },
        { QStringLiteral("12a4"), invalid },
        { QStringLiteral("0x10"), invalid },
        { QStringLiteral("1.0"), invalid },
    };
    for (auto const& c : cases) {
        QJsonArray array{ c.text };
        QString const inside = u'<' + c.text + u'>';
        EXPECT_EQ(FlakeId::fromString(c.text).value(), c.value);
        EXPECT_EQ(FlakeId::fromStringRef(inside.midRef(1, c.text.size())).value(), c.value);
        EXPECT_EQ(FlakeId::fromJson(array[0]).value(), c.value);
        EXPECT_EQ(FlakeId::fromJson(array.at(0)).value(), c.value);
    }
    EXPECT_EQ(FlakeId::fromStringRef(QStringRef()).value(), invalid);
    EXPECT_EQ(FlakeId::fromJson(QJsonValue(12345)).value(), invalid) << "a number is no id";
}

TEST(FlakeId, WrittenAsTextAndTime)
{
    struct {
        quint64 id;
        char const* text;
    } const cases[] = {
        { (1ULL << 22) - 1, "4194303 2015-01-01T00:00:00.000Z" },
        { 1000ULL << 22, "4194304000 2015-01-01T00:00:01.000Z" },
        { 1ULL << 63, "9223372036854775808 2084-09-06T15:47:35.552Z" },
    };
    for (auto const& c : cases) {
        FlakeId const id(c.id);
        QString const time = id.toDateTime_Discord().toUTC().toString(Qt::ISODateWithMs);
        EXPECT_EQ((id.toString() + u' ' + time).toStdString(), c.text);
    }
}

TEST(FlakeId, StreamThatMayBeCutAnywhere)
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
