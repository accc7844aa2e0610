// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "client.h"

#include "stage_deploy.h"
#include "text_lines.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QProcessEnvironment>
#include <QScreen>

#include <csignal>

Client::Client(stage::Stage& stage, QString const& token)
{
    QString const deployment = m_folder.filePath(QStringLiteral("deployment.ini"));
    m_ready = stage::writeDeployment(deployment, stage)
        && (token.isEmpty() || stage::writeDataHome(m_folder.path(), token, stage.busyChannelId()));

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (char const* const name : { "XDG_DATA_HOME", "HOME", "TMPDIR" })
        environment.insert(QLatin1String(name), m_folder.path());
    environment.insert(QStringLiteral("NAKWIRE_DEPLOYMENT"), deployment);
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
    waitUntil([this] {
        m_window = otherWindows().value(0);
        return !m_window.isEmpty() || !isRunning();
    });
    if (m_window.isEmpty())
        return false;
    Windows::resize(m_window, { 900, 700 });
    xdo(QStringLiteral("windowfocus ") + m_window);
    return true;
}

bool Client::showsConversation() const
{
    return waitUntil([this] { return countTextLines(picture()) >= 8; });
}

bool Client::quit()
{
    if (m_process.processId() == 0)
        return false; // it is gone, and a signal to 0 would reach the test itself
    ::kill(static_cast<pid_t>(m_process.processId()), SIGTERM);
    return waitUntil([this] { return !isRunning(); })
        && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}

bool Client::wasAborted() const
{
    return m_process.exitStatus() == QProcess::CrashExit && m_process.exitCode() == SIGABRT;
}

void Client::key(QString const& keys)
{
    Windows::xdo({ QStringLiteral("key"), keys });
}

void Client::type(QString const& text)
{
    Windows::xdo({ QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("2"), text });
}

void Client::xdo(QString const& command)
{
    Windows::xdo(command.split(QLatin1Char(' ')));
}

QStringList Client::otherWindows() const
{
    QStringList windows = Windows::of(m_process.processId());
    windows.removeOne(m_window);
    return windows;
}

bool Client::focusWindow(QString const& title)
{
    QString found;
    waitUntil([&] {
        found = Windows::of(m_process.processId(), title).value(0);
        return !found.isEmpty();
    });
    if (found.isEmpty())
        return false;
    stillPicture(); // a window that is on screen may not take keys yet
    xdo(QStringLiteral("windowfocus ") + found);
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
    waitUntil([&] {
        QImage const now = picture();
        same = now == last ? same + 1 : 0;
        last = now;
        return same >= 50; // looks, some 10 ms apart: half a second
    });
    return last;
}
