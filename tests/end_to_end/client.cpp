// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "client.h"

#include "stage_deploy.h"
#include "text_lines.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPixmap>
#include <QProcessEnvironment>
#include <QScreen>
#include <QTest>

#include <csignal>

namespace {

constexpr int keyDelayMSecs = 2;

} // namespace

bool waitFor(std::function<bool()> const& condition, int limitMSecs)
{
    return QTest::qWaitFor(condition, limitMSecs);
}

Client::Client(stage::Stage& stage, QString const& token)
{
    m_ready = stage::writeDeployment(m_folder.filePath(QStringLiteral("deployment.ini")), stage)
        && (token.isEmpty() || stage::writeDataHome(m_folder.path(), token, stage.busyChannelId()));

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.path());
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("TMPDIR"), m_folder.path());
    environment.insert(QStringLiteral("NAKWIRE_DEPLOYMENT"),
                       m_folder.filePath(QStringLiteral("deployment.ini")));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(&m_process, &QProcess::readyRead, &m_process,
                     [this] { m_output += m_process.readAll(); });
}

Client::~Client()
{
    if (isRunning() && !quit())
        m_process.kill();
    m_process.waitForFinished(5000);
}

bool Client::start()
{
    if (!m_ready)
        return false;
    m_process.start(QStringLiteral(NAKWIRE_PROGRAM), {});
    bool const shown = waitFor([this] {
        m_window = windows().value(0);
        return !m_window.isEmpty() || !isRunning();
    });
    if (!shown || m_window.isEmpty())
        return false;
    // There is no window manager on this display, so nobody else gives the focus.
    xdotool(
        { QStringLiteral("windowsize"), m_window, QStringLiteral("900"), QStringLiteral("700") });
    xdotool({ QStringLiteral("windowfocus"), m_window });
    return true;
}

bool Client::quit()
{
    if (m_process.processId() == 0)
        return false; // it is gone, and a signal to 0 would reach the test itself
    ::kill(static_cast<pid_t>(m_process.processId()), SIGTERM);
    return waitFor([this] { return !isRunning(); }, 10000)
        && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}

bool Client::wasAborted() const
{
    return m_process.exitStatus() == QProcess::CrashExit && m_process.exitCode() == SIGABRT;
}

void Client::key(QString const& keys)
{
    xdotool({ QStringLiteral("key"), keys });
}

void Client::type(QString const& text)
{
    xdotool({ QStringLiteral("type"), QStringLiteral("--delay"), QString::number(keyDelayMSecs),
              text });
}

void Client::xdo(QString const& command)
{
    xdotool(command.split(QLatin1Char(' ')));
}

void Client::dismissBox()
{
    for (QString const& window : windows()) {
        if (window == m_window)
            continue;
        xdotool({ QStringLiteral("windowfocus"), window });
        key(QStringLiteral("Return"));
        waitFor([&] { return !windows().contains(window); });
    }
    xdotool({ QStringLiteral("windowfocus"), m_window });
}

QStringList Client::windows() const
{
    return xdotool({ QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                     QStringLiteral("--pid"), QString::number(m_process.processId()),
                     QStringLiteral("--name"), QStringLiteral(".") })
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString Client::nameOf(QString const& window) const
{
    return xdotool({ QStringLiteral("getwindowname"), window });
}

QString Client::title() const
{
    return nameOf(m_window).trimmed();
}

bool Client::focusWindow(QString const& title)
{
    QString found;
    bool const shown = waitFor([&] {
        found = xdotool({ QStringLiteral("search"), QStringLiteral("--all"),
                          QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
                          QString::number(m_process.processId()), QStringLiteral("--name"), title })
                    .section(QLatin1Char('\n'), 0, 0);
        return !found.isEmpty();
    });
    if (!shown)
        return false;
    stillPicture(); // a window that is on screen may not take keys yet
    xdotool({ QStringLiteral("windowfocus"), found });
    return true;
}

QImage Client::picture() const
{
    return QGuiApplication::primaryScreen()->grabWindow(m_window.toULongLong()).toImage();
}

QImage Client::stillPicture() const
{
    QImage last;
    int same = 0;
    waitFor([&] {
        QImage const now = picture();
        same = now == last ? same + 1 : 0;
        last = now;
        return same >= 50; // looks, some 10 ms apart: half a second
    });
    return last;
}

int Client::textLines() const
{
    return countTextLines(picture());
}

// Runs while the test's event loop goes on: the client may be waiting for the stage.
QString Client::xdotool(QStringList const& arguments) const
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    waitFor([&process] { return process.state() == QProcess::NotRunning; });
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}
