// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A top-level window of the program. User-interface thread.

#include <QMainWindow>

class NakStyledWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit NakStyledWindow(QWidget* parent = nullptr);
    ~NakStyledWindow() override;

    // Sets the window's title to text that may come from a server: nothing in it is a placeholder,
    // and it is one line of bounded length.
    void setPlainWindowTitle(QString const& text);
};
