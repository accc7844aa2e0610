// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Colour arithmetic that painting code shares. Pure, any thread.

#include <QColor>

namespace NakColor {

// Lightens by a positive delta, darkens by a negative one; hue, saturation and opacity stay. Even
// steps of delta look even, since the step is taken on the cube root of the lightness.
QColor adjustLightness(QColor const& color, double delta);

// a where t is 0, b where it is 1, channel by channel.
QColor mix(QColor const& a, QColor const& b, double t);

// How well two colours can be told apart: 1 the same, 21 black on white. From the relative
// luminances of sRGB; opacity is not looked at.
double contrast(QColor const& a, QColor const& b);

} // namespace NakColor
