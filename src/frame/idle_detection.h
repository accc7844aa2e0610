// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// How long the user has touched neither keyboard nor pointer, anywhere on the desktop, asked of the
// X server's screen saver extension every four seconds, or less often while the answer cannot
// matter yet. Without an X display nothing is told. User-interface thread, which each question
// keeps for the time of a few round trips.

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class NakIdleDetection : public QObject {
    Q_OBJECT
public:
    explicit NakIdleDetection(QObject* parent = nullptr);
    ~NakIdleDetection() override;

signals:
    void idleTimeUpdated(unsigned int milliseconds);

private:
    void queryIdleTime();

    QTimer m_timer;
    QElapsedTimer m_sinceQuery;
    qint64 m_pause = 0; // milliseconds after a query for which none is needed
};

// Set and cleared in src/app.
extern NakIdleDetection* g_idleDetection;
