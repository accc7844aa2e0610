// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "global_events.h"
#include "preferences.h"
#include "zil_drag_dial.h"
#include "zil_lock_button.h"

#include <QApplication>
#include <QPaintEvent>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        paints += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
    int paints = 0;
};

class ZilDragDialTest : public testing::Test {
protected:
    ZilDragDialTest()
    {
        g_preferences = &preferences;
        g_globalEvents = &events;
        window = std::make_unique<QWidget>();
        window->setGeometry(100, 100, 100, 400);
        dial = new ZilDragDial(window.get());
        dial->setGeometry(0, 0, 16, 400);
        window->show();
        QObject::connect(dial, &ZilDragDial::movedReal, [this](double d) { real += d; });
        QObject::connect(dial, &ZilDragDial::movedInt,
                         [this](int d) { ints += std::to_string(d) + " "; });
    }
    ~ZilDragDialTest() override
    {
        window.reset();
        g_globalEvents = nullptr;
        g_preferences = nullptr;
    }

    void changePreferences() { emit events.preferencesChanged(); }

    void wheel(int pixels, int angle = 0)
    {
        QWheelEvent event(QPointF(5, 5), QPointF(5, 5), QPoint(0, pixels), QPoint(0, angle),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(dial, &event);
    }

    void mouse(QEvent::Type type, QPoint const& global, Qt::MouseButton button = Qt::LeftButton)
    {
        QMouseEvent event(type, dial->mapFromGlobal(global), global,
                          type == QEvent::MouseMove ? Qt::NoButton : button,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : button, {});
        QCoreApplication::sendEvent(dial, &event);
    }

    // The whole pixels since the last call.
    std::string take() { return std::exchange(ints, {}); }

    NakPreferences preferences;
    NakGlobalEvents events;
    std::unique_ptr<QWidget> window;
    ZilDragDial* dial = nullptr;
    std::string ints;
    double real = 0.0;
};

TEST_F(ZilDragDialTest, FractionsAddUpToWholePixels)
{
    dial->setWheelScale(0.3);
    std::string told;
    for (int i = 0; i < 5; ++i) {
        wheel(1);
        told += "/" + take();
    }
    EXPECT_EQ(told, "//1 ///");
    wheel(1);
    EXPECT_EQ(take(), "1 ");
    EXPECT_NEAR(real, 1.8, 1e-9);
}

TEST_F(ZilDragDialTest, TheMiddleRoundsUp)
{
    dial->setWheelScale(0.5);
    wheel(1);
    EXPECT_EQ(take(), "1 "); // and -0.5 is left
    wheel(1);
    EXPECT_EQ(take(), "");
    wheel(-1);
    EXPECT_EQ(take(), "") << "-0.5 goes up to 0";
    wheel(-2);
    EXPECT_EQ(take(), "-1 ");
}

TEST_F(ZilDragDialTest, NextToNothingIsNothing)
{
    dial->setWheelScale(1e-6);
    wheel(1);
    EXPECT_EQ(real, 0.0);
    dial->setWheelScale(1e300);
    wheel(1000);
    wheel(1000);
    EXPECT_EQ(take(), "1000000 1000000 ");
    dial->setWheelScale(std::numeric_limits<double>::quiet_NaN());
    wheel(1);
    EXPECT_EQ(take(), "");
}

TEST_F(ZilDragDialTest, AWheelOfPixelsOrOfClicks)
{
    dial->setWheelScale(0.5);
    wheel(0, 120);
    EXPECT_EQ(take(), "60 ");
    wheel(7, 120);
    EXPECT_EQ(take(), "4 ") << "pixels count where there are some";
    preferences.invertWheelScroll = true;
    changePreferences();
    wheel(0, 120);
    EXPECT_EQ(take(), "-60 ");
    QWheelEvent event(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, -240), Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    dial->injectWheelEvent(&event);
    EXPECT_EQ(take(), "120 ");
    EXPECT_TRUE(event.isAccepted());
}

TEST_F(ZilDragDialTest, DraggingReportsMotion)
{
    dial->setDragScale(2.0);
    mouse(QEvent::MouseMove, { 108, 300 });
    EXPECT_EQ(take(), "") << "nothing is pressed";
    mouse(QEvent::MouseButtonPress, { 108, 300 });
    EXPECT_EQ(dial->cursor().shape(), Qt::SizeVerCursor);
    mouse(QEvent::MouseMove, { 108, 310 });
    mouse(QEvent::MouseMove, { 500, 307 });
    EXPECT_EQ(take(), "-20 6 ");
    mouse(QEvent::MouseButtonRelease, { 500, 307 });
    EXPECT_EQ(dial->cursor().shape(), Qt::ArrowCursor);
    mouse(QEvent::MouseMove, { 108, 200 });
    EXPECT_EQ(take(), "");

    preferences.invertDragScroll = true;
    changePreferences();
    mouse(QEvent::MouseButtonPress, { 108, 300 });
    mouse(QEvent::MouseMove, { 108, 310 });
    EXPECT_EQ(take(), "20 ");
    mouse(QEvent::MouseButtonRelease, { 108, 310 });
}

TEST_F(ZilDragDialTest, AReleaseForgetsTheFraction)
{
    dial->setDragScale(0.4);
    for (int i = 0; i < 4; ++i) {
        mouse(QEvent::MouseButtonPress, { 108, 300 });
        mouse(QEvent::MouseMove, { 108, 299 });
        mouse(QEvent::MouseButtonRelease, { 108, 299 });
    }
    EXPECT_EQ(take(), "");
}

TEST_F(ZilDragDialTest, ALockedMouseGoesOnForEver)
{
    preferences.lockMouseWhenScrolling = true;
    changePreferences();
    QRect const screen = dial->screen()->availableGeometry();
    int const margin = qMin(screen.height() / 8, 100);
    QPoint const press(108, 300);
    mouse(QEvent::MouseButtonPress, press);
    EXPECT_EQ(dial->cursor().shape(), Qt::BlankCursor);
    mouse(QEvent::MouseMove, { 110, 303 });
    take();
    // Beyond the lower margin: the motion counts, and the pointer goes back to the middle.
    mouse(QEvent::MouseMove, { 300, screen.bottom() - margin + 1 });
    EXPECT_EQ(take(), std::to_string(303 - (screen.bottom() - margin + 1)) + " ");
    EXPECT_EQ(QCursor::pos().x(), 300);
    EXPECT_NEAR(QCursor::pos().y(), screen.center().y(), 1);
    mouse(QEvent::MouseMove, QCursor::pos());
    EXPECT_EQ(take(), "") << "the way back is no motion";
    mouse(QEvent::MouseMove, QCursor::pos() + QPoint(0, 5));
    EXPECT_EQ(take(), "-5 ");
    mouse(QEvent::MouseButtonRelease, QCursor::pos());
    EXPECT_EQ(QCursor::pos(), press);
    EXPECT_EQ(dial->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(ZilDragDialTest, HidingEndsTheDrag)
{
    mouse(QEvent::MouseButtonPress, { 108, 300 });
    dial->hide();
    dial->show();
    mouse(QEvent::MouseMove, { 108, 200 });
    EXPECT_EQ(take(), "");
    EXPECT_EQ(dial->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(ZilDragDialTest, OnlyTheLeftButtonDrags)
{
    mouse(QEvent::MouseButtonPress, { 108, 300 }, Qt::MiddleButton);
    mouse(QEvent::MouseMove, { 108, 200 }, Qt::MiddleButton);
    EXPECT_EQ(take(), "");
}

TEST_F(ZilDragDialTest, ItPaintsOnlyWhenItsLookChanges)
{
    QCoreApplication::processEvents();
    PaintCounter counter(dial);
    auto const painted = [&] {
        QCoreApplication::processEvents();
        return std::exchange(counter.paints, 0);
    };
    auto const hover = [&](QEvent::Type type) {
        QHoverEvent event(type, QPointF(5, 50), QPointF(5, 49));
        QCoreApplication::sendEvent(dial, &event);
        return painted();
    };
    EXPECT_EQ(hover(QEvent::HoverEnter), 1);
    EXPECT_EQ(hover(QEvent::HoverMove), 0);
    EXPECT_EQ(hover(QEvent::HoverEnter), 0);
    wheel(30);
    EXPECT_EQ(painted(), 0);
    mouse(QEvent::MouseButtonPress, { 108, 300 });
    EXPECT_EQ(painted(), 1);
    mouse(QEvent::MouseMove, { 108, 320 });
    EXPECT_EQ(painted(), 0);
    mouse(QEvent::MouseButtonRelease, { 108, 320 });
    EXPECT_EQ(painted(), 1);
    EXPECT_EQ(hover(QEvent::HoverLeave), 1);
    changePreferences();
    EXPECT_EQ(painted(), 0) << "nothing of it changed";
    preferences.highVisibilityChatScrollbar = true;
    changePreferences();
    EXPECT_EQ(painted(), 1);
}

TEST_F(ZilDragDialTest, EveryStateLooksDifferentInLightAndDark)
{
    for (auto const& [ground, ink] :
         { std::pair(Qt::white, Qt::black), { Qt::black, Qt::white } }) {
        QPalette palette;
        palette.setColor(QPalette::Base, ground);
        palette.setColor(QPalette::Window, ground);
        palette.setColor(QPalette::Text, ink);
        palette.setColor(QPalette::WindowText, ink);
        palette.setColor(QPalette::Highlight, Qt::blue);
        dial->setPalette(palette);
        QVector<QImage> looks;
        for (bool prominent : { false, true }) {
            preferences.highVisibilityChatScrollbar = prominent;
            changePreferences();
            looks.append(dial->grab().toImage());
            QHoverEvent enter(QEvent::HoverEnter, QPointF(5, 50), QPointF(-1, -1));
            QCoreApplication::sendEvent(dial, &enter);
            looks.append(dial->grab().toImage());
            mouse(QEvent::MouseButtonPress, { 108, 300 });
            looks.append(dial->grab().toImage());
            mouse(QEvent::MouseButtonRelease, { 108, 300 });
            QHoverEvent leave(QEvent::HoverLeave, QPointF(-1, -1), QPointF(5, 50));
            QCoreApplication::sendEvent(dial, &leave);
        }
        for (int i = 0; i < looks.size(); ++i) {
            for (int j = 0; j < i; ++j) {
                EXPECT_NE(looks[i], looks[j]) << i << " and " << j;
            }
            int const contrast = qAbs(qGray(looks[i].pixel(8, 200)) - qGray(looks[i].pixel(0, 1)));
            EXPECT_GT(contrast, 20) << i;
        }
    }
}

TEST(ZilLockButton, TellsWhatItIsFor)
{
    ZilLockButton button;
    EXPECT_FALSE(button.toolTip().isEmpty());
    EXPECT_EQ(button.accessibleName(), button.toolTip());
    button.resize(button.sizeHint());
    QImage const enabled = button.grab().toImage();
    QSignalSpy pressed(&button, &QAbstractButton::pressed);
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_NE(button.grab().toImage(), enabled);
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(pressed.count(), 1);
    button.setEnabled(false);
    EXPECT_NE(button.grab().toImage(), enabled);
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(pressed.count(), 1);
}

} // namespace
