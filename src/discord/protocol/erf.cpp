// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "erf.h"

#include "erf_read_term.h"

#include <zlib.h>

#include <cmath>
#include <cstdlib>

namespace Erf {

namespace {

constexpr quint8 compressedByte = 'P';
constexpr quint16 listFrame = 0;
constexpr quint16 mapFrame = 1;

// --- the envelope ---

PrepData failedPrep()
{
    PrepData prepared;
    prepared.failed = true;
    return prepared;
}

// stated: the size that the frame says its terms have once inflated.
PrepData inflateFrame(unsigned char const* stream, quint64 streamSize, quint32 stated)
{
    if (stated > maxInflatedSize) {
        return failedPrep();
    }
    auto* const inflated = static_cast<unsigned char*>(malloc(stated));
    uLongf written = stated;
    if (!inflated || uncompress(inflated, &written, stream, streamSize) != Z_OK
        || written != stated) {
        free(inflated);
        return failedPrep();
    }
    PrepData prepared;
    prepared.data = inflated;
    prepared.size = stated;
    prepared.owned = true;
    return prepared;
}

// --- one step ---

// Fills a Result from a term.
struct EventSink {
    Result& result;

    void nil() { result.event.type = EventType::Nil; }
    void uint8(quint8 value)
    {
        result.event.type = EventType::Uint8;
        result.event.uint8 = value;
    }
    void int32(qint32 value)
    {
        result.event.type = EventType::Int32;
        result.event.int32 = value;
    }
    void int64(qint64 value)
    {
        result.event.type = EventType::Int64;
        result.event.int64 = value;
    }
    void uint64(quint64 value)
    {
        result.event.type = EventType::Uint64;
        result.event.uint64 = value;
    }
    void float64(double value)
    {
        result.event.type = EventType::Float64;
        result.event.float64 = value;
    }
    void atom(char const* data, quint16 length) { text(EventType::Atom, data, length); }
    void binary(char const* data, quint32 length) { text(EventType::Binary, data, length); }
    unsigned char const* list(unsigned char const* next, quint32 count)
    {
        result.event.type = EventType::List;
        result.event.count = count;
        return next;
    }
    unsigned char const* map(unsigned char const* next, quint32 count)
    {
        result.event.type = EventType::Map;
        result.event.count = count;
        return next;
    }
    unsigned char const* fail(Error error)
    {
        result.isError = true;
        result.error = error;
        return nullptr;
    }

private:
    void text(EventType type, char const* data, quint32 length)
    {
        result.event.type = type;
        result.event.data = data;
        result.event.length = length;
    }
};

Result endOf(State* state, EventType type)
{
    ++state->top;
    Result result;
    result.event.type = type;
    return result;
}

void moveTo(State* state, unsigned char const* cursor)
{
    state->left -= static_cast<quint64>(cursor - state->cursor);
    state->cursor = cursor;
}

bool push(State* state, quint16 kind, quint32 count)
{
    if (state->top == 0) {
        return false;
    }
    state->stack[--state->top] = { count, 0, kind };
    return true;
}

bool isValueNext(State const& state)
{
    return state.top < maxNesting && state.stack[state.top].inValue;
}

} // namespace

PrepData prep(void const* bytes, quint64 size)
{
    auto const* const frame = static_cast<unsigned char const*>(bytes);
    if (size == 0 || size >= 0xFFFFFFFF || frame[0] != versionByte) {
        return failedPrep();
    }
    if (size >= 6 && frame[1] == compressedByte) {
        return inflateFrame(frame + 6, size - 6, qFromBigEndian<quint32>(frame + 2));
    }
    PrepData prepared;
    prepared.data = frame + 1;
    prepared.size = size - 1;
    return prepared;
}

void destroy(PrepData const& prepared)
{
    if (prepared.owned) {
        free(const_cast<unsigned char*>(prepared.data));
    }
}

void init(State* state, PrepData const& prepared)
{
    state->cursor = prepared.data;
    state->left = prepared.size;
    state->top = maxNesting;
}

Result step(State* state)
{
    if (state->top < maxNesting) {
        Frame& frame = state->stack[state->top];
        if (frame.kind == listFrame) {
            if (frame.remaining == 0) {
                moveTo(state, ReadTerm::skipListTail(state->cursor, state->cursor + state->left));
                return endOf(state, EventType::ListEnd);
            }
            --frame.remaining;
        } else if (frame.inValue) {
            frame.inValue = 0;
            --frame.remaining;
        } else if (frame.remaining == 0) {
            return endOf(state, EventType::MapEnd);
        } else {
            frame.inValue = 1;
        }
    }
    Result result;
    auto const* const next =
        ReadTerm::read(state->cursor, state->cursor + state->left, EventSink{ result });
    if (!next) {
        return result;
    }
    moveTo(state, next);
    bool pushed = true;
    if (result.event.type == EventType::List) {
        pushed = push(state, listFrame, result.event.count);
    } else if (result.event.type == EventType::Map) {
        pushed = push(state, mapFrame, result.event.count);
    }
    if (!pushed) {
        result.isError = true;
        result.error = { ErrorKind::ValueOutOfRange, 0 };
    }
    return result;
}

QString textOf(Event const* event)
{
    int const length = static_cast<int>(event->length);
    return length < 0 ? QString() : QString::fromUtf8(event->data, length);
}

QString toString(Event const* event)
{
    switch (event->type) {
    case EventType::Nil:
        return QStringLiteral("Nil");
    case EventType::Uint8:
        return QStringLiteral("Uint8 (%1)").arg(event->uint8);
    case EventType::Int32:
        return QStringLiteral("Int32 (%1)").arg(event->int32);
    case EventType::Int64:
        return QStringLiteral("Int64 (%1)").arg(event->int64);
    case EventType::Uint64:
        return QStringLiteral("Uint64 (%1)").arg(event->uint64);
    case EventType::Float64:
        return QStringLiteral("Float64 (%1)").arg(std::trunc(event->float64), 0, 'f', 0);
    case EventType::Atom:
        return QLatin1Char('\'') + textOf(event) + QLatin1Char('\'');
    case EventType::Binary:
        return QLatin1String("Binary [") + textOf(event) + QLatin1Char(']');
    case EventType::List:
        return QStringLiteral("List (%1) [").arg(event->count);
    case EventType::ListEnd:
        return QStringLiteral("]");
    case EventType::Map:
        return QStringLiteral("Map (%1) {").arg(event->count);
    case EventType::MapEnd:
        return QStringLiteral("}");
    }
    abort();
}

QString toString(Error const* error)
{
    switch (error->kind) {
    case ErrorKind::EndedUnexpectedly:
        return QStringLiteral("Ended unexpectedly");
    case ErrorKind::UnknownTermType:
        return QStringLiteral("Unknown term type %1").arg(error->tag);
    case ErrorKind::ValueOutOfRange:
        return QStringLiteral("Value out of range");
    }
    abort();
}

QString toString(Result const* result)
{
    return result->isError ? QLatin1String("Error: ") + toString(&result->error)
                           : QLatin1String("Event: ") + toString(&result->event);
}

QString prettyPrintEtf(void const* bytes, quint64 size)
{
    PrepData const prepared = prep(bytes, size);
    if (prepared.failed) {
        return QStringLiteral("ETF parser init error");
    }
    State state;
    init(&state, prepared);
    QString text;
    bool midLine = false;
    do {
        Result const result = step(&state);
        bool const isStart = !result.isError
            && (result.event.type == EventType::List || result.event.type == EventType::Map);
        if (!midLine) {
            int const level = static_cast<int>(maxNesting - state.top) - (isStart ? 1 : 0);
            text += QString(2 * level, QLatin1Char(' '));
        }
        if (result.isError) {
            text += toString(&result) + QLatin1Char('\n');
            break;
        }
        text += toString(&result.event);
        midLine = !isStart && isValueNext(state);
        text += midLine ? QLatin1String(" => ") : QLatin1String("\n");
    } while (state.top < maxNesting);
    destroy(prepared);
    return text;
}

} // namespace Erf
