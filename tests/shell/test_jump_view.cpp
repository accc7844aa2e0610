// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "builtin_jump_provider.h"
#include "chat_window.h"
#include "jump_manager.h"
#include "jump_view.h"
#include "lit_item_view.h"
#include "notif_manager.h"
#include "shell_fixture.h"
#include "text_notif.h"

#include <QApplication>
#include <QLineEdit>
#include <QPointer>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

namespace {

constexpr int fakeHeight = 20;

// Matches what the test tells it to, and writes down what is asked of it.
class FakeMatcher : public NakJumpMatcher {
public:
    using NakJumpMatcher::NakJumpMatcher;

    void setQueryString(QString const& text) override { query = text; }
    void paintItem(QPainter* /*painter*/, QRegion const& /*region*/, unsigned int item,
                   NakJump::PaintOptions const& options) override
    {
        painted->append(QStringLiteral("%1%2@%3").arg(name).arg(item).arg(options.rect.top())
                        + (options.selected ? QLatin1String("*") : QLatin1String("")));
    }
    int itemHeight(unsigned int item) override { return fakeHeight + static_cast<int>(item % 2); }
    void activated(unsigned int item, NakJump::ActivationOpts const& options) override
    {
        activations +=
            QString::number(item) + (options.inNewTab ? QLatin1String("+ ") : QLatin1String(" "));
    }
    void visibleItemsChanged(QVarLengthArray<unsigned int, 32> const& items) override
    {
        visible = items.size();
    }
    void tell(QVector<unsigned int> const& removed, NakJump::Added const& added)
    {
        updateMatches(removed, added);
    }
    void add(std::initializer_list<QPair<unsigned int, qint32>> const& rows)
    {
        NakJump::Added added;
        for (auto const& [number, relevance] : rows)
            added.append({ number, { relevance, 0 } });
        tell({}, added);
    }

    QString name;
    QStringList* painted = nullptr;
    QString query;
    QString activations;
    int visible = 0;
};

class FakeProvider : public QObject, public INakJumpProvider {
    Q_OBJECT
    Q_INTERFACES(INakJumpProvider)
public:
    FakeProvider(char const* letter, QStringList* painted)
        : m_letter(QLatin1String(letter))
        , m_painted(painted)
    {
        NakJump::g_nakJumpManager->addJumpProvider(this);
    }
    ~FakeProvider() override { NakJump::g_nakJumpManager->removeJumpProvider(this); }

    NakJumpMatcher* createJumpMatcher(NakJump::MatcherCtorParams const& params) override
    {
        matcher = new FakeMatcher(params);
        matcher->name = m_letter;
        matcher->painted = m_painted;
        return matcher;
    }

    QPointer<FakeMatcher> matcher;

private:
    QString m_letter;
    QStringList* m_painted;
};

class JumpView : public ShellTest {
protected:
    JumpView() { NakJump::g_nakJumpManager = &m_manager; }
    ~JumpView() override { NakJump::g_nakJumpManager = nullptr; }

    void show()
    {
        m_view = std::make_unique<NakJumpView>(nullptr, nullptr);
        m_view->resize(300, 250);
        m_view->show();
        m_view->getNewResultsWithCurrentInput();
    }

    // The rows as they are painted: provider, number, top, and a star for the selected one.
    std::string rows()
    {
        m_painted.clear();
        m_view->grab();
        return m_painted.join(QLatin1Char(' ')).toStdString();
    }

    QLineEdit* field() const { return m_view->findChild<QLineEdit*>(); }

    NakJumpManager m_manager;
    QStringList m_painted;
    std::unique_ptr<NakJumpView> m_view;
};

TEST_F(JumpView, MergesWhatItsMatchersFindAndKeepsRowsInPlace)
{
    FakeProvider a("a", &m_painted);
    show();
    FakeProvider b("b", &m_painted); // comes while the view is open
    EXPECT_EQ(rows(), "");
    b.matcher->add({ { 0, 500 }, { 2, 500 } });
    EXPECT_EQ(rows(), "b0@0* b2@20");
    a.matcher->add({ { 4, 500 }, { 1, 7 } }); // 1 is a pixel higher
    EXPECT_EQ(rows(), "a1@0 b0@21* b2@41 a4@61");
    EXPECT_EQ(a.matcher->visible, 2);
    b.matcher->tell({ 2 }, { { 6, { 500, 0 } }, { 8, { -1, 0 } } });
    EXPECT_EQ(rows(), "b8@0 a1@20 b0@41* a4@61 b6@81");
    b.matcher->tell({ 0, 99 }, {}); // what was selected goes; 99 never was
    EXPECT_EQ(rows(), "b8@0* a1@20 a4@41 b6@61");
    m_manager.removeJumpProvider(&b);
    EXPECT_EQ(rows(), "a1@0* a4@21");
    EXPECT_TRUE(b.matcher.isNull());
    m_view->hide();
    EXPECT_EQ(a.matcher->visible, 0);
    m_view->show(); // with the same rows
    EXPECT_EQ(a.matcher->visible, 2);
}

// Beside a list sorted by hand, over many random answers.
TEST_F(JumpView, ShowsAStableSortOfRandomAnswers)
{
    FakeProvider a("a", &m_painted);
    show();
    QRandomGenerator random(7);
    std::vector<std::pair<unsigned int, qint32>> model; // in order of arrival
    for (int round = 0; round < 200; ++round) {
        QVector<unsigned int> removed;
        NakJump::Added added;
        for (unsigned int number = 0; number < 12; ++number) {
            auto const old = std::find_if(model.begin(), model.end(),
                                          [&](auto const& one) { return one.first == number; });
            if (random.bounded(3) != 0)
                continue;
            if (old != model.end()) {
                removed.append(number);
                model.erase(old);
            } else {
                auto const relevance = static_cast<qint32>(random.bounded(3));
                added.append({ number, { relevance, 0 } });
                model.emplace_back(number, relevance);
            }
        }
        a.matcher->tell(removed, added);
        std::stable_sort(model.begin(), model.end(),
                         [](auto const& x, auto const& y) { return x.second < y.second; });
        QStringList expected;
        for (auto const& one : model)
            expected.append(QString::number(one.first));
        QString shown = QString::fromStdString(rows());
        shown.remove(QRegularExpression(QStringLiteral("[a*]|@\\d+")));
        ASSERT_EQ(shown, expected.join(QLatin1Char(' '))) << round;
    }
}

TEST_F(JumpView, KeysMoveTheSelectionActivateAndDismiss)
{
    struct Row {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        char const* activations; // of Return, after the key
        int dismissals;
    };
    Row const table[] = {
        { Qt::Key_Down, {}, "2 ", 1 },
        { Qt::Key_N, Qt::ControlModifier, "2 ", 1 },
        { Qt::Key_J, Qt::ControlModifier, "2 ", 1 },
        { Qt::Key_Tab, {}, "2 ", 1 },
        { Qt::Key_Up, {}, "4 ", 1 }, // round the end
        { Qt::Key_P, Qt::ControlModifier, "4 ", 1 },
        { Qt::Key_K, Qt::ControlModifier, "4 ", 1 },
        { Qt::Key_Backtab, Qt::ShiftModifier, "4 ", 1 },
        { Qt::Key_PageDown, {}, "4 ", 1 },
        { Qt::Key_Return, Qt::AltModifier, "0+ 0 ", 2 },
        { Qt::Key_Enter, Qt::KeypadModifier, "0 0 ", 2 },
        { Qt::Key_Escape, {}, "0 ", 2 },
        { Qt::Key_W, Qt::ControlModifier, "0 ", 2 },
    };
    FakeProvider a("a", &m_painted);
    for (Row const& row : table) {
        SCOPED_TRACE(QKeySequence(row.key | int(row.modifiers)).toString().toStdString());
        show();
        QSignalSpy const dismissed(m_view.get(), &NakJumpView::dismissed);
        a.matcher->add({ { 0, 1 }, { 2, 1 }, { 4, 1 } });
        QTest::keyClick(field(), row.key, row.modifiers);
        QTest::keyClick(field(), Qt::Key_Return);
        EXPECT_EQ(a.matcher->activations.toStdString(), row.activations);
        EXPECT_EQ(dismissed.size(), row.dismissals);
    }
    QTest::keyClicks(field(), QStringLiteral("ab"));
    EXPECT_EQ(a.matcher->query, QStringLiteral("ab"));
}

TEST_F(JumpView, TheWheelScrollsByRowsAndANewAnswerShowsWhatIsSelected)
{
    FakeProvider a("a", &m_painted);
    show();
    for (unsigned int number = 0; number < 80; number += 2)
        a.matcher->add({ { number, 1 } });
    auto const* const bar = m_view->findChild<LitItemView*>()->verticalScrollBar();
    QPointF const middle = m_view->rect().center();
    QWheelEvent down(middle, middle, {}, { 0, -120 }, {}, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(m_view->childAt(middle.toPoint()), &down);
    EXPECT_GE(bar->value(), 3 * fakeHeight);
    a.matcher->tell({ 60 }, {});
    EXPECT_EQ(bar->value(), 0);
}

TEST_F(JumpView, OffersBuiltInViewsByTheBeginOfTheirTitles)
{
    struct Row {
        char const* query;
        bool notified;
        int rows;
    };
    Row const table[] = {
        { "", false, 0 },      { "", true, 1 },         { "aCC", false, 1 },      { "n", false, 1 },
        { "counts", true, 0 }, { "accounts", true, 1 }, { "accounts ", true, 0 },
    };
    for (Row const& row : table) {
        SCOPED_TRACE(row.query);
        NakNotif::createGlobalData();
        {
            NakBuiltinJumpProvider const provider;
            NakTextNotif notification;
            notification.setEnabled(row.notified);
            show();
            int count = 0;
            for (auto* matcher : m_view->findChildren<NakJumpMatcher*>())
                QObject::connect(matcher, &NakJumpMatcher::matchesUpdated,
                                 [&](auto const& removed, auto const& added) {
                                     count += added.size() - removed.size();
                                 });
            field()->setText(QStringLiteral("x"));
            count = 0;
            field()->setText(QString::fromUtf8(row.query));
            EXPECT_EQ(count, row.rows);
            m_view.reset();
        }
        NakNotif::destroyGlobalData();
    }
}

TEST_F(JumpView, StandsOverTheCornerOfTheTabsOfItsWindow)
{
    FakeProvider a("a", &m_painted);
    NakChatWindow window;
    for (QSize const size : { QSize(900, 700), QSize(400, 260) }) {
        window.resize(size);
        window.show();
        window.activateWindow();
        settle();
        QTest::keyClick(&window, Qt::Key_K, Qt::ControlModifier);
        auto* const view = window.findChild<NakJumpView*>();
        ASSERT_TRUE(view && view->isVisible());
        QWidget const& tabs = *window.mainTabs();
        EXPECT_EQ(view->size(), tabs.size().boundedTo(QSize(300, 250)));
        EXPECT_EQ(view->geometry().bottomLeft(), tabs.mapToGlobal(tabs.rect().bottomLeft()));
        QTest::keyClick(view->findChild<QLineEdit*>(), Qt::Key_Escape);
        EXPECT_FALSE(view->isVisible());
        QTest::keyClick(&window, Qt::Key_P, Qt::ControlModifier);
        EXPECT_TRUE(view->isVisible()); // the same one
        view->close();
    }
    emit m_events.preferencesChanged();
    EXPECT_EQ(window.findChild<NakJumpView*>(), nullptr); // its fonts and colours are old
}

} // namespace

#include "test_jump_view.moc"
