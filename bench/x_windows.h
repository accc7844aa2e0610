// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the programs that watch other programs' windows share. Plain Xlib.

#include <X11/Xlib.h>

#include <ctime>

namespace Watch {

constexpr int leastSide = 100; // pixels

inline double nowMSecs()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// The first mapped top-level window of some size for which accept(window) is true; None while there
// is none.
template <typename Accept>
Window findWindow(Display* display, XWindowAttributes* attributes, Accept accept)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    Window found = None;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned i = 0; i < count && found == None; ++i) {
        if (XGetWindowAttributes(display, children[i], attributes) != 0
            && attributes->map_state == IsViewable && attributes->width >= leastSide
            && attributes->height >= leastSide && accept(children[i]))
            found = children[i];
    }
    if (children != nullptr)
        XFree(children);
    return found;
}

// A window may go while it is looked at.
inline int ignoreErrors(Display*, XErrorEvent*)
{
    return 0;
}

} // namespace Watch
