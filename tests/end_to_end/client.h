// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The real program, as its user meets it: a process with a window, keys and pixels. The test's own
// event loop goes on while it waits, since the stage lives in it.

#include "stage.h"
#include "wait_until.h"
#include "windows.h"

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

class Client {
public:
    // Writes a deployment file and a data directory whose account connects by itself and whose tab
    // shows the stage's busy channel. An empty token leaves the data directory empty, as a new user
    // has it.
    explicit Client(stage::Stage& stage, QString const& token);
    ~Client(); // ends the program in an orderly way, or kills it

    bool start(); // true once its window is on screen, with the focus
    bool showsConversation() const; // waits for it
    bool quit(); // by SIGTERM; true if it ended with status 0

    qint64 processId() const { return m_process.processId(); }
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; } // or starting
    bool wasAborted() const; // ended by its own last resort
    int exitCode() const { return m_process.exitCode(); }
    QString folder() const { return m_folder.path(); } // holds data, log and everything it writes
    QByteArray output() const { return m_output; } // standard output and error so far

    // Into the window that has the focus.
    void key(QString const& keys); // as xdotool has them, such as "Return" or "ctrl+t"
    void type(QString const& text);
    void xdo(QString const& command); // any command of xdotool, words apart by blanks

    QString window() const { return m_window; } // the first one
    QString title() const { return Windows::nameOf(m_window); } // of that
    QStringList otherWindows() const;
    // Gives the focus to a window by (a part of) its title once there is one; false if never.
    bool focusWindow(QString const& title);
    // Of the first window.
    QImage picture() const;
    QImage stillPicture() const; // once it has stopped changing

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QByteArray m_output;
    QString m_window;
    bool m_ready = false; // its files are written
};
