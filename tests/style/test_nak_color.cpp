// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_color.h"

#include <gtest/gtest.h>

namespace {

TEST(NakColor, AdjustLightnessStepsOnTheCubeRoot)
{
    // Lightness 0.125 has the root 0.5; a step of 0.25 adds 0.2: 0.7 cubed is 0.343.
    QColor const dark = QColor::fromRgbF(0.125, 0.125, 0.125);
    EXPECT_NEAR(NakColor::adjustLightness(dark, 0.25).lightnessF(), 0.343, 0.002);
    EXPECT_NEAR(NakColor::adjustLightness(dark, -0.25).lightnessF(), 0.027, 0.002);
    EXPECT_NEAR(NakColor::adjustLightness(dark, 0).lightnessF(), 0.125, 0.002);
}

TEST(NakColor, AdjustLightnessEndsAtBlackAndWhite)
{
    QColor const color(40, 80, 120);
    EXPECT_EQ(NakColor::adjustLightness(color, 2).name().toStdString(), "#ffffff");
    EXPECT_EQ(NakColor::adjustLightness(color, -2).name().toStdString(), "#000000");
}

TEST(NakColor, AdjustLightnessKeepsHueSaturationAndOpacity)
{
    QColor const color(40, 80, 120, 77);
    QColor const lighter = NakColor::adjustLightness(color, 0.1);
    EXPECT_GT(lighter.lightnessF(), color.lightnessF());
    EXPECT_NEAR(lighter.hslHueF(), color.hslHueF(), 0.01);
    EXPECT_NEAR(lighter.hslSaturationF(), color.hslSaturationF(), 0.02);
    EXPECT_EQ(lighter.alpha(), 77);
    EXPECT_EQ(NakColor::adjustLightness(QColor(99, 99, 99), 0.1).hslSaturation(), 0);
}

TEST(NakColor, MixRunsFromOneColorToTheOther)
{
    QColor const a(0, 100, 200, 0);
    QColor const b(100, 200, 100, 255);
    EXPECT_EQ(NakColor::mix(a, b, 0), a);
    EXPECT_EQ(NakColor::mix(a, b, 1), b);
    EXPECT_EQ(NakColor::mix(a, b, 0.5).name(QColor::HexArgb).toStdString(), "#80329696");
}

TEST(NakColor, Contrast)
{
    EXPECT_NEAR(NakColor::contrast(Qt::white, Qt::black), 21, 0.001);
    EXPECT_NEAR(NakColor::contrast(Qt::black, Qt::white), 21, 0.001);
    EXPECT_NEAR(NakColor::contrast(Qt::red, Qt::red), 1, 0.001);
    // #777777 on white is the best known near miss of the 4.5 that text needs.
    EXPECT_NEAR(NakColor::contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.478, 0.001);
}

} // namespace
