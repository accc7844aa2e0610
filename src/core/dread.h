// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A Dread tree: a read-only, arena-held document of nils, booleans, numbers, strings, lists and
// maps. Built in one pass, read by key lookups, then thrown away whole. Its strings point into the
// buffer that it was parsed from, which must outlive it. A tree belongs to one thread at a time.

#include "flake_id.h"

#include <QByteArray>
#include <QString>

#include <cstring>

namespace Dread {

// The arena. Its block may move while the tree is built, so everything inside a tree is addressed
// by a 32-bit byte offset from buf.
struct Ctx {
    unsigned char* buf = nullptr; // malloc block
    quint32 used = 0; // bytes handed out
    quint32 capacity = 0; // bytes
};

constexpr quint32 badOffset = 0xFFFFFFFF; // a failed allocation

enum class Tag : quint8 {
    Nil = 0,
    Bool = 1,
    Uint8 = 2,
    Int32 = 3,
    Int64 = 4,
    Uint64 = 5,
    Float64 = 6,
    String = 7,
    List = 8,
    Map = 9,
};

// UTF-8, not terminated.
struct VString {
    char const* data = nullptr;
    quint32 length = 0; // bytes
};

// count cells at offset.
struct VList {
    quint32 offset = 0;
    quint32 count = 0;
};

// count Key records at offset, directly followed by count cells. In document order; duplicates are
// kept.
struct VMap {
    quint32 offset = 0;
    quint32 count = 0;
};

struct Key {
    char const* data;
    quint16 length; // bytes
};
static_assert(sizeof(Key) == 16, "keys stay 16 bytes wide in the arena");

struct Val {
    union {
        bool boolean;
        quint8 uint8;
        qint32 int32;
        qint64 int64;
        quint64 uint64;
        double float64;
        char const* stringData;
        VList list;
        VMap map;
    };
    quint64 stringLength = 0;
    Tag tag = Tag::Nil;

    Val()
        : uint64(0)
    {
    }
    VString string() const { return { stringData, static_cast<quint32>(stringLength) }; }
};
static_assert(sizeof(Val) == 24, "cells stay at 24 bytes");

// What a lookup gives where nothing is found.
extern VString const emptyString;
extern VList const emptyList;
extern VMap const emptyMap;

// --- the arena; offsets are of cells in it ---
void init(Ctx* ctx, quint32 capacity);
void clear(Ctx* ctx); // the block stays
void destroy(Ctx* ctx);
void setCapacity(Ctx* ctx, quint32 capacity);
// The unusual half of ensureMoreCapacity: moves the block, or refuses.
bool growCapacity(Ctx* ctx, quint32 n);
// Makes room for n more bytes; false if that would pass 32 bits or memory ran out.
inline bool ensureMoreCapacity(Ctx* ctx, quint32 n)
{
    return quint64(ctx->used) + n <= ctx->capacity || growCapacity(ctx, n);
}

// --- writing a cell ---
inline Val& cellAt(Ctx* ctx, quint32 offset)
{
    return *reinterpret_cast<Val*>(ctx->buf + offset);
}
inline void setNil(Ctx* ctx, quint32 offset)
{
    cellAt(ctx, offset).tag = Tag::Nil;
}
inline void setBool(Ctx* ctx, quint32 offset, bool value)
{
    cellAt(ctx, offset).boolean = value;
    cellAt(ctx, offset).tag = Tag::Bool;
}
inline void setUint8(Ctx* ctx, quint32 offset, quint8 value)
{
    cellAt(ctx, offset).uint8 = value;
    cellAt(ctx, offset).tag = Tag::Uint8;
}
inline void setInt32(Ctx* ctx, quint32 offset, qint32 value)
{
    cellAt(ctx, offset).int32 = value;
    cellAt(ctx, offset).tag = Tag::Int32;
}
inline void setInt64(Ctx* ctx, quint32 offset, qint64 value)
{
    cellAt(ctx, offset).int64 = value;
    cellAt(ctx, offset).tag = Tag::Int64;
}
inline void setUint64(Ctx* ctx, quint32 offset, quint64 value)
{
    cellAt(ctx, offset).uint64 = value;
    cellAt(ctx, offset).tag = Tag::Uint64;
}
inline void setFloat64(Ctx* ctx, quint32 offset, double value)
{
    cellAt(ctx, offset).float64 = value;
    cellAt(ctx, offset).tag = Tag::Float64;
}
inline void setString(Ctx* ctx, quint32 offset, char const* data, quint32 length)
{
    cellAt(ctx, offset).stringData = data;
    cellAt(ctx, offset).stringLength = length;
    cellAt(ctx, offset).tag = Tag::String;
}
// Counts that may be reserved at all, so that offsets stay within 32 bits.
constexpr quint32 maxListCount = 0xAAAAAAA;
constexpr quint32 maxMapCount = 0xFFFFFFF;
// Reserve the elements, which the caller then fills, every one. Return 0, or 1 on failure.
int setList(Ctx* ctx, quint32 offset, quint32 count, VList* out);
int setMap(Ctx* ctx, quint32 offset, quint32 count, VMap* out);
inline void setMapKey(Ctx* ctx, VMap const& map, quint32 index, char const* data, quint16 length)
{
    auto& key = *reinterpret_cast<Key*>(ctx->buf + map.offset + std::size_t(16) * index);
    key.data = data;
    key.length = length;
}

// --- reading ---
inline Val const& listAt(Ctx const& ctx, VList const& list, quint32 index)
{
    return *reinterpret_cast<Val const*>(ctx.buf + list.offset + std::size_t(24) * index);
}
inline Key const& mapKeyAt(Ctx const& ctx, VMap const& map, quint32 index)
{
    return *reinterpret_cast<Key const*>(ctx.buf + map.offset + std::size_t(16) * index);
}
inline Val const& mapValueAt(Ctx const& ctx, VMap const& map, quint32 index)
{
    return *reinterpret_cast<Val const*>(ctx.buf + map.offset + std::size_t(16) * map.count
                                         + std::size_t(24) * index);
}

constexpr std::size_t keyLengthLimit = 65536; // bytes; a key this long or longer is nowhere

// The scan behind findVal, by a key of known length.
Val const* findKey(Ctx const& ctx, VMap const& map, char const* key, std::size_t length);
// The value of the first entry with this key, or null. Inline so that the length of a literal is
// worked out by the compiler.
inline Val const* findVal(Ctx const& ctx, VMap const& map, char const* key)
{
    return findKey(ctx, map, key, strnlen(key, keyLengthLimit));
}

// A value in hand, such as a list's element, in the wanted form; null is not found. Where nothing
// is found, *out is the empty value, false for a bool, and left alone for numbers and ids.
bool toString(Val const* value, VString* out);
bool toList(Val const* value, VList* out);
bool toMap(Val const* value, VMap* out);
bool toBool(Val const* value, bool* out);
bool toInt32(Val const* value, qint32* out); // any whole number that fits
bool toFlakeId(Val const* value, FlakeId* out); // any whole number, or a string of 1 to 20 digits
inline bool toFlakeId(Val const& value, FlakeId* out)
{
    return toFlakeId(&value, out);
}

// The first entry with this key decides: if its value is not of the wanted form, nothing is found,
// whatever a later duplicate holds.
inline bool find(Ctx const& ctx, VMap const& map, char const* key, VString* out)
{
    return toString(findVal(ctx, map, key), out);
}
inline bool find(Ctx const& ctx, VMap const& map, char const* key, VList* out)
{
    return toList(findVal(ctx, map, key), out);
}
inline bool find(Ctx const& ctx, VMap const& map, char const* key, VMap* out)
{
    return toMap(findVal(ctx, map, key), out);
}
inline bool find(Ctx const& ctx, VMap const& map, char const* key, bool* out)
{
    return toBool(findVal(ctx, map, key), out);
}
inline bool find(Ctx const& ctx, VMap const& map, char const* key, qint32* out)
{
    return toInt32(findVal(ctx, map, key), out);
}
inline bool find(Ctx const& ctx, VMap const& map, char const* key, FlakeId* out)
{
    return toFlakeId(findVal(ctx, map, key), out);
}

QString toQString(VString const& string);
QString toQString(Key const& key);

// For the event log; nothing parses it.
QString prettyPrint(Ctx const& ctx, Val const& value);
QString prettyPrint(Ctx const& ctx, VList const& list);
QString prettyPrint(Ctx const& ctx, VMap const& map);

} // namespace Dread
