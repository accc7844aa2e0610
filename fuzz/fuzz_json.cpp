// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as the body of a REST reply: to a tree, back to JSON, and that to a tree once more,
// which must be the same tree.

#include "dread_json.h"

#include <rapidjson/stringbuffer.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

void check(bool holds, char const* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_json: %s\n", what);
        abort();
    }
}

// Numbers with a fraction may lose their last digit on the way.
bool isClose(double a, double b)
{
    return std::fabs(a - b) <= 1e-14 * std::fabs(a) + 5e-324;
}

bool isSame(Dread::Ctx const& ctxA, Dread::Val const& a, Dread::Ctx const& ctxB,
            Dread::Val const& b)
{
    if (a.tag != b.tag) {
        return false;
    }
    bool same = true;
    switch (a.tag) {
    case Dread::Tag::Nil:
        return true;
    case Dread::Tag::Bool:
        return a.boolean == b.boolean;
    case Dread::Tag::Uint8:
        return a.uint8 == b.uint8;
    case Dread::Tag::Int32:
        return a.int32 == b.int32;
    case Dread::Tag::Int64:
    case Dread::Tag::Uint64:
        return a.uint64 == b.uint64;
    case Dread::Tag::Float64:
        return isClose(a.float64, b.float64);
    case Dread::Tag::String:
        return a.stringLength == b.stringLength
            && memcmp(a.stringData, b.stringData, a.stringLength) == 0;
    case Dread::Tag::List:
        same = a.list.count == b.list.count;
        for (quint32 i = 0; same && i < a.list.count; ++i) {
            same =
                isSame(ctxA, Dread::listAt(ctxA, a.list, i), ctxB, Dread::listAt(ctxB, b.list, i));
        }
        return same;
    case Dread::Tag::Map:
        same = a.map.count == b.map.count;
        for (quint32 i = 0; same && i < a.map.count; ++i) {
            Dread::Key const& keyA = Dread::mapKeyAt(ctxA, a.map, i);
            Dread::Key const& keyB = Dread::mapKeyAt(ctxB, b.map, i);
            same = keyA.length == keyB.length && memcmp(keyA.data, keyB.data, keyA.length) == 0
                && isSame(ctxA, Dread::mapValueAt(ctxA, a.map, i), ctxB,
                          Dread::mapValueAt(ctxB, b.map, i));
        }
        return same;
    }
    return false;
}

QByteArray write(Dread::Ctx const& ctx, Dread::Val const& value)
{
    QByteArray text;
    check(DreadJson::dreadToJsonString(&text, ctx, value), "a tree cannot be written");
    rapidjson::StringBuffer buffer;
    check(DreadJson::dreadToJsonString(&buffer, ctx, value),
          "a tree cannot be written to a buffer");
    check(text == QByteArray(buffer.GetString(), static_cast<int>(buffer.GetSize())),
          "the two forms of writing differ");
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Dread::Ctx ctx;
    Dread::Ctx ctxAgain;
    Dread::init(&ctx, 64);
    Dread::init(&ctxAgain, 64);
    QByteArray json(reinterpret_cast<char const*>(data), static_cast<int>(size));
    DreadJson::Result const read = DreadJson::jsonToDread(&ctx, &json);
    if (!read.isError) {
        Dread::prettyPrint(ctx, read.root);
        QByteArray text = write(ctx, read.root);
        DreadJson::Result const again = DreadJson::jsonToDread(&ctxAgain, &text);
        check(!again.isError, "what was written cannot be read");
        check(isSame(ctx, read.root, ctxAgain, again.root), "the round trip changes the tree");
    }
    Dread::destroy(&ctx);
    Dread::destroy(&ctxAgain);
    return 0;
}
