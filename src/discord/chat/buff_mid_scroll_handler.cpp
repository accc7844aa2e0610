// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "buff_mid_scroll_handler.h"

#include "preferences.h"

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QMouseEvent>

#include <cmath>
#include <cstdlib>

namespace {

constexpr int tickMSecs = 10;
constexpr int deadZone = 10; // pixels around the start that do not move
constexpr double pixelsPerDistanceAndMicrosecond = -1e-5;

} // namespace

BuffMidScrollHandler::BuffMidScrollHandler(QWidget* widget, QObject* parent)
    : QObject(parent)
    , m_widget(widget)
{
    m_timer.setInterval(tickMSecs);
    connect(&m_timer, &QTimer::timeout, this, &BuffMidScrollHandler::tick);
}

BuffMidScrollHandler::~BuffMidScrollHandler()
{
    stop();
}

void BuffMidScrollHandler::midScrollClick()
{
    if (m_scrolling) {
        stop();
    } else if (m_widget && m_widget->window()) {
        start();
    }
}

void BuffMidScrollHandler::start()
{
    m_scrolling = true;
    m_moved = false;
    m_remainder = 0.0;
    m_startPos = QCursor::pos();
    QApplication::setOverrideCursor(Qt::SizeVerCursor);
    qApp->installEventFilter(this);
    m_elapsed.start();
    m_timer.start();
}

void BuffMidScrollHandler::stop()
{
    if (!m_scrolling) {
        return;
    }
    m_scrolling = false;
    m_moved = false;
    QApplication::restoreOverrideCursor();
    m_timer.stop();
    qApp->removeEventFilter(this);
}

int BuffMidScrollHandler::pixelsForTick(int dy, qint64 microseconds, double speed,
                                        double* remainder)
{
    double const distance = dy + (dy < 0 ? deadZone : -deadZone);
    double const x =
        distance * static_cast<double>(microseconds) * pixelsPerDistanceAndMicrosecond * speed
        + *remainder;
    *remainder = std::fmod(x, 1.0);
    return static_cast<int>(x);
}

void BuffMidScrollHandler::tick()
{
    if (!m_widget || !m_widget->isActiveWindow() || m_widget->window()->isHidden()) {
        stop();
        return;
    }
    int const dy = QCursor::pos().y() - m_startPos.y();
    qint64 const microseconds = m_elapsed.nsecsElapsed() / 1000;
    m_elapsed.restart();
    if (std::abs(dy) < deadZone) {
        return;
    }
    m_moved = true;
    int const delta =
        pixelsForTick(dy, microseconds, g_preferences->mouseMiddleClickScrollSpeed, &m_remainder);
    if (delta != 0) {
        emit movedInt(delta);
    }
}

bool BuffMidScrollHandler::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        stop();
        return true;
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            stop();
            return true;
        }
        break;
    case QEvent::MouseButtonRelease: {
        // A plain click keeps it going, so that nobody has to hold the button.
        auto const* mouse = static_cast<QMouseEvent*>(event);
        int const way = std::abs(QCursor::pos().y() - m_startPos.y());
        if (mouse->button() == Qt::MiddleButton && (m_moved || way >= deadZone)) {
            stop();
        }
        break;
    }
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
