// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_theme.h"
#include "nak_color.h"
#include "nakwire_style.h"

#include <QPalette>

#include <gtest/gtest.h>

namespace {

// What the eye needs at least: 4.5 for text, 3 for marks such as the focus ring.
TEST(ThemeContrast, TextAndFocusRingsCanBeSeenInEveryTheme)
{
    for (NakAppTheme::ThemeType type : NakAppTheme::themesList()) {
        auto const name = NakAppTheme::themeDisplayName(type).toStdString();
        auto const colors = NakAppTheme::namedThemeColors(type);
        EXPECT_GE(NakColor::contrast(
                      NakAppTheme::secondaryTextColor(NakAppTheme::themeColorsToPalette(colors)),
                      colors.window),
                  4.5)
            << name;
        QColor const strip = NakwireStyle::tabStripColor(NakAppTheme::themeColorsToPalette(colors));
        for (QColor const& ground : { colors.window, colors.base, colors.button, strip }) {
            EXPECT_GE(NakColor::contrast(colors.text, ground), 4.5) << name;
            EXPECT_GE(NakColor::contrast(colors.highlight, ground), 3) << name;
            EXPECT_GE(NakColor::contrast(colors.icon, ground), 3) << name;
        }
        EXPECT_GE(NakColor::contrast(colors.highlightedText, colors.highlight), 3) << name;
    }
}

TEST(ThemeContrast, ShadesOfAButtonAreNoMoreColoredThanIt)
{
    NakwireStyle style;
    for (NakAppTheme::ThemeType type : NakAppTheme::themesList()) {
        QPalette palette = NakAppTheme::themeColorsToPalette(NakAppTheme::namedThemeColors(type));
        style.polish(palette);
        for (auto const role : { QPalette::Midlight, QPalette::Mid, QPalette::Dark })
            EXPECT_LE(palette.color(role).hsvSaturationF(),
                      palette.color(QPalette::Button).hsvSaturationF() + 0.02)
                << NakAppTheme::themeDisplayName(type).toStdString() << role;
    }
}

} // namespace
