// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "uni_list_view.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSharedPointer>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>

namespace {

using Vis = QSharedPointer<int>;

class Numbers : public UniListView<quint64, Vis> {
public:
    QVector<quint64> keys;
    std::set<quint64> mapped;
    std::set<int> paintedRows;
    QRegion painted;
    int maps = 0;
    quint64 menuKey = 0;
    int takenKey = 0;

    explicit Numbers(int count)
    {
        for (int i = 0; i < count; ++i) {
            keys.append(quint64(i));
        }
        setFrameShape(NoFrame);
        setRowHeight(20);
        setTopMargin(5);
        resize(200, 305); // 15 rows
        listingChanged();
        EXPECT_TRUE(mapped.empty()) << "not shown yet";
        show();
        settle();
    }

    static void settle() { QApplication::processEvents(); }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        painted += event->region();
        UniListView::paintEvent(event);
    }
    void keysList(quint64 const** first, int* count) override
    {
        *first = keys.constData();
        *count = keys.size();
    }
    void paintItem(QPainter* /*painter*/, QRegion const& /*region*/, QRect const& rect,
                   quint64 const& key, Vis const& vis) override
    {
        EXPECT_EQ(*vis, int(key));
        int const row = keys.indexOf(key);
        EXPECT_EQ(rect, rectForRow(row));
        paintedRows.insert(row);
    }
    Vis mapItem(quint64 const& key) override
    {
        ++maps;
        EXPECT_TRUE(mapped.insert(key).second) << key;
        return Vis::create(int(key));
    }
    void unmapItem(quint64 const& key, Vis const& vis) override
    {
        EXPECT_EQ(*vis, int(key));
        EXPECT_EQ(mapped.erase(key), 1U) << key;
    }
    bool itemKeyPressEvent(quint64 const& /*key*/, QKeyEvent* event) override
    {
        return event->key() == takenKey;
    }
    void itemContextMenuEvent(quint64 const& key, QContextMenuEvent* event) override
    {
        EXPECT_EQ(rowAt(event->pos()), keys.indexOf(key));
        menuKey = key;
    }
};

TEST(UniListView, RandomListsOfAHundredThousandKeysMapWhatIsVisible)
{
    Numbers view(100'000);
    view.setSelectionMode(UniListViewBase::ExtendedSelection);
    std::mt19937 random(5);
    auto const upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
    quint64 next = 100'000;
    quint64 const nobody = 1'000'000;
    for (int step = 0; step < 300 && !testing::Test::HasFailure(); ++step) {
        int const mapsBefore = view.maps;
        std::set<quint64> const mappedBefore = view.mapped;
        int const what = upTo(6);
        QScrollBar* const bar = view.verticalScrollBar();
        if (what == 0) {
            bar->setValue(upTo(bar->maximum() + 1));
        } else if (what == 1) {
            bar->setValue(bar->value() + upTo(400) - 200);
        } else if (what == 2) {
            view.resize(200, 50 + upTo(500));
        } else if (what == 3) {
            view.setCurrentRow(upTo(view.keys.size()));
            QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
        } else {
            int const near = std::min(view.keys.size() - 1, bar->value() / 20 + upTo(20));
            int const at = upTo(2) == 0 ? near : upTo(view.keys.size());
            bool const many = upTo(20) == 0;
            quint64 const current = view.hasCurrent() ? view.currentKey() : nobody;
            QSet<quint64> const selection = view.selection();
            QSignalSpy const currents(&view, &UniListViewBase::currentChanged);
            QSignalSpy const selections(&view, &UniListViewBase::selectionChanged);
            if (what == 4) {
                view.keys.remove(at, std::min(view.keys.size() - at, many ? 9000 : 3));
            } else {
                view.keys.insert(at, next++);
            }
            view.listingChanged();
            bool const has = view.keys.contains(current);
            EXPECT_EQ(view.hasCurrent(), has);
            EXPECT_EQ(view.currentRow(), view.keys.indexOf(current));
            EXPECT_EQ(currents.count(), has || current == nobody ? 0 : 1);
            QSet<quint64> kept;
            for (quint64 key : selection) {
                if (view.keys.contains(key)) {
                    kept.insert(key);
                }
            }
            EXPECT_EQ(view.selection(), kept);
            EXPECT_EQ(selections.count(), kept == selection ? 0 : 1);
        }
        int const height = view.viewport()->height();
        std::set<quint64> expected;
        for (int row = 0; row < view.keys.size(); ++row) {
            int const top = 5 + row * 20 - bar->value();
            if (top < height && top + 20 > 0) {
                expected.insert(view.keys[row]);
                EXPECT_EQ(view.visibleItems().value(view.keys[row]).row, row);
                EXPECT_EQ(view.rectForRow(row), QRect(0, top, view.viewport()->width(), 20));
            }
        }
        EXPECT_EQ(bar->maximum(), std::max(0, 5 + view.keys.size() * 20 - height));
        EXPECT_EQ(view.mapped, expected);
        EXPECT_EQ(view.visibleItems().size(), int(expected.size()));
        if (what <= 2) { // one step: no row comes that does not stay
            for (quint64 key : mappedBefore) {
                expected.erase(key);
            }
            EXPECT_EQ(view.maps - mapsBefore, int(expected.size()));
        }
    }
}

TEST(UniListView, PaintsWhatChangedOnly)
{
    Numbers view(1000);
    quint64 const dirty[] = { 3, 7, 600 };
    struct {
        char const* what;
        std::function<void()> change;
        std::set<int> painted;
    } const steps[] = {
        { "dirty keys", [&] { view.markKeysDirty(dirty, 3); }, { 3, 7 } },
        { "a key comes in",
          [&] { view.keys.insert(12, 5000), view.listingChanged(); },
          { 12, 13, 14 } },
        { "one goes below", [&] { view.keys.remove(500), view.listingChanged(); }, {} },
        { "a scroll", [&] { view.verticalScrollBar()->setValue(40); }, { 15, 16 } },
        { "the pointer",
          [&] {
              QTest::mouseMove(view.viewport(), { 50, 10 });
          },
          { 2 } },
        { "another row below it", [&] { view.verticalScrollBar()->setValue(60); }, { 2, 3, 17 } },
    };
    for (auto const& step : steps) {
        view.paintedRows.clear();
        step.change();
        view.settle();
        EXPECT_EQ(view.paintedRows, step.painted) << step.what;
    }
    EXPECT_TRUE(view.isHovered(3));
    Vis vis;
    EXPECT_FALSE(view.itemVis(0, &vis));
    ASSERT_TRUE(view.itemVis(5, &vis));
    EXPECT_EQ(*vis, 5);

    Numbers shrinks(5);
    shrinks.painted = {};
    shrinks.keys.remove(2);
    shrinks.listingChanged();
    shrinks.settle();
    EXPECT_EQ(shrinks.painted, QRegion(0, 5 + 2 * 20, 200, 3 * 20))
        << "where the last row was, too";
}

struct Step {
    int key; // or 0 for a click, -1 for one with the right button
    Qt::KeyboardModifiers modifiers;
    int row; // clicked
    char const* after; // current row: selected rows
};

constexpr auto ctrl = Qt::ControlModifier;
constexpr auto shift = Qt::ShiftModifier;
constexpr auto none = Qt::NoModifier;

std::string state(Numbers const& view)
{
    std::string text = std::to_string(view.currentRow()) + ":";
    for (int row = 0; row < view.keys.size(); ++row) {
        if (view.selection().contains(view.keys[row])) {
            text += " " + std::to_string(row);
        }
    }
    return text;
}

void play(Numbers& view, std::vector<Step> const& steps)
{
    for (Step const& step : steps) {
        SCOPED_TRACE(&step - steps.data());
        QSignalSpy const currents(&view, &UniListViewBase::currentChanged);
        QSignalSpy const selections(&view, &UniListViewBase::selectionChanged);
        int const current = view.currentRow();
        QSet<quint64> const selection = view.selection();
        if (step.key > 0) {
            QTest::keyClick(&view, Qt::Key(step.key), step.modifiers);
        } else {
            QTest::mouseClick(view.viewport(), step.key < 0 ? Qt::RightButton : Qt::LeftButton,
                              step.modifiers, view.rectForRow(step.row).center());
        }
        EXPECT_EQ(state(view), step.after);
        EXPECT_EQ(currents.count(), view.currentRow() == current ? 0 : 1);
        EXPECT_EQ(selections.count(), view.selection() == selection ? 0 : 1);
        EXPECT_TRUE(view.currentRow() < 0
                    || view.viewport()->rect().contains(view.rectForRow(view.currentRow())));
    }
}

TEST(UniListView, KeysAndClicksFollowThePlatform)
{
    Numbers view(20);
    view.takenKey = Qt::Key_F5;
    play(view,
         { { Qt::Key_Up, none, 0, "0: 0" },
           { 0, none, 4, "4: 4" },
           { Qt::Key_PageDown, none, 0, "19: 19" },
           { Qt::Key_PageUp, shift, 0, "4: 4" },
           { Qt::Key_Down, Qt::AltModifier, 0, "4: 4" },
           { Qt::Key_Home, ctrl, 0, "0: 0" },
           { Qt::Key_A, ctrl, 0, "0: 0" },
           { Qt::Key_End, none, 0, "19: 19" } });
    view.setSelectionMode(UniListViewBase::NoSelection);
    play(view, { { Qt::Key_Up, none, 0, "18:" }, { 0, none, 17, "17:" } });
    view.setSelectionMode(UniListViewBase::ExtendedSelection);
    play(view,
         { { Qt::Key_Home, none, 0, "0: 0" },
           { 0, none, 3, "3: 3" },
           { 0, shift, 6, "6: 3 4 5 6" },
           { 0, shift, 2, "2: 2 3" },
           { 0, ctrl, 6, "6: 2 3 6" },
           { 0, ctrl | shift, 8, "8: 2 3 6 7 8" },
           { 0, ctrl, 7, "7: 2 3 6 8" },
           { -1, none, 3, "3: 2 3 6 8" },
           { -1, none, 4, "4: 4" },
           { Qt::Key_Down, ctrl, 0, "5: 4" },
           { Qt::Key_Down, ctrl, 0, "6: 4" },
           { Qt::Key_Space, none, 0, "6: 4 6" },
           { Qt::Key_Space, ctrl, 0, "6: 4" },
           { Qt::Key_Up, shift, 0, "5: 5 6" },
           { Qt::Key_F5, none, 0, "5: 5 6" },
           { Qt::Key_A, ctrl, 0, "5: 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19" } });
    view.keys.remove(3, 15);
    view.listingChanged();
    EXPECT_EQ(state(view), "-1: 0 1 2 3 4");
    play(view, { { 0, none, 9, "-1:" } }); // below the last row
    view.setSelectionMode(UniListViewBase::SingleSelection);
    view.keys.clear();
    view.listingChanged();
    play(view, { { Qt::Key_Down, none, 0, "-1:" }, { 0, none, 0, "-1:" } });
}

TEST(UniListView, MenusAndDoubleClicksAreForTheRowUnderThePointer)
{
    Numbers view(100);
    view.setCurrentRow(60);
    view.verticalScrollBar()->setValue(0);
    QContextMenuEvent key(QContextMenuEvent::Keyboard, {});
    QApplication::sendEvent(&view, &key);
    EXPECT_EQ(view.menuKey, 60U);
    QContextMenuEvent mouse(QContextMenuEvent::Mouse, view.rectForRow(57).center());
    QApplication::sendEvent(view.viewport(), &mouse);
    EXPECT_EQ(view.menuKey, 57U);
    view.setSelectionMode(UniListViewBase::ExtendedSelection);
    for (int repeats = 2; repeats > 0; --repeats) { // quick second clicks, the first after a scroll
        QMouseEvent click(QEvent::MouseButtonDblClick, view.rectForRow(58).center(), Qt::LeftButton,
                          Qt::LeftButton, Qt::ControlModifier);
        QApplication::sendEvent(view.viewport(), &click);
        EXPECT_TRUE(view.currentRow() == 58 && view.selection().contains(58));
    }
}

} // namespace
