// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Where the parts of a row stand.
#include "gui_icons.h"
#include "sbar_row.h"

#include <QApplication>
#include <QPalette>

#include <gtest/gtest.h>

using namespace NakSbar;

// At any width parts follow each other without overlap, and a number's badge is never narrower
// than high.
TEST(SbarRow, PartsNeverOverlap)
{
    NakGuiIcons icons;
    g_guiIcons = &icons;
    RowContent content;
    content.text = QString(60, QLatin1Char('W'));
    content.glyph = 61744;
    content.hasStatus = true;
    content.flags = { 61475, 61552 };
    RowPlace place;
    place.level = 2;
    place.hasArrow = true;
    for (double const density : { 1.0, 2.0 }) {
        auto const style =
            NakStyle::makeSbarViewStyle(QApplication::font(), QApplication::palette(), density);
        for (place.width = 0; place.width <= 500; place.width += 7) {
            for (content.number = 0; content.number <= 1000;
                 content.number = content.number * 10 + 1) {
                content.badge = content.number == 0 ? BadgeKind::None : BadgeKind::Number;
                RowLayout const layout = layoutRow(content, place, style);
                int const right = layout.badge.isNull() ? place.width : layout.badge.left();
                EXPECT_LE(right, place.width);
                if (!layout.textRect.isEmpty()) {
                    EXPECT_LE(layout.textRect.right(), right) << place.width;
                    EXPECT_LE(layout.text.size().width(), layout.textRect.width() + 1);
                }
                EXPECT_TRUE(layout.elided);
                EXPECT_GE(layout.textRect.top(), 0);
                EXPECT_LE(layout.textRect.bottom(), style.rowHeight);
                EXPECT_GE(layout.badge.width(), layout.badge.height());
            }
        }
        content.badge = BadgeKind::Number;
        content.number = 1000; // there is an end to counting
        EXPECT_EQ(layoutRow(content, place, style).badgeText.text(), QStringLiteral("999+"));
    }
    g_guiIcons = nullptr;
}
