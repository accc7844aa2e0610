// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_find.h"

#include "nak_event_log.h"
#include "run_on_pool.h"

#include <algorithm>

namespace {

// What one task looks at.
constexpr int maxRowsOfTask = 20'000;
constexpr qint64 maxBytesOfTask = 4 << 20;
constexpr qint64 maxBytesOfLine = 1 << 16;

struct Task {
    std::shared_ptr<NakEvLogFile const> file;
    QString needle;
    int firstRow = 0;
    std::vector<NakEvLogIndex::Span> spans;
};

Task nextTask(NakEventLogSource const& source, QString const& needle, int firstRow)
{
    auto const& index = source.index();
    Task task{ source.file(), needle, firstRow, {} };
    int const end = std::min(NakEvLogIndex::rowCount(index), firstRow + maxRowsOfTask);
    qint64 bytes = 0;
    for (int row = firstRow; row < end && bytes < maxBytesOfTask; ++row) {
        task.spans.push_back(
            NakEvLogIndex::spanOfLine(index, NakEvLogIndex::lineOfRow(index, row)));
        bytes += task.spans.back().length;
    }
    return task;
}

// Only in the message, which is where what is found gets marked.
std::vector<quint32> foundRows(Task const& task)
{
    std::vector<quint32> rows;
    NakEvLogLineReader reader(task.file);
    for (size_t i = 0; i < task.spans.size(); ++i) {
        QByteArray const line = reader.line(task.spans[i], maxBytesOfLine);
        EvLogData::EntryReadData entry;
        EvLogData::parseLine(&entry, line.constData(), static_cast<unsigned long>(line.size()));
        QString const message =
            QString::fromUtf8(line.constData() + entry.messageOffset,
                              line.size() - static_cast<int>(entry.messageOffset));
        if (message.contains(task.needle, Qt::CaseInsensitive))
            rows.push_back(static_cast<quint32>(task.firstRow) + static_cast<quint32>(i));
    }
    return rows;
}

} // namespace

NakEventLogFind::NakEventLogFind(NakEventLogSource const* source, QObject* parent)
    : QObject(parent)
    , m_source(source)
{
    connect(source, &NakEventLogSource::rowsAdded, this, &NakEventLogFind::lookOn);
    connect(source, &NakEventLogSource::restarted, this, &NakEventLogFind::restart);
}

NakEventLogFind::~NakEventLogFind() = default;

void NakEventLogFind::setNeedle(QString const& needle)
{
    m_needle = needle;
    emit needleChanged();
    restart();
    lookOn();
}

bool NakEventLogFind::isComplete() const
{
    return m_needle.isEmpty()
        || (m_source->isComplete() && m_next == NakEvLogIndex::rowCount(m_source->index()));
}

int NakEventLogFind::rowFrom(int row, bool down) const
{
    if (m_rows.empty())
        return -1;
    auto const wanted = static_cast<quint32>(std::max(0, row));
    if (down) {
        auto const found = std::lower_bound(m_rows.begin(), m_rows.end(), wanted);
        return static_cast<int>(found == m_rows.end() ? m_rows.front() : *found);
    }
    auto const above = std::upper_bound(m_rows.begin(), m_rows.end(), wanted);
    bool const none = row < 0 || above == m_rows.begin();
    return static_cast<int>(none ? m_rows.back() : *(above - 1));
}

int NakEventLogFind::numberOf(int row) const
{
    auto const wanted = static_cast<quint32>(std::max(0, row));
    auto const found = std::lower_bound(m_rows.begin(), m_rows.end(), wanted);
    bool const isOne = row >= 0 && found != m_rows.end() && *found == wanted;
    return isOne ? static_cast<int>(found - m_rows.begin()) + 1 : 0;
}

void NakEventLogFind::restart()
{
    ++m_generation;
    m_looking = false;
    m_rows = {};
    m_next = 0;
    emit changed();
}

void NakEventLogFind::lookOn()
{
    if (m_looking || m_needle.isEmpty())
        return;
    Task const task = nextTask(*m_source, m_needle, m_next);
    if (task.spans.empty()) {
        emit changed();
        return;
    }
    m_looking = true;
    Utils::runOnPool(this, [this, task, generation = m_generation]() -> std::function<void()> {
        return [this, rows = foundRows(task), generation,
                next = task.firstRow + static_cast<int>(task.spans.size())] {
            if (generation != m_generation)
                return;
            m_rows.insert(m_rows.end(), rows.begin(), rows.end());
            m_next = next;
            m_looking = false;
            emit changed();
            lookOn();
        };
    });
}
