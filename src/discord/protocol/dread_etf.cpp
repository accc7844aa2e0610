// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread_etf.h"

#include "erf_read_term.h"

#include <cstdlib>
#include <limits>

namespace DreadUtils {

namespace {

using Bytes = unsigned char const*;

constexpr quint32 minCapacity = 2048; // bytes

struct Build {
    Dread::Ctx* ctx;
    Bytes end;
    quint32 depth; // containers that are open
    BuildError error;

    Bytes fail(BuildCode code)
    {
        error = { BuildDomain::Build, static_cast<quint8>(code), 0 };
        return nullptr;
    }
    Bytes fail(Erf::Error failure)
    {
        error = { BuildDomain::Erf, static_cast<quint8>(failure.kind), failure.tag };
        return nullptr;
    }
};

// Kept apart so that the reader of scalars is inlined into their loops, where nearly all terms are
// read, and not wrapped up with the recursion.
Q_NEVER_INLINE Bytes buildList(Build& build, Bytes at, quint32 offset, quint32 count);
Q_NEVER_INLINE Bytes buildMap(Build& build, Bytes at, quint32 offset, quint32 count);

// In two halves of which each is one load, since a call of memcmp would cost more than all else.
template <std::size_t N> bool spells(char const* data, char const (&word)[N])
{
    constexpr std::size_t half = N - 1 < 4 ? 2 : 4;
    static_assert(N - 1 >= half && N - 1 <= half + 1, "the second half is at most a byte");
    return memcmp(data, word, half) == 0 && data[N - 2] == word[N - 2];
}

// Fills the cell at offset from a term.
struct ValueSink {
    Build& build;
    quint32 offset;

    void nil() { Dread::setNil(build.ctx, offset); }
    void uint8(quint8 value) { Dread::setUint8(build.ctx, offset, value); }
    void int32(qint32 value) { Dread::setInt32(build.ctx, offset, value); }
    void int64(qint64 value) { Dread::setInt64(build.ctx, offset, value); }
    void uint64(quint64 value) { Dread::setUint64(build.ctx, offset, value); }
    void float64(double value) { Dread::setFloat64(build.ctx, offset, value); }
    void atom(char const* data, quint16 length)
    {
        if (length == 3 && spells(data, "nil")) {
            Dread::setNil(build.ctx, offset);
        } else if (length == 5 && spells(data, "false")) {
            Dread::setBool(build.ctx, offset, false);
        } else if (length == 4 && spells(data, "true")) {
            Dread::setBool(build.ctx, offset, true);
        } else {
            binary(data, length);
        }
    }
    void binary(char const* data, quint32 length)
    {
        Dread::setString(build.ctx, offset, data, length);
    }
    Bytes list(Bytes next, quint32 count) { return buildList(build, next, offset, count); }
    Bytes map(Bytes next, quint32 count) { return buildMap(build, next, offset, count); }
    Bytes fail(Erf::Error error) { return build.fail(error); }
};

// Takes a term as the key of an entry. Atoms stay text here, nil and true as well.
struct KeySink {
    Build& build;
    char const* data = nullptr; // null: the term was no key
    quint32 length = 0;

    void nil() { }
    void uint8(quint8) { }
    void int32(qint32) { }
    void int64(qint64) { }
    void uint64(quint64) { }
    void float64(double) { }
    void atom(char const* text, quint16 size) { binary(text, size); }
    void binary(char const* text, quint32 size)
    {
        data = text;
        length = size;
    }
    Bytes list(Bytes next, quint32) { return next; }
    Bytes map(Bytes next, quint32) { return next; }
    Bytes fail(Erf::Error error) { return build.fail(error); }
};

// Before a container's cells are reserved: each of so many terms takes at least a byte, so a count
// beyond the bytes left cannot end well, and is not worth the memory. Counts that the arena refuses
// in any case are left to it.
bool enter(Build& build, Bytes at, quint32 count, quint32 refused)
{
    if (build.depth == Erf::maxNesting) {
        build.fail(Erf::Error{ Erf::ErrorKind::ValueOutOfRange, 0 });
        return false;
    }
    if (count > static_cast<std::size_t>(build.end - at) && count <= refused) {
        build.fail(Erf::Error{ Erf::ErrorKind::EndedUnexpectedly, 0 });
        return false;
    }
    ++build.depth;
    return true;
}

Bytes buildList(Build& build, Bytes at, quint32 offset, quint32 count)
{
    Dread::VList list;
    if (!enter(build, at, count, Dread::maxListCount)) {
        return nullptr;
    }
    if (Dread::setList(build.ctx, offset, count, &list) != 0) {
        return build.fail(BuildCode::OutOfMemory);
    }
    for (quint32 i = 0; i < count; ++i) {
        at = Erf::ReadTerm::read(at, build.end, ValueSink{ build, list.offset + 24 * i });
        if (!at) {
            return nullptr;
        }
    }
    --build.depth;
    return Erf::ReadTerm::skipListTail(at, build.end);
}

Bytes buildMap(Build& build, Bytes at, quint32 offset, quint32 count)
{
    Dread::VMap map;
    if (!enter(build, at, count, Dread::maxMapCount)) {
        return nullptr;
    }
    if (Dread::setMap(build.ctx, offset, count, &map) != 0) {
        return build.fail(BuildCode::OutOfMemory);
    }
    quint32 const values = map.offset + 16 * count;
    for (quint32 i = 0; i < count; ++i) {
        KeySink key{ build };
        at = Erf::ReadTerm::read(at, build.end, key);
        if (!at) {
            return nullptr;
        }
        if (!key.data) {
            return build.fail(BuildCode::InvalidMapKey);
        }
        if (key.length > std::numeric_limits<quint16>::max()) {
            return build.fail(BuildCode::ValueOutOfRange);
        }
        Dread::setMapKey(build.ctx, map, i, key.data, static_cast<quint16>(key.length));
        at = Erf::ReadTerm::read(at, build.end, ValueSink{ build, values + 24 * i });
        if (!at) {
            return nullptr;
        }
    }
    --build.depth;
    return at;
}

quint32 initialCapacity(quint64 size)
{
    quint64 capacity = minCapacity;
    while (capacity < size * 3) {
        capacity *= 2;
    }
    return static_cast<quint32>(qMin<quint64>(capacity, 0xFFFFFFFF));
}

bool buildRoot(Build& build, Bytes at)
{
    if (!Dread::ensureMoreCapacity(build.ctx, sizeof(Dread::Val))) {
        build.fail(BuildCode::OutOfMemory);
        return false;
    }
    build.ctx->used += sizeof(Dread::Val);
    return Erf::ReadTerm::read(at, build.end, ValueSink{ build, 0 }) != nullptr;
}

} // namespace

BuildResult buildFromEtf(Dread::Ctx* ctx, void const* bytes, quint64 size)
{
    BuildResult result;
    result.prepared = Erf::prep(bytes, size);
    if (result.prepared.failed) {
        result.isError = true;
        result.error = { BuildDomain::Build, static_cast<quint8>(BuildCode::InitError), 0 };
        return result;
    }
    Dread::init(ctx, initialCapacity(result.prepared.size));
    Build build{ ctx, result.prepared.data + result.prepared.size, 0, {} };
    if (buildRoot(build, result.prepared.data)) {
        result.root = Dread::cellAt(ctx, 0);
        return result;
    }
    Dread::destroy(ctx);
    Erf::destroy(result.prepared);
    result.isError = true;
    result.error = build.error;
    result.prepared = {};
    return result;
}

QString toString(BuildError const& error)
{
    if (error.domain == BuildDomain::Erf) {
        Erf::Error const inner{ static_cast<Erf::ErrorKind>(error.code), error.tag };
        return Erf::toString(&inner);
    }
    switch (static_cast<BuildCode>(error.code)) {
    case BuildCode::OutOfMemory:
        return QStringLiteral("Out of memory");
    case BuildCode::ValueOutOfRange:
        return QStringLiteral("Value out of range");
    case BuildCode::InitError:
        return QStringLiteral("Init error");
    case BuildCode::InternalError:
        return QStringLiteral("Internal error");
    case BuildCode::InvalidMapKey:
        return QStringLiteral("Invalid map key");
    }
    abort();
}

} // namespace DreadUtils
