// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The main() of every test program with widgets: they need an application object, and a data
// directory of their own.

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QTemporaryDir const home;
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Nakwire"));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
