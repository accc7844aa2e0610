// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_theme.h"
#include "gui_icons.h"

#include <QImage>
#include <QSet>

#include <gtest/gtest.h>

namespace {

constexpr QChar plus(61543);
constexpr QChar arrowLeft(61536);
constexpr QChar arrowRight(61537);

class GuiIcons : public testing::Test {
protected:
    GuiIcons()
    {
        g_guiIcons = &m_icons;
        NakAppTheme::setGlobalThemeColors(NakAppTheme::namedThemeColors(NakAppTheme::Carbon));
    }
    ~GuiIcons() override { g_guiIcons = nullptr; }

    NakGuiIcons m_icons;
};

QImage imageOf(QPixmap const& pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
}

// The smallest rectangle that holds every pixel that is not transparent.
QRect inkOf(QImage const& image)
{
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

TEST_F(GuiIcons, AGlyphIsCenteredWhollyInsideAndOfOneColor)
{
    for (int extent : { 12, 16, 20, 24, 32, 48 }) {
        QImage const image =
            imageOf(m_icons.coloredGlyph(plus, QColor(10, 200, 30), { extent, extent + 4 }));
        ASSERT_EQ(image.size(), QSize(extent, extent + 4));
        QRect const ink = inkOf(image);
        EXPECT_GE(ink.width(), extent / 2);
        EXPECT_GE(ink.left(), 1);
        EXPECT_LE(ink.right(), extent - 2);
        EXPECT_LE(qAbs(ink.left() - (extent - 1 - ink.right())), 1) << extent;
        EXPECT_LE(qAbs(ink.top() - (extent + 3 - ink.bottom())), 1) << extent;
        EXPECT_EQ(image.pixel(ink.center()), qRgba(10, 200, 30, 255)) << extent;
    }
}

TEST_F(GuiIcons, GlyphsAreDrawnOncePerCodeColorAndSize)
{
    QSet<qint64> drawn;
    for (int round = 0; round < 2; ++round) {
        for (QChar const code : { plus, arrowLeft, arrowRight })
            for (QColor const& color : { QColor(Qt::red), QColor(Qt::blue) })
                for (QSize const size : { QSize(16, 16), QSize(16, 17), QSize(17, 16) })
                    drawn.insert(m_icons.coloredGlyph(code, color, size).cacheKey());
        EXPECT_EQ(drawn.size(), 18);
    }
    // The two arrows mirror each other.
    QImage const left = imageOf(m_icons.coloredGlyph(arrowLeft, Qt::black, { 32, 32 }));
    QImage const right = imageOf(m_icons.coloredGlyph(arrowRight, Qt::black, { 32, 32 }));
    EXPECT_NE(left, right);
    EXPECT_EQ(inkOf(left).size(), inkOf(right).size());
}

TEST_F(GuiIcons, IconsAreKeptAndFollowTheTheme)
{
    QIcon const icon = m_icons.iconForCode(plus);
    EXPECT_EQ(m_icons.iconForCode(plus).cacheKey(), icon.cacheKey());
    EXPECT_NE(m_icons.iconForCode(arrowLeft).cacheKey(), icon.cacheKey());

    auto const middle = [&](QIcon::Mode mode) {
        return QColor(imageOf(icon.pixmap(QSize(16, 16), mode)).pixel(8, 8)).name().toStdString();
    };
    EXPECT_EQ(middle(QIcon::Normal), "#d0d1d4");
    EXPECT_EQ(middle(QIcon::Disabled), "#a4a6a8");
    EXPECT_EQ(middle(QIcon::Selected), "#2d2c27");
    NakAppTheme::setGlobalThemeColors(NakAppTheme::namedThemeColors(NakAppTheme::Polar));
    EXPECT_EQ(middle(QIcon::Normal), "#696b71");
    EXPECT_EQ(m_icons.normalIconColor(), QColor(0x69, 0x6b, 0x71));
}

TEST_F(GuiIcons, WithoutAGlyphThereIsNothing)
{
    EXPECT_TRUE(inkOf(imageOf(m_icons.coloredGlyph(QChar(0xE000), Qt::red, { 16, 16 }))).isNull());
    EXPECT_TRUE(m_icons.coloredGlyph(plus, Qt::red, { 0, 16 }).isNull());
    QIcon const icon = m_icons.iconForCode(plus);
    g_guiIcons = nullptr; // which an icon may outlive
    EXPECT_TRUE(icon.pixmap(QSize(16, 16)).isNull());
}

} // namespace
