// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The event log's window on a log of 100 MB beside the same window on a log of one screen, and
// beside nothing but reading the file and counting its lines.

#include "bench_row.h"
#include "event_log_view.h"
#include "event_log_window.h"
#include "nak_event_log.h"
#include "nakwire_style.h"

#include <QApplication>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <malloc.h>

#include <cstring>

namespace {

constexpr int longLines = 1'000'000; // about 100 MB
constexpr int shortLines = 30;
constexpr int rounds = 5;
constexpr double frameSeconds = 1.0 / 60;

// On a busy machine it says more than the clock on the wall.
double threadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

// Notes how long the longest event took.
class Application : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        double const start = threadSeconds();
        bool const handled = QApplication::notify(receiver, event);
        longest = std::max(longest, threadSeconds() - start);
        painted |= event->type() == QEvent::Paint && receiver->parent()
            && receiver->parent()->inherits("NakEventLogView");
        return handled;
    }

    double longest = 0;
    bool painted = false;
};

void writeLog(QString const& path, int lines)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        std::exit(1);
    }
    for (int i = 0; i < lines; ++i) {
        QByteArray const text = "Request " + QByteArray::number(i)
            + " to the service was answered within the usual time";
        bool const written =
            EvLogData::writeEvent(&file, 1'700'000'000'000 + i, EvLog::Category::Networking,
                                  static_cast<EvLog::Severity>(i % 4), text.constData(),
                                  static_cast<unsigned long>(text.size()));
        if (!written) {
            std::exit(1);
        }
    }
}

struct Opened {
    double firstLines = 0; // seconds
    double longestEvent = 0; // once the window is there
};

Opened openLog(Application* app, QString const& path, int lines)
{
    Opened opened;
    auto const start = std::chrono::steady_clock::now();
    auto const passed = [&start] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    NakEventLogWindow window(path);
    auto const* const source = window.findChild<NakEventLogSource*>();
    window.show();
    do {
        app->painted = false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    } while (!app->painted || NakEvLogIndex::rowCount(source->index()) == 0);
    opened.firstLines = passed();
    app->longest = 0;
    while (NakEvLogIndex::rowCount(source->index()) < lines) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    opened.longestEvent = app->longest;
    return opened;
}

int countLines(QString const& path)
{
    QFile file(path);
    int lines = 0;
    if (file.open(QIODevice::ReadOnly)) {
        QByteArray piece;
        while (!(piece = file.read(2 << 20)).isEmpty()) {
            char const* at = piece.constData();
            char const* const end = at + piece.size();
            while ((at = static_cast<char const*>(memchr(at, '\n', size_t(end - at))))) {
                ++at;
                ++lines;
            }
        }
    }
    return lines;
}

double heapBytes()
{
    struct mallinfo2 const info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

double indexBytesPerLine(QString const& path)
{
    double const before = heapBytes();
    NakEventLogSource const source(path, nullptr);
    while (NakEvLogIndex::rowCount(source.index()) < longLines) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return (heapBytes() - before) / longLines;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Application app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QApplication::setStyle(new NakwireStyle);
    QTemporaryDir const directory;
    QString const longLog = directory.filePath(QStringLiteral("long"));
    QString const shortLog = directory.filePath(QStringLiteral("short"));
    writeLog(longLog, longLines);
    writeLog(shortLog, shortLines);
    std::vector<double> first;
    std::vector<double> firstFloor;
    std::vector<double> all;
    std::vector<double> allFloor;
    std::vector<double> longest;
    for (int round = 0; round < rounds; ++round) {
        firstFloor.push_back(openLog(&app, shortLog, shortLines).firstLines);
        Opened opened;
        all.push_back(
            Bench::processorSecondsOf([&] { opened = openLog(&app, longLog, longLines); }));
        first.push_back(opened.firstLines);
        longest.push_back(opened.longestEvent);
        allFloor.push_back(Bench::processorSecondsOf([&] { countLines(longLog); }));
    }
    using Bench::Goal;
    using Bench::median;
    Bench::printRow("log-first-lines", "ms", median(first) * 1e3, median(firstFloor) * 1e3,
                    Goal::AtMost, 2);
    Bench::printRow("log-all-lines", "cpu ms", median(all) * 1e3, median(allFloor) * 1e3,
                    Goal::AtMost, 15);
    Bench::printRow("log-longest-event", "ms", median(longest) * 1e3, frameSeconds * 1e3,
                    Goal::AtMost, 1);
    Bench::printRow("log-memory", "bytes/line", indexBytesPerLine(longLog),
                    sizeof(NakEvLogIndex::Line), Goal::AtMost, 1.1);
    return 0;
}
