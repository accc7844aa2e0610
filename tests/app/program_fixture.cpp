// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "program_fixture.h"

#include <QCoreApplication>
#include <QDir>

Surroundings::Surroundings(char const* platform)
    : environment(QProcessEnvironment::systemEnvironment())
{
    for (char const* name : { "tmp", "run" })
        QDir(m_directory.path()).mkdir(QLatin1String(name));
    QFile::setPermissions(m_directory.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    set("HOME", m_directory.path());
    set("XDG_DATA_HOME", m_directory.filePath(QStringLiteral("data")));
    set("XDG_RUNTIME_DIR", m_directory.filePath(QStringLiteral("run")));
    set("TMPDIR", m_directory.filePath(QStringLiteral("tmp")));
    set("QT_QPA_PLATFORM", QLatin1String(platform));
}

void Surroundings::set(char const* variable, QString const& value)
{
    environment.insert(QLatin1String(variable), value);
}

QString Surroundings::dataPath(QString const& name) const
{
    return m_directory.filePath(QStringLiteral("data/Nakwire/") + name);
}

void Surroundings::writeData(char const* name, QByteArray const& content) const
{
    QDir().mkpath(dataPath());
    QFile file(dataPath(QLatin1String(name)));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QStringList Surroundings::temporaryFiles() const
{
    return QDir(m_directory.filePath(QStringLiteral("tmp"))).entryList(QDir::Files);
}

QByteArray Surroundings::logText() const
{
    QByteArray text;
    for (QString const& name : temporaryFiles()) {
        QFile file(m_directory.filePath(QStringLiteral("tmp/") + name));
        if (file.open(QIODevice::ReadOnly))
            text += file.readAll();
    }
    return text;
}

QByteArray Surroundings::lockText() const
{
    QFile file(dataPath(QStringLiteral("nakwire.lockfile")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no lock");
}

Finished waitForEnd(QProcess& process)
{
    Finished finished;
    bool const ended = waitUntil([&] { return process.state() == QProcess::NotRunning; });
    if (ended && process.exitStatus() == QProcess::NormalExit)
        finished.status = process.exitCode();
    finished.standardOutput = process.readAllStandardOutput().toStdString();
    finished.standardError = process.readAllStandardError().toStdString();
    return finished;
}

namespace {

void startRole(QProcess& process, Surroundings const& surroundings, char const* role)
{
    process.setProcessEnvironment(surroundings.environment);
    process.start(QCoreApplication::applicationFilePath(),
                  { QStringLiteral("--child"), QLatin1String(role) });
}

} // namespace

Finished runRole(Surroundings const& surroundings, char const* role)
{
    QProcess process;
    startRole(process, surroundings, role);
    return waitForEnd(process);
}

std::unique_ptr<QProcess> Program::start(char const* role)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(m_surroundings.environment);
    if (role)
        startRole(*process, m_surroundings, role);
    else
        process->start(QStringLiteral(NAKWIRE_PROGRAM), QStringList());
    return process;
}

void Program::expectOrderlyEnd(QProcess& process)
{
    Finished const finished = waitForEnd(process);
    EXPECT_EQ(finished.status, 0) << finished.standardError;
    EXPECT_EQ(m_surroundings.lockText(), "no lock");
    EXPECT_EQ(m_surroundings.logText(), "");
    EXPECT_TRUE(m_surroundings.temporaryFiles().isEmpty());
}
