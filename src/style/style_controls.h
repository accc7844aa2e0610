// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Buttons, menu bar, focus ring, spin boxes, scroll bars. User-interface thread.

#include <QStyle>
#include <QStyleOption>

namespace NakStylePaint {

constexpr int scrollBarExtent = 12; // device-independent pixels

void paintToolButtonPanel(QPainter* painter, QStyleOption const& option);
void paintFocusRing(QPainter* painter, QStyleOption const& option);
void paintPushButtonPanel(QPainter* painter, QStyleOption const& option);
void paintCheckBox(QPainter* painter, QStyleOption const& option);
void paintMenuBarItem(QStyle const& style, QPainter* painter, QStyleOptionMenuItem const& item);
void paintSpinBox(QStyle const& style, QPainter* painter, QStyleOptionSpinBox const& box,
                  QWidget const* widget);

// Scroll bars are a groove and a slider, at least so long, and no buttons.
QRect scrollSliderRect(QStyleOptionSlider const& bar, int sliderMin);
void paintScrollBar(QStyle const& style, QPainter* painter, QStyleOptionSlider const& bar,
                    QWidget const* widget);

} // namespace NakStylePaint
