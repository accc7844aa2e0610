// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the painting functions of the style share. User-interface thread.

#include "nak_color.h"

#include <QPainter>
#include <QPalette>

namespace NakStylePaint {

constexpr int buttonRadius = 3; // device-independent pixels

// How far a thing steps from its ground towards the text, from 0 to 1.
constexpr double hoverStep = 0.10;
constexpr double checkedStep = 0.16;
constexpr double pressedStep = 0.22;

inline QColor stepped(QPalette const& palette, QPalette::ColorRole ground, double step)
{
    return NakColor::mix(palette.color(ground), palette.color(QPalette::WindowText), step);
}

class ScopedPainter {
public:
    explicit ScopedPainter(QPainter* painter)
        : m_painter(painter)
    {
        painter->save();
    }
    ~ScopedPainter() { m_painter->restore(); }
    ScopedPainter(ScopedPainter const&) = delete;
    ScopedPainter& operator=(ScopedPainter const&) = delete;

private:
    QPainter* m_painter;
};

} // namespace NakStylePaint
