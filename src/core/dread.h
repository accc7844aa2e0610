// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A Dread tree: a read-only, arena-held document of nils, booleans, numbers, strings, lists and
// maps. Built in one pass, read by key lookups, then thrown away whole. Its strings point into the
// buffer that it was parsed from, which must outlive it. A tree belongs to one thread at a time.

#include "flake_id.h"

#include <QByteArray>
#include <QString>

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
    quint64 stringLength;
    Tag tag;

    VString string() const { return {stringData, static_cast<quint32>(stringLength)}; }
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
// Makes room for n more bytes; false if that would pass 32 bits or memory ran out.
bool ensureMoreCapacity(Ctx* ctx, quint32 n);

// --- writing a cell ---
void setNil(Ctx* ctx, quint32 offset);
void setBool(Ctx* ctx, quint32 offset, bool value);
void setUint8(Ctx* ctx, quint32 offset, quint8 value);
void setInt32(Ctx* ctx, quint32 offset, qint32 value);
void setInt64(Ctx* ctx, quint32 offset, qint64 value);
void setUint64(Ctx* ctx, quint32 offset, quint64 value);
void setFloat64(Ctx* ctx, quint32 offset, double value);
void setString(Ctx* ctx, quint32 offset, char const* data, quint32 length);
// Reserve the elements, which the caller then fills. Return 0, or 1 on failure.
int setList(Ctx* ctx, quint32 offset, quint32 count, VList* out);
int setMap(Ctx* ctx, quint32 offset, quint32 count, VMap* out);
void setMapKey(Ctx* ctx, VMap const& map, quint32 index, char const* data, quint16 length);

// --- reading ---
inline Val const& listAt(Ctx const& ctx, VList const& list, quint32 index)
{
    return *reinterpret_cast<Val const*>(ctx.buf + list.offset + 24U * index);
}
inline Key const& mapKeyAt(Ctx const& ctx, VMap const& map, quint32 index)
{
    return *reinterpret_cast<Key const*>(ctx.buf + map.offset + 16U * index);
}
inline Val const& mapValueAt(Ctx const& ctx, VMap const& map, quint32 index)
{
    return *reinterpret_cast<Val const*>(ctx.buf + map.offset + 16U * map.count + 24U * index);
}

// The value of the first entry with this key, or null.
Val const* findVal(Ctx const& ctx, VMap const& map, char const* key);

// The first entry with this key decides: if its value is not of the wanted form, nothing is found,
// whatever a later duplicate holds. Where nothing is found, *out is the empty value, false for a
// bool, and left alone for numbers and ids.
bool find(Ctx const& ctx, VMap const& map, char const* key, VString* out);
bool find(Ctx const& ctx, VMap const& map, char const* key, VList* out);
bool find(Ctx const& ctx, VMap const& map, char const* key, VMap* out);
bool find(Ctx const& ctx, VMap const& map, char const* key, bool* out);
bool find(Ctx const& ctx, VMap const& map, char const* key, qint32* out);
// A number of any width, or a string of 1 to 20 digits.
bool find(Ctx const& ctx, VMap const& map, char const* key, FlakeId* out);
// The same conversion for a value in hand, such as a list's element.
bool toFlakeId(Val const& value, FlakeId* out);

QString toQString(VString const& string);
QString toQString(Key const& key);

// For the event log; nothing parses it.
QString prettyPrint(Ctx const& ctx, Val const& value);
QString prettyPrint(Ctx const& ctx, VList const& list);
QString prettyPrint(Ctx const& ctx, VMap const& map);

} // namespace Dread
