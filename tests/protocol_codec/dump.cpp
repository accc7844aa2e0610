// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dump.h"

#include <cstring>
#include <fstream>
#include <sstream>

namespace {

std::string floatText(double value)
{
    std::uint64_t bits = 0;
    memcpy(&bits, &value, sizeof bits);
    char text[32];
    snprintf(text, sizeof text, "f64:%016llx", static_cast<unsigned long long>(bits));
    return text;
}

std::string dumpList(Dread::Ctx const& ctx, Dread::VList const& list)
{
    std::string text;
    for (quint32 i = 0; i < list.count; ++i) {
        text += (i ? ", " : "") + dump(ctx, Dread::listAt(ctx, list, i));
    }
    return "[" + text + "]";
}

std::string dumpMap(Dread::Ctx const& ctx, Dread::VMap const& map)
{
    std::string text;
    for (quint32 i = 0; i < map.count; ++i) {
        Dread::Key const& key = Dread::mapKeyAt(ctx, map, i);
        text += (i ? ", " : "") + quotedBytes({ key.data, key.length }) + ": "
            + dump(ctx, Dread::mapValueAt(ctx, map, i));
    }
    return "{" + text + "}";
}

} // namespace

std::string quotedBytes(std::string const& bytes)
{
    std::string text = "\"";
    for (char const c : bytes) {
        char hex[4];
        snprintf(hex, sizeof hex, "\\%02x", static_cast<unsigned char>(c));
        bool const isPlain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
        text += isPlain ? std::string(1, c) : hex;
    }
    return text + '"';
}

std::string dump(Dread::Ctx const& ctx, Dread::Val const& value)
{
    switch (value.tag) {
    case Dread::Tag::Nil:
        return "nil";
    case Dread::Tag::Bool:
        return value.boolean ? "true" : "false";
    case Dread::Tag::Uint8:
        return "u8:" + std::to_string(value.uint8);
    case Dread::Tag::Int32:
        return "i32:" + std::to_string(value.int32);
    case Dread::Tag::Int64:
        return "i64:" + std::to_string(value.int64);
    case Dread::Tag::Uint64:
        return "u64:" + std::to_string(value.uint64);
    case Dread::Tag::Float64:
        return floatText(value.float64);
    case Dread::Tag::String:
        // An empty text points somewhere too, or it would be stored as none.
        if (!value.stringData) {
            return "a text without data";
        }
        return quotedBytes({ value.stringData, static_cast<std::size_t>(value.stringLength) });
    case Dread::Tag::List:
        return dumpList(ctx, value.list);
    case Dread::Tag::Map:
        return dumpMap(ctx, value.map);
    }
    return "a tag of no kind";
}

Tree::Tree(std::string frame)
    : bytes(std::move(frame))
    , built(DreadUtils::buildFromEtf(&ctx, bytes.data(), bytes.size()))
{
}

Tree::~Tree()
{
    if (!built.isError) {
        Dread::destroy(&ctx);
        Erf::destroy(built.prepared);
    }
}

std::string Tree::text() const
{
    return built.isError ? DreadUtils::toString(built.error).toStdString() : dump(ctx, built.root);
}

std::string readFile(std::string const& nameBelowData)
{
    std::ifstream file(std::string(NAKWIRE_TEST_DATA "/") + nameBelowData, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string repeated(std::string const& text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}
