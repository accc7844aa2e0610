// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The Erlang external term format, which the gateway speaks: a pull parser that delivers one event
// per step and owns no tree, and the conversions to and from QJsonValue with which outgoing frames
// are made. Codecs only: bytes in, value or error out. A State belongs to one thread at a time.

#include <QByteArray>
#include <QJsonValue>
#include <QString>

namespace Erf {

// --- the envelope ---

// The bytes of the terms, behind the version byte. They are the caller's own, unless the frame was
// of the compressed form: then owned is set and destroy frees them.
struct PrepData {
    unsigned char const* data = nullptr;
    quint64 size = 0; // bytes
    bool owned = false;
    bool failed = false;
};

constexpr quint8 versionByte = 131; // the first of every frame
constexpr quint32 maxInflatedSize = 256 * 1024 * 1024; // bytes that a compressed frame may state

[[nodiscard]] PrepData prep(void const* bytes, quint64 size);
void destroy(PrepData const& prepared);

// --- events ---

enum class EventType : quint8 {
    Nil = 0,
    Uint8 = 1,
    Int32 = 2,
    Int64 = 3,
    Uint64 = 4,
    Float64 = 5,
    Atom = 6,
    Binary = 7,
    List = 8,
    ListEnd = 9,
    Map = 10,
    MapEnd = 11,
};

struct Event {
    EventType type = EventType::Nil;
    quint32 length = 0; // bytes of an atom or a binary
    union {
        quint64 uint64 = 0;
        quint8 uint8;
        qint32 int32;
        qint64 int64;
        double float64;
        char const* data; // of an atom or a binary, in the source
        quint32 count; // elements of a list, entries of a map
    };
};

enum class ErrorKind : quint8 {
    EndedUnexpectedly = 0,
    UnknownTermType = 1,
    ValueOutOfRange = 2, // of a number; also containers nested too deeply
};

struct Error {
    ErrorKind kind = ErrorKind::EndedUnexpectedly;
    quint8 tag = 0; // the byte of an unknown term type
};

struct Result {
    bool isError = false;
    Event event;
    Error error;
};

// --- the pull parser ---

constexpr quint32 maxNesting = 256; // containers within each other

struct Frame {
    quint32 remaining; // elements of a list, entries of a map
    quint8 inValue; // of a map: its key is read, its value comes next
    quint16 kind; // 0 list, 1 map
};

// The stack grows downwards, from top == maxNesting, which is empty.
struct State {
    Frame stack[maxNesting];
    unsigned char const* cursor;
    quint64 left; // bytes
    quint32 top;
};

void init(State* state, PrepData const& prepared);
// A container is delivered as its start, its contents and its end. A term that is cut short
// consumes nothing.
[[nodiscard]] Result step(State* state);

// Of an atom or a binary. Empty if it is too long for a QString.
QString textOf(Event const* event);
QString toString(Event const* event);
QString toString(Error const* error);
QString toString(Result const* result);

// --- conversions ---

// 64-bit numbers become strings, so that identifiers survive. On failure the error is not empty and
// the result is null.
QJsonValue toJson(void const* bytes, quint64 size, QString& error);
QByteArray toEtf(QJsonValue const& value, QString& error);

// For the event log; nothing parses it.
QString prettyPrintEtf(void const* bytes, quint64 size);

} // namespace Erf
