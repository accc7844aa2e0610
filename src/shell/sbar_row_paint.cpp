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

// One end of a panel, which is nothing but the panel of that height.
void paintPanelEnd(QPainter* painter, QRect const& end, SbarViewStyle const& style)
{
    fillRounded(painter, end, style.groupRadius, style.groupFill);
    strokeRounded(painter, end, style.groupInsetRadius, style.groupLine);
}

// The panel under a group and all that hangs below it. It can be high, and is painted anew under
// each row that changes: only its ends have rounded corners to work on.
void paintPanel(QPainter* painter, RowPaint const& paint, SbarViewStyle const& style)
{
    QRect const panel = paint.fullRect.adjusted(style.groupMargin, 1, -style.groupMargin, -1);
    int const corner = style.groupCorner;
    QRect const body = panel.adjusted(0, corner, 0, -corner);
    QRect const top(panel.topLeft(), QSize(panel.width(), 2 * corner));
    QRect const bottom = top.translated(0, panel.height() - 2 * corner);
    for (QRect const& end : { top, bottom }) {
        if (paint.region.intersects(end))
            paintPanelEnd(painter, end, style);
    }
    painter->fillRect(body, style.groupFill);
    painter->fillRect(QRect(body.topLeft(), QSize(1, body.height())), style.groupLine);
    painter->fillRect(QRect(body.right(), body.top(), 1, body.height()), style.groupLine);
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
    BadgeColors const colors = badgeColors(layout, paint.active, style);
    painter->drawPixmap(rect.topLeft(), style.badgeGround(rect.size(), colors.fill, colors.shadow));
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
