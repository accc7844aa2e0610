// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// How anything outside a window opens a place. The window host (src/shell) stands behind it.
// User-interface thread. Nothing opens once the quit has begun.

#include "nav_loc.h"

#include <QList>

class QWidget;

namespace NakGo {

enum class OpenMode : qint32 { CurrentTab = 0, NewTab = 1, BackgroundTab = 2 };

// origin: a widget in the window that should show the place, or null for the most viable window.
void openNavLoc(NakNavLoc const& place, OpenMode mode, QWidget* origin);
// Prefers a window that already shows the place.
void openNavLocAsIfFromNotification(NakNavLoc const& place);
void activateAnyChatWindow();
// The chat windows, in the toolkit's order of windows.
QList<QWidget*> chatWindows();

// The door: set at start by the room that owns the windows, cleared at the end.
class IWindowHost {
public:
    virtual ~IWindowHost();
    virtual void openNavLoc(NakNavLoc const& place, OpenMode mode, QWidget* origin) = 0;
    virtual void openNavLocAsIfFromNotification(NakNavLoc const& place) = 0;
    virtual void activateAnyChatWindow() = 0;
    virtual QList<QWidget*> chatWindows() const = 0;
};
void setWindowHost(IWindowHost* host); // not owned; null clears

} // namespace NakGo
