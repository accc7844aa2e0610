// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Asks a program's window again and again whether it is alive, as window managers do, and tells how
// long its user-interface thread took to answer: the event loop answers, so whatever blocks the
// loop shows here.
//
//   window-pings PID
//
// Prints "ready" when the window is there. At the end of its own input it prints the number of
// answers, the longest wait in milliseconds, and the longest wait in milliseconds of processor time
// of the program's main thread, which a busy machine does not lengthen.

#include "x_windows.h"

#include <X11/Xatom.h>
#include <poll.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr double intervalMs = 2;
constexpr double limitMs = 60000;

struct Pinger {
    Display* display = nullptr;
    Window window = None;
    Atom protocols = None;
    Atom ping = None;
    std::string schedule; // the file that tells the main thread's processor time
    long sent = 0; // the time stamp of the question under way; 0 for none
    double sentMs = 0;
    double sentProcessorMs = 0;
    int answers = 0;
    double longestMs = 0;
    double longestProcessorMs = 0;
};

double processorMs(Pinger const& pinger)
{
    unsigned long long nanoseconds = 0;
    FILE* const file = std::fopen(pinger.schedule.c_str(), "r");
    if (file == nullptr)
        return 0;
    if (std::fscanf(file, "%llu", &nanoseconds) != 1)
        nanoseconds = 0;
    std::fclose(file);
    return static_cast<double>(nanoseconds) / 1e6;
}

bool isOf(Display* display, Window window, unsigned long pid)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), 0, 1, False,
                       XA_CARDINAL, &type, &format, &count, &left, &data);
    bool const same = count == 1 && *reinterpret_cast<unsigned long*>(data) == pid;
    if (data != nullptr)
        XFree(data);
    return same;
}

void ask(Pinger& pinger)
{
    pinger.sentProcessorMs = processorMs(pinger);
    pinger.sentMs = Watch::nowMSecs();
    pinger.sent = static_cast<long>(pinger.sentMs); // the X server's clock, here
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = pinger.window;
    event.xclient.message_type = pinger.protocols;
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(pinger.ping);
    event.xclient.data.l[1] = pinger.sent;
    event.xclient.data.l[2] = static_cast<long>(pinger.window);
    XSendEvent(pinger.display, pinger.window, False, NoEventMask, &event);
    XFlush(pinger.display);
}

void receive(Pinger& pinger, XEvent const& event)
{
    // Format 32 goes over the wire in 32 bits.
    bool const isAnswer = event.type == ClientMessage
        && event.xclient.message_type == pinger.protocols
        && static_cast<Atom>(event.xclient.data.l[0]) == pinger.ping
        && static_cast<int>(event.xclient.data.l[1]) == static_cast<int>(pinger.sent);
    if (!isAnswer)
        return;
    pinger.sent = 0;
    ++pinger.answers;
    pinger.longestMs = std::max(pinger.longestMs, Watch::nowMSecs() - pinger.sentMs);
    pinger.longestProcessorMs =
        std::max(pinger.longestProcessorMs, processorMs(pinger) - pinger.sentProcessorMs);
}

void pingUntilInputEnds(Pinger& pinger)
{
    pollfd files[] = { { 0, POLLIN, 0 }, { ConnectionNumber(pinger.display), POLLIN, 0 } };
    while ((files[0].revents & (POLLIN | POLLHUP)) == 0) {
        while (XPending(pinger.display) > 0) {
            XEvent event{};
            XNextEvent(pinger.display, &event);
            receive(pinger, event);
        }
        if (pinger.sent == 0 && Watch::nowMSecs() - pinger.sentMs >= intervalMs)
            ask(pinger);
        poll(files, 2, static_cast<int>(intervalMs));
    }
}

} // namespace

int main(int argc, char** argv)
{
    Pinger pinger;
    pinger.display = XOpenDisplay(nullptr);
    if (argc != 2 || pinger.display == nullptr) {
        std::fprintf(stderr, "window-pings: needs a process id and a display\n");
        return 2;
    }
    XSetErrorHandler(Watch::ignoreErrors);
    unsigned long const pid = std::strtoul(argv[1], nullptr, 10);
    XWindowAttributes attributes{};
    double const start = Watch::nowMSecs();
    auto const isTheirs = [&](Window window) { return isOf(pinger.display, window, pid); };
    while ((pinger.window = Watch::findWindow(pinger.display, &attributes, isTheirs)) == None) {
        if (Watch::nowMSecs() - start > limitMs) {
            std::fprintf(stderr, "window-pings: the process shows no window\n");
            return 1;
        }
        poll(nullptr, 0, 20);
    }
    pinger.protocols = XInternAtom(pinger.display, "WM_PROTOCOLS", False);
    pinger.ping = XInternAtom(pinger.display, "_NET_WM_PING", False);
    pinger.schedule = std::string("/proc/") + argv[1] + "/task/" + argv[1] + "/schedstat";
    // The answers go to the root window.
    XSelectInput(pinger.display, DefaultRootWindow(pinger.display),
                 StructureNotifyMask | SubstructureNotifyMask);
    std::printf("ready\n");
    std::fflush(stdout);
    pingUntilInputEnds(pinger);
    std::printf("%d %.2f %.2f\n", pinger.answers, pinger.longestMs, pinger.longestProcessorMs);
    return 0;
}
