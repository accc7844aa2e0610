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
    QImage nothing(16, 16, QImage::Format_ARGB32);
    nothing.fill(Qt::transparent);
    EXPECT_EQ(imageOf(m_icons.coloredGlyph(QChar(0xE000), Qt::red, { 16, 16 })), nothing);
    EXPECT_TRUE(m_icons.coloredGlyph(plus, Qt::red, { 0, 16 }).isNull());
    QIcon const icon = m_icons.iconForCode(plus);
    g_guiIcons = nullptr; // which an icon may outlive
    EXPECT_TRUE(icon.pixmap(QSize(16, 16)).isNull());
}

} // namespace
