// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell_fixture.h"
#include "widget_acts.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTabBar>
#include <QToolBar>

#include <functional>
#include <map>

namespace {

using NakTabs::ChangeToHint;
using NakTabs::SubstitueHint;
using NakTabs::TargetHint;

class MainTabs : public ShellTest {
protected:
    MainTabs() { m_tabs.resize(640, 300); }

    void open(NakNavLoc const& place, int target, int substitute, int change)
    {
        m_tabs.openNavLoc(place, static_cast<TargetHint>(target),
                          static_cast<SubstitueHint>(substitute),
                          static_cast<ChangeToHint>(change));
    }
    void openNew(quint64 id) { open(channel(id), 1, 0, 0); }
    void openHere(quint64 id) { open(channel(id), 0, 0, 0); }
    void openEmpty() { open(NakNavLoc(), 1, 0, 0); }

    // In a window in front, with the first channels as tabs.
    void showWith(int count)
    {
        m_tabs.show();
        m_tabs.activateWindow();
        for (int id = 1; id <= count; ++id)
            openNew(static_cast<quint64>(id));
        settle();
    }

    QTabBar* bar() const { return m_tabs.findChild<QTabBar*>(); }
    std::string logOf(int index) const { return contentAt(m_tabs, index)->log.toStdString(); }

    NakMainTabs m_tabs;
};

TEST_F(MainTabs, HintsDecideWhereAPlaceOpens)
{
    struct {
        char const* before; // "E" an empty tab, else a channel; the last but one is current
        quint64 place;
        int target, substitute, change;
        char const* after;
    } const cases[] = {
        { "", 5, 0, 0, 0, "[5]" },
        { "", 5, 0, 0, 1, "[5]" }, // the first tab is always in front
        { "", 5, 1, 1, 1, "[5]" },
        { "1 2 3", 5, 0, 0, 0, "1 [5] 3" },
        { "1 2 3", 5, 0, 0, 1, "1 [5] 3" },
        { "1 2 3", 5, 0, 1, 0, "1 [5] 3" },
        { "1 2 3", 5, 1, 0, 0, "1 2 3 [5]" },
        { "1 2 3", 5, 1, 0, 1, "1 [2] 3 5" },
        { "1 2 3", 5, 1, 1, 0, "1 2 3 [5]" },
        { "1 2 3", 5, 1, 1, 1, "1 [2] 3 5" },
        { "1 2 3", 1, 0, 0, 0, "1 [1] 3" },
        { "1 2 3", 1, 0, 1, 0, "[1] 2 3" },
        { "1 2 3", 1, 0, 1, 1, "1 [2] 3" },
        { "1 2 3", 1, 1, 0, 0, "1 2 3 [1]" },
        { "1 2 3", 1, 1, 1, 0, "[1] 2 3" },
        { "1 2 3", 1, 1, 1, 1, "1 [2] 3" },
        { "1 2 3", 2, 0, 0, 0, "1 [2] 3" },
        { "4 4 3", 4, 1, 1, 0, "[4] 4 3" }, // the leftmost
        { "1 E 3", 5, 0, 0, 0, "1 [5] 3" },
        { "1 E 3", 5, 0, 1, 1, "1 [5] 3" },
    };
    for (auto const& c : cases) {
        while (m_tabs.count() > 0)
            m_tabs.closeTab(0);
        auto const before =
            QString::fromLatin1(c.before).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        for (QString const& tab : before)
            tab == QLatin1String("E") ? openEmpty() : openNew(tab.toULongLong());
        m_tabs.setCurrentIndex(before.size() - 2);
        open(channel(c.place), c.target, c.substitute, c.change);
        EXPECT_EQ(tabsOf(m_tabs), c.after)
            << c.before << " open " << c.place << ' ' << c.target << c.substitute << c.change;
    }
}

TEST_F(MainTabs, APlaceThatNothingCanShowIsKeptAndNotOpenedTwice)
{
    auto const accounts = NakNavLoc::builtin(NakNav::BuiltinView::Type::Accounts);
    open(accounts, 1, 1, 0);
    open(accounts, 1, 1, 0);
    EXPECT_EQ(tabsOf(m_tabs), "[builtin]");
    EXPECT_EQ(m_tabs.widget(0), nullptr);
    EXPECT_EQ(m_tabs.currentTitleText(), QStringLiteral("New Tab"));
    openEmpty();
    open(NakNavLoc(), 1, 1, 0); // an empty tab is never found as a place
    EXPECT_EQ(tabsOf(m_tabs), "builtin - [-]");
    EXPECT_FALSE(m_tabs.hasAnyTabWithNavLoc(NakNavLoc()));
}

TEST_F(MainTabs, EveryTabHasAHistoryOfItsOwn)
{
    std::map<char, std::function<void()>> const verbs{
        { 'b', [this] { m_tabs.goBackInCurrentTabHistory(); } },
        { 'f', [this] { m_tabs.goForwardInCurrentTabHistory(); } },
        { 'e', [this] { openEmpty(); } },
        { 'n', [this] { open(channel(3), 1, 0, 1); } }, // a new tab behind
        { 't', [this] { m_tabs.setCurrentIndex(0); } },
        { 's', [this] { open(channel(3), 0, 1, 0); } }, // to the tab that shows it
        { 'x', [this] { contentAt(m_tabs, m_tabs.currentIndex())->setPlace(NakNavLoc()); } },
    };
    struct {
        char const* steps; // of those; a digit opens that channel here
        char const* after; // with "<" and ">" for the ways that are open
    } const cases[] = {
        { "e", "[-]" },       { "1", "[1]" }, // an empty tab leaves no history
        { "2", "[2]<" },      { "2", "[2]<" }, // the same place is no step
        { "3", "[3]<" },      { "b", "[2]<>" },
        { "b", "[1]>" },      { "b", "[1]>" }, // nothing left
        { "f", "[2]<>" },     { "4", "[4]<" }, // forward is forgotten
        { "f", "[4]<" },      { "bb", "[1]>" },
        { "ff", "[4]<" },     { "en", "4 [-] 3" },
        { "b", "4 [-] 3" },   { "t", "[4] - 3<" },
        { "b", "[2] - 3<>" }, { "s", "2 - [3]" },
        { "x5", "2 - [5]" }, // content that is nowhere leaves none either
    };
    for (auto const& c : cases) {
        for (char const step : std::string(c.steps)) {
            auto const verb = verbs.find(step);
            verb == verbs.end() ? openHere(static_cast<quint64>(step - '0')) : verb->second();
        }
        EXPECT_EQ(tabsOf(m_tabs) + (m_tabs.backAction()->isEnabled() ? "<" : "")
                      + (m_tabs.forwardAction()->isEnabled() ? ">" : ""),
                  c.after)
            << c.steps;
    }
}

TEST_F(MainTabs, ContentThatCanMoveIsKept)
{
    openNew(1);
    contentAt(m_tabs, 0)->canMove = true;
    openHere(2);
    EXPECT_EQ(m_tabs.currentTitleText(), QStringLiteral("tab 2"));
    m_tabs.goBackInCurrentTabHistory();
    EXPECT_EQ(logOf(0), "shown;move;move;");
}

TEST_F(MainTabs, ContentThatCannotMoveIsReplacedWithItsToolBarItems)
{
    showWith(1);
    QPointer<FakeContent> const old = contentAt(m_tabs, 0);
    QWidget* const page = old->parentWidget();
    page->setCursor(Qt::WaitCursor);
    openHere(2);
    EXPECT_EQ(old->parentWidget(), nullptr);
    EXPECT_FALSE(page->testAttribute(Qt::WA_SetCursor));
    EXPECT_TRUE(contentAt(m_tabs, 0)->isVisible());
    EXPECT_EQ(textsOf(page->findChild<QToolBar*>()->actions()), "Back|(Forward)|of tab 2");
    settle();
    EXPECT_TRUE(old.isNull());
}

TEST_F(MainTabs, OnlyTheCurrentContentHoldsTheStatusStrip)
{
    openNew(1);
    openNew(2);
    open(channel(3), 1, 0, 1);
    m_tabs.setCurrentIndex(0);
    EXPECT_EQ(logOf(0), "shown;hidden;shown;");
    EXPECT_EQ(logOf(1), "shown;hidden;");
    EXPECT_EQ(logOf(2), "");
    openHere(4); // replaced in place
    m_tabs.setCurrentIndex(2);
    EXPECT_EQ(logOf(0), "shown;hidden;");
}

TEST_F(MainTabs, OnlyTheCurrentContentPaintsTheStripAndCanAskForThat)
{
    m_tabs.statusWidget()->grab(); // with no tab nobody paints
    showWith(2);
    emit contentAt(m_tabs, 0)->tabStatusUpdated(QRect());
    settle();
    contentAt(m_tabs, 1)->log.clear();
    m_tabs.statusWidget()->setGeometry(0, 200, 100, 20);
    emit contentAt(m_tabs, 1)->tabStatusUpdated(QRect(0, 0, 5, 5));
    settle();
    EXPECT_EQ(logOf(1), "paint 1;");
    EXPECT_EQ(logOf(0), "shown;hidden;");
}

TEST_F(MainTabs, PlaceChangesAreToldOnceOldFirst)
{
    std::string told;
    auto const name = [](NakNavLoc const& p) {
        return p.isNone() ? std::string("-") : p.discordChannelId().toString().toStdString();
    };
    QObject::connect(&m_tabs, &NakMainTabs::navLocChanged,
                     [&](NakNavLoc const& oldPlace, NakNavLoc const& newPlace) {
                         told += name(oldPlace) + '>' + name(newPlace) + ' ';
                     });
    openNew(1);
    openNew(2);
    m_tabs.setCurrentIndex(0);
    openHere(3);
    m_tabs.goBackInCurrentTabHistory();
    contentAt(m_tabs, 0)->setPlace(channel(7)); // the content moved by itself
    contentAt(m_tabs, 0)->setPlace(channel(7));
    contentAt(m_tabs, 1)->setPlace(channel(8)); // not the current one
    m_tabs.closeTab(0);
    m_tabs.closeTab(0);
    EXPECT_EQ(told, "->1 1>2 2>1 1>3 3>1 1>7 7>8 8>- ");
}

TEST_F(MainTabs, TitlesAndIconsAreToldOfTheCurrentTabOnly)
{
    openNew(1);
    openNew(2);
    std::string told;
    QObject::connect(&m_tabs, &NakMainTabs::titleTextChanged,
                     [&](QString const& title) { told += title.toStdString() + ' '; });
    QObject::connect(&m_tabs, &NakMainTabs::iconChanged, [&] { told += "icon "; });
    QIcon const icon = redIcon();
    for (int tab : { 0, 1, 0, 1 }) { // only what is new is told
        contentAt(m_tabs, tab)
            ->setTitle(tab == 0 ? QStringLiteral("left") : QStringLiteral("right"));
        contentAt(m_tabs, tab)->setIcon(icon);
    }
    EXPECT_EQ(told, "right icon ");
    m_tabs.setCurrentIndex(0);
    EXPECT_EQ(told, "right icon left icon ");
    EXPECT_EQ(m_tabs.currentIcon().cacheKey(), icon.cacheKey());
}

TEST_F(MainTabs, TextFromOutsideStaysText)
{
    openNew(1);
    contentAt(m_tabs, 0)->setTitle(QStringLiteral("R&D <b>x</b>\nline"));
    EXPECT_EQ(bar()->tabText(0).toStdString(), "R&&D <b>x</b> line");
    EXPECT_TRUE(bar()->tabToolTip(0).contains(QLatin1String("&lt;b&gt;")));
    EXPECT_EQ(m_tabs.currentTitleText().toStdString(), "R&D <b>x</b>\nline");
    contentAt(m_tabs, 0)->setTitle(QString(100000, QLatin1Char('x')));
    EXPECT_LE(bar()->tabText(0).size(), 256);
}

TEST_F(MainTabs, TabsShareTheBarEvenlyAndShowCloseButtonsWhileThereIsRoom)
{
    m_tabs.setTabsClosable(true);
    auto const closable = [this] {
        std::string text;
        for (int i = 0; i < m_tabs.count(); ++i)
            text += bar()->tabButton(i, QTabBar::RightSide)->isVisible() ? 'x' : '.';
        return text;
    };
    showWith(0);
    for (int count = 1; count <= 11; ++count) {
        openNew(static_cast<quint64>(count));
        settle();
        int const width = bar()->width();
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(bar()->tabRect(i).width(),
                      width / count + (i == count - 1 ? width % count : 0));
    }
    EXPECT_EQ(closable(), "..........x");
    m_tabs.setCurrentIndex(3);
    EXPECT_EQ(closable(), "...x.......");
    m_tabs.resize(320, 300);
    settle();
    EXPECT_EQ(m_tabs.width(), 320);
    while (m_tabs.count() > 3)
        m_tabs.closeTab(3);
    settle();
    EXPECT_EQ(closable(), "xxx");
}

TEST_F(MainTabs, TheMouseClosesTabsAndAsksForMore)
{
    m_tabs.setTabsClosable(true);
    showWith(3);
    QTest::mouseClick(bar(), Qt::MiddleButton, {}, bar()->tabRect(1).center());
    EXPECT_EQ(tabsOf(m_tabs), "1 [3]");
    settle();
    EXPECT_EQ(FakeContent::alive, 2);
    QSignalSpy const asked(&m_tabs, &NakMainTabs::tabCloseRequested);
    QTest::mouseClick(bar()->tabButton(0, QTabBar::RightSide), Qt::LeftButton);
    ASSERT_EQ(asked.size(), 1);
    EXPECT_EQ(asked.at(0).at(0).toInt(), 0);
    EXPECT_EQ(m_tabs.count(), 2); // it only asks
    QSignalSpy const wanted(&m_tabs, &NakMainTabs::newTabRequested);
    EXPECT_TRUE(clickButton(&m_tabs, "New Tab"));
    EXPECT_EQ(wanted.size(), 1);
}

TEST_F(MainTabs, ContentGetsTheFocusWhenItsTabComesToTheFront)
{
    showWith(2);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(1));
    m_tabs.setCurrentIndex(0);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(0));
    open(channel(3), 1, 0, 1);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(0));
    openHere(4);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(0));
}

} // namespace
