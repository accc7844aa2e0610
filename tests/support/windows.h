// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Windows of other programs on the display, as a user has to do with them, through xdotool. The
// event loop goes on meanwhile: the program may be waiting for this one. A window is named by its
// X11 identifier.

#include <QPoint>
#include <QSize>
#include <QStringList>

namespace Windows {

// Any command of xdotool; gives what it says.
QString xdo(QStringList const& arguments);

// The visible ones of a process, or those among them whose name matches.
QStringList of(qint64 process, QString const& name = QString());
// The first with that very name once there is one; empty if it never comes.
QString waitFor(qint64 process, QString const& name);
QString nameOf(QString const& window);
QSize sizeOf(QString const& window);

void resize(QString const& window, QSize const& size); // done when it returns
// There is no window manager that would have given it the focus. Keys are apart by blanks.
void pressKeys(QString const& window, QString const& keys);
void click(QString const& window, QPoint const& at, int button = 1);

} // namespace Windows
