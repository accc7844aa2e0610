// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Where the lines of a log lie in its file, and which of them a filter shows. Pure; a value used on
// one thread at a time.

#include "event_log.h"

#include <QtGlobal>

#include <deque>
#include <vector>

namespace NakEvLogIndex {

// Without an end, so many bytes count as a line.
constexpr qint64 maxLineBytes = 1 << 18;
constexpr int maxLines = 8'000'000;

// Eight bytes: the place in the file, and what filters look at. A line without a severity is the
// continuation of a message; it goes with the line that the message begins on.
struct Line {
    quint64 offset : 48;
    quint64 severity : 8;
    quint64 categories : 8;
};
static_assert(sizeof(Line) == 8, "there is one for every line of a log");

struct Span {
    qint64 offset = 0;
    qint64 length = 0; // without the line feed
};

// Whole lines at the beginning of some bytes of the file.
struct Scan {
    std::vector<Line> lines;
    qint64 end = 0; // in the file, behind the last of them
};
// The bytes begin at a line, which stands at offset in the file; before is the line above it, or
// one without a severity.
Scan scanLines(char const* bytes, qint64 size, qint64 offset, Line before);
Line lineWithoutSeverity();

struct Filter {
    static constexpr quint32 allSeverities = 0x1f; // a bit for each
    static constexpr quint32 noCategory = 16; // beside the bits of Category
    static constexpr quint32 allCategories = 0x1f;

    quint32 severities = allSeverities;
    quint32 categories = allCategories;

    bool showsAll() const { return severities == allSeverities && categories == allCategories; }
    bool shows(Line line) const;
};

// Deques, since a vector of millions would stop the caller when it moves.
struct Index {
    std::deque<Line> lines;
    qint64 end = 0; // in the file, behind the last line
    Filter filter;
    std::deque<quint32> shown; // not used while the filter shows all
    size_t looked = 0; // how many lines the filter has been asked about
};

void appendScan(Index* index, Scan const& scan);
void setFilter(Index* index, Filter filter); // no row is left until extendRows()
// Asks the filter about up to this many further lines; true once it has been asked about all.
bool extendRows(Index* index, size_t lineCount);

// Rows are the lines that the filter shows.
int rowCount(Index const& index);
int lineOfRow(Index const& index, int row);
int rowOfLine(Index const& index, int line); // of the first row at this line or below
Span spanOfLine(Index const& index, int line);

} // namespace NakEvLogIndex
