// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// One click of the wheel upwards in a long channel of one-message groups, from the event to the
// painted window: on the average a little more than one new group comes into view.

#include "bench_row.h"
#include "dis_chan_buff.h"
#include "scroll_scene.h"

#include <QApplication>

#include <string>

namespace {

constexpr int rounds = 301;
constexpr int stepsOfOnce = 40;
constexpr double goalInstructions = 8e6;
constexpr double goalStepMs = 2.0;

ScrollScene* scene = nullptr;

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    for (int i = 0; i < stepsOfOnce; ++i) {
        scene->wheel(1);
    }
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    ScrollScene theScene;
    scene = &theScene;
    scene->openChannel();
    for (int i = 0; i < 60; ++i) {
        scene->wheel(1); // the pools and caches are filled
    }
    if (argc > 1 && std::string(argv[1]) == "--once") {
        bench_once();
        printf("scroll-step-group\tinstr/step\t%d\t%.0f\n", stepsOfOnce, goalInstructions);
        return 0;
    }
    auto const times = Bench::mediansInTurn(rounds, [] { scene->wheel(1); });
    Bench::printRow("scroll-step-group", "ms", times[0] * 1e3, goalStepMs, Bench::Goal::AtMost, 1);
    return 0;
}
