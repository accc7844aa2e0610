// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_index.h"

#include "nak_event_log.h"

#include <algorithm>
#include <cstring>

namespace NakEvLogIndex {

namespace {

constexpr auto notParsed = static_cast<quint64>(EvLog::Severity::NotParsed);

Line parsedLine(char const* begin, qint64 length, qint64 offset, Line before)
{
    EvLogData::EntryReadData entry;
    EvLogData::parseLine(&entry, begin, static_cast<unsigned long>(length));
    auto const place = static_cast<quint64>(offset);
    if (entry.severity == EvLog::Severity::NotParsed)
        return { place, before.severity, before.categories };
    return { place, static_cast<quint64>(entry.severity), static_cast<quint64>(entry.category) };
}

} // namespace

Line lineWithoutSeverity()
{
    return { 0, notParsed, 0 };
}

Scan scanLines(char const* bytes, qint64 size, qint64 offset, Line before)
{
    Scan scan;
    qint64 done = 0;
    while (done < size) {
        char const* const begin = bytes + done;
        qint64 const room = std::min(size - done, maxLineBytes);
        auto const* const feed =
            static_cast<char const*>(std::memchr(begin, '\n', static_cast<size_t>(room)));
        if (!feed && room < maxLineBytes)
            break; // the rest has not been written yet
        qint64 const length = feed ? feed + 1 - begin : room;
        before = parsedLine(begin, length, offset + done, before);
        scan.lines.push_back(before);
        done += length;
    }
    scan.end = offset + done;
    return scan;
}

bool Filter::shows(Line line) const
{
    if (line.severity >= notParsed)
        return true;
    quint32 const wanted = line.categories ? static_cast<quint32>(line.categories) : noCategory;
    return (severities >> line.severity & 1U) && (categories & wanted);
}

void appendScan(Index* index, Scan const& scan)
{
    index->lines.insert(index->lines.end(), scan.lines.begin(), scan.lines.end());
    index->end = scan.end;
}

void setFilter(Index* index, Filter filter)
{
    index->filter = filter;
    index->shown = {};
    index->looked = 0;
}

bool extendRows(Index* index, size_t lineCount)
{
    size_t const end = index->filter.showsAll()
        ? index->lines.size()
        : std::min(index->lines.size(), index->looked + lineCount);
    for (size_t i = index->looked; i < end && !index->filter.showsAll(); ++i) {
        if (index->filter.shows(index->lines[i]))
            index->shown.push_back(static_cast<quint32>(i));
    }
    index->looked = end;
    return end == index->lines.size();
}

int rowCount(Index const& index)
{
    return static_cast<int>(index.filter.showsAll() ? index.looked : index.shown.size());
}

int lineOfRow(Index const& index, int row)
{
    auto const at = static_cast<size_t>(row);
    return index.filter.showsAll() ? row : static_cast<int>(index.shown[at]);
}

int rowOfLine(Index const& index, int line)
{
    if (index.filter.showsAll())
        return line;
    auto const& shown = index.shown;
    auto const found = std::lower_bound(shown.begin(), shown.end(), static_cast<quint32>(line));
    return static_cast<int>(found - shown.begin());
}

// A line that was cut for its length ends without a line feed; its last byte is not missed.
Span spanOfLine(Index const& index, int line)
{
    auto const at = static_cast<size_t>(line);
    auto const offset = static_cast<qint64>(index.lines[at].offset);
    qint64 const next =
        at + 1 < index.lines.size() ? static_cast<qint64>(index.lines[at + 1].offset) : index.end;
    return { offset, next - offset - 1 };
}

} // namespace NakEvLogIndex
