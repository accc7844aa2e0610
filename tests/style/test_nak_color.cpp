// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_color.h"

#include <gtest/gtest.h>

namespace {

TEST(NakColor, LightnessStepsOnTheCubeRootAndAllElseStays)
{
    // Lightness 0.125 has the root 0.5; a step of 0.25 adds 0.2: 0.7 cubed is 0.343.
    QColor const color = QColor::fromHslF(0.6, 0.5, 0.125, 0.3);
    struct {
        double step, lightness;
    } const cases[] = { { 0.25, 0.343 }, { -0.25, 0.027 }, { 0, 0.125 }, { 2, 1 }, { -2, 0 } };
    for (auto const& c : cases) {
        QColor const made = NakColor::adjustLightness(color, c.step);
        EXPECT_NEAR(made.lightnessF(), c.lightness, 0.003) << c.step;
        EXPECT_NEAR(made.alphaF(), 0.3, 0.003);
        if (c.lightness > 0.1 && c.lightness < 1) {
            EXPECT_NEAR(made.hslHueF(), 0.6, 0.01);
            EXPECT_NEAR(made.hslSaturationF(), 0.5, 0.02);
        }
    }
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
