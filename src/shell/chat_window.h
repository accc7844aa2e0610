// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A top-level window: a side bar, tabs beside it, and a status row below them. Windows own
// themselves and go when they are closed. User-interface thread; needs g_globalEvents and
// g_preferences.

#include "nav_loc.h"
#include "styled_window.h"

class NakChatWindowPriv;
class NakMainTabs;

class NakChatWindow : public NakStyledWindow {
    Q_OBJECT
public:
    // Restores the stored tabs if the user wants that and this is the only chat window, or the
    // active one.
    NakChatWindow();
    ~NakChatWindow() override;

    // A window at the stored geometry, not shown yet.
    static NakChatWindow* createInitialChatWindow();
    static QList<NakChatWindow*> chatWindows();

    // These open once the event at hand has been dealt with.
    void openTabWithNavLoc(NakNavLoc const& place);
    void openTabWithNavLocInBackground(NakNavLoc const& place);
    void openTabWithNavLocNoOverwrite(NakNavLoc const& place);
    void openAccountsTab();

    int tabbedWidgetCount() const;
    QWidget* tabbedWidgetAt(int index) const; // null for an empty tab
    int currentTabIndex() const;
    void setCurrentTabIndex(int index);
    NakMainTabs* mainTabs() const;

    // Into the settings file: where the next first window comes up, and its side bar.
    void storePlacement() const;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    friend class NakChatWindowPriv;
    NakChatWindowPriv* d;
};
