// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Scrolling by the middle mouse button: a click starts it, the distance of the pointer from where
// it began is the speed, and the next click, a release after some way, or Escape ends it. While it
// goes on it watches the events of the whole application. User-interface thread only.

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QTimer>
#include <QWidget>

class BuffMidScrollHandler : public QObject {
    Q_OBJECT
public:
    // widget: what is scrolled; its window must stay active.
    explicit BuffMidScrollHandler(QWidget* widget, QObject* parent);
    ~BuffMidScrollHandler() override;

    bool isScrolling() const { return m_scrolling; }
    void midScrollClick();
    void stop();

    // Whole pixels for a pointer dy below the start, and what is left for the next tick.
    static int pixelsForTick(int dy, qint64 microseconds, double speed, double* remainder);

signals:
    void movedInt(int delta);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void start();
    void tick();

    QPointer<QWidget> m_widget;
    QTimer m_timer;
    QElapsedTimer m_elapsed;
    QPoint m_startPos; // global
    double m_remainder = 0.0;
    bool m_scrolling = false;
    bool m_moved = false;
};
