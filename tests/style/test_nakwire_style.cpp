// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nakwire_style.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStyleOption>

#include <gtest/gtest.h>

namespace {

QStyleOptionSlider verticalBar(int minimum, int maximum, int position, int page)
{
    QStyleOptionSlider bar;
    bar.rect = QRect(0, 0, 12, 200);
    bar.orientation = Qt::Vertical;
    bar.minimum = minimum;
    bar.maximum = maximum;
    bar.sliderPosition = position;
    bar.pageStep = page;
    bar.state = QStyle::State_Enabled;
    return bar;
}

QRect part(QStyleOptionSlider const& bar, QStyle::SubControl subControl)
{
    static NakwireStyle const style;
    return style.subControlRect(QStyle::CC_ScrollBar, &bar, subControl, nullptr);
}

TEST(NakwireStyle, TheScrollBarIsTheSliderOfThePageAndNothingElse)
{
    struct {
        int minimum, maximum, position, page;
        QRect slider;
    } const cases[] = {
        { 0, 300, 0, 100, { 0, 0, 12, 50 } }, // 100 of 400
        { 0, 300, 300, 100, { 0, 150, 12, 50 } },
        { 0, 300, 150, 100, { 0, 75, 12, 50 } },
        { 0, 0, 0, 100, { 0, 0, 12, 200 } }, // nothing to scroll
        { 0, 1000000, 1000000, 1, { 0, 176, 12, 24 } }, // never too small to grab
        { -2147483647, 2147483647, 2147483647, 1000, { 0, 176, 12, 24 } },
    };
    for (auto const& c : cases) {
        auto const bar = verticalBar(c.minimum, c.maximum, c.position, c.page);
        QRect const slider = part(bar, QStyle::SC_ScrollBarSlider);
        QRect const before = part(bar, QStyle::SC_ScrollBarSubPage);
        QRect const after = part(bar, QStyle::SC_ScrollBarAddPage);
        EXPECT_EQ(slider, c.slider) << c.maximum << ' ' << slider.y() << ' ' << slider.height();
        EXPECT_EQ(before.height() + slider.height() + after.height(), 200);
        EXPECT_EQ(before.bottom() + 1, slider.top());
        EXPECT_EQ(slider.bottom() + 1, after.top());
        EXPECT_TRUE(part(bar, QStyle::SC_ScrollBarAddLine).isEmpty());
        EXPECT_TRUE(part(bar, QStyle::SC_ScrollBarSubLine).isEmpty());
    }
}

TEST(NakwireStyle, PartsOfATabDoNotOverlap)
{
    NakwireStyle const style;
    for (int width = 1; width <= 300; ++width) {
        for (bool current : { false, true }) {
            // Of many tabs only the current one keeps its close button.
            if (width == 30 || width == 60 || width == 120) {
                EXPECT_EQ(NakwireStyle::tabShowsClose(width, current),
                          width == 120 || (width == 60 && current));
            }
            QStyleOptionTab tab;
            tab.rect = QRect(100, 0, width, 30);
            tab.iconSize = QSize(16, 16);
            tab.icon = QIcon(QPixmap(16, 16));
            tab.rightButtonSize = QSize(16, 16);
            tab.state = current ? QStyle::State_Selected : QStyle::State_None;
            QRect const text = style.subElementRect(QStyle::SE_TabBarTabText, &tab, nullptr);
            QRect const close =
                style.subElementRect(QStyle::SE_TabBarTabRightButton, &tab, nullptr);
            if (text.isEmpty())
                continue;
            EXPECT_GE(text.left(), 100 + 8 + 16) << width;
            EXPECT_LE(text.right(), 100 + width - 1) << width;
            if (NakwireStyle::tabShowsClose(width, current)) {
                EXPECT_LT(text.right(), close.left()) << width;
            }
        }
    }
}

TEST(NakwireStyle, ARingIsDrawnOnlyForFocusThatTheKeyboardGave)
{
    NakwireStyle const style;
    QStyleOptionFocusRect ring;
    ring.rect = QRect(0, 0, 40, 20);
    ring.palette.setColor(QPalette::Highlight, Qt::red);
    auto const painted = [&](QStyle::State state) {
        ring.state = state;
        QImage image(40, 20, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        style.drawPrimitive(QStyle::PE_FrameFocusRect, &ring, &painter, nullptr);
        painter.end();
        return image;
    };
    QImage const byMouse = painted(QStyle::State_HasFocus);
    EXPECT_EQ(qAlpha(byMouse.pixel(20, 0)), 0);
    QImage const byKey = painted(QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange);
    EXPECT_EQ(byKey.pixel(20, 0), qRgba(255, 0, 0, 255));
    EXPECT_EQ(qAlpha(byKey.pixel(20, 10)), 0);
}

TEST(NakwireStyle, APaletteGetsTheRolesThatThemesDoNotName)
{
    QPalette palette;
    palette.setColor(QPalette::Button, QColor(74, 75, 80));
    palette.setColor(QPalette::Base, QColor(46, 47, 49));
    palette.setColor(QPalette::Text, QColor(208, 209, 212));
    palette.setColor(QPalette::Highlight, QColor(191, 199, 213));
    NakwireStyle style;
    style.polish(palette);
    EXPECT_GT(palette.color(QPalette::Light).lightness(), 77);
    EXPECT_LT(palette.color(QPalette::Dark).lightness(), 77);
    EXPECT_EQ(palette.color(QPalette::Link), QColor(191, 199, 213));
    EXPECT_EQ(palette.color(QPalette::ToolTipBase), QColor(46, 47, 49));
    EXPECT_EQ(palette.color(QPalette::ToolTipText), QColor(208, 209, 212));
    QPalette const once = palette;
    style.polish(palette);
    EXPECT_EQ(palette, once);
}

} // namespace
