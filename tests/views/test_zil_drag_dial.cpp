// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "global_events.h"
#include "preferences.h"
#include "zil_drag_dial.h"

#include <QApplication>
#include <QScreen>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

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
};

TEST_F(ZilDragDialTest, WheelMotionAddsUpToWholePixels)
{
    struct {
        double scale;
        int pixels, angle;
        bool invert;
        char const* told;
    } const steps[] = {
        { 0.5, 1, 0, false, "1 " }, // the middle rounds up: -0.5 is left
        { 0.5, 1, 0, false, "" },
        { 0.5, -1, 0, false, "" }, // and goes up to 0
        { 0.5, -2, 0, false, "-1 " },
        { 0.5, 1, 0, false, "" },
        { 0.5, 0, 120, false, "60 " },
        { 1.0, 7, 120, false, "7 " }, // pixels count where there are some
        { 0.5, 0, 120, true, "-60 " },
        { 1e-6, 1, 0, false, "" },
        { 1e300, 1000, 0, false, "1000000 " },
        { std::numeric_limits<double>::quiet_NaN(), 1, 0, false, "" },
        { 0.3, 1, 0, false, "" }, // fractions add up
        { 0.3, 1, 0, false, "1 " },
        { 0.3, 1, 0, false, "" },
        { 0.3, 1, 0, false, "" },
        { 0.3, 1, 0, false, "" },
        { 0.3, 1, 0, false, "1 " },
    };
    for (auto const& step : steps) {
        SCOPED_TRACE(&step - steps);
        preferences.invertWheelScroll = step.invert;
        changePreferences();
        dial->setWheelScale(step.scale);
        wheel(step.pixels, step.angle);
        EXPECT_EQ(take(), step.told);
    }
}

TEST_F(ZilDragDialTest, DraggingReportsMotion)
{
    dial->setDragScale(2.0);
    auto const drag = [this](Qt::MouseButton button) {
        mouse(QEvent::MouseButtonPress, { 108, 300 }, button);
        mouse(QEvent::MouseMove, { 108, 310 });
        mouse(QEvent::MouseMove, { 500, 307 });
        return take();
    };
    EXPECT_EQ(drag(Qt::MiddleButton), "") << "not pressed for it";
    EXPECT_EQ(drag(Qt::LeftButton), "-20 6 ");
    EXPECT_EQ(dial->cursor().shape(), Qt::SizeVerCursor);
    mouse(QEvent::MouseButtonRelease, { 500, 307 });
    EXPECT_EQ(dial->cursor().shape(), Qt::ArrowCursor);
    mouse(QEvent::MouseMove, { 108, 200 });
    EXPECT_EQ(take(), "");
    preferences.invertDragScroll = true;
    changePreferences();
    EXPECT_EQ(drag(Qt::LeftButton), "20 -6 ");
    dial->hide(); // ends it too
    dial->show();
    mouse(QEvent::MouseMove, { 108, 200 });
    EXPECT_EQ(take(), "");
    EXPECT_EQ(dial->cursor().shape(), Qt::ArrowCursor);
    dial->setDragScale(0.4);
    for (int i = 0; i < 4; ++i) { // a release forgets the fraction
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
    mouse(QEvent::MouseMove, { 300, screen.bottom() - margin + 5 });
    EXPECT_EQ(take(), "-4 ") << "moved before the pointer was back";
    mouse(QEvent::MouseMove, QCursor::pos());
    EXPECT_EQ(take(), "") << "the way back is no motion";
    mouse(QEvent::MouseMove, QCursor::pos() + QPoint(0, 5));
    EXPECT_EQ(take(), "-5 ");
    mouse(QEvent::MouseButtonRelease, QCursor::pos());
    EXPECT_EQ(QCursor::pos(), press);
    EXPECT_EQ(dial->cursor().shape(), Qt::ArrowCursor);
}

} // namespace
