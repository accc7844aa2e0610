// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "idle_detection.h"

#include <X11/Xlib.h>
#include <X11/extensions/scrnsaver.h>

#include <optional>

NakIdleDetection* g_idleDetection = nullptr;

namespace {

constexpr int queryInterval = 4000; // milliseconds
// Nobody counts as idle before three minutes, so short times need not be followed closely. The
// limit bounds how late a suspended machine or a set clock is noticed.
constexpr qint64 shortestThreshold = qint64(3) * 60'000;
constexpr qint64 longestPause = 60'000;
constexpr unsigned long implausible = 0x80000000UL;

std::optional<unsigned long> idleTime(Display* display)
{
    int event = 0;
    int error = 0;
    if (!XScreenSaverQueryExtension(display, &event, &error))
        return {};
    XScreenSaverInfo* const info = XScreenSaverAllocInfo();
    if (!info)
        return {};
    std::optional<unsigned long> idle;
    if (XScreenSaverQueryInfo(display, DefaultRootWindow(display), info))
        idle = info->idle;
    XFree(info);
    return idle;
}

} // namespace

NakIdleDetection::NakIdleDetection(QObject* parent)
    : QObject(parent)
{
    m_timer.setInterval(queryInterval);
    connect(&m_timer, &QTimer::timeout, this, &NakIdleDetection::queryIdleTime);
    m_timer.start();
}

NakIdleDetection::~NakIdleDetection() = default;

// The connection is opened and closed each time on purpose: none stays open beside Qt's own.
void NakIdleDetection::queryIdleTime()
{
    if (m_sinceQuery.isValid() && m_sinceQuery.elapsed() < m_pause)
        return;
    Display* const display = XOpenDisplay(nullptr);
    if (!display)
        return;
    std::optional<unsigned long> const idle = idleTime(display);
    XCloseDisplay(display);
    if (!idle || *idle >= implausible)
        return;
    m_sinceQuery.start();
    m_pause = qBound<qint64>(0, shortestThreshold - qint64(*idle), longestPause);
    emit idleTimeUpdated(static_cast<unsigned int>(*idle));
}
