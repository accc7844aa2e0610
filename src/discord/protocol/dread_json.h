// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// JSON to a Dread tree, which is what REST replies become, and a Dread value back to JSON text,
// which is how raw JSON goes into the store. Codecs: the one log line is a programmer's mistake.

#include "dread.h"

#include <rapidjson/fwd.h>

namespace DreadJson {

enum class Domain : quint8 {
    Parse = 0, // the code is rapidjson's parse error
    Build = 1, // the code is a BuildCode
};

enum class BuildCode : quint8 {
    OutOfMemory = 0, // the arena refused
    ValueOutOfRange = 1, // a number that no form holds, or too many members
    KeyTooLong = 2,
    TooDeep = 4,
};

struct Error {
    Domain domain = Domain::Parse;
    int code = 0;
    quint64 offset = 0; // bytes into the text, of a parse error
};

struct Result {
    bool isError = false;
    Dread::Val root;
    Error error;
};

// Parses in place: the array's bytes change, and the tree's strings point into them, so the array
// must outlive the tree and not be shared. ctx is set up already, and stays the caller's.
[[nodiscard]] Result jsonToDread(Dread::Ctx* ctx, QByteArray* json);

// Replaces what the target holds. False if the value nests too deeply or holds no finite number.
bool dreadToJsonString(QByteArray* json, Dread::Ctx const& ctx, Dread::Val const& value);
bool dreadToJsonString(rapidjson::StringBuffer* json, Dread::Ctx const& ctx,
                       Dread::Val const& value);

} // namespace DreadJson
