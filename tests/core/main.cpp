// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "child_roles.h"

#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Pictures and fonts need an application object. Every run has a data directory of its own.
int main(int argc, char** argv)
{
    QTemporaryDir const home;
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication const app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Nakwire"));
    if (argc == 3 && qstrcmp(argv[1], "--child") == 0)
        return runChildRole(QString::fromLocal8Bit(argv[2]));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
