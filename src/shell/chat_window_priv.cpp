// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_window_priv.h"

#include "bookmarks_editor.h"
#include "bottom_bar.h"
#include "chat_splitter.h"
#include "chat_window.h"
#include "event_log_window.h"
#include "jump_view.h"
#include "own_user_status_button.h"
#include "preferences.h"
#include "sbar_view.h"
#include "settings_dialog.h"
#include "settings_file.h"
#include "shell_host.h"
#include "tab_layout.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QString tabsKey()
{
    return QStringLiteral("layout/tabs");
}

QString sideBarWidthKey()
{
    return QStringLiteral("sidebar/width");
}

QString sideBarVisibleKey()
{
    return QStringLiteral("sidebar/visible");
}

// A new window stands beside the one that made it, this far right and down.
constexpr int newWindowShift = 15;

constexpr QSize maxJumpViewSize(300, 250);

constexpr int maxSideBarWidth = 16384; // as wide as a window can be

} // namespace

NakChatWindowPriv::NakChatWindowPriv(NakChatWindow* window)
    : m_window(window)
{
}

NakChatWindowPriv::~NakChatWindowPriv() = default;

void NakChatWindowPriv::makeCentralWidget()
{
    auto* const central = new QWidget(m_window);
    auto* const layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_splitter = new NakChatSplitter(central);
    auto* const frame = new TrickyFrame(m_splitter);
    sideBar = new NakSbarView(frame);
    frame->setContent(sideBar);
    mainTabs = new NakMainTabs(m_splitter);
    m_splitter->setWidgets(frame, mainTabs);
    m_splitter->resize(m_window->size()); // so that there is something to share out
    m_splitter->setSideBarWidth(m_sideBarWidth);
    m_bottomBar = new BottomBar(mainTabs->statusWidget(), central);
    layout->addWidget(m_splitter, 1);
    layout->addWidget(m_bottomBar);
    m_window->setCentralWidget(central);
}

QAction* NakChatWindowPriv::makeAction(QString const& text, QKeySequence const& key,
                                       void (NakChatWindowPriv::*effect)())
{
    auto* const action = new QAction(text, this);
    action->setShortcut(key);
    connect(action, &QAction::triggered, this, effect);
    m_window->addAction(action);
    return action;
}

void NakChatWindowPriv::makeActions()
{
    auto const key = [](char const* text) { return QKeySequence(QLatin1String(text)); };
    m_newTab = makeAction(QStringLiteral("New Tab"), key("Ctrl+T"), &NakChatWindowPriv::newTab);
    m_newWindow =
        makeAction(QStringLiteral("New Window"), key("Ctrl+N"), &NakChatWindowPriv::newWindow);
    m_goTo = makeAction(QStringLiteral("Go to…"), key("Ctrl+K"), &NakChatWindowPriv::goTo);
    m_previousTab = makeAction(QStringLiteral("Previous Tab"), key("Ctrl+Shift+Tab"),
                               &NakChatWindowPriv::previousTab);
    m_nextTab =
        makeAction(QStringLiteral("Next Tab"), key("Ctrl+Tab"), &NakChatWindowPriv::nextTab);
    m_close = makeAction(QString(), key("Ctrl+W"), &NakChatWindowPriv::closeTabOrWindow);
    m_quit = makeAction(QStringLiteral("Quit"), QKeySequence::Quit, &NakChatWindowPriv::quit);
    makeToolActions();
    makeToggles();
    m_window->addActions({ m_showSideBar, m_eventLog, m_preferences, m_accounts,
                           mainTabs->backAction(), mainTabs->forwardAction() });
}

void NakChatWindowPriv::makeToolActions()
{
    m_preferences = new QAction(QStringLiteral("Preferences…"), this);
    m_preferences->setShortcut(QKeySequence::Preferences);
    if (m_preferences->shortcut().isEmpty()) // desktops that name none
        m_preferences->setShortcut(Qt::CTRL + Qt::Key_Comma);
    connect(m_preferences, &QAction::triggered, &NakSettingsDialog::summonSettingsDialog);

    m_eventLog = new QAction(QStringLiteral("Event &Log"), this);
    m_eventLog->setShortcut(Qt::CTRL + Qt::Key_L);
    connect(m_eventLog, &QAction::triggered, &NakEventLogWindow::summon);

    m_markAllAsRead = new QAction(QStringLiteral("Mark All As &Read"), this);
    connect(m_markAllAsRead, &QAction::triggered, g_globalEvents,
            &NakGlobalEvents::clearAllUnreads);

    m_accounts = new QAction(QStringLiteral("Accounts"), this);
    m_accounts->setShortcut(Qt::CTRL + Qt::SHIFT + Qt::Key_Y);
    connect(m_accounts, &QAction::triggered, m_window, &NakChatWindow::openAccountsTab);

    m_bookmarks = new QAction(QStringLiteral("Bookmarks"), this);
    connect(m_bookmarks, &QAction::triggered, &NakBookmarksEditor::summon);

    m_notifications = makeAction(QStringLiteral("Notifications"), Qt::CTRL + Qt::Key_D,
                                 &NakChatWindowPriv::openNotifications);
}

void NakChatWindowPriv::makeToggles()
{
    m_showStatusBar = new QAction(QStringLiteral("Show &Status Bar"), this);
    m_showStatusBar->setCheckable(true);
    connect(m_showStatusBar, &QAction::triggered, this, &NakChatWindowPriv::setStatusBarWanted);

    m_showSideBar = new QAction(QStringLiteral("Show Sidebar"), this);
    m_showSideBar->setCheckable(true);
    m_showSideBar->setChecked(true);
    m_showSideBar->setShortcut(Qt::ALT + Qt::Key_0);
    connect(m_showSideBar, &QAction::triggered, this, &NakChatWindowPriv::setSideBarShown);
}

void NakChatWindowPriv::makeShortcuts()
{
    for (int digit = 1; digit <= 9; ++digit) {
        auto* const shortcut = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_0 + digit), m_window);
        connect(shortcut, &QShortcut::activated, mainTabs, [this, digit] {
            if (digit <= mainTabs->count())
                mainTabs->setCurrentIndex(digit - 1);
        });
    }
    auto* const otherGoTo = new QShortcut(QKeySequence(Qt::CTRL + Qt::Key_P), m_window);
    connect(otherGoTo, &QShortcut::activated, this, &NakChatWindowPriv::goTo);
    // Between the side bar and the tab, as where windows have panes.
    auto* const otherPane = new QShortcut(QKeySequence(Qt::Key_F6), m_window);
    connect(otherPane, &QShortcut::activated, this, &NakChatWindowPriv::moveFocusBetweenPanes);
    auto* const ownStatus = new QShortcut(QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_S), m_window);
    connect(ownStatus, &QShortcut::activated, m_bottomBar->ownStatus(),
            &NakOwnUserStatusButton::popUpMenu);
    auto* const closeWindow =
        new QShortcut(QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_W), m_window);
    connect(closeWindow, &QShortcut::activated, m_window, &QWidget::close, Qt::QueuedConnection);
}

void NakChatWindowPriv::makeMenus()
{
    QMenu* const view = m_window->menuBar()->addMenu(QStringLiteral("&View"));
    view->addActions({ mainTabs->backAction(), mainTabs->forwardAction() });
    view->addSeparator();
    view->addActions({ m_previousTab, m_nextTab });
    view->addSeparator();
    view->addActions({ m_showSideBar, m_showStatusBar });

    QMenu* const tools = m_window->menuBar()->addMenu(QStringLiteral("&Tools"));
    tools->addActions({ m_newTab, m_newWindow, m_goTo, m_accounts, m_notifications, m_bookmarks });
    tools->addSeparator();
    tools->addActions({ m_markAllAsRead, m_eventLog, m_preferences });
    tools->addSeparator();
    tools->addActions({ m_close, m_quit });
}

void NakChatWindowPriv::connectEverything()
{
    connect(mainTabs, &NakMainTabs::titleTextChanged, this, &NakChatWindowPriv::updateTitle);
    connect(mainTabs, &NakMainTabs::iconChanged, this, &NakChatWindowPriv::updateWindowIcon);
    connect(mainTabs, &NakMainTabs::menusChanged, this, &NakChatWindowPriv::onTabMenusChanged);
    connect(mainTabs, &NakMainTabs::currentChanged, this, &NakChatWindowPriv::onTabsChanged);
    connect(mainTabs, &NakMainTabs::tabCloseRequested, mainTabs, &NakMainTabs::closeTab);
    connect(mainTabs, &NakMainTabs::newTabRequested, this, &NakChatWindowPriv::newTab);
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            &NakChatWindowPriv::applyPreferences);
    connect(g_globalEvents, &NakGlobalEvents::connStatusChanged, this,
            &NakChatWindowPriv::saveTabsIfDisconnected);
    connect(m_bottomBar->ownStatus(), &NakOwnUserStatusButton::accountsWanted, m_accounts,
            &QAction::trigger);
    connectSideBar();
    onTabsChanged();
}

void NakChatWindowPriv::connectSideBar()
{
    connect(sideBar, &NakSbarView::pickedByClicking, this, [this](NakNavLoc const& place) {
        mainTabs->openNavLoc(place, NakTabs::TargetHint::CurrentTab,
                             g_preferences->useExistingChatTab ? NakTabs::SubstitueHint::Search
                                                               : NakTabs::SubstitueHint::DontSearch,
                             NakTabs::ChangeToHint::Change);
    });
    connect(sideBar, &NakSbarView::pickedByMiddleClicking, this, [this](NakNavLoc const& place) {
        mainTabs->openNavLoc(place, NakTabs::TargetHint::NewTab, NakTabs::SubstitueHint::DontSearch,
                             NakTabs::ChangeToHint::Stay);
    });
    connect(sideBar, &NakSbarView::focusGivenBack, this, &NakChatWindowPriv::moveFocusBetweenPanes);
    connect(mainTabs, &NakMainTabs::navLocChanged, this, &NakChatWindowPriv::checkNavLoc);
    connect(m_splitter, &QSplitter::splitterMoved, this,
            &NakChatWindowPriv::updateStuffAfterSplitterSizeChange);
}

void NakChatWindowPriv::applyPreferences()
{
    mainTabs->setTabsClosable(g_preferences->closeButtonOnChannelTabs);
    m_bottomBar->setVisible(g_preferences->showStatusBar);
    m_showStatusBar->setChecked(g_preferences->showStatusBar);
    updateWindowIcon();
    delete m_jumpView; // made anew in the fonts and colours of the moment
}

void NakChatWindowPriv::restoreTabs()
{
    bool const alone = NakChatWindow::chatWindows().size() == 1;
    if (!g_preferences->restoreTabs || !(alone || QApplication::activeWindow() == m_window))
        return;
    auto const layout = NakTabLayout::parse(NakSettingsFile().value(tabsKey()).toString());
    for (NakNavLoc const& place : layout.places) {
        mainTabs->openNavLoc(place, NakTabs::TargetHint::NewTab, NakTabs::SubstitueHint::DontSearch,
                             NakTabs::ChangeToHint::Stay);
    }
    if (layout.foreground < 0)
        return;
    QTimer::singleShot(0, this, [this, index = layout.foreground] {
        if (index < mainTabs->count())
            mainTabs->setCurrentIndex(index);
    });
}

void NakChatWindowPriv::trySaveTabsToPrefsFile() const
{
    if (mainTabs->count() == 0)
        return;
    NakTabLayout::Layout layout;
    for (int i = 0; i < mainTabs->count(); ++i)
        layout.places.append(mainTabs->navLocAtIndex(i));
    layout.foreground = mainTabs->currentIndex();
    NakSettingsFile().setValue(tabsKey(), NakTabLayout::encode(layout));
}

void NakChatWindowPriv::saveTabsIfDisconnected() const
{
    if (g_globalEvents->lastConnStatus() == NakGenericConnStatus::Disconnected)
        trySaveTabsToPrefsFile();
}

void NakChatWindowPriv::restoreSideBar()
{
    NakSettingsFile const settings;
    int const width = settings.value(sideBarWidthKey()).toInt();
    if (width > 0)
        m_sideBarWidth = std::min(width, maxSideBarWidth);
    setSideBarShown(settings.value(sideBarVisibleKey(), true).toBool());
}

void NakChatWindowPriv::saveSideBar(NakSettingsFile* settings) const
{
    settings->setValue(sideBarWidthKey(), m_sideBarWidth);
    settings->setValue(sideBarVisibleKey(), m_splitter->sideBarWidth() > 0);
}

void NakChatWindowPriv::takeSideBarFrom(NakChatWindowPriv const& other)
{
    m_sideBarWidth = other.m_sideBarWidth;
    setSideBarShown(other.m_splitter->sideBarWidth() > 0);
}

void NakChatWindowPriv::setSideBarShown(bool shown)
{
    m_splitter->setSideBarWidth(shown ? m_sideBarWidth : 0);
    updateStuffAfterSplitterSizeChange();
}

void NakChatWindowPriv::updateStuffAfterSplitterSizeChange()
{
    int const width = m_splitter->sideBarWidth();
    bool const open = width > 0;
    if (open)
        m_sideBarWidth = width;
    m_showSideBar->setChecked(open);
    // The splitter only moves it out of sight, where it would go on taking keys.
    if (!open && sideBar->hasFocus())
        focusTabs();
    sideBar->setVisible(open);
}

void NakChatWindowPriv::checkNavLoc()
{
    NakNavLoc const place = mainTabs->currentNavLoc();
    if (sideBar->activeNavLoc() != place)
        sideBar->setActiveNavLoc(place);
}

void NakChatWindowPriv::moveFocusBetweenPanes()
{
    if (sideBar->hasFocus() || sideBar->isHidden())
        focusTabs();
    else
        sideBar->setFocus(Qt::ShortcutFocusReason);
}

void NakChatWindowPriv::focusTabs()
{
    QWidget* const content = mainTabs->currentWidget();
    (content ? content : mainTabs)->setFocus(Qt::ShortcutFocusReason);
}

void NakChatWindowPriv::keepOwnStatusLastInFocusChain()
{
    QWidget* const ownStatus = m_bottomBar->ownStatus();
    QWidget* last = m_window->previousInFocusChain();
    while (last->focusPolicy() == Qt::NoFocus)
        last = last->previousInFocusChain();
    if (last != ownStatus) // which ends the loop at the latest
        QWidget::setTabOrder(last, ownStatus);
}

void NakChatWindowPriv::openLater(NakNavLoc const& place, NakTabs::TargetHint target,
                                  NakTabs::SubstitueHint substitute, NakTabs::ChangeToHint change)
{
    QTimer::singleShot(0, this, [this, place, target, substitute, change] {
        mainTabs->openNavLoc(place, target, substitute, change);
    });
}

void NakChatWindowPriv::newTab()
{
    mainTabs->openNavLoc(NakNavLoc(), NakTabs::TargetHint::NewTab,
                         NakTabs::SubstitueHint::DontSearch, NakTabs::ChangeToHint::Change);
}

void NakChatWindowPriv::newWindow()
{
    auto* const window = new NakChatWindow;
    window->setGeometry(m_window->geometry().translated(newWindowShift, newWindowShift));
    window->d->takeSideBarFrom(*this);
    window->show();
}

void NakChatWindowPriv::previousTab()
{
    int const count = mainTabs->count();
    if (count > 0)
        mainTabs->setCurrentIndex((mainTabs->currentIndex() + count - 1) % count);
}

void NakChatWindowPriv::nextTab()
{
    int const count = mainTabs->count();
    if (count > 0)
        mainTabs->setCurrentIndex((mainTabs->currentIndex() + 1) % count);
}

void NakChatWindowPriv::openNotifications()
{
    m_window->openTabWithNavLoc(NakNavLoc::builtin(NakNav::BuiltinView::Type::Notifications));
}

// Over the bottom left corner of the tabs, where the input of a channel is too. A popup has all
// keys and the pointer as it is; were it modal besides, the toolkit would drop the letters that are
// typed until it has the focus.
void NakChatWindowPriv::goTo()
{
    if (!m_jumpView) {
        m_jumpView = new NakJumpView(m_window, m_window);
        m_jumpView->setWindowFlags(Qt::Popup | Qt::BypassWindowManagerHint
                                   | Qt::FramelessWindowHint);
        connect(m_jumpView, &NakJumpView::dismissed, m_jumpView, &QWidget::close);
    }
    QRect place(QPoint(), mainTabs->size().boundedTo(maxJumpViewSize));
    place.moveBottomLeft(mainTabs->mapToGlobal(mainTabs->rect().bottomLeft()));
    m_jumpView->setGeometry(place);
    m_jumpView->show();
    m_jumpView->raise();
    m_jumpView->activateWindow();
    m_jumpView->setFocusAndSelectAllInputText();
    m_jumpView->getNewResultsWithCurrentInput();
}

void NakChatWindowPriv::closeTabOrWindow()
{
    if (mainTabs->count() > 0)
        mainTabs->closeTab(mainTabs->currentIndex());
    else
        m_window->close();
}

void NakChatWindowPriv::setStatusBarWanted(bool wanted)
{
    g_preferences->showStatusBar = wanted;
    g_preferences->saveToSettingsFile();
    emit g_globalEvents->preferencesChanged();
}

void NakChatWindowPriv::quit()
{
    if (IShellHost* const host = NakShell::host())
        host->beginQuit();
}

void NakChatWindowPriv::updateTitle()
{
    QString const title = mainTabs->currentTitleText();
    m_window->setPlainWindowTitle(title.isEmpty() ? QStringLiteral("Nakwire")
                                                  : title + QLatin1String(" - Nakwire"));
}

void NakChatWindowPriv::updateWindowIcon()
{
    QIcon const icon = mainTabs->currentIcon();
    bool const ofTab = g_preferences->useChatIconsAsWindowIcons && !icon.isNull();
    m_window->setWindowIcon(ofTab ? icon : QApplication::windowIcon());
}

void NakChatWindowPriv::onTabsChanged()
{
    m_close->setText(mainTabs->count() > 0 ? QStringLiteral("Close Tab")
                                           : QStringLiteral("Close Window"));
}

void NakChatWindowPriv::onTabMenusChanged()
{
    QList<QPointer<QAction>> menus;
    auto const actions = mainTabs->currentMenuActions();
    for (QAction* action : actions)
        menus.append(action);
    if (menus == m_tabMenus)
        return;
    for (auto const& action : qAsConst(m_tabMenus)) {
        if (action)
            m_window->menuBar()->removeAction(action);
    }
    m_tabMenus = menus;
    m_window->menuBar()->addActions(actions);
}
