// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_window.h"

#include "chat_window_priv.h"
#include "settings_file.h"
#include "shell_host.h"

#include <QApplication>

namespace {

constexpr QSize defaultSize(640, 420);

QString geometryName()
{
    return QStringLiteral("chat_window");
}

} // namespace

NakChatWindow::NakChatWindow()
    : d(new NakChatWindowPriv(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Nakwire"));
    resize(defaultSize);
    d->makeCentralWidget();
    d->makeActions();
    d->makeShortcuts();
    d->makeMenus();
    d->connectEverything();
    d->applyPreferences();
    d->restoreTabs();
    d->saveTabsIfDisconnected();
}

NakChatWindow::~NakChatWindow()
{
    if (g_globalEvents) {
        g_globalEvents->disconnect(this);
        g_globalEvents->disconnect(d);
    }
    d->trySaveTabsToPrefsFile();
    delete d;
    if (IShellHost* const host = NakShell::host())
        host->chatWindowClosed();
}

NakChatWindow* NakChatWindow::createInitialChatWindow()
{
    auto* const window = new NakChatWindow;
    NakSettingsFile const settings;
    if (settings.hasGeometry(geometryName())) {
        window->restoreGeometry(settings.getGeometry(geometryName()));
        window->d->restoreSideBar();
    }
    return window;
}

QList<NakChatWindow*> NakChatWindow::chatWindows()
{
    QList<NakChatWindow*> windows;
    auto const widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* const window = qobject_cast<NakChatWindow*>(widget))
            windows.append(window);
    }
    return windows;
}

void NakChatWindow::openTabWithNavLoc(NakNavLoc const& place)
{
    d->openLater(place, NakTabs::TargetHint::CurrentTab, NakTabs::SubstitueHint::Search,
                 NakTabs::ChangeToHint::Change);
}

void NakChatWindow::openTabWithNavLocInBackground(NakNavLoc const& place)
{
    d->openLater(place, NakTabs::TargetHint::NewTab, NakTabs::SubstitueHint::DontSearch,
                 NakTabs::ChangeToHint::Stay);
}

void NakChatWindow::openTabWithNavLocNoOverwrite(NakNavLoc const& place)
{
    d->openLater(place, NakTabs::TargetHint::NewTab, NakTabs::SubstitueHint::Search,
                 NakTabs::ChangeToHint::Change);
}

void NakChatWindow::openAccountsTab()
{
    openTabWithNavLocNoOverwrite(NakNavLoc::builtin(NakNav::BuiltinView::Type::Accounts));
}

int NakChatWindow::tabbedWidgetCount() const
{
    return d->mainTabs->count();
}

QWidget* NakChatWindow::tabbedWidgetAt(int index) const
{
    return d->mainTabs->widget(index);
}

int NakChatWindow::currentTabIndex() const
{
    return d->mainTabs->currentIndex();
}

void NakChatWindow::setCurrentTabIndex(int index)
{
    d->mainTabs->setCurrentIndex(index);
}

NakMainTabs* NakChatWindow::mainTabs() const
{
    return d->mainTabs;
}

void NakChatWindow::showEvent(QShowEvent* event)
{
    NakStyledWindow::showEvent(event);
    if (IShellHost* const host = NakShell::host())
        host->hack_chatWindowShown();
}

bool NakChatWindow::focusNextPrevChild(bool next)
{
    d->keepOwnStatusLastInFocusChain();
    return NakStyledWindow::focusNextPrevChild(next);
}

void NakChatWindow::storePlacement() const
{
    NakSettingsFile settings; // one write for all of it
    settings.setGeometry(geometryName(), saveGeometry());
    d->saveSideBar(&settings);
}

// Every window writes the same keys, so the last one closed decides.
void NakChatWindow::closeEvent(QCloseEvent* event)
{
    storePlacement();
    NakStyledWindow::closeEvent(event);
}
