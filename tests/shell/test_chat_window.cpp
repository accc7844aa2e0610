// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_window.h"
#include "sbar_view.h"
#include "shell_fixture.h"
#include "window_host.h"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QTabBar>
#include <QTest>

namespace {

class ChatWindow : public ShellTest {
protected:
    // Shown and active, with its restored tabs in place.
    static NakChatWindow* shownWindow()
    {
        NakChatWindow* const window = NakChatWindow::createInitialChatWindow();
        window->show();
        window->activateWindow();
        settle();
        return window;
    }

    static void openTabs(NakChatWindow* window, QList<quint64> const& ids)
    {
        for (quint64 id : ids)
            window->openTabWithNavLocInBackground(channel(id));
        settle();
    }

    static QAction* action(NakChatWindow* window, char const* text)
    {
        auto const menus = window->menuBar()->actions();
        for (QAction* menu : menus) {
            auto const actions = menu->menu()->actions();
            for (QAction* action : actions) {
                if (action->text() == QString::fromUtf8(text))
                    return action;
            }
        }
        return nullptr;
    }

    // The texts of a menu bar or menu.
    static std::string texts(QWidget* menu)
    {
        QStringList list;
        auto const actions = menu->actions();
        for (QAction* a : actions)
            list.append(a->isSeparator() ? QStringLiteral("|") : a->text());
        return list.join(QLatin1Char(',')).toStdString();
    }

    static constexpr char const* tabsKey = "layout/tabs";

    NakWindowHost m_windows;
};

TEST_F(ChatWindow, StartsAsTheyAllDo)
{
    auto* const window = new NakChatWindow;
    EXPECT_EQ(window->size(), QSize(640, 420));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Nakwire"));
    EXPECT_EQ(window->tabbedWidgetCount(), 0);
    EXPECT_EQ(texts(window->menuBar()), "&View,&Tools");
    EXPECT_EQ(m_host.shown, 0);
    window->show();
    EXPECT_EQ(m_host.shown, 1);
    window->close();
    settle();
    EXPECT_EQ(m_host.closed, 1);
    EXPECT_TRUE(NakChatWindow::chatWindows().isEmpty());
}

TEST_F(ChatWindow, ActionsHaveTheirKeys)
{
    NakChatWindow* const window = shownWindow();
    struct {
        char const* text;
        char const* key;
    } const cases[] = {
        { "New Tab", "Ctrl+T" },
        { "New Window", "Ctrl+N" },
        { "Previous Tab", "Ctrl+Shift+Tab" },
        { "Next Tab", "Ctrl+Tab" },
        { "Accounts", "Ctrl+Shift+Y" },
        { "Notifications", "Ctrl+D" },
        { "Mark All As &Read", "" },
        { "Event &Log", "Ctrl+L" },
        { "Preferences…", "Ctrl+," },
        { "Close Window", "Ctrl+W" },
        { "Show Sidebar", "Alt+0" },
        { "Show &Status Bar", "" },
    };
    for (auto const& c : cases) {
        ASSERT_NE(action(window, c.text), nullptr) << c.text;
        EXPECT_EQ(action(window, c.text)->shortcut().toString().toStdString(), c.key) << c.text;
    }
}

TEST_F(ChatWindow, KeysWorkTheTabs)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1, 2, 3 });
    struct {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        char const* after;
    } const steps[] = {
        { Qt::Key_3, Qt::ControlModifier, "1 2 [3]" },
        { Qt::Key_1, Qt::ControlModifier, "[1] 2 3" },
        { Qt::Key_9, Qt::ControlModifier, "[1] 2 3" }, // there are not so many
        { Qt::Key_Tab, Qt::ControlModifier, "1 [2] 3" },
        { Qt::Key_Tab, Qt::ControlModifier, "1 2 [3]" },
        { Qt::Key_Tab, Qt::ControlModifier, "[1] 2 3" },
        { Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier, "1 2 [3]" },
        { Qt::Key_T, Qt::ControlModifier, "1 2 3 [-]" },
        { Qt::Key_W, Qt::ControlModifier, "1 2 [3]" },
        { Qt::Key_W, Qt::ControlModifier, "1 [2]" },
    };
    int n = 0;
    for (auto const& s : steps) {
        QTest::keyClick(window, s.key, s.modifiers);
        settle();
        EXPECT_EQ(tabsOf(*window->mainTabs()), s.after) << n++;
    }
}

TEST_F(ChatWindow, WithoutTabsTheSameActionClosesTheWindow)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1 });
    QAction* const close = action(window, "Close Tab");
    ASSERT_NE(close, nullptr);
    close->trigger();
    EXPECT_EQ(close->text(), QStringLiteral("Close Window"));
    EXPECT_TRUE(window->isVisible());
    openTabs(window, { 2 });
    EXPECT_EQ(close->text(), QStringLiteral("Close Tab"));
    close->trigger();
    close->trigger();
    settle();
    EXPECT_EQ(m_host.closed, 1);
}

TEST_F(ChatWindow, CtrlShiftWClosesAWindowWithTabs)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1, 2 });
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier | Qt::ShiftModifier);
    settle();
    EXPECT_EQ(m_host.closed, 1);
}

TEST_F(ChatWindow, TheTitleIsThatOfTheCurrentTab)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1 });
    EXPECT_EQ(window->windowTitle().toStdString(), "tab 1 - Nakwire");
    contentAt(*window->mainTabs(), 0)->setTitle(QStringLiteral("a\nb [*]"));
    EXPECT_EQ(window->windowTitle().toStdString(), "a b [*][*] - Nakwire");
    window->mainTabs()->closeTab(0);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Nakwire"));
}

TEST_F(ChatWindow, TheWindowHasTheTabsIconIfTheUserWantsThat)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1 });
    QPixmap picture(4, 4);
    picture.fill(Qt::red);
    QIcon const icon(picture);
    contentAt(*window->mainTabs(), 0)->setIcon(icon);
    EXPECT_TRUE(window->windowIcon().isNull());
    m_preferences.useChatIconsAsWindowIcons = true;
    emit m_events.preferencesChanged();
    EXPECT_EQ(window->windowIcon().cacheKey(), icon.cacheKey());
}

TEST_F(ChatWindow, MenusOfTheCurrentTabStandBehindTheFixedOnes)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1, 2 });
    QMenu first(QStringLiteral("First"));
    QMenu second(QStringLiteral("Second"));
    contentAt(*window->mainTabs(), 0)->setMenus({ first.menuAction() });
    EXPECT_EQ(texts(window->menuBar()), "&View,&Tools,First");
    contentAt(*window->mainTabs(), 0)->setMenus({ second.menuAction(), first.menuAction() });
    EXPECT_EQ(texts(window->menuBar()), "&View,&Tools,Second,First");
    window->setCurrentTabIndex(1);
    EXPECT_EQ(texts(window->menuBar()), "&View,&Tools");
    window->setCurrentTabIndex(0);
    EXPECT_EQ(texts(window->menuBar()), "&View,&Tools,Second,First");
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

TEST_F(ChatWindow, TheBottomBarSaysHowTheConnectionsStand)
{
    struct {
        NakGenericConnStatus status;
        char const* text;
    } const cases[] = {
        { NakGenericConnStatus::Disconnected, "Disconnected" },
        { NakGenericConnStatus::Connecting, "Connecting…" },
        { NakGenericConnStatus::Connected, "Connected" },
        { NakGenericConnStatus::Reconnecting, "Reconnecting…" },
        { NakGenericConnStatus::Disconnecting, "Disconnecting…" },
        { NakGenericConnStatus::None, "" },
    };
    NakChatWindow* const window = shownWindow();
    auto* const label = window->mainTabs()->statusWidget()->parentWidget()->findChild<QLabel*>();
    for (auto const& c : cases) {
        m_events.updateConnStatus(c.status);
        EXPECT_EQ(label->text().toStdString(), c.text);
    }
}

TEST_F(ChatWindow, TabsComeBackAfterARestart)
{
    NakChatWindow* window = shownWindow();
    openTabs(window, { 1, 9007199254740993 });
    action(window, "New Tab")->trigger();
    window->openTabWithNavLocInBackground(
        NakNavLoc::slackThread(7, QStringLiteral("C024BE91L"), QStringLiteral("1.000002")));
    settle();
    window->setCurrentTabIndex(1);
    window->close();
    settle();
    EXPECT_EQ(readSetting(tabsKey).toString().toStdString(),
              R"({"foreground_index":1,"tabs":[)"
              R"({"data":{"channel_id":"1","type":"channel"},"type":"discord"},)"
              R"({"data":{"channel_id":"9007199254740993","type":"channel"},"type":"discord"},)"
              R"({"type":"none"},)"
              R"({"data":{"channel_id":"C024BE91L","thread_ts":"1.000002","type":"thread",)"
              R"("world":"7"},"type":"slack"}],"version":2})");
    window = shownWindow();
    EXPECT_EQ(tabsOf(*window->mainTabs()), "1 [9007199254740993] - slack");
    EXPECT_FALSE(window->mainTabs()->backAction()->isEnabled());
}

TEST_F(ChatWindow, StoredDocumentsOfEveryKind)
{
    struct {
        char const* document;
        char const* tabs;
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
    };
    for (auto const& c : cases) {
        writeSetting(tabsKey, QString::fromLatin1(c.document));
        NakChatWindow* const window = shownWindow();
        EXPECT_EQ(tabsOf(*window->mainTabs()), c.tabs) << c.document;
        delete window;
    }
}

TEST_F(ChatWindow, TabsAreNotRestoredAgainstTheUsersWill)
{
    writeSetting(tabsKey, QStringLiteral(R"({"version":1,"tabs":["5"]})"));
    m_preferences.restoreTabs = false;
    EXPECT_EQ(tabsOf(*shownWindow()->mainTabs()), "");
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
    first->close();
    settle();
    second->close();
    settle();
    EXPECT_EQ(m_host.closed, 2);
    EXPECT_TRUE(readSetting(tabsKey).toString().contains(QLatin1String("\"5\"")));
}

TEST_F(ChatWindow, TenWindowsMayGoInAnyOrder)
{
    constexpr int orders[][10] = { { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 },
                                   { 9, 8, 7, 6, 5, 4, 3, 2, 1, 0 },
                                   { 4, 9, 0, 7, 2, 5, 8, 1, 6, 3 } };
    m_preferences.restoreTabs = false;
    for (auto const& order : orders) {
        QVector<NakChatWindow*> windows;
        for (int i = 0; i < 10; ++i) {
            windows.append(shownWindow());
            openTabs(windows.last(), { 100 + static_cast<quint64>(i), 7 });
        }
        m_host.closed = 0;
        for (int i = 0; i < 10; ++i) {
            m_windows.openNavLoc(channel(8), NakGo::OpenMode::NewTab, windows.at(order[i]));
            windows.at(order[i])->close();
            settle();
            EXPECT_EQ(m_host.closed, i + 1);
            // What was saved last is what the last of them showed.
            EXPECT_TRUE(readSetting(tabsKey).toString().contains(QString::number(100 + order[i])));
        }
    }
}

TEST_F(ChatWindow, KeysGoBackAndForwardAndMovedTabsComeBackMoved)
{
    NakChatWindow* window = shownWindow();
    openTabs(window, { 1, 2, 3 });
    window->openTabWithNavLoc(channel(4));
    settle();
    struct {
        Qt::Key key;
        char const* after;
    } const steps[] = { { Qt::Key_Left, "[1] 2 3" },
                        { Qt::Key_Left, "[1] 2 3" },
                        { Qt::Key_Right, "[4] 2 3" } };
    for (auto const& s : steps) {
        QTest::keyClick(window, s.key, Qt::AltModifier);
        EXPECT_EQ(tabsOf(*window->mainTabs()), s.after);
    }
    window->findChild<QTabBar*>()->moveTab(0, 2);
    EXPECT_EQ(tabsOf(*window->mainTabs()), "2 3 [4]");
    window->close();
    settle();
    EXPECT_EQ(tabsOf(*shownWindow()->mainTabs()), "2 3 [4]");
}

TEST_F(ChatWindow, ANewWindowHasTheSideBarOfItsMaker)
{
    NakChatWindow* const first = shownWindow();
    first->resize(700, 420);
    first->findChild<QSplitter*>()->setSizes({ 240, 400 });
    emit first->findChild<QSplitter*>()->splitterMoved(240, 1);
    for (bool shown : { true, false }) {
        if (!shown)
            action(first, "Show Sidebar")->trigger();
        action(first, "New Window")->trigger();
        settle();
        auto windows = NakChatWindow::chatWindows();
        windows.removeOne(first);
        EXPECT_EQ(action(windows.at(0), "Show Sidebar")->isChecked(), shown);
        if (!shown)
            action(windows.at(0), "Show Sidebar")->trigger();
        EXPECT_NEAR(windows.at(0)->findChild<NakSbarView*>()->width(), 240, 2);
        delete windows.at(0);
    }
}

TEST_F(ChatWindow, AStoredSideBarWidthIsNeverBeyondReason)
{
    shownWindow()->close();
    settle();
    for (int width : { -5, 0, 1, 180, 2000000000 }) {
        writeSetting("sidebar/width", width);
        NakChatWindow* const window = shownWindow();
        int const shown = window->findChild<NakSbarView*>()->width();
        EXPECT_TRUE(shown >= 80 && shown < 600) << width << " gives " << shown;
        EXPECT_GT(window->mainTabs()->width(), 0) << width;
        delete window;
    }
}

TEST_F(ChatWindow, MarkAllAsReadReachesTheServices)
{
    int told = 0;
    QObject::connect(&m_events, &NakGlobalEvents::clearAllUnreads, [&told] { ++told; });
    action(shownWindow(), "Mark All As &Read")->trigger();
    EXPECT_EQ(told, 1);
}

TEST_F(ChatWindow, TabsAreSavedWhenTheConnectionsGoDown)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 5 });
    m_events.updateConnStatus(NakGenericConnStatus::Connected);
    EXPECT_EQ(readSetting(tabsKey).toString(), QString());
    m_events.updateConnStatus(NakGenericConnStatus::Disconnected);
    EXPECT_TRUE(readSetting(tabsKey).toString().contains(QLatin1String("\"5\"")));
}

TEST_F(ChatWindow, SavingTheWindowKeepsOtherSettings)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 5 });
    writeSetting("paths/of_a_later_version", 250);
    writeSetting("misc/show_status_bar", false);
    window->close();
    settle();
    EXPECT_EQ(readSetting("paths/of_a_later_version").toInt(), 250);
    EXPECT_EQ(readSetting("misc/show_status_bar").toString(), QStringLiteral("false"));
}

TEST_F(ChatWindow, TheSideBarComesBackAsItWas)
{
    NakChatWindow* window = shownWindow();
    auto const barWidth = [&window] { return window->findChild<NakSbarView*>()->width(); };
    EXPECT_EQ(barWidth(), 180);
    window->findChild<QSplitter*>()->setSizes({ 220, 400 });
    emit window->findChild<QSplitter*>()->splitterMoved(220, 1);
    QTest::keyClick(window, Qt::Key_0, Qt::AltModifier);
    EXPECT_FALSE(action(window, "Show Sidebar")->isChecked());
    window->close();
    settle();
    window = shownWindow();
    EXPECT_FALSE(action(window, "Show Sidebar")->isChecked());
    QTest::keyClick(window, Qt::Key_0, Qt::AltModifier);
    EXPECT_NEAR(barWidth(), 220, 2);
}

TEST_F(ChatWindow, GeometryComesBack)
{
    NakChatWindow* window = shownWindow();
    window->setGeometry(60, 70, 500, 333);
    settle();
    window->close();
    settle();
    EXPECT_TRUE(readSetting("geometries/chat_window").isValid());
    window = shownWindow();
    EXPECT_EQ(window->geometry(), QRect(60, 70, 500, 333));
}

TEST_F(ChatWindow, CloseButtonsFollowThePreference)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1 });
    auto* const bar = window->findChild<QTabBar*>();
    EXPECT_NE(bar->tabButton(0, QTabBar::RightSide), nullptr);
    m_preferences.closeButtonOnChannelTabs = false;
    emit m_events.preferencesChanged();
    EXPECT_EQ(bar->tabButton(0, QTabBar::RightSide), nullptr);
}

TEST_F(ChatWindow, TheAccountsTabOpensOnce)
{
    NakChatWindow* const window = shownWindow();
    openTabs(window, { 1 });
    for (int i = 0; i < 3; ++i)
        window->openAccountsTab();
    EXPECT_EQ(tabsOf(*window->mainTabs()), "[1]"); // not before the event at hand is over
    settle();
    EXPECT_EQ(tabsOf(*window->mainTabs()), "1 [builtin]");
}

TEST_F(ChatWindow, FitsIntoASmallWindow)
{
    NakChatWindow* const window = shownWindow();
    QList<quint64> ids;
    for (quint64 id = 1; id <= 20; ++id)
        ids.append(id);
    openTabs(window, ids);
    window->resize(320, 200);
    settle();
    EXPECT_EQ(window->size(), QSize(320, 200));
}

// --- what NakGo asks of the windows ---

class WindowHost : public ChatWindow { };

TEST_F(WindowHost, OpensInTheWindowOfTheOrigin)
{
    NakChatWindow* const one = shownWindow();
    NakChatWindow* const two = shownWindow();
    openTabs(one, { 1 });
    openTabs(two, { 2 });
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::NewTab, one->mainTabs()->widget(0));
    EXPECT_EQ(tabsOf(*one->mainTabs()), "[1]"); // posted
    settle();
    EXPECT_EQ(tabsOf(*one->mainTabs()), "1 [5]");
    EXPECT_EQ(tabsOf(*two->mainTabs()), "[2]");
    EXPECT_TRUE(one->isActiveWindow());
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
    for (auto const& c : cases) {
        NakChatWindow* const window = shownWindow();
        while (window->tabbedWidgetCount() > 0)
            window->mainTabs()->closeTab(0);
        openTabs(window, { 1, 2 });
        m_windows.openNavLoc(channel(c.place), static_cast<NakGo::OpenMode>(c.mode), nullptr);
        settle();
        EXPECT_EQ(tabsOf(*window->mainTabs()), c.after) << c.mode;
        delete window;
    }
}

TEST_F(WindowHost, MakesAWindowWhereThereIsNone)
{
    EXPECT_EQ(NakGo::mostViableWindow(), nullptr);
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::CurrentTab, nullptr);
    settle();
    ASSERT_NE(NakGo::mostViableWindow(), nullptr);
    EXPECT_TRUE(NakGo::mostViableWindow()->isVisible());
    EXPECT_EQ(tabsOf(*NakGo::mostViableWindow()->mainTabs()), "[5]");
}

TEST_F(WindowHost, PrefersTheActiveThenOneThatIsNotMinimized)
{
    NakChatWindow* const one = shownWindow();
    NakChatWindow* const two = shownWindow();
    two->activateWindow();
    settle();
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
    NakChatWindow* const one = shownWindow();
    NakChatWindow* const two = shownWindow();
    openTabs(one, { 1, 2 });
    openTabs(two, { 3 });
    two->activateWindow();
    one->showMinimized();
    settle();
    m_windows.openNavLocAsIfFromNotification(channel(2));
    settle();
    EXPECT_EQ(tabsOf(*one->mainTabs()), "1 [2]");
    EXPECT_EQ(tabsOf(*two->mainTabs()), "[3]");
    EXPECT_FALSE(one->isMinimized());
    EXPECT_TRUE(one->isActiveWindow());
    m_windows.openNavLocAsIfFromNotification(channel(9));
    settle();
    EXPECT_EQ(tabsOf(*one->mainTabs()), "1 2 [9]");
}

TEST_F(WindowHost, OpensNothingOnceTheQuitHasBegun)
{
    m_host.quitting = true;
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::NewTab, nullptr);
    m_windows.openNavLocAsIfFromNotification(channel(5));
    m_windows.activateAnyChatWindow();
    settle();
    EXPECT_TRUE(NakChatWindow::chatWindows().isEmpty());
}

TEST_F(WindowHost, AStepForAWindowThatIsGoneDoesNothing)
{
    NakChatWindow* const window = shownWindow();
    m_windows.openNavLoc(channel(5), NakGo::OpenMode::NewTab, window);
    delete window;
    settle();
    EXPECT_TRUE(NakChatWindow::chatWindows().isEmpty());
}

} // namespace
