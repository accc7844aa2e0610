// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Saves the picture of an X11 window once a conversation can be seen in it: waits until the middle
// of the window shows at least so many lines of text, twice in a row with the same count, so that
// neither an empty state nor a half-painted page passes. Exit status 0 only if it did.

#include "text_lines.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTextStream>
#include <QThread>

namespace {

constexpr int pollMSecs = 150;

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOptions(
        { { QStringLiteral("window"), QStringLiteral("X11 window id"), QStringLiteral("id") },
          { QStringLiteral("out"), QStringLiteral("picture to write"), QStringLiteral("file") },
          { QStringLiteral("lines"), QStringLiteral("least lines of text"), QStringLiteral("n"),
            QStringLiteral("8") },
          { QStringLiteral("timeout"), QStringLiteral("seconds to wait"), QStringLiteral("s"),
            QStringLiteral("30") } });
    parser.addHelpOption();
    parser.process(app);
    WId const window = parser.value(QStringLiteral("window")).toULongLong(nullptr, 0);
    int const wanted = parser.value(QStringLiteral("lines")).toInt();
    qint64 const timeoutMSecs = parser.value(QStringLiteral("timeout")).toLongLong() * 1000;

    QTextStream err(stderr);
    QElapsedTimer elapsed;
    elapsed.start();
    int lines = 0;
    int before = -1;
    while (elapsed.elapsed() < timeoutMSecs) {
        QImage const picture = QGuiApplication::primaryScreen()->grabWindow(window).toImage();
        lines = picture.isNull() ? 0 : countTextLines(picture);
        if (lines >= wanted && lines == before) {
            QString const out = parser.value(QStringLiteral("out"));
            if (!out.isEmpty() && !picture.save(out)) {
                err << "Cannot write " << out << '\n';
                return 1;
            }
            return 0;
        }
        before = lines;
        QThread::msleep(pollMSecs);
    }
    err << "No conversation on screen: " << lines << " lines of text, " << wanted << " wanted\n";
    return 1;
}
