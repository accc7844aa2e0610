// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Which rows of a log hold a text, without regard to case. Looked for on the pool, a piece at a
// time, also in what comes later. User-interface thread.

#include "event_log_source.h"

class NakEventLogFind : public QObject {
    Q_OBJECT
public:
    NakEventLogFind(NakEventLogSource const* source, QObject* parent);
    ~NakEventLogFind() override;

    void setNeedle(QString const& needle); // empty finds nothing
    QString needle() const { return m_needle; }

    bool isComplete() const; // every row there is has been looked at
    int count() const { return static_cast<int>(m_rows.size()); }
    // The next found row at this one or below, or at it or above; beyond the end it goes on at the
    // other one. -1 when nothing is found.
    int rowFrom(int row, bool down) const;
    int numberOf(int row) const; // among those found, from 1; 0 for a row that was not

signals:
    void needleChanged();
    void changed(); // more is found, or all has been looked at

private:
    void restart();
    void lookOn();

    NakEventLogSource const* m_source;
    QString m_needle;
    std::deque<quint32> m_rows; // ascending
    int m_next = 0; // row to look at
    int m_generation = 0; // what an earlier one asked for is dropped
    bool m_looking = false;
};
