// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_window.h"
#include "sbar_view.h"
#include "shell_fixture.h"
#include "widget_acts.h"
#include "window_host.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QTabBar>

namespace {

class ChatWindow : public ShellTest {
protected:
    // Shown and active, with its restored tabs in place and these behind them.
    static NakChatWindow* shownWindow(QList<quint64> const& ids = {})
    {
        NakChatWindow* const window = NakChatWindow::createInitialChatWindow();
        window->show();
        window->activateWindow();
        settle();
        openTabs(window, ids);
        return window;
    }

    static void openTabs(NakChatWindow* window, QList<quint64> const& ids)
    {
        for (quint64 id : ids)
            window->openTabWithNavLocInBackground(channel(id));
        settle();
    }

    static void close(NakChatWindow* window)
    {
        window->close();
        settle();
    }

    static std::string tabs(NakChatWindow* window) { return tabsOf(*window->mainTabs()); }

    static QAction* action(NakChatWindow* window, char const* text)
    {
        for (QMenu const* menu : window->menuBar()->findChildren<QMenu*>()) {
            for (QAction* one : menu->actions()) {
                if (one->text() == QString::fromUtf8(text))
                    return one;
            }
        }
        return nullptr;
    }

    static std::string menus(NakChatWindow* window)
    {
        return textsOf(window->menuBar()->actions());
    }

    static std::string savedTabs() { return readSetting(tabsKey).toString().toStdString(); }

    static constexpr char const* tabsKey = "layout/tabs";

    NakWindowHost m_windows;
};

TEST_F(ChatWindow, StartsAsTheyAllDo)
{
    auto* const window = new NakChatWindow;
    EXPECT_EQ(window->size(), QSize(640, 420));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Nakwire"));
    EXPECT_EQ(window->tabbedWidgetCount(), 0);
    EXPECT_EQ(menus(window), "&View|&Tools");
    EXPECT_EQ(m_host.shown, 0);
    window->show();
    EXPECT_EQ(m_host.shown, 1);
    window->resize(320, 200);
    settle();
    EXPECT_EQ(window->size(), QSize(320, 200));
    close(window);
    EXPECT_EQ(m_host.closed, 1);
    EXPECT_TRUE(NakChatWindow::chatWindows().isEmpty());
}

TEST_F(ChatWindow, ActionsHaveTheirKeys)
{
    NakChatWindow* const window = shownWindow();
    QStringList keys;
    auto const menuActions = window->menuBar()->actions();
    for (QAction* menu : menuActions) {
        auto const actions = menu->menu()->actions();
        for (QAction* each : actions) {
            if (!each->shortcut().isEmpty())
                keys << each->text() + u' ' + each->shortcut().toString();
        }
    }
    EXPECT_EQ(keys.join(u'|').toStdString(),
              "Back Alt+Left|Forward Alt+Right|Previous Tab Ctrl+Shift+Tab|Next Tab Ctrl+Tab|"
              "Show Sidebar Alt+0|New Tab Ctrl+T|New Window Ctrl+N|Go to… Ctrl+K|"
              "Accounts Ctrl+Shift+Y|Notifications Ctrl+D|Event &Log Ctrl+L|Preferences… Ctrl+,|"
              "Close Window Ctrl+W");
    int told = 0;
    QObject::connect(&m_events, &NakGlobalEvents::clearAllUnreads, [&told] { ++told; });
    action(window, "Mark All As &Read")->trigger();
    EXPECT_EQ(told, 1);
}

TEST_F(ChatWindow, KeysWorkTheTabs)
{
    NakChatWindow* const window = shownWindow({ 1, 2, 3 });
    window->openTabWithNavLoc(channel(4));
    settle();
    struct {
        char const* keys;
        char const* after;
    } const steps[] = {
        { "Alt+Left", "[1] 2 3" },
        { "Alt+Left", "[1] 2 3" },
        { "Alt+Right", "[4] 2 3" },
        { "Ctrl+3", "4 2 [3]" },
        { "Ctrl+1", "[4] 2 3" },
        { "Ctrl+9", "[4] 2 3" }, // there are not so many
        { "Ctrl+Tab, Ctrl+Tab", "4 2 [3]" },
        { "Ctrl+Tab", "[4] 2 3" },
        { "Ctrl+Shift+Backtab", "4 2 [3]" },
        { "Ctrl+T", "4 2 3 [-]" },
        { "Ctrl+W", "4 2 [3]" },
        { "Ctrl+1", "[4] 2 3" },
    };
    for (auto const& s : steps) {
        pressKeys(window, s.keys);
        settle();
        EXPECT_EQ(tabs(window), s.after) << s.keys;
    }
    window->findChild<QTabBar*>()->moveTab(0, 2);
    EXPECT_EQ(tabs(window), "2 3 [4]");
    pressKeys(window, "Ctrl+Shift+W");
    settle();
    EXPECT_EQ(m_host.closed, 1);
    EXPECT_EQ(tabs(shownWindow()), "2 3 [4]");
}

TEST_F(ChatWindow, WithoutTabsTheSameActionClosesTheWindow)
{
    NakChatWindow* const window = shownWindow({ 1 });
    QAction* const closing = action(window, "Close Tab");
    ASSERT_NE(closing, nullptr);
    closing->trigger();
    EXPECT_EQ(closing->text(), QStringLiteral("Close Window"));
    openTabs(window, { 2 });
    EXPECT_EQ(closing->text(), QStringLiteral("Close Tab"));
    closing->trigger();
    closing->trigger();
    settle();
    EXPECT_EQ(m_host.closed, 1);
}

TEST_F(ChatWindow, TheTitleIsThatOfTheCurrentTab)
{
    NakChatWindow* const window = shownWindow({ 1 });
    EXPECT_EQ(window->windowTitle().toStdString(), "tab 1 - Nakwire");
    contentAt(*window->mainTabs(), 0)->setTitle(QStringLiteral("a\nb [*]"));
    EXPECT_EQ(window->windowTitle().toStdString(), "a b [*][*] - Nakwire");
    window->mainTabs()->closeTab(0);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Nakwire"));
}

TEST_F(ChatWindow, PreferencesOfTheTabsAreTakenOverAtOnce)
{
    QApplication::setWindowIcon(redIcon());
    qint64 const applicationIcon = QApplication::windowIcon().cacheKey();
    NakChatWindow* const window = shownWindow({ 1 });
    auto* const bar = window->findChild<QTabBar*>();
    QIcon const icon = redIcon();
    contentAt(*window->mainTabs(), 0)->setIcon(icon);
    EXPECT_EQ(window->windowIcon().cacheKey(), applicationIcon);
    EXPECT_NE(bar->tabButton(0, QTabBar::RightSide), nullptr);
    m_preferences.useChatIconsAsWindowIcons = true;
    m_preferences.closeButtonOnChannelTabs = false;
    emit m_events.preferencesChanged();
    EXPECT_EQ(window->windowIcon().cacheKey(), icon.cacheKey());
    EXPECT_EQ(bar->tabButton(0, QTabBar::RightSide), nullptr);
}

TEST_F(ChatWindow, MenusOfTheCurrentTabStandBehindTheFixedOnes)
{
    NakChatWindow* const window = shownWindow({ 1, 2 });
    QMenu first(QStringLiteral("First"));
    QMenu second(QStringLiteral("Second"));
    contentAt(*window->mainTabs(), 0)->setMenus({ first.menuAction() });
    EXPECT_EQ(menus(window), "&View|&Tools|First");
    window->setCurrentTabIndex(1);
    EXPECT_EQ(menus(window), "&View|&Tools");
    contentAt(*window->mainTabs(), 0)->setMenus({ second.menuAction(), first.menuAction() });
    window->setCurrentTabIndex(0);
    EXPECT_EQ(menus(window), "&View|&Tools|Second|First");
}

TEST_F(ChatWindow, TheStatusBarComesAndGoesInEveryWindow)
{
    NakChatWindow* const one = shownWindow();
    NakChatWindow* const two = shownWindow();
    QWidget* const barOfTwo = two->mainTabs()->statusWidget()->parentWidget();
    EXPECT_TRUE(barOfTwo->isVisible());
    EXPECT_TRUE(action(one, "Show &Status Bar")->isChecked());
    action(one, "Show &Status Bar")->trigger();
    EXPECT_FALSE(barOfTwo->isVisible());
    EXPECT_FALSE(action(two, "Show &Status Bar")->isChecked());
    EXPECT_EQ(readSetting("misc/show_status_bar").toString(), QStringLiteral("false"));
}

TEST_F(ChatWindow, TabsComeBackAfterARestart)
{
    NakChatWindow* window = shownWindow({ 1, 9007199254740993 });
    action(window, "New Tab")->trigger();
    window->openTabWithNavLocInBackground(
        NakNavLoc::slackThread(7, QStringLiteral("C024BE91L"), QStringLiteral("1.000002")));
    settle();
    window->setCurrentTabIndex(1);
    writeSetting("paths/of_a_later_version", 250); // by somebody else meanwhile
    close(window);
    EXPECT_EQ(savedTabs(),
              R"({"foreground_index":1,"tabs":[)"
              R"({"data":{"channel_id":"1","type":"channel"},"type":"discord"},)"
              R"({"data":{"channel_id":"9007199254740993","type":"channel"},"type":"discord"},)"
              R"({"type":"none"},)"
              R"({"data":{"channel_id":"C024BE91L","thread_ts":"1.000002","type":"thread",)"
              R"("world":"7"},"type":"slack"}],"version":2})");
    EXPECT_EQ(readSetting("paths/of_a_later_version").toInt(), 250);
    window = shownWindow();
    EXPECT_EQ(tabs(window), "1 [9007199254740993] - slack");
    EXPECT_FALSE(window->mainTabs()->backAction()->isEnabled());
}

TEST_F(ChatWindow, StoredDocumentsOfEveryKind)
{
    struct {
        char const* document;
        char const* tabs;
        bool restore = true;
    } const cases[] = {
        { R"({"version":1,"tabs":["5","notifications","x"],"foreground_index":2})",
          "5 builtin [-]" },
        { R"({"version":2,"tabs":[{"type":"discord","data":{"type":"channel","channel_id":"5"}},)"
          R"(7,{"type":"none"}],"foreground_index":1})",
          "5 [-] -" },
        { R"({"version":2,"tabs":[{"type":"none"},{"type":"none"}]})", "[-] -" },
        { R"({"version":2,"tabs":[{"type":"none"},{"type":"none"}],"foreground_index":2})",
          "[-] -" },
        { R"({"version":2,"tabs":[{"type":"none"},{"type":"none"}],"foreground_index":-3})",
          "[-] -" },
        { R"({"version":2})", "" },
        { R"({"version":2,"tabs":{"0":{"type":"none"}}})", "" },
        { R"({"version":3,"tabs":[{"type":"none"}]})", "" },
        { R"({"version":"2","tabs":[{"type":"none"}]})", "" },
        { R"({"tabs":[{"type":"none"}]})", "" },
        { R"([{"type":"none"}])", "" },
        { R"({"version":2,"tabs":[{"type":"none"}])", "" },
        { "", "" },
        { R"({"version":1,"tabs":["5"]})", "", false },
    };
    for (auto const& c : cases) {
        writeSetting(tabsKey, QString::fromLatin1(c.document));
        m_preferences.restoreTabs = c.restore;
        NakChatWindow* const window = shownWindow();
        EXPECT_EQ(tabs(window), c.tabs) << c.document;
        delete window;
    }
}

TEST_F(ChatWindow, ASecondWindowRestoresNothingAndErasesNothing)
{
    writeSetting(tabsKey, QStringLiteral(R"({"version":1,"tabs":["5"]})"));
    NakChatWindow* const first = shownWindow();
    action(first, "New Window")->trigger();
    auto windows = NakChatWindow::chatWindows();
    ASSERT_EQ(windows.size(), 2);
    NakChatWindow* const second = windows.at(windows.at(0) == first ? 1 : 0);
    EXPECT_EQ(second->tabbedWidgetCount(), 0);
    EXPECT_EQ(second->geometry(), first->geometry().translated(15, 15));
    close(first);
    close(second);
    EXPECT_EQ(m_host.closed, 2);
    EXPECT_NE(savedTabs().find("\"5\""), std::string::npos);
}

TEST_F(ChatWindow, TenWindowsMayGoInAnyOrder)
{
    constexpr int orders[][10] = { { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 },
                                   { 9, 8, 7, 6, 5, 4, 3, 2, 1, 0 },
                                   { 4, 9, 0, 7, 2, 5, 8, 1, 6, 3 } };
    m_preferences.restoreTabs = false;
    for (auto const& order : orders) {
        QVector<NakChatWindow*> windows;
        for (quint64 i = 0; i < 10; ++i)
            windows.append(shownWindow({ 100 + i, 7 }));
        m_host.closed = 0;
        for (int i = 0; i < 10; ++i) {
            m_windows.openNavLoc(channel(8), NakGo::OpenMode::NewTab, windows.at(order[i]));
            close(windows.at(order[i]));
            EXPECT_EQ(m_host.closed, i + 1);
            // What was saved last is what the last of them showed.
            EXPECT_NE(savedTabs().find(std::to_string(100 + order[i])), std::string::npos);
        }
    }
}

TEST_F(ChatWindow, TabsAreSavedWhenTheConnectionsGoDown)
{
    shownWindow({ 5 });
    m_events.updateConnStatus(NakGenericConnStatus::Connected);
    EXPECT_EQ(savedTabs(), "");
    m_events.updateConnStatus(NakGenericConnStatus::Disconnected);
    EXPECT_NE(savedTabs().find("\"5\""), std::string::npos);
}

TEST_F(ChatWindow, GeometryAndSideBarComeBackAndAreInherited)
{
    auto const barWidth = [](NakChatWindow* w) { return w->findChild<NakSbarView*>()->width(); };
    NakChatWindow* window = shownWindow();
    EXPECT_EQ(barWidth(window), 180);
    window->setGeometry(60, 70, 700, 433);
    auto* const splitter = window->findChild<QSplitter*>();
    splitter->setSizes({ 240, 400 });
    emit splitter->splitterMoved(240, 1);
    for (bool shown : { true, false }) {
        if (!shown)
            action(window, "Show Sidebar")->trigger();
        action(window, "New Window")->trigger();
        settle();
        auto windows = NakChatWindow::chatWindows();
        windows.removeOne(window);
        NakChatWindow* const heir = windows.at(0);
        EXPECT_EQ(action(heir, "Show Sidebar")->isChecked(), shown);
        if (!shown)
            pressKeys(heir, "Alt+0");
        EXPECT_NEAR(barWidth(heir), 240, 2);
        delete heir;
    }
    close(window);
    window = shownWindow();
    EXPECT_EQ(window->geometry(), QRect(60, 70, 700, 433));
    EXPECT_FALSE(action(window, "Show Sidebar")->isChecked());
    pressKeys(window, "Alt+0");
    EXPECT_NEAR(barWidth(window), 240, 2);
}

TEST_F(ChatWindow, TheFocusGoesRoundWhatIsInSight)
{
    NakChatWindow* const window = shownWindow({ 1 });
    auto const focused = [] { return QApplication::focusWidget()->metaObject()->className(); };
    pressKeys(window, "F6");
    EXPECT_STREQ(focused(), "NakSbarView");
    pressKeys(window, "Alt+0"); // shut, it has no use for keys
    EXPECT_STREQ(focused(), "FakeContent");
    for (char const* next :
         { "NakOwnUserStatusButton", "NakTabBar", "QToolButton", "FakeContent" }) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_STREQ(focused(), next);
    }
}

TEST_F(ChatWindow, AStoredSideBarWidthIsNeverBeyondReason)
{
    close(shownWindow());
    for (int width : { -5, 0, 1, 180, 2000000000 }) {
        writeSetting("sidebar/width", width);
        NakChatWindow* const window = shownWindow();
        int const shown = window->findChild<NakSbarView*>()->width();
        EXPECT_TRUE(shown >= 80 && shown < 600) << width << " gives " << shown;
        EXPECT_GT(window->mainTabs()->width(), 150) << width;
        delete window;
    }
}

TEST_F(ChatWindow, TheAccountsTabOpensOnce)
{
    NakChatWindow* const window = shownWindow({ 1 });
    for (int i = 0; i < 3; ++i)
        window->openAccountsTab();
    EXPECT_EQ(tabs(window), "[1]"); // not before the event at hand is over
    settle();
    EXPECT_EQ(tabs(window), "1 [builtin]");
}

// --- what NakGo asks of the windows ---

class WindowHost : public ChatWindow { };

TEST_F(WindowHost, OpensInTheWindowOfTheOrigin)
{
    NakChatWindow* const one = shownWindow({ 1 });
    NakChatWindow* const two = shownWindow({ 2 });
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::NewTab, one->mainTabs()->widget(0));
    EXPECT_EQ(tabs(one), "[1]"); // posted
    settle();
    EXPECT_EQ(tabs(one) + ", " + tabs(two), "1 [5], [2]");
    EXPECT_TRUE(one->isActiveWindow());
    m_windows.openNavLoc(channel(6), NakGo::OpenMode::NewTab, one);
    delete one;
    settle();
    EXPECT_EQ(tabs(two), "[2]");
}

TEST_F(WindowHost, ModesDecideTheTab)
{
    struct {
        int mode;
        quint64 place;
        char const* after;
    } const cases[] = {
        { 0, 5, "[5] 2" },   { 0, 2, "1 [2]" },   { 1, 5, "1 2 [5]" }, { 1, 2, "1 [2]" },
        { 2, 5, "[1] 2 5" }, { 2, 2, "[1] 2 2" }, { 3, 5, "[1] 2" },
    };
    m_preferences.restoreTabs = false;
    for (auto const& c : cases) {
        NakChatWindow* const window = shownWindow({ 1, 2 });
        m_windows.openNavLoc(channel(c.place), static_cast<NakGo::OpenMode>(c.mode), nullptr);
        settle();
        EXPECT_EQ(tabs(window), c.after) << c.mode;
        delete window;
    }
}

TEST_F(WindowHost, MakesAWindowWhereThereIsNoneButNotOnceTheQuitHasBegun)
{
    m_host.quitting = true;
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::NewTab, nullptr);
    m_windows.openNavLocAsIfFromNotification(channel(5));
    m_windows.activateAnyChatWindow();
    settle();
    EXPECT_EQ(NakGo::mostViableWindow(), nullptr);
    m_host.quitting = false;
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::CurrentTab, nullptr);
    settle();
    ASSERT_NE(NakGo::mostViableWindow(), nullptr);
    EXPECT_TRUE(NakGo::mostViableWindow()->isVisible());
    EXPECT_EQ(tabs(NakGo::mostViableWindow()), "[5]");
}

TEST_F(WindowHost, PrefersTheActiveThenOneThatIsNotMinimized)
{
    NakChatWindow* const one = shownWindow();
    NakChatWindow* const two = shownWindow();
    EXPECT_EQ(NakGo::mostViableWindow(), two);
    QWidget other;
    other.show();
    other.activateWindow();
    settle();
    two->showMinimized();
    EXPECT_EQ(NakGo::mostViableWindow(), one);
    one->showMinimized();
    EXPECT_EQ(NakGo::mostViableWindow(), NakChatWindow::chatWindows().at(0));
}

TEST_F(WindowHost, ANotificationGoesToTheWindowThatShowsThePlace)
{
    NakChatWindow* const one = shownWindow({ 1, 2 });
    NakChatWindow* const two = shownWindow({ 3 });
    one->showMinimized();
    settle();
    m_windows.openNavLocAsIfFromNotification(channel(2));
    settle();
    EXPECT_EQ(tabs(one) + ", " + tabs(two), "1 [2], [3]");
    EXPECT_FALSE(one->isMinimized());
    EXPECT_TRUE(one->isActiveWindow());
    m_windows.openNavLocAsIfFromNotification(channel(9));
    settle();
    EXPECT_EQ(tabs(one), "1 2 [9]");
}

} // namespace
