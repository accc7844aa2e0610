// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The floor of the whole-process rows: the least Qt program that has a window with something in it.
#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QMainWindow window;
    window.menuBar()
        ->addMenu(QStringLiteral("File"))
        ->addAction(QStringLiteral("Quit"), &app, &QApplication::quit);
    window.setCentralWidget(new QLabel(QStringLiteral("A bare window")));
    window.resize(1000, 700);
    window.show();
    return QApplication::exec();
}
