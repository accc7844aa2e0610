// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell_fixture.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>
#include <QToolBar>

namespace {

using NakTabs::ChangeToHint;
using NakTabs::SubstitueHint;
using NakTabs::TargetHint;

class MainTabs : public ShellTest {
protected:
    void open(NakNavLoc const& place, int target, int substitute, int change)
    {
        m_tabs.openNavLoc(place, static_cast<TargetHint>(target),
                          static_cast<SubstitueHint>(substitute),
                          static_cast<ChangeToHint>(change));
    }
    void openNew(quint64 id) { open(channel(id), 1, 0, 0); }
    void openHere(quint64 id) { open(channel(id), 0, 0, 0); }
    void openEmpty() { open(NakNavLoc(), 1, 0, 0); }

    QTabBar* bar() const { return m_tabs.findChild<QTabBar*>(); }

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

TEST_F(MainTabs, AnEmptyTabIsNeverFoundAsAPlace)
{
    openEmpty();
    EXPECT_FALSE(m_tabs.hasAnyTabWithNavLoc(NakNavLoc()));
    open(NakNavLoc(), 1, 1, 0);
    EXPECT_EQ(tabsOf(m_tabs), "- [-]");
    EXPECT_EQ(m_tabs.currentTitleText(), QStringLiteral("New Tab"));
}

TEST_F(MainTabs, APlaceThatNothingCanShowIsKeptAndNotOpenedTwice)
{
    auto const accounts = NakNavLoc::builtin(NakNav::BuiltinView::Type::Accounts);
    open(accounts, 1, 1, 0);
    open(accounts, 1, 1, 0);
    EXPECT_EQ(m_tabs.count(), 1);
    EXPECT_EQ(m_tabs.widget(0), nullptr);
    EXPECT_EQ(m_tabs.currentTitleText(), QStringLiteral("New Tab"));
    EXPECT_EQ(m_tabs.navLocAtIndex(0), accounts);
    openHere(5); // an empty tab leaves no history
    EXPECT_FALSE(m_tabs.backAction()->isEnabled());
}

TEST_F(MainTabs, HistoryGoesBackAndForward)
{
    struct {
        char step; // a digit opens here, b and f move, n opens a new empty tab here
        char const* after;
        bool back, forward;
    } const steps[] = {
        { '1', "[1]", false, false }, { '2', "[2]", true, false },
        { '2', "[2]", true, false }, // the same place is no step
        { '3', "[3]", true, false },  { 'b', "[2]", true, true },
        { 'b', "[1]", false, true },  { 'b', "[1]", false, true }, // nothing left
        { 'f', "[2]", true, true },   { '4', "[4]", true, false }, // forward is forgotten
        { 'f', "[4]", true, false },  { 'b', "[2]", true, true },
        { 'b', "[1]", false, true },  { 'f', "[2]", true, true },
        { 'f', "[4]", true, false },
    };
    openEmpty();
    int n = 0;
    for (auto const& s : steps) {
        if (s.step == 'b')
            m_tabs.goBackInCurrentTabHistory();
        else if (s.step == 'f')
            m_tabs.goForwardInCurrentTabHistory();
        else
            openHere(s.step - '0');
        EXPECT_EQ(tabsOf(m_tabs), s.after) << n;
        EXPECT_EQ(m_tabs.backAction()->isEnabled(), s.back) << n;
        EXPECT_EQ(m_tabs.forwardAction()->isEnabled(), s.forward) << n;
        ++n;
    }
}

TEST_F(MainTabs, EveryTabHasAHistoryOfItsOwn)
{
    openNew(1);
    openHere(2);
    openNew(3);
    EXPECT_FALSE(m_tabs.backAction()->isEnabled());
    m_tabs.goBackInCurrentTabHistory();
    EXPECT_EQ(tabsOf(m_tabs), "2 [3]");
    m_tabs.setCurrentIndex(0);
    EXPECT_TRUE(m_tabs.backAction()->isEnabled());
    m_tabs.goBackInCurrentTabHistory();
    EXPECT_EQ(tabsOf(m_tabs), "[1] 3");
    EXPECT_TRUE(m_tabs.forwardAction()->isEnabled());
}

TEST_F(MainTabs, SwitchingToATabThatShowsThePlaceAddsNoHistory)
{
    openNew(1);
    openNew(2);
    open(channel(1), 0, 1, 0);
    EXPECT_EQ(tabsOf(m_tabs), "[1] 2");
    EXPECT_FALSE(m_tabs.backAction()->isEnabled());
}

TEST_F(MainTabs, ContentThatIsNowhereLeavesNoHistory)
{
    openNew(1);
    contentAt(m_tabs, 0)->setPlace(NakNavLoc());
    openHere(2);
    EXPECT_EQ(tabsOf(m_tabs), "[2]");
    EXPECT_FALSE(m_tabs.backAction()->isEnabled());
}

TEST_F(MainTabs, ContentThatCanMoveIsKept)
{
    openNew(1);
    FakeContent* const content = contentAt(m_tabs, 0);
    content->canMove = true;
    openHere(2);
    EXPECT_EQ(m_tabs.widget(0), content);
    EXPECT_EQ(m_tabs.currentTitleText(), QStringLiteral("tab 2"));
    m_tabs.goBackInCurrentTabHistory();
    EXPECT_EQ(m_tabs.widget(0), content);
    EXPECT_EQ(content->log.toStdString(), "shown;move;move;");
}

TEST_F(MainTabs, ContentThatCannotMoveIsReplacedWithItsToolBarItems)
{
    m_tabs.show();
    openNew(1);
    QPointer<FakeContent> const old = contentAt(m_tabs, 0);
    QWidget* const page = old->parentWidget();
    page->setCursor(Qt::WaitCursor);
    openHere(2);
    EXPECT_EQ(old->parentWidget(), nullptr);
    EXPECT_FALSE(page->testAttribute(Qt::WA_SetCursor));
    EXPECT_TRUE(contentAt(m_tabs, 0)->isVisible());
    QStringList items;
    auto const actions = page->findChild<QToolBar*>()->actions();
    for (QAction* action : actions)
        items.append(action->text());
    EXPECT_EQ(items.join(QLatin1Char(' ')).toStdString(), "Back Forward of tab 2");
    settle();
    EXPECT_TRUE(old.isNull());
}

TEST_F(MainTabs, ContentFillsThePageBelowTheToolBar)
{
    m_tabs.resize(500, 300);
    m_tabs.show();
    openNew(1);
    settle();
    QWidget* const page = m_tabs.widget(0)->parentWidget();
    auto* const toolBar = page->findChild<QToolBar*>();
    int const height = toolBar->sizeHint().height() - 1;
    EXPECT_EQ(toolBar->geometry(), QRect(1, 0, page->width() - 2, height));
    EXPECT_EQ(m_tabs.widget(0)->geometry(),
              QRect(0, height + 2, page->width(), page->height() - height - 2));
}

TEST_F(MainTabs, OnlyTheCurrentContentHoldsTheStatusStrip)
{
    openNew(1);
    openNew(2);
    open(channel(3), 1, 0, 1);
    m_tabs.setCurrentIndex(0);
    EXPECT_EQ(contentAt(m_tabs, 0)->log.toStdString(), "shown;hidden;shown;");
    EXPECT_EQ(contentAt(m_tabs, 1)->log.toStdString(), "shown;hidden;");
    EXPECT_EQ(contentAt(m_tabs, 2)->log.toStdString(), "");
    openHere(4); // replaced in place
    m_tabs.setCurrentIndex(2);
    EXPECT_EQ(contentAt(m_tabs, 0)->log.toStdString(), "shown;hidden;");
}

TEST_F(MainTabs, TheStripIsPaintedByTheCurrentContent)
{
    QWidget* const strip = m_tabs.statusWidget();
    EXPECT_EQ(m_tabs.statusWidget(), strip);
    strip->setObjectName(QStringLiteral("strip"));
    strip->resize(100, 20);
    strip->grab(); // with no tab nobody paints
    openNew(1);
    openNew(2);
    contentAt(m_tabs, 0)->log.clear();
    contentAt(m_tabs, 1)->log.clear();
    strip->grab();
    EXPECT_EQ(contentAt(m_tabs, 0)->log.toStdString(), "");
    EXPECT_EQ(contentAt(m_tabs, 1)->log.toStdString(), "paint strip 1;");
}

TEST_F(MainTabs, OnlyTheCurrentContentCanAskForThatPaint)
{
    m_tabs.resize(400, 300);
    QWidget* const strip = m_tabs.statusWidget();
    strip->setGeometry(0, 200, 100, 20);
    openNew(1);
    openNew(2);
    m_tabs.show();
    settle();
    contentAt(m_tabs, 1)->log.clear();
    emit contentAt(m_tabs, 0)->tabStatusUpdated(QRect());
    settle();
    EXPECT_EQ(contentAt(m_tabs, 1)->log.toStdString(), "");
    emit contentAt(m_tabs, 1)->tabStatusUpdated(QRect(0, 0, 5, 5));
    settle();
    EXPECT_EQ(contentAt(m_tabs, 1)->log.toStdString(), "paint  1;");
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
    QSignalSpy titles(&m_tabs, &NakMainTabs::titleTextChanged);
    QSignalSpy icons(&m_tabs, &NakMainTabs::iconChanged);
    QPixmap picture(4, 4);
    picture.fill(Qt::red);
    QIcon const icon(picture);

    contentAt(m_tabs, 0)->setTitle(QStringLiteral("left"));
    contentAt(m_tabs, 0)->setIcon(icon);
    EXPECT_EQ(titles.size(), 0);
    EXPECT_EQ(icons.size(), 0);
    EXPECT_EQ(bar()->tabText(0), QStringLiteral("left"));

    contentAt(m_tabs, 1)->setTitle(QStringLiteral("right"));
    contentAt(m_tabs, 1)->setTitle(QStringLiteral("right"));
    contentAt(m_tabs, 1)->setIcon(icon);
    contentAt(m_tabs, 1)->setIcon(icon);
    ASSERT_EQ(titles.size(), 1);
    EXPECT_EQ(titles.at(0).at(0).toString(), QStringLiteral("right"));
    EXPECT_EQ(icons.size(), 1);

    m_tabs.setCurrentIndex(0);
    EXPECT_EQ(titles.last().at(0).toString(), QStringLiteral("left"));
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

TEST_F(MainTabs, TabsShareTheBarEvenly)
{
    m_tabs.resize(640, 300);
    m_tabs.show();
    for (int count = 1; count <= 20; ++count) {
        openNew(static_cast<quint64>(count));
        settle();
        int const width = bar()->width();
        int const share = width / count;
        for (int i = 0; i < count - 1; ++i)
            EXPECT_EQ(bar()->tabRect(i).width(), share) << count;
        EXPECT_EQ(bar()->tabRect(count - 1).width(), share + width % count) << count;
        EXPECT_EQ(bar()->tabRect(0).height(), 2 * bar()->fontMetrics().height());
        EXPECT_EQ(m_tabs.width(), 640);
    }
    m_tabs.resize(320, 300);
    settle();
    EXPECT_EQ(m_tabs.width(), 320);
    EXPECT_EQ(bar()->tabRect(0).width(), bar()->width() / 20);
}

TEST_F(MainTabs, ManyTabsHaveNoCloseButtonsToHitByMistake)
{
    m_tabs.resize(640, 300);
    m_tabs.show();
    m_tabs.setTabsClosable(true);
    auto const shown = [&] {
        std::string text;
        settle();
        for (int i = 0; i < m_tabs.count(); ++i)
            text += bar()->tabButton(i, QTabBar::RightSide)->isVisible() ? 'x' : '.';
        return text;
    };
    for (quint64 id : { 1, 2, 3 })
        openNew(id);
    EXPECT_EQ(shown(), "xxx");
    for (quint64 id = 4; id <= 11; ++id)
        openNew(id);
    EXPECT_EQ(shown(), "..........x");
    m_tabs.setCurrentIndex(3);
    EXPECT_EQ(shown(), "...x.......");
    for (int i = 0; i < 8; ++i)
        m_tabs.closeTab(10 - i);
    EXPECT_EQ(shown(), "xxx");
}

TEST_F(MainTabs, AMiddleClickClosesTheTabUnderIt)
{
    m_tabs.resize(640, 300);
    m_tabs.show();
    for (quint64 id : { 1, 2, 3 })
        openNew(id);
    settle();
    QTest::mouseClick(bar(), Qt::MiddleButton, {}, bar()->tabRect(1).center());
    EXPECT_EQ(tabsOf(m_tabs), "1 [3]");
    settle();
    EXPECT_EQ(FakeContent::alive, 2);
}

TEST_F(MainTabs, TheCloseButtonOnlyAsks)
{
    m_tabs.resize(640, 300);
    m_tabs.show();
    m_tabs.setTabsClosable(true);
    openNew(1);
    openNew(2);
    settle();
    QSignalSpy asked(&m_tabs, &NakMainTabs::tabCloseRequested);
    QTest::mouseClick(bar()->tabButton(0, QTabBar::RightSide), Qt::LeftButton);
    ASSERT_EQ(asked.size(), 1);
    EXPECT_EQ(asked.at(0).at(0).toInt(), 0);
    EXPECT_EQ(m_tabs.count(), 2);
    m_tabs.setTabsClosable(false);
    EXPECT_EQ(bar()->tabButton(0, QTabBar::RightSide), nullptr);
}

TEST_F(MainTabs, ContentGetsTheFocusWhenItsTabComesToTheFront)
{
    m_tabs.show();
    m_tabs.activateWindow();
    settle();
    openNew(1);
    openNew(2);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(1));
    m_tabs.setCurrentIndex(0);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(0));
    open(channel(3), 1, 0, 1);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(0));
    openHere(4);
    EXPECT_EQ(QApplication::focusWidget(), m_tabs.widget(0));
}

TEST_F(MainTabs, TheButtonBesideTheTabsAsksForANewOne)
{
    QSignalSpy asked(&m_tabs, &NakMainTabs::newTabRequested);
    auto const buttons = m_tabs.findChildren<QAbstractButton*>();
    for (QAbstractButton* button : buttons) {
        if (button->text() == QLatin1String("New Tab"))
            button->click();
    }
    EXPECT_EQ(asked.size(), 1);
}

} // namespace
