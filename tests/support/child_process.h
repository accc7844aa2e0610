// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRandomGenerator>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

// Runs the step in a process of its own, which ends with the step.
template <typename Step> void inChild(Step const& step)
{
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        step();
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
}

// Runs a step that never ends in a process of its own, and kills that at a moment left to chance.
template <typename Step> void inKilledChild(unsigned mostMicroseconds, Step const& step)
{
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        step();
        _exit(1);
    }
    usleep(QRandomGenerator::global()->bounded(mostMicroseconds));
    ::kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
}
