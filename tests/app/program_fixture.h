// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a test needs around a program that it runs: directories of its own, windows and keys, and
// what can be seen from outside.

#include "wait_until.h"
#include "windows.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

// A home and a place for temporary files, and the environment that points a program there.
class Surroundings {
public:
    explicit Surroundings(char const* platform = "offscreen");

    void set(char const* variable, QString const& value);
    QString dataPath(QString const& name = QString()) const; // below the program's data directory
    void writeData(char const* name, QByteArray const& content) const;
    QStringList temporaryFiles() const;
    QByteArray logText() const;
    QByteArray lockText() const;

    QProcessEnvironment environment;

private:
    QTemporaryDir m_directory;
};

struct Finished {
    int status = -1; // -1: it crashed or did not end
    std::string standardOutput;
    std::string standardError;
};
Finished waitForEnd(QProcess& process);
// This test program in a role (child_roles.h), to its end.
Finished runRole(Surroundings const& surroundings, char const* role);

// The real program in windows.
class Program : public testing::Test {
protected:
    // The program, or this test program in a role.
    std::unique_ptr<QProcess> start(char const* role = nullptr);
    void expectOrderlyEnd(QProcess& process);

    QString const m_title = QStringLiteral("Accounts - Nakwire");
    Surroundings m_surroundings{ "xcb" };
};
