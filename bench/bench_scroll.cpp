// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// One click of the wheel in a long channel, from the event to the painted window, where no new
// group comes into view; and what opening the channel takes.

#include "bench_row.h"
#include "dis_chan_buff.h"
#include "scroll_scene.h"

#include <QApplication>

#include <string>

namespace {

constexpr int rounds = 301;
constexpr int stepsOfOnce = 20; // to and fro
constexpr double goalInstructions = 3e6;
constexpr double goalStepMs = 2.0;
constexpr double goalOpenMs = 16.0; // a frame

ScrollScene* scene = nullptr;

// Until the first and the last group reach a click's way beyond the view.
void scrollToWhereAClickBringsNothing()
{
    for (int i = 0; i < 2000; ++i) {
        scene->buffer().updateViewWithDelta(7);
        QApplication::processEvents();
        ZilView const* view = scene->buffer().view();
        ZilViewItem const last = view->itemAt(view->count() - 1);
        if (view->itemAt(0).top < -32 && last.top + last.height > view->height() + 32) {
            scene->buffer().updateViewWithDelta(-30);
            scene->buffer().updateViewWithDelta(30);
            QApplication::processEvents();
            return;
        }
    }
    stopBench("no place where a click brings no new group");
}

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    for (int i = 0; i < stepsOfOnce; ++i) {
        scene->buffer().updateViewWithDelta(i % 2 == 0 ? 30 : -30);
        QApplication::processEvents();
    }
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    ScrollScene theScene;
    scene = &theScene;
    scene->openChannel();
    scrollToWhereAClickBringsNothing();
    scene->sameGroups();
    if (argc > 1 && std::string(argv[1]) == "--once") {
        bench_once();
        if (!scene->sameGroups()) {
            stopBench("a group came into view");
        }
        printf("scroll-step\tinstr/step\t%d\t%.0f\n", stepsOfOnce, goalInstructions);
        return 0;
    }
    int direction = 1;
    auto const times = Bench::mediansInTurn(rounds, [&direction] {
        scene->buffer().updateViewWithDelta(30 * direction);
        QApplication::processEvents();
        direction = -direction;
    });
    Bench::printRow("scroll-step", "ms", times[0] * 1e3, goalStepMs, Bench::Goal::AtMost, 1);
    std::vector<double> opened;
    for (int i = 0; i < 21; ++i) {
        scene->leaveChannel();
        opened.push_back(Bench::secondsOf([] { scene->openChannel(); }));
    }
    Bench::printRow("open-channel", "ms", Bench::median(opened) * 1e3, goalOpenMs,
                    Bench::Goal::AtMost, 1);
    return 0;
}
