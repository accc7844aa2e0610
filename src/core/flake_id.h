// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The 64-bit identifier of every Discord entity. Plain value, any thread.

#include <QDateTime>
#include <QDebug>
#include <QHashFunctions>
#include <QMetaType>
#include <QString>

#include <limits>

class QDataStream;
class QJsonValue;
class QJsonValueRef;

class FlakeId {
public:
    // The invalid id: all bits set. It is what a failed parse gives.
    constexpr FlakeId() = default;
    constexpr explicit FlakeId(quint64 value)
        : m_value(value)
    {
    }

    // Decimal text, base 10. Null, empty or otherwise bad text gives the invalid id.
    static FlakeId fromString(QString const& text);
    static FlakeId fromStringRef(QStringRef const& text);

    // Only a JSON string can be an id: a JSON number may exceed a double's precision, so it gives
    // the invalid id even when it is well formed.
    static FlakeId fromJson(QJsonValue const& value);
    static FlakeId fromJson(QJsonValueRef const& value);

    constexpr bool isValid() const { return m_value != std::numeric_limits<quint64>::max(); }
    constexpr quint64 value() const { return m_value; }

    QString toString() const;

    // The top 42 bits count milliseconds since the Discord epoch.
    static constexpr qint64 discordEpochMSecs = 1420070400000;
    constexpr qint64 toMSecsSinceEpoch_Discord() const
    {
        return static_cast<qint64>(m_value >> 22) + discordEpochMSecs;
    }
    QDateTime toDateTime_Discord() const;

private:
    quint64 m_value = std::numeric_limits<quint64>::max();
};

constexpr bool operator==(FlakeId a, FlakeId b)
{
    return a.value() == b.value();
}
constexpr bool operator!=(FlakeId a, FlakeId b)
{
    return a.value() != b.value();
}
constexpr bool operator<(FlakeId a, FlakeId b)
{
    return a.value() < b.value();
}
inline uint qHash(FlakeId id, uint seed = 0)
{
    return ::qHash(id.value(), seed);
}

// One signed 64-bit integer in the stream.
QDataStream& operator<<(QDataStream& stream, FlakeId const& id);
QDataStream& operator>>(QDataStream& stream, FlakeId& id);
QDebug operator<<(QDebug debug, FlakeId id);

Q_DECLARE_METATYPE(FlakeId)
Q_DECLARE_TYPEINFO(FlakeId, Q_MOVABLE_TYPE);
