// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Runs a command and prints the milliseconds from exec until its first large window shows something
// painted, then the process id, and stays until the command ends or its own input is closed.
//
//   first-paint COMMAND [ARGUMENT...]
//
// A window counts as painted when it shows at least eight colours: smoothed text does, an empty
// background does not.

#include "x_windows.h"

#include <X11/Xutil.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <set>

namespace {

constexpr std::size_t leastColours = 8;
constexpr double limitMSecs = 60000;

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

} // namespace

int main(int argc, char** argv)
{
    Display* display = XOpenDisplay(nullptr);
    if (argc < 2 || display == nullptr) {
        std::fprintf(stderr, "first-paint: needs a command and a display\n");
        return 2;
    }
    XSetErrorHandler(Watch::ignoreErrors);
    double const start = Watch::nowMSecs();
    pid_t const child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    XWindowAttributes size{};
    for (;;) {
        double const elapsed = Watch::nowMSecs() - start;
        Window const window = Watch::findWindow(display, &size, [](Window) { return true; });
        if (window != None && showsSomething(display, window, size.width, size.height)) {
            std::printf("%.2f %d\n", Watch::nowMSecs() - start, static_cast<int>(child));
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
