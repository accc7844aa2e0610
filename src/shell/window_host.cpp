// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "window_host.h"

#include "chat_window.h"
#include "main_tabs.h"
#include "shell_host.h"

#include <QApplication>
#include <QTimer>

#include <optional>

namespace {

bool didBeginQuit()
{
    IShellHost const* const host = NakShell::host();
    return host && host->didBeginQuit();
}

NakChatWindow* newShownWindow()
{
    NakChatWindow* const window = NakChatWindow::createInitialChatWindow();
    window->show();
    return window;
}

NakChatWindow* windowOf(QWidget* origin)
{
    return origin ? qobject_cast<NakChatWindow*>(origin->window()) : nullptr;
}

NakChatWindow* windowThatShows(NakNavLoc const& place)
{
    NakChatWindow* const viable = NakGo::mostViableWindow();
    if (viable && viable->mainTabs()->hasAnyTabWithNavLoc(place))
        return viable;
    auto const windows = NakChatWindow::chatWindows();
    for (NakChatWindow* window : windows) {
        if (window->mainTabs()->hasAnyTabWithNavLoc(place))
            return window;
    }
    return viable;
}

void bringToFront(NakChatWindow* window)
{
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    if (!window->isActiveWindow()) {
        window->raise();
        window->activateWindow();
    }
}

struct Hints {
    NakTabs::TargetHint target;
    NakTabs::SubstitueHint substitute;
    NakTabs::ChangeToHint change;
};

// Nothing for a mode that does not exist.
std::optional<Hints> hintsOfMode(NakGo::OpenMode mode)
{
    using NakTabs::ChangeToHint;
    using NakTabs::SubstitueHint;
    using NakTabs::TargetHint;
    switch (mode) {
    case NakGo::OpenMode::CurrentTab:
        return Hints{ TargetHint::CurrentTab, SubstitueHint::Search, ChangeToHint::Change };
    case NakGo::OpenMode::NewTab:
        return Hints{ TargetHint::NewTab, SubstitueHint::Search, ChangeToHint::Change };
    case NakGo::OpenMode::BackgroundTab:
        return Hints{ TargetHint::NewTab, SubstitueHint::DontSearch, ChangeToHint::Stay };
    }
    return std::nullopt;
}

// Once the event at hand, such as a click in a menu, has been dealt with.
void openLater(NakChatWindow* window, NakNavLoc const& place, std::optional<Hints> hints)
{
    QTimer::singleShot(0, window, [window, place, hints] {
        if (hints)
            window->mainTabs()->openNavLoc(place, hints->target, hints->substitute, hints->change);
        bringToFront(window);
    });
}

} // namespace

NakChatWindow* NakGo::mostViableWindow()
{
    if (auto* const active = qobject_cast<NakChatWindow*>(QApplication::activeWindow()))
        return active;
    auto const windows = NakChatWindow::chatWindows();
    for (NakChatWindow* window : windows) {
        if (!window->isMinimized())
            return window;
    }
    return windows.value(0);
}

NakWindowHost::~NakWindowHost() = default;

void NakWindowHost::openNavLoc(NakNavLoc const& place, NakGo::OpenMode mode, QWidget* origin)
{
    if (didBeginQuit())
        return;
    NakChatWindow* window = windowOf(origin);
    if (!window)
        window = NakGo::mostViableWindow();
    if (!window)
        window = newShownWindow();
    openLater(window, place, hintsOfMode(mode));
}

void NakWindowHost::openNavLocAsIfFromNotification(NakNavLoc const& place)
{
    if (didBeginQuit())
        return;
    NakChatWindow* window = windowThatShows(place);
    if (!window)
        window = newShownWindow();
    openLater(window, place,
              Hints{ NakTabs::TargetHint::NewTab, NakTabs::SubstitueHint::Search,
                     NakTabs::ChangeToHint::Change });
}

void NakWindowHost::activateAnyChatWindow()
{
    if (didBeginQuit())
        return;
    NakChatWindow* window = NakGo::mostViableWindow();
    if (!window)
        window = newShownWindow();
    bringToFront(window);
}

QList<QWidget*> NakWindowHost::chatWindows() const
{
    QList<QWidget*> windows;
    for (NakChatWindow* window : NakChatWindow::chatWindows())
        windows.append(window);
    return windows;
}
