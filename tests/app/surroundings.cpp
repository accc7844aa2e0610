// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "surroundings.h"

#include <QDir>
#include <QElapsedTimer>
#include <QThread>

namespace {

constexpr int patienceMSecs = 30000;

} // namespace

bool waitUntil(std::function<bool()> const& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > patienceMSecs)
            return false;
        QThread::msleep(5);
    }
    return true;
}

Surroundings::Surroundings()
    : environment(QProcessEnvironment::systemEnvironment())
{
    QDir(m_directory.path()).mkdir(QStringLiteral("tmp"));
    QDir(m_directory.path()).mkdir(QStringLiteral("run"));
    QFile::setPermissions(m_directory.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("HOME"), m_directory.path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"),
                       m_directory.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"),
                       m_directory.filePath(QStringLiteral("run")));
    environment.insert(QStringLiteral("TMPDIR"), m_directory.filePath(QStringLiteral("tmp")));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("DISPLAY"));
}

QString Surroundings::dataPath(QString const& name) const
{
    return m_directory.filePath(QStringLiteral("data/Nakwire/") + name);
}

bool Surroundings::dataPathExists() const
{
    return QDir(dataPath()).exists();
}

QStringList Surroundings::temporaryFiles() const
{
    return QDir(m_directory.filePath(QStringLiteral("tmp"))).entryList(QDir::Files);
}

void Surroundings::writeSettings(QByteArray const& ini) const
{
    QDir().mkpath(dataPath());
    QFile file(dataPath(QStringLiteral("settings.ini")));
    if (file.open(QIODevice::WriteOnly))
        file.write(ini);
}

Finished waitForEnd(QProcess& process)
{
    Finished finished;
    bool const ended =
        process.state() == QProcess::NotRunning || process.waitForFinished(patienceMSecs);
    finished.status =
        ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    finished.standardOutput = process.readAllStandardOutput().toStdString();
    finished.standardError = process.readAllStandardError().toStdString();
    return finished;
}

Finished run(Surroundings const& surroundings, QString const& program, QStringList const& arguments)
{
    QProcess process;
    process.setProcessEnvironment(surroundings.environment);
    process.start(program, arguments);
    return waitForEnd(process);
}

Display::Display()
{
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(QStringLiteral("Xvfb"),
                   { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                     QStringLiteral("0"), QStringLiteral("1280x1024x24"),
                     QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                     QStringLiteral("-noreset") });
    QByteArray number;
    while (!number.endsWith('\n') && m_server.waitForReadyRead(patienceMSecs))
        number += m_server.readAllStandardOutput();
    if (number.endsWith('\n'))
        m_name = QLatin1Char(':') + QString::fromLatin1(number.trimmed());
}

Display::~Display()
{
    m_server.terminate();
    m_server.waitForFinished(patienceMSecs);
}

QString Display::xdotool(QStringList const& arguments) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_name);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished(patienceMSecs);
    return QString::fromLatin1(process.readAllStandardOutput()).trimmed();
}

QString Display::windowOf(qint64 process, QString const& name) const
{
    return xdotool({ QStringLiteral("search"), QStringLiteral("--all"),
                     QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
                     QString::number(process), QStringLiteral("--name"),
                     QLatin1Char('^') + name + QLatin1Char('$') });
}

void Display::pressKeys(QString const& window, QString const& keys) const
{
    // There is no window manager that would have given the window the focus.
    xdotool(QStringList{ QStringLiteral("windowfocus"), QStringLiteral("--sync"), window,
                         QStringLiteral("key") }
            + keys.split(QLatin1Char(' ')));
}

void Display::resize(QString const& window, QSize const& size) const
{
    xdotool({ QStringLiteral("windowsize"), QStringLiteral("--sync"), window,
              QString::number(size.width()), QString::number(size.height()) });
}

QSize Display::sizeOf(QString const& window) const
{
    QString const told = xdotool({ QStringLiteral("getwindowgeometry"), window });
    QStringList const sides = told.section(QStringLiteral("Geometry: "), 1).split(QLatin1Char('x'));
    return sides.size() == 2 ? QSize(sides[0].toInt(), sides[1].toInt()) : QSize();
}

QStringList Display::windowsOf(qint64 process) const
{
    return xdotool({ QStringLiteral("search"), QStringLiteral("--all"),
                     QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
                     QString::number(process) })
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void Display::click(QString const& window, int button) const
{
    QString const inside = QStringLiteral("20"); // pixels
    xdotool({ QStringLiteral("mousemove"), QStringLiteral("--window"), window, inside, inside,
              QStringLiteral("click"), QString::number(button) });
}
