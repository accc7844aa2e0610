// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "unix_signals.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace {

// A signal handler may do next to nothing, so it only writes a byte here.
int s_pipe[2] = { -1, -1 };

constexpr int caughtSignals[] = { SIGTERM, SIGINT };

void writeSignal(int number)
{
    int const savedErrno = errno;
    auto const byte = static_cast<unsigned char>(number);
    ssize_t const written = write(s_pipe[1], &byte, 1);
    static_cast<void>(written); // a full pipe holds a signal already
    errno = savedErrno;
}

void setHandler(void (*handler)(int), int flags)
{
    struct sigaction action { };
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    for (int number : caughtSignals)
        sigaction(number, &action, nullptr);
}

} // namespace

NakUnixSignals::NakUnixSignals(QObject* parent)
    : QObject(parent)
{
    if (pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) == 0)
        install();
}

NakUnixSignals::~NakUnixSignals()
{
    setHandler(SIG_DFL, 0);
    for (int& end : s_pipe) {
        if (end != -1)
            close(end);
        end = -1;
    }
}

void NakUnixSignals::install()
{
    auto* notifier = new QSocketNotifier(s_pipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &NakUnixSignals::readSignal);
    setHandler(writeSignal, SA_RESTART | static_cast<int>(SA_RESETHAND));
}

void NakUnixSignals::readSignal()
{
    unsigned char byte = 0;
    if (read(s_pipe[0], &byte, 1) == 1)
        emit quitRequested();
}
