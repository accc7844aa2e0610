// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_theme.h"
#include "event_log_row.h"
#include "nak_color.h"
#include "nakwire_style.h"

#include <QPalette>

#include <gtest/gtest.h>

namespace {

// What the eye needs at least: 4.5 for text, 3 for marks such as the focus ring.
TEST(ThemeContrast, TextAndFocusRingsCanBeSeenInEveryTheme)
{
    for (NakAppTheme::ThemeType type : NakAppTheme::themesList()) {
        SCOPED_TRACE(NakAppTheme::themeDisplayName(type).toStdString());
        auto const colors = NakAppTheme::namedThemeColors(type);
        QPalette palette = NakAppTheme::themeColorsToPalette(colors);
        EXPECT_GE(NakColor::contrast(NakAppTheme::secondaryTextColor(palette), colors.window), 4.5);
        for (QColor const& ground :
             { colors.window, colors.base, colors.button, NakwireStyle::tabStripColor(palette) }) {
            EXPECT_GE(NakColor::contrast(colors.text, ground), 4.5);
            EXPECT_GE(NakColor::contrast(colors.highlight, ground), 3);
            EXPECT_GE(NakColor::contrast(colors.icon, ground), 3);
        }
        EXPECT_GE(NakColor::contrast(colors.highlightedText, colors.highlight), 3);

        auto const log = NakEvLogRow::makeStyle(QFont(), palette, 20);
        for (QColor const& color : log.severity)
            EXPECT_GE(NakColor::contrast(color, colors.base), 4.5);
        EXPECT_GE(NakColor::contrast(log.faint, colors.base), 4.5);
        EXPECT_GE(NakColor::contrast(log.found, log.foundText), 4.5);

        // Shades of a button are no more coloured than it.
        NakwireStyle().polish(palette);
        for (auto const role : { QPalette::Midlight, QPalette::Mid, QPalette::Dark })
            EXPECT_LE(palette.color(role).hsvSaturationF(),
                      palette.color(QPalette::Button).hsvSaturationF() + 0.02)
                << role;
    }
}

} // namespace
