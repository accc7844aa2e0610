// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The stage's own writer and reader of the Erlang external term format. Pure: no thread, clock or
// socket.

#include "stage_term.h"

#include <optional>

namespace stage {

struct EncodeOptions {
    bool idsAsIntegers = false; // otherwise binaries of decimal digits
    bool atomKeys = false; // all keys as atoms; otherwise each as it says itself
};

// Appends the term without the version byte.
void appendTerm(QByteArray& out, Term const& term, EncodeOptions const& options);
// The whole external form: version byte and term.
QByteArray encodeTerm(Term const& term, EncodeOptions const& options = {});

// The terms that the gateway's two sides use: no tuples, processes or references, no integers above
// 64 bits, lists are proper, at most 256 containers deep, nothing behind the term.
std::optional<Term> decodeTerm(QByteArray const& bytes);

} // namespace stage
