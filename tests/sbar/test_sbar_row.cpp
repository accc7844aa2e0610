// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Where the parts of a row stand.
#include "gui_icons.h"
#include "sbar_row.h"

#include <QApplication>
#include <QPalette>

#include <gtest/gtest.h>

using namespace NakSbar;

// At any width parts follow each other without overlap, and what is in the row stays in it as soon
// as there is room for the pictures.
TEST(SbarRow, PartsNeverOverlap)
{
    NakGuiIcons icons;
    g_guiIcons = &icons;
    for (double const density : { 1.0, 2.0 }) {
        auto const style =
            NakStyle::makeSbarViewStyle(QApplication::font(), QApplication::palette(), density);
        RowContent content;
        content.text = QString(60, QLatin1Char('W'));
        content.glyph = 61744;
        content.hasStatus = true;
        content.flags = { 61475, 61552 };
        content.number = 4321;
        for (int width = 0; width <= 500; width += 7) {
            for (BadgeKind const badge :
                 { BadgeKind::None, BadgeKind::Number, BadgeKind::Members }) {
                content.badge = badge;
                RowPlace place;
                place.level = 2;
                place.hasArrow = true;
                place.width = width;
                RowLayout const layout = layoutRow(content, place, style);
                int right = layout.badge.isNull() ? width : layout.badge.left();
                EXPECT_LT(right, width + 1);
                if (!layout.textRect.isEmpty()) {
                    EXPECT_LE(layout.textRect.right(), right) << width;
                    EXPECT_LE(layout.text.size().width(), layout.textRect.width() + 1) << width;
                }
                EXPECT_TRUE(layout.elided);
                EXPECT_GE(layout.textRect.top(), 0);
                EXPECT_LE(layout.textRect.bottom(), style.rowHeight);
            }
        }
        EXPECT_EQ(style.rowHeight % 2, 0);
        EXPECT_EQ(style.groupHeight, style.rowHeight + 7);
    }
    g_guiIcons = nullptr;
}

// A number's badge grows with it and is never narrower than high; there is an end to counting.
TEST(SbarRow, BadgesGrowWithTheirNumber)
{
    auto const style =
        NakStyle::makeSbarViewStyle(QApplication::font(), QApplication::palette(), 1);
    int last = 0;
    for (int const number : { 1, 10, 100, 1000 }) {
        RowContent content;
        content.badge = BadgeKind::Number;
        content.number = number;
        RowPlace place;
        place.width = 200;
        RowLayout const layout = layoutRow(content, place, style);
        EXPECT_GE(layout.badge.width(), std::max(last, style.rowHeight - 6)) << number;
        last = layout.badge.width();
        EXPECT_EQ(layout.badge.top(), 3);
        EXPECT_EQ(layout.badgeText.text(),
                  number > 999 ? QStringLiteral("999+") : QString::number(number));
    }
}
