// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Trees as text, so that a test compares whole values and a failure is a diff.

#include "dread.h"

#include <QString>

#include <string>

// nil, true, u8:1, i32:-1, i64:, u64:, f64: followed by the number, "text" with everything but
// plain ASCII as \xx, [a, b] and {"k": v}.
std::string dump(Dread::Ctx const& ctx, Dread::Val const& value);
std::string quotedBytes(std::string const& bytes);

// What a term of tests/data/etf reads as, from the way that Erlang prints it: the same text that
// dump gives. Follows Erlang's rules for which tags its encoder picks. Throws nothing; a term of no
// kind that we take gives an empty string.
std::string expectedFromErlang(std::string const& printed);

std::string readFile(std::string const& nameBelowData);
