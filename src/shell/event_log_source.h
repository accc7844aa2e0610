// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Follows the file of a log: finds its lines on the pool, a piece at a time, and looks for more as
// long as it is watching. User-interface thread; owned by whoever shows the lines.

#include "event_log_file.h"

#include <QBasicTimer>
#include <QObject>

class NakEventLogSource : public QObject {
    Q_OBJECT
public:
    NakEventLogSource(QString const& path, QObject* parent);
    ~NakEventLogSource() override;

    void setWatching(bool watching);
    void setFilter(NakEvLogIndex::Filter filter);

    NakEvLogIndex::Index const& index() const { return m_index; }
    std::shared_ptr<NakEvLogFile const> file() const { return m_file; } // null without a file
    // All that is in the file has been found and filtered.
    bool isComplete() const { return !m_scanning && m_filtered; }
    bool isFiltered() const { return m_filtered; } // all that has been found
    int percentRead() const;
    // The file was too long to keep all of its lines; the latest are there.
    bool leftOutOlderLines() const { return m_start > 0; }

signals:
    void rowsAdded(); // at the end; or nothing but isComplete() changed
    void restarted(); // all rows are others: another file, or another filter

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void look();
    void restart(qint64 start);
    void scanMore();
    void takeScan(NakEvLogIndex::Scan const& scan);
    void filterMore();

    QString m_path;
    std::shared_ptr<NakEvLogFile> m_file;
    NakEvLogIndex::Index m_index;
    qint64 m_start = 0; // in the file, where the first line that is kept begins
    qint64 m_size = 0; // of the file, when it was last looked at
    int m_generation = 0; // what an earlier one asked for is dropped
    bool m_scanning = false;
    bool m_filtered = true;
    QBasicTimer m_look;
    QBasicTimer m_filterMore;
};
