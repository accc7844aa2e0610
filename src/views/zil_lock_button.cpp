// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zil_lock_button.h"

#include <QPainter>
#include <QStyle>

namespace {

constexpr int arrowPartOfWidth = 4; // half the width of the arrow's head
constexpr int barHeight = 2;

} // namespace

ZilLockButton::ZilLockButton(QWidget* parent)
    : QAbstractButton(parent)
{
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::TabFocus);
    setToolTip(tr("Stick to the newest"));
    setAccessibleName(toolTip());
}

ZilLockButton::~ZilLockButton() = default;

QSize ZilLockButton::sizeHint() const
{
    int const extent = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    return { extent, extent };
}

QSize ZilLockButton::minimumSizeHint() const
{
    return sizeHint();
}

// An arrow that points down onto a bar: the end of the log. Grey while there is nothing to do.
void ZilLockButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    bool const hot = isEnabled() && (underMouse() || hasFocus());
    QPalette const& colors = palette();
    // Enabled or not, the ground is that of the dial above.
    painter.fillRect(rect(),
                     colors.color(QPalette::Active,
                                  isDown()  ? QPalette::Highlight
                                      : hot ? QPalette::Button
                                            : QPalette::Base));
    QColor const ink = colors.color(isDown()  ? QPalette::HighlightedText
                                        : hot ? QPalette::ButtonText
                                              : QPalette::Text);
    int const half = qMax(2, width() / arrowPartOfWidth);
    int const glyphHeight = 2 * (half + barHeight);
    QPoint const tip(width() / 2, (height() - glyphHeight) / 2 + 2 * half);
    for (int row = 0; row < half; ++row) {
        painter.fillRect(tip.x() - row, tip.y() - row, 2 * row + 1, 1, ink);
    }
    painter.fillRect(tip.x(), tip.y() - 2 * half, 1, half + 1, ink);
    painter.fillRect(tip.x() - half, tip.y() + barHeight, 2 * half + 1, barHeight, ink);
}
