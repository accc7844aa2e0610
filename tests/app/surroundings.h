// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a test needs around a program that it runs: directories of its own, a display, and a way to
// wait for what is seen from outside.

#include <QProcess>
#include <QSize>
#include <QTemporaryDir>

#include <functional>

// Polls until the condition holds; false if that takes too long.
bool waitUntil(std::function<bool()> const& condition);

// A home and a place for temporary files, and the environment that points a program there.
class Surroundings {
public:
    Surroundings();

    QProcessEnvironment environment;

    QString dataPath(QString const& name = QString()) const; // below the program's data directory
    bool dataPathExists() const;
    QStringList temporaryFiles() const;
    void writeSettings(QByteArray const& ini) const;

private:
    QTemporaryDir m_directory;
};

struct Finished {
    int status = -1; // -1: it crashed or did not end
    std::string standardOutput;
    std::string standardError;
};
Finished waitForEnd(QProcess& process);
Finished run(Surroundings const& surroundings, QString const& program,
             QStringList const& arguments);

// An X server on a display that was free.
class Display {
public:
    Display();
    ~Display();

    QString name() const { return m_name; } // empty if there is no server
    // The identifier of the process's one visible window with a name; empty if there is none.
    QString windowOf(qint64 process, QString const& name) const;
    // All its visible windows.
    QStringList windowsOf(qint64 process) const;
    void click(QString const& window, int button) const; // near its upper left corner
    void pressKeys(QString const& window, QString const& keys) const; // apart by blanks
    void resize(QString const& window, QSize const& size) const; // done when it returns
    QSize sizeOf(QString const& window) const;

private:
    QString xdotool(QStringList const& arguments) const;

    QProcess m_server;
    QString m_name;
};
