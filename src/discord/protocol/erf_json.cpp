// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "erf_read_term.h"

#include <QJsonArray>
#include <QJsonObject>

#include <cstdlib>

namespace Erf {

namespace {

bool isText(Event const& event, char const* text)
{
    return event.length == strlen(text) && memcmp(event.data, text, event.length) == 0;
}

// --- to JSON; the parser bounds the depth of these recursions ---

// False after an error, which leaves its text behind.
bool nextEvent(State* state, Event* event, QString& error)
{
    Result const result = step(state);
    if (result.isError) {
        error = toString(&result.error);
        return false;
    }
    *event = result.event;
    return true;
}

QJsonValue valueToJson(State* state, Event const& event, QString& error);

QJsonValue listToJson(State* state, QString& error)
{
    QJsonArray array;
    Event event;
    while (nextEvent(state, &event, error)) {
        if (event.type == EventType::ListEnd) {
            return array;
        }
        array.append(valueToJson(state, event, error));
        if (!error.isEmpty()) {
            break;
        }
    }
    return {};
}

QJsonValue mapToJson(State* state, QString& error)
{
    QJsonObject object;
    Event event;
    while (nextEvent(state, &event, error)) {
        if (event.type == EventType::MapEnd) {
            return object;
        }
        if (event.type != EventType::Atom && event.type != EventType::Binary) {
            error = QLatin1String("Invalid object key: ") + toString(&event);
            break;
        }
        QString const key = textOf(&event);
        if (!nextEvent(state, &event, error)) {
            break;
        }
        QJsonValue const value = valueToJson(state, event, error);
        if (!error.isEmpty()) {
            break;
        }
        object.insert(key, value);
    }
    return {};
}

QJsonValue atomToJson(Event const& event)
{
    if (isText(event, "nil")) {
        return {};
    }
    if (isText(event, "true")) {
        return true;
    }
    if (isText(event, "false")) {
        return false;
    }
    return textOf(&event);
}

QJsonValue valueToJson(State* state, Event const& event, QString& error)
{
    switch (event.type) {
    case EventType::Nil:
        return {};
    case EventType::Uint8:
        return event.uint8;
    case EventType::Int32:
        return event.int32;
    case EventType::Int64:
        return QString::number(event.int64);
    case EventType::Uint64:
        return QString::number(event.uint64);
    case EventType::Float64:
        return event.float64;
    case EventType::Atom:
        return atomToJson(event);
    case EventType::Binary:
        if (static_cast<qint32>(event.length) < 0) {
            error = QStringLiteral("Binary string data too large");
            return {};
        }
        return textOf(&event);
    case EventType::List:
        return listToJson(state, error);
    case EventType::Map:
        return mapToJson(state, error);
    case EventType::ListEnd:
        error = QStringLiteral("Unexpected end of list");
        return {};
    case EventType::MapEnd:
        error = QStringLiteral("Unexpected end of map");
        return {};
    }
    abort();
}

// --- from JSON ---

void appendTag(QByteArray& bytes, TermTag tag)
{
    bytes.append(static_cast<char>(tag));
}

void appendUint32(QByteArray& bytes, quint32 value)
{
    char raw[4];
    qToBigEndian(value, raw);
    bytes.append(raw, sizeof raw);
}

void appendAtom(QByteArray& bytes, QLatin1String name)
{
    appendTag(bytes, TermTag::SmallAtom);
    bytes.append(static_cast<char>(name.size()));
    bytes.append(name.data(), name.size());
}

void appendBinary(QByteArray& bytes, QString const& text)
{
    QByteArray const utf8 = text.toUtf8();
    appendTag(bytes, TermTag::Binary);
    appendUint32(bytes, static_cast<quint32>(utf8.size()));
    bytes.append(utf8);
}

// Deliberately narrow: toInt gives 0 for what is no 32-bit whole number, and 0 takes the long form.
void appendNumber(QByteArray& bytes, int number)
{
    if (number >= 1 && number <= 255) {
        appendTag(bytes, TermTag::SmallInteger);
        bytes.append(static_cast<char>(number));
        return;
    }
    appendTag(bytes, TermTag::Integer);
    appendUint32(bytes, static_cast<quint32>(number));
}

bool appendValue(QByteArray& bytes, QJsonValue const& value, quint32 depth, QString& error);

bool appendArray(QByteArray& bytes, QJsonArray const& array, quint32 depth, QString& error)
{
    appendTag(bytes, TermTag::List);
    appendUint32(bytes, static_cast<quint32>(array.size()));
    for (auto const& element : array) {
        if (!appendValue(bytes, element, depth + 1, error)) {
            return false;
        }
    }
    appendTag(bytes, TermTag::Nil);
    return true;
}

bool appendObject(QByteArray& bytes, QJsonObject const& object, quint32 depth, QString& error)
{
    appendTag(bytes, TermTag::Map);
    appendUint32(bytes, static_cast<quint32>(object.size()));
    for (auto it = object.begin(); it != object.end(); ++it) {
        appendBinary(bytes, it.key());
        if (!appendValue(bytes, it.value(), depth + 1, error)) {
            return false;
        }
    }
    return true;
}

bool appendValue(QByteArray& bytes, QJsonValue const& value, quint32 depth, QString& error)
{
    if (depth > maxNesting) {
        error = QStringLiteral("JSON value is nested too deeply");
        return false;
    }
    switch (value.type()) {
    case QJsonValue::Null:
        appendAtom(bytes, QLatin1String("nil"));
        return true;
    case QJsonValue::Bool:
        appendAtom(bytes, value.toBool() ? QLatin1String("true") : QLatin1String("false"));
        return true;
    case QJsonValue::Double:
        appendNumber(bytes, value.toInt());
        return true;
    case QJsonValue::String:
        appendBinary(bytes, value.toString());
        return true;
    case QJsonValue::Array:
        return appendArray(bytes, value.toArray(), depth, error);
    case QJsonValue::Object:
        return appendObject(bytes, value.toObject(), depth, error);
    case QJsonValue::Undefined:
        break;
    }
    error = QStringLiteral("Cannot encode JSON 'undefined' value");
    return false;
}

} // namespace

QJsonValue toJson(void const* bytes, quint64 size, QString& error)
{
    error.clear();
    PrepData const prepared = prep(bytes, size);
    if (prepared.failed) {
        error = QStringLiteral("Failed to initialize parser state");
        return {};
    }
    State state;
    init(&state, prepared);
    QJsonValue value;
    Event event;
    if (nextEvent(&state, &event, error)) {
        value = valueToJson(&state, event, error);
    }
    destroy(prepared);
    return error.isEmpty() ? value : QJsonValue();
}

QByteArray toEtf(QJsonValue const& value, QString& error)
{
    error.clear();
    QByteArray bytes;
    bytes.append(static_cast<char>(versionByte));
    return appendValue(bytes, value, 0, error) ? bytes : QByteArray();
}

} // namespace Erf
