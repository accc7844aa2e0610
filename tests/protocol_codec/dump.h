// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Trees as text, so that a test compares whole values and a failure is a diff.

#include "dread_etf.h"

#include <string>

// nil, true, u8:1, i32:-1, i64:, u64:, f64: followed by the number, "text" with everything but
// plain ASCII as \xx, [a, b] and {"k": v}.
std::string dump(Dread::Ctx const& ctx, Dread::Val const& value);
std::string quotedBytes(std::string const& bytes);

// The tree of a frame, with what it points into.
class Tree {
public:
    explicit Tree(std::string frame);
    ~Tree();
    Tree(Tree const&) = delete;
    Tree& operator=(Tree const&) = delete;

    // The tree as text, or the error's words.
    std::string text() const;

    std::string const bytes;
    Dread::Ctx ctx;
    DreadUtils::BuildResult const built;
};

std::string readFile(std::string const& nameBelowData);
std::string repeated(std::string const& text, int times);

// A literal with zeros in it.
template <std::size_t N> std::string raw(char const (&bytes)[N])
{
    return std::string(bytes, N - 1);
}
