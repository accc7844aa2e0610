// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What every bench prints: one line per figure, fields parted by tabs, which script/bench collects.
//
// A bench run with --once does its set-up and calls the function bench_once a single time, for
// script/bench to count the instructions of; it prints a line "name, unit, count, goal" per figure,
// where count is what that one call handled. With a fifth field "floor" it also calls bench_floor
// once, for the same count. A bench with several such figures exports bench_variants, prints their
// names when run with --variants, and takes one after --once.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace Bench {

enum class Goal { AtLeast, AtMost };

// ours and floor in the unit; the goal is for ours / floor.
inline void printRow(char const* name, char const* unit, double ours, double floor, Goal sense,
                     double goal)
{
    double const ratio = ours / floor;
    bool const held = sense == Goal::AtLeast ? ratio >= goal : ratio <= goal;
    printf("%s\t%s\t%.4g\t%.4g\t%.3g\t%s%.3g\t%s\n", name, unit, ours, floor, ratio,
           sense == Goal::AtLeast ? ">=" : "<=", goal, held ? "held" : "missed");
}

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <class Function> double secondsOf(Function&& function)
{
    auto const start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Of all threads of the process. On a busy machine it says more than the clock on the wall.
template <class Function> double processorSecondsOf(Function&& function)
{
    auto const now = [] {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    };
    double const start = now();
    function();
    return now() - start;
}

// Median seconds of each function. They run in turn, so that a busy moment of the machine falls on
// all of them alike.
template <class... Functions>
std::vector<double> mediansInTurn(int rounds, Functions&&... functions)
{
    std::vector<std::vector<double>> times(sizeof...(functions));
    for (int round = 0; round < rounds; ++round) {
        std::size_t i = 0;
        (times[i++].push_back(secondsOf(functions)), ...);
    }
    std::vector<double> medians;
    for (auto const& series : times) {
        medians.push_back(median(series));
    }
    return medians;
}

} // namespace Bench
