// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One term read twice: by the pull parser and by the builder of trees. Both must take it or both
// refuse it, and what they took must be the same, whatever the bytes.

#include "dread_etf.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace EtfAgree {

inline void mixText(std::uint64_t& hash, char const* data, std::size_t length)
{
    hash = (hash ^ length) * 0x100000001B3;
    for (std::size_t i = 0; i < length; ++i) {
        hash = (hash ^ static_cast<unsigned char>(data[i])) * 0x100000001B3;
    }
}

inline void mixNumber(std::uint64_t& hash, int kind, std::uint64_t value)
{
    hash = (hash ^ static_cast<std::uint64_t>(kind)) * 0x100000001B3;
    hash = (hash ^ value) * 0x100000001B3;
}

inline std::uint64_t bitsOf(double value)
{
    std::uint64_t bits = 0;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

// The words of an atom that are no text where a value stands.
inline int atomKind(Erf::Event const& event)
{
    std::string const word(event.data, event.length);
    return word == "nil" ? 0 : word == "true" || word == "false" ? 1 : 7;
}

inline void mixScalar(std::uint64_t& hash, Erf::Event const& event, bool isKey)
{
    switch (event.type) {
    case Erf::EventType::Nil:
        return mixNumber(hash, 0, 0);
    case Erf::EventType::Uint8:
        return mixNumber(hash, 2, event.uint8);
    case Erf::EventType::Int32:
        return mixNumber(hash, 3, static_cast<std::uint64_t>(event.int32));
    case Erf::EventType::Int64:
        return mixNumber(hash, 4, static_cast<std::uint64_t>(event.int64));
    case Erf::EventType::Uint64:
        return mixNumber(hash, 5, event.uint64);
    case Erf::EventType::Float64:
        return mixNumber(hash, 6, bitsOf(event.float64));
    case Erf::EventType::List:
        return mixNumber(hash, 8, event.count);
    case Erf::EventType::Map:
        return mixNumber(hash, 9, event.count);
    case Erf::EventType::Atom:
        if (!isKey && atomKind(event) != 7) {
            return mixNumber(hash, atomKind(event), atomKind(event) == 1 && event.length == 4);
        }
        return mixText(hash, event.data, event.length);
    case Erf::EventType::Binary:
        return mixText(hash, event.data, event.length);
    case Erf::EventType::ListEnd:
    case Erf::EventType::MapEnd:
        return;
    }
}

// False if the parser refuses the term, or it holds what a tree cannot.
inline bool walkEvents(Erf::PrepData const& prepared, std::uint64_t& hash)
{
    Erf::State state;
    Erf::init(&state, prepared);
    do {
        bool const inMap = state.top < Erf::maxNesting && state.stack[state.top].kind == 1;
        bool const isKey = inMap && !state.stack[state.top].inValue;
        Erf::Result const result = Erf::step(&state);
        if (result.isError) {
            return false;
        }
        auto const type = result.event.type;
        bool const isText = type == Erf::EventType::Atom || type == Erf::EventType::Binary;
        if (isKey && type != Erf::EventType::MapEnd && (!isText || result.event.length > 0xFFFF)) {
            return false;
        }
        mixScalar(hash, result.event, isKey);
    } while (state.top < Erf::maxNesting);
    return true;
}

inline void walkTree(Dread::Ctx const& ctx, Dread::Val const& value, std::uint64_t& hash)
{
    int const kind = static_cast<int>(value.tag);
    switch (value.tag) {
    case Dread::Tag::Nil:
        return mixNumber(hash, kind, 0);
    case Dread::Tag::Bool:
        return mixNumber(hash, kind, value.boolean);
    case Dread::Tag::Uint8:
        return mixNumber(hash, kind, value.uint8);
    case Dread::Tag::Int32:
        return mixNumber(hash, kind, static_cast<std::uint64_t>(value.int32));
    case Dread::Tag::Int64:
    case Dread::Tag::Uint64:
        return mixNumber(hash, kind, value.uint64);
    case Dread::Tag::Float64:
        return mixNumber(hash, kind, bitsOf(value.float64));
    case Dread::Tag::String:
        return mixText(hash, value.stringData, value.stringLength);
    case Dread::Tag::List:
        mixNumber(hash, kind, value.list.count);
        for (std::uint32_t i = 0; i < value.list.count; ++i) {
            walkTree(ctx, Dread::listAt(ctx, value.list, i), hash);
        }
        return;
    case Dread::Tag::Map:
        mixNumber(hash, kind, value.map.count);
        for (std::uint32_t i = 0; i < value.map.count; ++i) {
            Dread::Key const& key = Dread::mapKeyAt(ctx, value.map, i);
            mixText(hash, key.data, key.length);
            walkTree(ctx, Dread::mapValueAt(ctx, value.map, i), hash);
        }
        return;
    }
}

// Empty if the two readers agree, else what they do not agree on.
inline char const* disagreement(void const* bytes, std::uint64_t size)
{
    std::uint64_t events = 0;
    std::uint64_t tree = 0;
    Erf::PrepData const prepared = Erf::prep(bytes, size);
    bool const walked = !prepared.failed && walkEvents(prepared, events);
    Erf::destroy(prepared);
    Dread::Ctx ctx;
    DreadUtils::BuildResult const built = DreadUtils::buildFromEtf(&ctx, bytes, size);
    if (!built.isError) {
        walkTree(ctx, built.root, tree);
        Dread::destroy(&ctx);
        Erf::destroy(built.prepared);
    }
    if (walked == built.isError) {
        return "one takes the term, the other refuses it";
    }
    return walked && events != tree ? "they read different values" : "";
}

} // namespace EtfAgree
