// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "number_source.h"
#include "settle.h"
#include "zil_view.h"

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace {

// Number, top and height of each shown widget, the anchor marked by a star.
std::string dump(ZilView const& view)
{
    QString text;
    for (int i = 0; i < view.count(); ++i) {
        ZilViewItem const item = view.itemAt(i);
        text += QStringLiteral("%1%2@%3+%4 ")
                    .arg(item.widget == view.origin() ? QStringLiteral("*") : QString())
                    .arg(static_cast<NumberWidget*>(item.widget)->number)
                    .arg(item.top)
                    .arg(item.height);
    }
    return text.trimmed().toStdString();
}

class ZilViewTest : public testing::Test {
protected:
    void show(QVector<int> const& heights, QSize const& size = { 200, 100 })
    {
        source = std::make_unique<NumberSource>(heights);
        view = std::make_unique<ZilView>(source.get());
        view->resize(size);
        view->show();
        settle();
    }

    void TearDown() override
    {
        if (view) {
            view->clear();
            EXPECT_TRUE(source->lent.isEmpty());
            EXPECT_EQ(source->pool.size(), source->made);
            EXPECT_EQ(source->faults, 0);
            EXPECT_TRUE(view->findChildren<QWidget*>().isEmpty());
        }
        view.reset();
    }

    void keepOffset() // whatever changes
    {
        QObject::connect(view.get(), &ZilView::layoutChanged, view.get(),
                         [this] { view->adaptOffset(view->origin(), view->offset()); });
    }

    void expectSound() const
    {
        for (int i = 0; i < view->count(); ++i) {
            ZilViewItem const item = view->itemAt(i);
            EXPECT_EQ(item.widget->geometry(), QRect(0, item.top, view->width(), item.height));
            EXPECT_TRUE(item.widget->isVisibleTo(view.get()));
            EXPECT_FALSE(item.widget->testAttribute(Qt::WA_DontShowOnScreen));
        }
        EXPECT_EQ(source->lent.size(), view->count());
        EXPECT_EQ(view->findChildren<QWidget*>().size(), view->count());
    }

    std::unique_ptr<NumberSource> source;
    std::unique_ptr<ZilView> view;
};

TEST_F(ZilViewTest, AdaptOffsetTable)
{
    struct {
        char const* what;
        QVector<int> heights;
        int number, offset;
        char const* shown;
    } const cases[] = {
        { "first of a tie", { 40, 40, 40, 40, 40 }, 2, 10, "1@-30+40 *2@10+40 3@50+40 4@90+40" },
        { "gap above closes", { 40, 40, 40, 40, 40 }, 0, 25, "*0@0+40 1@40+40 2@80+40" },
        { "far below", { 40, 40, 40, 40, 40 }, 4, 130, "0@-30+40 *1@10+40 2@50+40 3@90+40" },
        { "exact fit stays", { 50, 50 }, 1, 50, "*0@0+50 1@50+50" },
        { "short stays at the bottom", { 20, 30 }, 1, 70, "0@50+20 *1@70+30" },
        { "short from above comes in", { 20, 30 }, 0, -15, "0@0+20 *1@20+30" },
        { "alone, gap below", { 300 }, 0, -250, "*0@-200+300" },
        { "no height at all counts as a pixel", { 0, 0, 98, 60 }, 2, 2, "0@0+1 1@1+1 *2@2+98" },
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        show(c.heights);
        view->adaptOffset(source->widgetOf(c.number), c.offset);
        EXPECT_EQ(dump(*view), c.shown);
        expectSound();
        TearDown();
    }
}

TEST_F(ZilViewTest, PivotPutsOnePointOnAnother)
{
    show({ 40, 40, 40, 60, 40 });
    struct {
        int number;
        double itemFraction, viewFraction;
        char const* shown;
    } const cases[] = {
        { 4, 1.0, 1.0, "*3@0+60 4@60+40" },
        { 2, 0.5, 0.5, "1@-10+40 *2@30+40 3@70+60" },
        { 3, 0.25, 0.5, "2@-5+40 *3@35+60 4@95+40" },
    };
    for (auto const& c : cases) {
        view->adaptPivot(source->widgetOf(c.number), c.itemFraction, c.viewFraction);
        EXPECT_EQ(dump(*view), c.shown);
    }
    EXPECT_EQ(view->offset(), 35);
    view->adaptPivot(nullptr, 0.5, 0.5);
    EXPECT_EQ(view->count() + view->offset(), 0);
    EXPECT_EQ(view->origin(), nullptr);
}

// What has to be shown, from nothing but the heights.
std::string expectedDump(QVector<int> const& heights, int number, int offset, int viewHeight)
{
    int total = 0;
    int above = 0;
    for (int i = 0; i < heights.size(); ++i) {
        above += i < number ? heights[i] : 0;
        total += heights[i];
    }
    int const room = viewHeight - total; // the sequence ends within it, or covers it
    int top = std::clamp(offset - above, std::min(0, room), std::max(0, room));
    QStringList shown;
    int anchor = 0;
    int most = 0;
    for (int i = 0; i < heights.size(); top += heights[i], ++i) {
        int const pixels = std::min(top + heights[i], viewHeight) - std::max(top, 0);
        if (pixels > most) {
            most = pixels;
            anchor = shown.size();
        }
        if (pixels > 0) {
            shown.append(QStringLiteral("%1@%2+%3").arg(i).arg(top).arg(heights[i]));
        }
    }
    shown[anchor].prepend(QLatin1Char('*'));
    return shown.join(QLatin1Char(' ')).toStdString();
}

TEST_F(ZilViewTest, TheAnchorStaysWhateverMovesGrowsOrIsResized)
{
    std::mt19937 random(1);
    auto const upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
    for (int count : { 1, 2, 7, 400 }) {
        QVector<int> heights;
        for (int i = 0; i < count; ++i) {
            heights.append(1 + upTo(90));
        }
        show(heights, { 200, 300 });
        keepOffset();
        view->adaptPivot(source->widgetOf(count - 1), 1.0, 1.0);
        for (int step = 0; step < 500 && !HasFailure(); ++step) {
            ZilViewItem const pivot = view->itemAt(upTo(view->count()));
            auto* widget = static_cast<NumberWidget*>(pivot.widget);
            int offset = pivot.top;
            int const what = upTo(5);
            if (what > 1) { // a move, and now and then of a widget that has another height
                offset += upTo(10) == 0 ? upTo(2001) - 1000 : upTo(121) - 60;
                if (upTo(4) == 0) {
                    widget->wanted = source->heights[widget->number] = 1 + upTo(90);
                }
                view->adaptOffset(widget, offset);
            } else {
                settle();
                widget = static_cast<NumberWidget*>(view->origin());
                offset = view->offset();
                QSignalSpy const layouts(view.get(), &ZilView::layoutChanged);
                if (what == 0) {
                    view->resize(50 + upTo(300), 1 + upTo(400));
                    settle();
                } else {
                    bool asked = false;
                    for (int changes = upTo(6); changes > 0; --changes) {
                        int const number = std::min(count - 1, widget->number + upTo(6));
                        int const height = source->heights[number] = 1 + upTo(120);
                        if (NumberWidget* const shown = source->lent.value(number)) {
                            asked = true;
                            shown->wanted = height;
                            shown->updateGeometry();
                        }
                    }
                    settle();
                    EXPECT_EQ(layouts.count(), asked ? 1 : 0);
                }
            }
            EXPECT_EQ(dump(*view),
                      expectedDump(source->heights, widget->number, offset, view->height()));
            expectSound();
            if (upTo(3) == 0) {
                settle();
            }
        }
        EXPECT_LE(source->made, 900) << "a widget is at least a pixel high";
        TearDown();
    }
}

TEST_F(ZilViewTest, AMoveReusesWhatTheLastOneReleased)
{
    show(QVector<int>(1000, 50), { 200, 300 });
    view->adaptOffset(source->widgetOf(0), 0);
    for (int i = 0; i < 500; ++i) {
        view->adaptOffset(view->origin(), view->offset() - 45);
    }
    EXPECT_LE(source->made, 9); // 7 in the view, and what comes in before the others go
}

TEST_F(ZilViewTest, AMovePaintsTheExposedStripOnlyAndTheRestIsRight)
{
    QVector<int> heights;
    for (int i = 0; i < 60; ++i) {
        heights.append(20 + i * 13 % 70);
    }
    show(heights, { 100, 300 });
    view->adaptOffset(source->widgetOf(20), 100);
    settle();
    for (int delta : { 3, 40, -90, 250, -17, -280, 60 }) {
        for (NumberWidget* widget : source->lent.values() + source->pool.toList()) {
            widget->painted = QRegion();
        }
        view->adaptOffset(view->origin(), view->offset() + delta);
        settle();
        QRegion painted;
        for (NumberWidget* widget : qAsConst(source->lent)) {
            painted += widget->painted.translated(widget->pos());
        }
        QRect const strip =
            delta > 0 ? QRect(0, 0, 100, delta) : QRect(0, 300 + delta, 100, -delta);
        EXPECT_EQ(painted, QRegion(strip)) << delta;
        QImage const image = view->screen()->grabWindow(view->winId()).toImage();
        for (int y = 0; y < view->height(); ++y) {
            auto* const widget = static_cast<NumberWidget*>(view->childAt(50, y));
            ASSERT_NE(widget, nullptr);
            EXPECT_EQ(image.pixelColor(50, y).name(), widget->color().name()) << delta << " " << y;
        }
    }
}

TEST_F(ZilViewTest, AStormOfResizesMakesOneMoreLayout)
{
    show(QVector<int>(30, 50), { 200, 320 });
    keepOffset();
    view->adaptOffset(source->widgetOf(10), 0);
    // A machine that stops for longer than the throttle waits has to try again.
    for (int attempt = 0; attempt < 50; ++attempt) {
        settle();
        QSignalSpy layouts(view.get(), &ZilView::layoutChanged);
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < 10; ++i) {
            view->resize(200 + i, 300 + i + attempt % 2);
        }
        if (timer.elapsed() > 40) {
            continue;
        }
        EXPECT_EQ(layouts.count(), 1) << "the first, since nothing held a lock";
        settle();
        EXPECT_EQ(layouts.count(), 2) << "the nine others";
        expectSound();
        return;
    }
    FAIL() << "never ten resizes in 40 ms";
}

TEST_F(ZilViewTest, CallsOutOfTheSignalAndThoseThatChangeNothingDoNotEmit)
{
    show(QVector<int>(30, 50), { 200, 320 });
    int depth = 0;
    int deepest = 0;
    auto const answer = QObject::connect(view.get(), &ZilView::layoutChanged, view.get(), [&] {
        deepest = std::max(deepest, ++depth);
        view->adaptOffset(view->origin(), view->offset() - 1); // never satisfied
        --depth;
    });
    view->adaptOffset(source->widgetOf(10), 0);
    settle();
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(view->itemAt(0).top, -1);
    QObject::disconnect(answer);
    QSignalSpy const layouts(view.get(), &ZilView::layoutChanged);
    view->adaptOffset(view->origin(), view->offset());
    settle();
    EXPECT_EQ(layouts.count(), 0);
}

TEST_F(ZilViewTest, AShownWidgetMayDie)
{
    show(QVector<int>(5, 50), { 200, 320 });
    view->adaptOffset(source->widgetOf(0), 0);
    delete source->lent.take(2);
    --source->made;
    EXPECT_EQ(dump(*view), "*0@0+50 1@50+50 3@150+50 4@200+50");
    view.reset(); // takes the others along
    source->lent.clear();
}

// Real layouts: text that wraps inside a box inside a box.
TEST_F(ZilViewTest, HeightsFollowTheWidthAtOnce)
{
    show(QVector<int>(40, 50), { 500, 400 });
    source->fill = [this](NumberWidget* outer) {
        auto* const inner = new QWidget;
        auto* const label = new QLabel(QStringLiteral("word ").repeated(5 + source->made * 7 % 60));
        label->setWordWrap(true);
        (new QVBoxLayout(inner))->addWidget(label);
        (new QVBoxLayout(outer))->addWidget(inner);
    };
    view->adaptOffset(source->widgetOf(10), 50);
    for (int width : { 500, 150, 300 }) {
        view->resize(width, 400);
        view->adaptOffset(view->origin(), view->offset());
        int bottom = view->itemAt(0).top;
        EXPECT_LE(bottom, 0);
        for (int i = 0; i < view->count(); ++i) {
            ZilViewItem const item = view->itemAt(i);
            auto const* const label = item.widget->findChild<QLabel*>();
            EXPECT_EQ(item.top, bottom);
            EXPECT_EQ(item.height, item.widget->layout()->totalHeightForWidth(width));
            EXPECT_GE(label->height(), label->heightForWidth(label->width()));
            bottom = item.top + item.height;
        }
        EXPECT_GE(bottom, 400);
    }
}

} // namespace
