// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "program_fixture.h"

#include <QCoreApplication>
#include <QFile>

std::unique_ptr<Display> Program::s_display;

void Program::SetUp()
{
    ASSERT_FALSE(s_display->name().isEmpty());
    m_surroundings.environment.insert(QStringLiteral("DISPLAY"), s_display->name());
    m_surroundings.environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
}

std::unique_ptr<QProcess> Program::start(QString const& role)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(m_surroundings.environment);
    if (role.isEmpty())
        process->start(QStringLiteral(NAKWIRE_PROGRAM), QStringList());
    else
        process->start(QCoreApplication::applicationFilePath(),
                       { QStringLiteral("--child"), role });
    return process;
}

QString Program::waitForWindow(QProcess const& process, QString const& name)
{
    QString window;
    waitUntil([&] {
        window = s_display->windowOf(process.processId(), name);
        return !window.isEmpty();
    });
    return window;
}

QByteArray Program::logText() const
{
    QByteArray text;
    for (QString const& name : m_surroundings.temporaryFiles()) {
        QFile file(m_surroundings.environment.value(QStringLiteral("TMPDIR")) + QLatin1Char('/')
                   + name);
        if (file.open(QIODevice::ReadOnly))
            text += file.readAll();
    }
    return text;
}

QByteArray Program::lockText() const
{
    QFile file(m_surroundings.dataPath(QStringLiteral("nakwire.lockfile")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no lock");
}

void Program::expectOrderlyEnd(QProcess& process)
{
    Finished const finished = waitForEnd(process);
    EXPECT_EQ(finished.status, 0) << finished.standardError;
    EXPECT_EQ(lockText(), "no lock");
    EXPECT_EQ(logText(), "");
    EXPECT_TRUE(m_surroundings.temporaryFiles().isEmpty());
}
