// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_color.h"

#include <algorithm>
#include <cmath>

namespace {

double linearChannel(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(QColor const& color)
{
    return 0.2126 * linearChannel(color.redF()) + 0.7152 * linearChannel(color.greenF())
        + 0.0722 * linearChannel(color.blueF());
}

} // namespace

QColor NakColor::adjustLightness(QColor const& color, double delta)
{
    QColor const hsl = color.toHsl();
    double const root = std::clamp(std::cbrt(hsl.lightnessF()) + delta * 0.8, 0.0, 1.0);
    // A grey has no hue, which Qt writes as a hue below zero and takes back as such.
    return QColor::fromHslF(hsl.hslHueF(), hsl.hslSaturationF(), root * root * root, hsl.alphaF())
        .toRgb();
}

QColor NakColor::mix(QColor const& a, QColor const& b, double t)
{
    auto const channel = [t](double x, double y) { return x + (y - x) * t; };
    return QColor::fromRgbF(channel(a.redF(), b.redF()), channel(a.greenF(), b.greenF()),
                            channel(a.blueF(), b.blueF()), channel(a.alphaF(), b.alphaF()));
}

double NakColor::contrast(QColor const& a, QColor const& b)
{
    double const lighter = std::max(luminance(a), luminance(b));
    double const darker = std::min(luminance(a), luminance(b));
    return (lighter + 0.05) / (darker + 0.05);
}
