// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The parts of one chat window. Owned by it.

#include "global_events.h"
#include "main_tabs.h"

#include <QObject>

class BottomBar;
class NakChatSplitter;
class NakChatWindow;
class NakJumpView;
class NakSbarView;
class NakSettingsFile;
class QAction;

class NakChatWindowPriv : public QObject {
    Q_OBJECT
public:
    explicit NakChatWindowPriv(NakChatWindow* window);
    ~NakChatWindowPriv() override;

    NakMainTabs* mainTabs = nullptr;
    NakSbarView* sideBar = nullptr;

    // In the order in which the window's constructor calls them.
    void makeCentralWidget();
    void makeActions();
    void makeShortcuts();
    void makeMenus();
    void connectEverything();
    void applyPreferences();
    void restoreTabs();

    // Does nothing in a window without tabs, so that such a window never erases what another saved.
    void trySaveTabsToPrefsFile() const;
    void saveTabsIfDisconnected() const;

    void openLater(NakNavLoc const& place, NakTabs::TargetHint target,
                   NakTabs::SubstitueHint substitute, NakTabs::ChangeToHint change);

    // The side bar's width, kept while it is shut, and whether it is open.
    void restoreSideBar();
    void saveSideBar(NakSettingsFile* settings) const;
    void takeSideBarFrom(NakChatWindowPriv const& other);

    // The actions' effects.
    void newTab();
    void newWindow();
    void previousTab();
    void nextTab();
    void openNotifications();
    void goTo();
    void closeTabOrWindow();
    void setStatusBarWanted(bool wanted);
    void setSideBarShown(bool shown);
    void quit();

    // The bottom bar is below the tabs, but older than their contents.
    void keepOwnStatusLastInFocusChain();

private:
    QAction* makeAction(QString const& text, QKeySequence const& key,
                        void (NakChatWindowPriv::*effect)());
    void makeToolActions();
    void makeToggles();
    void updateTitle();
    void updateWindowIcon();
    void onTabsChanged();
    void connectSideBar();
    void updateStuffAfterSplitterSizeChange();
    void checkNavLoc();
    void moveFocusBetweenPanes();
    void focusTabs();
    void onTabMenusChanged();

    NakChatWindow* m_window;
    NakChatSplitter* m_splitter = nullptr;
    int m_sideBarWidth = 180;
    QPointer<NakJumpView> m_jumpView; // from the first "Go to…" on
    BottomBar* m_bottomBar = nullptr;
    QAction* m_preferences = nullptr;
    QAction* m_newTab = nullptr;
    QAction* m_newWindow = nullptr;
    QAction* m_goTo = nullptr;
    QAction* m_previousTab = nullptr;
    QAction* m_nextTab = nullptr;
    QAction* m_accounts = nullptr;
    QAction* m_notifications = nullptr;
    QAction* m_bookmarks = nullptr;
    QAction* m_eventLog = nullptr;
    QAction* m_markAllAsRead = nullptr;
    QAction* m_close = nullptr;
    QAction* m_showStatusBar = nullptr;
    QAction* m_showSideBar = nullptr;
    QAction* m_quit = nullptr;
    QList<QPointer<QAction>> m_tabMenus; // those of the current tab, in the menu bar
};
