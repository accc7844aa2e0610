// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "idle_detection.h"

#include <X11/Xlib.h>
#include <X11/extensions/scrnsaver.h>

#include <optional>

NakIdleDetection* g_idleDetection = nullptr;

namespace {

constexpr int queryInterval = 4000; // milliseconds
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
    Display* const display = XOpenDisplay(nullptr);
    if (!display)
        return;
    std::optional<unsigned long> const idle = idleTime(display);
    XCloseDisplay(display);
    if (idle && *idle < implausible)
        emit idleTimeUpdated(static_cast<unsigned int>(*idle));
}
