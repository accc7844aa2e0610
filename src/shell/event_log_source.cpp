// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_source.h"

#include "run_on_pool.h"

#include <QTimerEvent>

#include <algorithm>

namespace {

constexpr int lookEveryMSecs = 250;
// A piece is long enough for the longest line; the first is no longer, so that there is something
// to show at once.
constexpr qint64 firstPieceBytes = NakEvLogIndex::maxLineBytes;
constexpr qint64 pieceBytes = 8 * NakEvLogIndex::maxLineBytes;
constexpr size_t linesOfOneFiltering = 200'000; // about a millisecond

} // namespace

NakEventLogSource::NakEventLogSource(QString const& path, QObject* parent)
    : QObject(parent)
    , m_path(path)
{
    look();
}

NakEventLogSource::~NakEventLogSource() = default;

void NakEventLogSource::setWatching(bool watching)
{
    if (!watching) {
        m_look.stop();
        return;
    }
    m_look.start(lookEveryMSecs, Qt::CoarseTimer, this);
    look();
}

void NakEventLogSource::setFilter(NakEvLogIndex::Filter filter)
{
    NakEvLogIndex::setFilter(&m_index, filter);
    emit restarted();
    filterMore();
}

int NakEventLogSource::percentRead() const
{
    qint64 const all = m_size - m_start;
    return all > 0 ? static_cast<int>(100 * std::max(qint64(0), m_index.end - m_start) / all) : 100;
}

void NakEventLogSource::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_filterMore.timerId())
        filterMore();
    else
        look();
}

void NakEventLogSource::look()
{
    bool const replaced = m_file && !m_file->isStillAt(m_path);
    if (!m_file || replaced) {
        auto file = m_path.isEmpty() ? nullptr : NakEvLogFile::open(m_path);
        // What was removed can still be read: a log is never wiped off the screen.
        if (!file)
            return;
        m_file = std::move(file);
        restart(0);
        return;
    }
    if (m_file->size() < m_index.end)
        restart(0);
    else if (!m_scanning && m_file->size() != m_size)
        scanMore();
}

void NakEventLogSource::restart(qint64 start)
{
    ++m_generation;
    m_scanning = false;
    m_filtered = true;
    m_filterMore.stop();
    NakEvLogIndex::Filter const filter = m_index.filter;
    m_index = {};
    m_index.filter = filter;
    m_index.end = start;
    m_start = start;
    emit restarted();
    scanMore();
}

// One piece at a time, so that what is found is taken in at once and in order.
void NakEventLogSource::scanMore()
{
    m_size = m_file->size();
    if (m_size <= m_index.end)
        return;
    m_scanning = true;
    NakEvLogIndex::Line const before =
        m_index.lines.empty() ? NakEvLogIndex::lineWithoutSeverity() : m_index.lines.back();
    qint64 const length = m_index.lines.empty() ? firstPieceBytes : pieceBytes;
    Utils::runOnPool(this,
                     [this, before, length, file = m_file, from = m_index.end,
                      generation = m_generation]() -> std::function<void()> {
                         QByteArray const bytes = file->read(from, length);
                         auto scan = std::make_shared<NakEvLogIndex::Scan>(NakEvLogIndex::scanLines(
                             bytes.constData(), bytes.size(), from, before));
                         return [this, scan, generation] {
                             if (generation == m_generation)
                                 takeScan(*scan);
                         };
                     });
}

void NakEventLogSource::takeScan(NakEvLogIndex::Scan const& scan)
{
    m_scanning = false;
    if (scan.lines.empty()) { // of a line that has not been written to its end
        emit rowsAdded();
        return;
    }
    appendScan(&m_index, scan);
    if (m_index.lines.size() > static_cast<size_t>(NakEvLogIndex::maxLines)) {
        restart(static_cast<qint64>(m_index.lines[m_index.lines.size() / 2].offset));
        return;
    }
    scanMore();
    filterMore();
}

void NakEventLogSource::filterMore()
{
    m_filtered = extendRows(&m_index, linesOfOneFiltering);
    if (m_filtered)
        m_filterMore.stop();
    else
        m_filterMore.start(0, this);
    emit rowsAdded();
}
