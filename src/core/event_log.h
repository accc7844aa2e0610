// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The event log's vocabulary and its one entry point. The log itself is one temporary text file
// per run, written by its own thread; see nak_event_log.h.

#include <QString>

namespace EvLog {

// A bit set.
enum class Category : quint32 {
    None = 0,
    Application = 1,
    Networking = 2,
    Images = 4,
    Audio = 8,
};

enum class Severity : qint32 {
    Debug = 0,
    Info = 1,
    Warn = 2,
    Error = 3,
    Critical = 4,
    NotParsed = 5,
};

QString toString(Category category);
QString toString(Severity severity);

} // namespace EvLog

namespace EvLogGlobal {

// Adds one line, stamped with the time of the call. Any thread; costs one heap event and a post,
// no file access. Without a running log (in tests, at start) the line is dropped. The text must
// hold no token and no message content.
void addLogEvent(EvLog::Category category, EvLog::Severity severity, QString const& text);

} // namespace EvLogGlobal
