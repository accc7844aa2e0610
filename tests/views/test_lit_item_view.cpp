// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "lit_item_view.h"

#include <QAccessible>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <vector>

namespace {

class RecordingView : public LitItemView {
public:
    int changes = 0;
    int mousePositions = 0;
    std::map<unsigned, QRect> painted; // headers

protected:
    void visibleItemsChanged() override { ++changes; }
    void viewportMousePositionEvent(QPoint const& /*pos*/) override { ++mousePositions; }
    void paintItem(QPainter* /*painter*/, unsigned int item, QRect const& itemRect,
                   QRect const& /*fullRect*/, QRegion const& /*region*/) override
    {
        painted[item] = itemRect;
    }
};

// The same tree, kept as anybody would.
struct Model {
    struct Item {
        unsigned parent = Lit::none;
        std::vector<unsigned> children;
        int style = -1;
    };
    std::map<unsigned, Item> items;
    std::vector<int> headers;

    int header(unsigned item) const
    {
        int const style = items.at(item).style;
        return style < 0 ? 0 : headers[static_cast<std::size_t>(style)];
    }
    void detach(unsigned item)
    {
        unsigned const parent = items[item].parent;
        if (parent != Lit::none) {
            auto& siblings = items[parent].children;
            siblings.erase(std::find(siblings.begin(), siblings.end(), item));
            items[item].parent = Lit::none;
        }
    }
    void hang(unsigned parent, unsigned item, std::size_t at)
    {
        auto& siblings = items[parent].children;
        siblings.insert(siblings.begin() + static_cast<long>(std::min(at, siblings.size())), item);
        items[item].parent = parent;
    }
    void remove(unsigned item)
    {
        detach(item);
        for (std::vector<unsigned> rest{ item }; !rest.empty();) {
            unsigned const gone = rest.back();
            rest.pop_back();
            rest.insert(rest.end(), items[gone].children.begin(), items[gone].children.end());
            items.erase(gone);
        }
    }
    bool isBelow(unsigned item, unsigned ancestor) const
    {
        while (item != Lit::none && item != ancestor)
            item = items.at(item).parent;
        return item == ancestor;
    }
    // Every item under the top with top and bottom, in reading order; returns the length.
    int spans(unsigned item, int top, std::vector<std::pair<unsigned, QPoint>>& out) const
    {
        std::size_t const at = out.size();
        out.push_back({ item, { top, 0 } });
        int bottom = top + header(item);
        for (unsigned child : items.at(item).children) {
            bottom = spans(child, bottom, out);
        }
        out[at].second.setY(bottom);
        return bottom;
    }
};

class LitItemViewTest : public testing::Test {
protected:
    void SetUp() override
    {
        model.items[view.rootItem()] = {};
        for (int header : { 1, 0, 7, 20, 33 }) {
            view.createStyle(header);
            model.headers.push_back(header);
        }
        view.setFrameShape(QFrame::NoFrame);
        view.resize(200, 300);
        view.show();
        QApplication::processEvents();
    }

    unsigned upTo(std::size_t n) { return static_cast<unsigned>(random() % n); }
    // An item that exists; mostly one that hangs under the root.
    unsigned pick()
    {
        auto const at = model.items.lower_bound(upTo(model.items.rbegin()->first + 1));
        return at->first;
    }

    unsigned create()
    {
        unsigned const item = view.createItem();
        EXPECT_EQ(model.items.count(item), 0U);
        model.items[item] = {};
        setStyle(item);
        return item;
    }
    void setStyle(unsigned item)
    {
        unsigned const style = upTo(model.headers.size());
        view.setItemStyle(item, style);
        model.items[item].style = static_cast<int>(style);
    }
    // Hangs the item somewhere by one of the four ways.
    void hang(unsigned item, unsigned where)
    {
        if (item == view.rootItem() || model.isBelow(where, item)) {
            return;
        }
        unsigned const parent = model.items[where].parent;
        unsigned const way = parent == Lit::none ? upTo(2) : upTo(4);
        model.detach(item);
        if (way == 0) {
            view.prependChild(where, item);
            model.hang(where, item, 0);
        } else if (way == 1) {
            view.appendChild(where, item);
            model.hang(where, item, Lit::none);
        } else {
            auto const& siblings = model.items[parent].children;
            auto const at = std::find(siblings.begin(), siblings.end(), where) - siblings.begin();
            way == 2 ? view.insertBefore(where, item) : view.insertAfter(where, item);
            model.hang(parent, item, static_cast<std::size_t>(at) + (way == 2 ? 0 : 1));
        }
    }
    void editOnce()
    {
        unsigned const item = pick();
        unsigned const what = upTo(20);
        if (what == 0) {
            view.detach(item);
            model.detach(item);
        } else if (what == 1 && item != view.rootItem()) {
            view.deleteItem(item);
            model.remove(item);
        } else if (what < 4) {
            setStyle(item);
        } else if (what == 4) {
            view.rebuildLengths(item);
        } else if (what < 9) {
            hang(item, pick());
        } else {
            hang(create(), item);
        }
    }

    void expectAsModel()
    {
        std::vector<std::pair<unsigned, QPoint>> all;
        int const length = model.spans(view.rootItem(), 0, all);
        QScrollBar const* const bar = view.verticalScrollBar();
        int const height = view.viewport()->height();
        ASSERT_EQ(view.rootLength(), length);
        ASSERT_EQ(bar->maximum(), std::max(0, length - height));
        ASSERT_EQ(bar->pageStep(), height);
        QVector<LitVisibleItem> const& visible = view.visibleItems();
        int shown = 0;
        int const middle = height / 2;
        std::vector<unsigned> path;
        unsigned previous = Lit::none;
        for (auto const& [item, span] : all) {
            QRect const rect(0, span.x() - bar->value(), view.viewport()->width(),
                             span.y() - span.x());
            if (rect.height() > 0 && rect.top() < height && rect.bottom() >= 0) {
                ASSERT_LT(shown, visible.size());
                ASSERT_EQ(visible[shown].item, item);
                ASSERT_EQ(visible[shown++].rect, rect);
            }
            if (rect.contains(0, middle)) {
                path.push_back(item);
            }
            if (upTo(all.size()) < 50) {
                ASSERT_EQ(view.rectForItem(item), rect);
                ASSERT_EQ(view.prevLinearly(item), previous);
                ASSERT_EQ(view.isDescendantOf(item, view.rootItem()), item != view.rootItem());
            }
            if (previous != Lit::none) {
                ASSERT_EQ(view.nextLinearly(previous), item);
            }
            previous = item;
        }
        ASSERT_EQ(shown, visible.size());
        LitPath const hit = view.pathAtPoint({ 0, middle });
        ASSERT_EQ(static_cast<std::size_t>(hit.size()), path.size());
        for (std::size_t i = 0; i < path.size(); ++i) {
            ASSERT_EQ(hit.indexOf(path[i]), static_cast<int>(i));
            ASSERT_EQ(hit.find(path[i])->rect, view.rectForItem(path[i]));
        }
        ASSERT_FALSE(hit.contains(Lit::none));
    }

    std::mt19937 random{ 3 };
    RecordingView view;
    Model model;
};

TEST_F(LitItemViewTest, RandomEditsOfFiftyThousandItemsAgreeWithAModel)
{
    view.beginEdit();
    while (model.items.size() < 50'000) {
        hang(create(), pick());
    }
    view.changes = 0;
    view.endEdit();
    EXPECT_EQ(view.changes, 1);
    expectAsModel();
    for (int batch = 0; batch < 15 && !HasFatalFailure(); ++batch) {
        view.beginEdit();
        for (unsigned edits = upTo(200); edits > 0; --edits) {
            editOnce();
        }
        view.rebuildLengths(view.rootItem());
        if (batch % 10 == 0) {
            model.headers[2] = static_cast<int>(upTo(40));
            view.setStyleHeader(2, model.headers[2]);
        }
        view.changes = 0;
        view.endEdit();
        EXPECT_EQ(view.changes, 1);
        editOnce(); // and one outside of any batch
        expectAsModel();
        view.verticalScrollBar()->setValue(static_cast<int>(random() % 1'000'000));
        expectAsModel();
        view.resize(200, 100 + static_cast<int>(upTo(500)));
        unsigned const item = pick();
        view.ensureItemVisibleWithMinimumScrolling(item);
        expectAsModel();
    }
}

TEST_F(LitItemViewTest, OnlyWhatCanBeSeenIsLaidOut)
{
    unsigned const group = create();
    unsigned const row = create();
    struct {
        char const* what;
        std::function<void()> edit;
        int changes;
    } const steps[] = {
        { "below an item that hangs nowhere", [&] { view.appendChild(group, row); }, 0 },
        { "its style", [&] { view.setItemStyle(row, 3); }, 0 },
        { "into the tree", [&] { view.appendChild(view.rootItem(), group); }, 1 },
        { "where it is already", [&] { view.prependChild(view.rootItem(), group); }, 0 },
        { "style in the tree", [&] { view.setItemStyle(row, 4); }, 1 },
        { "out of the tree", [&] { view.detach(group); }, 1 },
        { "out once more", [&] { view.detach(group); }, 0 },
        { "from outside to the tree", [&] { view.appendChild(view.rootItem(), row); }, 1 },
        { "an edit begins", [&] { view.beginEdit(); }, 0 },
        { "another within it", [&] { view.beginEdit(); }, 0 },
        { "gone", [&] { view.deleteItem(row); }, 0 },
        { "the inner one ends", [&] { view.endEdit(); }, 0 },
        { "the outer one ends", [&] { view.endEdit(); }, 1 },
    };
    for (auto const& step : steps) {
        view.changes = 0;
        step.edit();
        EXPECT_EQ(view.changes, step.changes) << step.what;
    }
    EXPECT_TRUE(view.itemExists(group));
    EXPECT_FALSE(view.itemExists(row));
}

TEST_F(LitItemViewTest, ScrollsTheLeastAndPaintsWhatCameIn)
{
    std::vector<unsigned> rows;
    view.beginEdit();
    for (int i = 0; i < 100; ++i) {
        rows.push_back(view.createItem(3)); // 20 pixels each
        view.appendChild(view.rootItem(), rows.back());
    }
    view.endEdit();
    struct {
        std::size_t row;
        int offset;
        std::size_t painted; // with the root
    } const steps[] = { { 14, 0, 16 }, { 14, 0, 0 }, { 15, 20, 2 },    { 16, 40, 2 },
                        { 2, 40, 0 },  { 1, 20, 2 }, { 99, 1700, 16 }, { 0, 0, 16 } };
    for (auto const& step : steps) {
        view.ensureItemVisibleWithMinimumScrolling(rows[step.row]);
        QApplication::processEvents();
        EXPECT_EQ(view.verticalScrollBar()->value(), step.offset) << step.row;
        EXPECT_EQ(std::exchange(view.painted, {}).size(), step.painted) << step.row;
    }
    view.beginEdit();
    view.deleteItem(rows[3]);
    unsigned const again = view.createItem(3);
    ASSERT_EQ(again, rows[3]);
    view.insertAfter(rows[2], again);
    view.endEdit();
    QApplication::processEvents();
    EXPECT_EQ(view.painted[again], view.rectForItem(again)) << "another item of the same number";

    QMouseEvent move(QEvent::MouseMove, { 5, 50 }, Qt::NoButton, Qt::NoButton, {});
    QApplication::sendEvent(view.viewport(), &move);
    view.deleteItem(rows[1]);
    EXPECT_EQ(view.mousePositions, 2) << "another item came below the pointer";
}

// As a screen reader meets it. Items of 20 pixels with the names of their numbers; the root and
// those without a style say nothing.
class SpokenView : public LitItemView {
public:
    unsigned focusItem = Lit::none;
    LitSpokenItem spokenItem(unsigned int item) const override
    {
        LitSpokenItem spoken;
        if (item != rootItem())
            spoken.name = QString::number(item);
        spoken.hasFocus = item == focusItem;
        spoken.isGroup = firstChild(item) != Lit::none;
        return spoken;
    }
};

TEST(LitAccessible, RowsOnScreenAreAList)
{
    SpokenView view;
    view.resize(200, 100);
    unsigned const style = view.createStyle(20);
    std::vector<unsigned> rows;
    for (int i = 0; i < 50; ++i) {
        rows.push_back(view.createItem(style));
        view.appendChild(i == 3 ? rows[2] : view.rootItem(), rows.back());
    }
    view.show();
    view.verticalScrollBar()->setValue(40); // the third row is the first
    view.focusItem = rows[3];

    QAccessibleInterface* const list = QAccessible::queryAccessibleInterface(&view);
    ASSERT_NE(list, nullptr);
    QString said;
    for (int i = 0; i < list->childCount(); ++i) {
        QAccessibleInterface* const row = list->child(i);
        EXPECT_EQ(list->indexOfChild(row), i);
        EXPECT_EQ(row->rect().topLeft(), view.viewport()->mapToGlobal({ 0, 20 * i }));
        EXPECT_EQ(row->rect().height(), 20) << "without its children";
        EXPECT_EQ(list->childAt(row->rect().center().x(), row->rect().center().y()), row);
        said += row->text(QAccessible::Name)
            + (row->state().expanded ? QStringLiteral("+ ") : QStringLiteral(" "));
    }
    QString wanted;
    for (size_t i = 2; i < 7; ++i)
        wanted += QString::number(rows[i]) + (i == 2 ? QStringLiteral("+ ") : QStringLiteral(" "));
    EXPECT_EQ(said, wanted);
    EXPECT_EQ(list->focusChild(), list->child(1));

    QAccessibleInterface* const kept = list->child(4);
    view.deleteItem(rows[6]);
    EXPECT_FALSE(kept->isValid());
    EXPECT_TRUE(kept->rect().isEmpty());
}

} // namespace
