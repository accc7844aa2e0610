// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_row.h"

#include <QPainter>

namespace NakSbar {

namespace {

using NakStyle::SbarViewStyle;

void fillRounded(QPainter* painter, QRectF const& rect, double radius, QColor const& color)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(rect, radius, radius);
}

void strokeRounded(QPainter* painter, QRectF const& rect, double radius, QColor const& color)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(color);
    painter->setBrush(Qt::NoBrush);
    // A line of one pixel runs along the middle of that pixel.
    painter->drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

// As much of a tall panel as the region can show; what is cut off keeps its corners out of sight.
QRect trimmed(QRect const& panel, QRegion const& region, int margin)
{
    QRect const bounds = region.boundingRect();
    return panel.intersected(
        QRect(panel.left(), bounds.top() - margin, panel.width(), bounds.height() + 2 * margin));
}

// The panel under a group and all that hangs below it.
void paintPanel(QPainter* painter, RowPaint const& paint, SbarViewStyle const& style)
{
    QRect const panel =
        trimmed(paint.fullRect.adjusted(style.groupMargin, 1, -style.groupMargin, -1), paint.region,
                style.groupMargin);
    fillRounded(painter, panel, style.groupRadius, style.groupFill);
    strokeRounded(painter, panel, style.groupInsetRadius, style.groupLine);
}

void paintHighlight(QPainter* painter, RowLayout const& layout, RowPaint const& paint,
                    SbarViewStyle const& style)
{
    QRect const rect = layout.highlight.translated(paint.rect.topLeft());
    if (paint.active || paint.pressed)
        fillRounded(painter, rect, style.highlightRadius,
                    paint.active ? style.activeFill : style.pressedFill);
    if (paint.caret)
        strokeRounded(painter, rect, style.highlightRadius, style.caretLine);
}

void paintPictures(QPainter* painter, RowLayout const& layout, RowPaint const& paint)
{
    for (RowLayout::Picture const& picture : layout.pictures) {
        QRect const rect = picture.rect.translated(paint.rect.topLeft());
        if (paint.region.intersects(rect))
            painter->drawPixmap(rect.topLeft(), picture.pixmap);
    }
}

void paintText(QPainter* painter, RowLayout const& layout, RowPaint const& paint,
               SbarViewStyle const& style)
{
    QRect const rect = layout.textRect.translated(paint.rect.topLeft());
    if (!paint.region.intersects(rect))
        return;
    bool const head = layout.shape == Shape::Section || layout.shape == Shape::Group;
    painter->setFont(head ? style.headFont : style.rowFont);
    painter->setPen(style.text[static_cast<size_t>(layout.tone)]);
    painter->drawStaticText(rect.topLeft(), layout.text);
}

struct BadgeColors {
    QColor fill;
    QColor text;
    bool shadow = false;
};

BadgeColors badgeColors(RowLayout const& layout, bool active, SbarViewStyle const& style)
{
    using NakStyle::SbarTone;
    if (active)
        return { style.text[static_cast<size_t>(SbarTone::OnActive)], style.activeFill, false };
    if (layout.badgeKind == BadgeKind::Members)
        return { style.membersFill, style.membersText, false };
    return { style.badgeFill, style.badgeText, true };
}

void paintBadge(QPainter* painter, RowLayout const& layout, RowPaint const& paint,
                SbarViewStyle const& style)
{
    QRect const rect = layout.badge.translated(paint.rect.topLeft());
    QRect const shadow = rect.translated(0, style.badgeShadowDrop);
    if (layout.badgeKind == BadgeKind::None || !paint.region.intersects(rect.united(shadow)))
        return;
    double const radius = rect.height() / 2.0;
    BadgeColors const colors = badgeColors(layout, paint.active, style);
    if (colors.shadow)
        fillRounded(painter, shadow, radius, style.badgeShadow);
    fillRounded(painter, rect, radius, colors.fill);
    painter->setFont(style.badgeFont.font);
    painter->setPen(colors.text);
    painter->drawStaticText(layout.badgeTextPos + paint.rect.topLeft(), layout.badgeText);
}

} // namespace

void paintRow(QPainter* painter, RowLayout const& layout, RowPaint const& paint,
              SbarViewStyle const& style)
{
    if (layout.shape == Shape::Group)
        paintPanel(painter, paint, style);
    if (!paint.region.intersects(paint.rect))
        return;
    paintHighlight(painter, layout, paint, style);
    // Before the pictures, one of which may stand in it.
    paintBadge(painter, layout, paint, style);
    paintPictures(painter, layout, paint);
    paintText(painter, layout, paint, style);
}

} // namespace NakSbar
