// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dread.h"

#include "huge_pages.h"

#include <cstdlib>
#include <limits>

namespace Dread {

VString const emptyString{};
VList const emptyList{};
VMap const emptyMap{};

namespace {

// The smallest power of two that holds n bytes; at the top of the range, all there is.
quint32 roundUpCapacity(quint32 n)
{
    quint32 capacity = 1;
    while (capacity < n) {
        if (capacity > std::numeric_limits<quint32>::max() / 2) {
            return std::numeric_limits<quint32>::max();
        }
        capacity *= 2;
    }
    return capacity;
}

// The offset of so many fresh bytes, or badOffset.
quint32 reserve(Ctx* ctx, quint64 bytes)
{
    if (bytes > std::numeric_limits<quint32>::max()
        || !ensureMoreCapacity(ctx, static_cast<quint32>(bytes))) {
        return badOffset;
    }
    quint32 const offset = ctx->used;
    ctx->used += static_cast<quint32>(bytes);
    return offset;
}

QString indentOf(int level)
{
    return QString(2 * level, QLatin1Char(' '));
}

void printValue(QString& text, Ctx const& ctx, Val const& value, int level);

void printList(QString& text, Ctx const& ctx, VList const& list, int level)
{
    text += QLatin1String("[\n");
    for (quint32 i = 0; i < list.count; ++i) {
        text += indentOf(level + 1);
        printValue(text, ctx, listAt(ctx, list, i), level + 1);
        text += QLatin1Char('\n');
    }
    text += indentOf(level) + QLatin1Char(']');
}

void printMap(QString& text, Ctx const& ctx, VMap const& map, int level)
{
    text += QLatin1String("{\n");
    for (quint32 i = 0; i < map.count; ++i) {
        text += indentOf(level + 1) + toQString(mapKeyAt(ctx, map, i)) + QLatin1String(": ");
        printValue(text, ctx, mapValueAt(ctx, map, i), level + 1);
        text += QLatin1Char('\n');
    }
    text += indentOf(level) + QLatin1Char('}');
}

// The builders bound the depth of a tree, and so this recursion.
void printValue(QString& text, Ctx const& ctx, Val const& value, int level)
{
    switch (value.tag) {
    case Tag::Nil:
        text += QLatin1String("Nil");
        return;
    case Tag::Bool:
        text += value.boolean ? QLatin1String("True") : QLatin1String("False");
        return;
    case Tag::Uint8:
        text += QLatin1String("(Uint8) ") + QString::number(value.uint8);
        return;
    case Tag::Int32:
        text += QLatin1String("(Int32) ") + QString::number(value.int32);
        return;
    case Tag::Int64:
        text += QLatin1String("(Int64) ") + QString::number(value.int64);
        return;
    case Tag::Uint64:
        text += QLatin1String("(Uint64) ") + QString::number(value.uint64);
        return;
    case Tag::Float64:
        text += QLatin1String("(Float64) ") + QString::number(value.float64);
        return;
    case Tag::String:
        text += QLatin1Char('"') + toQString(value.string()) + QLatin1Char('"');
        return;
    case Tag::List:
        printList(text, ctx, value.list, level);
        return;
    case Tag::Map:
        printMap(text, ctx, value.map, level);
        return;
    }
    abort();
}

} // namespace

void init(Ctx* ctx, quint32 capacity)
{
    ctx->buf = static_cast<unsigned char*>(malloc(capacity));
    ctx->used = 0;
    ctx->capacity = ctx->buf ? capacity : 0;
    // A tree of a whole account touches tens of megabytes for the first time, in the order of its
    // cells.
    HugePages::prefer(ctx->buf, ctx->capacity);
}

void clear(Ctx* ctx)
{
    ctx->used = 0;
}

void destroy(Ctx* ctx)
{
    free(ctx->buf);
    *ctx = {};
}

void setCapacity(Ctx* ctx, quint32 capacity)
{
    auto* const moved = static_cast<unsigned char*>(realloc(ctx->buf, capacity));
    if (moved) {
        ctx->buf = moved;
        ctx->capacity = capacity;
    }
}

bool growCapacity(Ctx* ctx, quint32 n)
{
    quint32 needed = 0;
    if (__builtin_add_overflow(ctx->used, n, &needed)) {
        return false;
    }
    if (needed > ctx->capacity) {
        setCapacity(ctx, roundUpCapacity(needed));
    }
    return needed <= ctx->capacity;
}

int setList(Ctx* ctx, quint32 offset, quint32 count, VList* out)
{
    if (count > maxListCount) {
        return 1;
    }
    quint32 const at = reserve(ctx, quint64(count) * sizeof(Val));
    if (at == badOffset) {
        return 1;
    }
    // Only now, since reserving may have moved the block.
    Val& cell = cellAt(ctx, offset);
    cell.list = { at, count };
    cell.tag = Tag::List;
    *out = cell.list;
    return 0;
}

int setMap(Ctx* ctx, quint32 offset, quint32 count, VMap* out)
{
    if (count > maxMapCount) {
        return 1;
    }
    quint32 const at = reserve(ctx, quint64(count) * (sizeof(Key) + sizeof(Val)));
    if (at == badOffset) {
        return 1;
    }
    Val& cell = cellAt(ctx, offset);
    cell.map = { at, count };
    cell.tag = Tag::Map;
    *out = cell.map;
    return 0;
}

Val const* findKey(Ctx const& ctx, VMap const& map, char const* key, std::size_t length)
{
    for (quint32 i = 0; i < map.count; ++i) {
        Key const& entry = mapKeyAt(ctx, map, i);
        if (entry.length == length && memcmp(entry.data, key, length) == 0) {
            return &mapValueAt(ctx, map, i);
        }
    }
    return nullptr;
}

bool toString(Val const* value, VString* out)
{
    bool const found = value && value->tag == Tag::String;
    *out = found ? value->string() : emptyString;
    return found;
}

bool toList(Val const* value, VList* out)
{
    bool const found = value && value->tag == Tag::List;
    *out = found ? value->list : emptyList;
    return found;
}

bool toMap(Val const* value, VMap* out)
{
    bool const found = value && value->tag == Tag::Map;
    *out = found ? value->map : emptyMap;
    return found;
}

bool toBool(Val const* value, bool* out)
{
    bool const found = value && value->tag == Tag::Bool;
    *out = found && value->boolean;
    return found;
}

bool toInt32(Val const* value, qint32* out)
{
    switch (value ? value->tag : Tag::Nil) {
    case Tag::Uint8:
        *out = value->uint8;
        return true;
    case Tag::Int32:
        *out = value->int32;
        return true;
    case Tag::Int64:
        if (value->int64 < std::numeric_limits<qint32>::min()
            || value->int64 > std::numeric_limits<qint32>::max()) {
            return false;
        }
        *out = static_cast<qint32>(value->int64);
        return true;
    case Tag::Uint64:
        if (value->uint64 >= 0x80000000U) {
            return false;
        }
        *out = static_cast<qint32>(value->uint64);
        return true;
    default:
        return false;
    }
}

bool toFlakeId(Val const* value, FlakeId* out)
{
    switch (value ? value->tag : Tag::Nil) {
    case Tag::Uint8:
        *out = FlakeId(value->uint8);
        return true;
    case Tag::Int32:
        *out = FlakeId(static_cast<quint64>(static_cast<qint64>(value->int32)));
        return true;
    case Tag::Int64:
        *out = FlakeId(static_cast<quint64>(value->int64));
        return true;
    case Tag::Uint64:
        *out = FlakeId(value->uint64);
        return true;
    case Tag::String:
        break;
    default:
        return false;
    }
    VString const text = value->string();
    if (text.length < 1 || text.length > 20) {
        return false;
    }
    // 20 digits can pass 64 bits, which wraps: such an id exists nowhere.
    quint64 number = 0;
    for (quint32 i = 0; i < text.length; ++i) {
        if (text.data[i] < '0' || text.data[i] > '9') {
            return false;
        }
        number = number * 10 + static_cast<quint64>(text.data[i] - '0');
    }
    *out = FlakeId(number);
    return true;
}

QString toQString(VString const& string)
{
    int const length = static_cast<int>(string.length);
    return length < 0 ? QString() : QString::fromUtf8(string.data, length);
}

QString toQString(Key const& key)
{
    return QString::fromUtf8(key.data, key.length);
}

QString prettyPrint(Ctx const& ctx, Val const& value)
{
    QString text;
    printValue(text, ctx, value, 0);
    return text;
}

QString prettyPrint(Ctx const& ctx, VList const& list)
{
    QString text;
    printList(text, ctx, list, 0);
    return text;
}

QString prettyPrint(Ctx const& ctx, VMap const& map)
{
    QString text;
    printMap(text, ctx, map, 0);
    return text;
}

} // namespace Dread
