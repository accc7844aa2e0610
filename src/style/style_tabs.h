// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Tabs: one layout for painting, eliding and the close button. User-interface thread.

#include <QStyle>
#include <QStyleOption>

namespace NakStylePaint {

// Distances in device-independent pixels.
constexpr int tabPadding = 8; // left of the icon, right of the text
constexpr int tabGap = 6; // between icon and text, text and close button

struct TabLayout {
    QRect icon;
    QRect text;
};
TabLayout layoutTab(QStyleOptionTab const& tab);

void paintTabShape(QPainter* painter, QStyleOptionTab const& tab);
void paintTabLabel(QStyle const& style, QPainter* painter, QStyleOptionTab const& tab,
                   QWidget const* widget);
void paintTabClose(QPainter* painter, QStyleOption const& option);

} // namespace NakStylePaint
