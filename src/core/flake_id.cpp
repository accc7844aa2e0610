// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "flake_id.h"

#include <QDataStream>
#include <QJsonValue>

FlakeId FlakeId::fromString(QString const& text)
{
    return fromStringRef(QStringRef(&text));
}

FlakeId FlakeId::fromStringRef(QStringRef const& text)
{
    if (text.isEmpty())
        return FlakeId();
    bool isNumber = false;
    quint64 const value = text.toULongLong(&isNumber, 10);
    return isNumber ? FlakeId(value) : FlakeId();
}

FlakeId FlakeId::fromJson(QJsonValue const& value)
{
    return value.isString() ? fromString(value.toString()) : FlakeId();
}

FlakeId FlakeId::fromJson(QJsonValueRef const& value)
{
    return fromJson(static_cast<QJsonValue>(value));
}

QString FlakeId::toString() const
{
    return QString::number(m_value);
}

QDateTime FlakeId::toDateTime_Discord() const
{
    return QDateTime::fromMSecsSinceEpoch(toMSecsSinceEpoch_Discord());
}

QDataStream& operator<<(QDataStream& stream, FlakeId const& id)
{
    return stream << static_cast<qint64>(id.value());
}

QDataStream& operator>>(QDataStream& stream, FlakeId& id)
{
    qint64 value = -1; // a stream that has ended gives the invalid id
    stream >> value;
    if (stream.status() != QDataStream::Ok)
        value = -1;
    id = FlakeId(static_cast<quint64>(value));
    return stream;
}

QDebug operator<<(QDebug debug, FlakeId id)
{
    QDebugStateSaver const saver(debug);
    if (id.isValid())
        debug.nospace() << "FlakeId(" << id.value() << ')';
    else
        debug.nospace() << "FlakeId(invalid)";
    return debug;
}
