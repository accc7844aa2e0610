// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A system tray for a display that has none: a row of icons in the lower left corner, by the
// freedesktop.org protocol (a selection, and windows that ask to be docked). Prints "docked WINDOW"
// and "gone WINDOW" with X11 identifiers. Runs until it is ended, two minutes at most; for tests
// only.

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr unsigned lifeSeconds = 120;
constexpr int iconSize = 24;
constexpr int maxIcons = 16;
constexpr long requestDock = 0; // opcode
constexpr long embeddedNotify = 0; // of XEMBED

struct Tray {
    Display* display = nullptr;
    Window window = 0;
    std::vector<Window> icons;
};

Atom atom(Tray const& tray, char const* name)
{
    return XInternAtom(tray.display, name, False);
}

void send(Tray const& tray, Window to, char const* type, long const (&data)[5], long mask)
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = to;
    event.xclient.message_type = atom(tray, type);
    event.xclient.format = 32;
    std::copy(std::begin(data), std::end(data), event.xclient.data.l);
    XSendEvent(tray.display, to, False, mask, &event);
}

bool open(Tray& tray)
{
    tray.display = XOpenDisplay(nullptr);
    if (!tray.display)
        return false;
    Window const root = DefaultRootWindow(tray.display);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.event_mask = SubstructureNotifyMask;
    int const top = DisplayHeight(tray.display, DefaultScreen(tray.display)) - iconSize;
    tray.window =
        XCreateWindow(tray.display, root, 0, top, iconSize * maxIcons, iconSize, 0, CopyFromParent,
                      InputOutput, CopyFromParent, CWOverrideRedirect | CWEventMask, &attributes);
    XMapRaised(tray.display, tray.window);
    Atom const selection = atom(tray, "_NET_SYSTEM_TRAY_S0");
    XSetSelectionOwner(tray.display, selection, tray.window, CurrentTime);
    long const data[5] = { CurrentTime, static_cast<long>(selection),
                           static_cast<long>(tray.window) };
    send(tray, root, "MANAGER", data, StructureNotifyMask);
    return XGetSelectionOwner(tray.display, selection) == tray.window;
}

void dock(Tray& tray, Window icon)
{
    if (tray.icons.size() >= maxIcons)
        return;
    XReparentWindow(tray.display, icon, tray.window, static_cast<int>(tray.icons.size()) * iconSize,
                    0);
    XResizeWindow(tray.display, icon, iconSize, iconSize);
    long const data[5] = { CurrentTime, embeddedNotify, 0, static_cast<long>(tray.window), 0 };
    send(tray, icon, "_XEMBED", data, NoEventMask);
    XMapWindow(tray.display, icon);
    tray.icons.push_back(icon);
    std::printf("docked %lu\n", icon);
}

void forget(Tray& tray, Window icon)
{
    auto const it = std::find(tray.icons.begin(), tray.icons.end(), icon);
    if (it == tray.icons.end())
        return;
    tray.icons.erase(it);
    std::printf("gone %lu\n", icon);
}

int ignoreError(Display*, XErrorEvent*)
{
    return 0; // an icon's program may end at any moment
}

} // namespace

int main()
{
    alarm(lifeSeconds);
    XSetErrorHandler(ignoreError);
    Tray tray;
    if (!open(tray))
        return 1;
    std::puts("ready");
    Atom const opcode = atom(tray, "_NET_SYSTEM_TRAY_OPCODE");
    for (;;) {
        std::fflush(stdout);
        XEvent event;
        XNextEvent(tray.display, &event);
        if (event.type == ClientMessage && event.xclient.message_type == opcode
            && event.xclient.data.l[1] == requestDock)
            dock(tray, static_cast<Window>(event.xclient.data.l[2]));
        else if (event.type == DestroyNotify)
            forget(tray, event.xdestroywindow.window);
        else if (event.type == ReparentNotify && event.xreparent.parent != tray.window)
            forget(tray, event.xreparent.window);
    }
}
