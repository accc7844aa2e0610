// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Runs a command and prints the milliseconds from exec until its first large window shows something
// painted, then the process id, and stays until the command ends or its own input is closed.
//
//   first-paint COMMAND [ARGUMENT...]
//
// A window counts as painted when it shows at least eight colours: smoothed text does, an empty
// background does not.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <set>

namespace {

constexpr int leastSide = 100; // pixels
constexpr std::size_t leastColours = 8;
constexpr double limitMSecs = 60000;

double nowMSecs()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

bool showsSomething(Display* display, Window window, int width, int height)
{
    XImage* image = XGetImage(display, window, 0, 0, width, height, AllPlanes, ZPixmap);
    if (image == nullptr)
        return false;
    std::set<unsigned long> colours;
    for (int y = 0; y < height && colours.size() < leastColours; ++y)
        for (int x = 0; x < width && colours.size() < leastColours; ++x)
            colours.insert(XGetPixel(image, x, y));
    XDestroyImage(image);
    return colours.size() >= leastColours;
}

// The first mapped top-level window of some size; None while there is none.
Window findWindow(Display* display, int* width, int* height)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    Window found = None;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned i = 0; i < count && found == None; ++i) {
        XWindowAttributes attributes{};
        if (XGetWindowAttributes(display, children[i], &attributes) != 0
            && attributes.map_state == IsViewable && attributes.width >= leastSide
            && attributes.height >= leastSide) {
            found = children[i];
            *width = attributes.width;
            *height = attributes.height;
        }
    }
    if (children != nullptr)
        XFree(children);
    return found;
}

int ignoreErrors(Display*, XErrorEvent*)
{
    return 0;
} // a window may go while it is looked at

} // namespace

int main(int argc, char** argv)
{
    Display* display = XOpenDisplay(nullptr);
    if (argc < 2 || display == nullptr) {
        std::fprintf(stderr, "first-paint: needs a command and a display\n");
        return 2;
    }
    XSetErrorHandler(ignoreErrors);
    double const start = nowMSecs();
    pid_t const child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    int width = 0;
    int height = 0;
    for (;;) {
        double const elapsed = nowMSecs() - start;
        Window const window = findWindow(display, &width, &height);
        if (window != None && showsSomething(display, window, width, height)) {
            std::printf("%.2f %d\n", nowMSecs() - start, static_cast<int>(child));
            std::fflush(stdout);
            break;
        }
        if (elapsed > limitMSecs || waitpid(child, nullptr, WNOHANG) == child) {
            std::fprintf(stderr, "first-paint: nothing was painted\n");
            kill(child, SIGKILL);
            return 1;
        }
        usleep(500);
    }
    while (getchar() != EOF) { }
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
    return 0;
}
