// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Builds a Dread tree from a gateway frame in one pass. A codec: no log, no thread.

#include "dread.h"
#include "erf.h"

namespace DreadUtils {

enum class BuildDomain : quint8 {
    Erf = 0, // the code is an Erf::ErrorKind
    Build = 1, // the code is a BuildCode
};

enum class BuildCode : quint8 {
    OutOfMemory = 0, // the arena refused
    ValueOutOfRange = 1, // a key is too long
    InitError = 2, // the envelope was bad
    InternalError = 3, // an end of a container where a value should be
    InvalidMapKey = 4, // neither an atom nor a binary
};

struct BuildError {
    BuildDomain domain = BuildDomain::Erf;
    quint8 code = 0;
    quint8 tag = 0; // the byte of an unknown term type
};

struct BuildResult {
    bool isError = false;
    Dread::Val root;
    Erf::PrepData prepared;
    BuildError error;
};

// ctx comes uninitialised. On success the caller owns it and result.prepared, whose buffer (or the
// bytes given) must outlive the tree; on failure both are released already.
[[nodiscard]] BuildResult buildFromEtf(Dread::Ctx* ctx, void const* bytes, quint64 size);

QString toString(BuildError const& error);

} // namespace DreadUtils
