// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "plain_text.h"
#include "sbar_glyphs.h"
#include "sbar_row.h"

#include <QFontMetrics>

#include <algorithm>

namespace NakSbar {

namespace {

using NakStyle::SbarTone;
using NakStyle::SbarViewStyle;

constexpr int maxShownNumber = 999;

QString numberText(int number)
{
    return number > maxShownNumber ? QString::number(maxShownNumber) + QLatin1Char('+')
                                   : QString::number(number);
}

// What is left of the row, from both sides.
struct Room {
    int left = 0;
    int right = 0;
    int height = 0;
};

QRect centred(int x, QSize const& size, int height)
{
    return QRect(QPoint(x, (height - size.height()) / 2), size);
}

void addPicture(RowLayout* layout, QPixmap const& pixmap, QRect const& rect)
{
    if (!pixmap.isNull())
        layout->pictures.append({ rect, pixmap });
}

void addLeft(RowLayout* layout, Room* room, QPixmap const& pixmap, int gap)
{
    if (pixmap.isNull())
        return;
    QSize const size = pixmap.size() / pixmap.devicePixelRatio();
    addPicture(layout, pixmap, centred(room->left, size, room->height));
    room->left += size.width() + gap;
}

void layoutLeft(RowContent const& content, RowPlace const& place, SbarViewStyle const& style,
                RowLayout* layout, Room* room)
{
    SbarTone const iconTone = place.active ? SbarTone::OnActive : content.tone;
    if (place.hasArrow) {
        ushort const arrow = place.collapsed ? Glyph::collapsedArrow : Glyph::expandedArrow;
        addLeft(layout, room, style.glyph(arrow, iconTone, style.smallGlyphSize), 0);
    }
    if (!content.picture.isNull())
        addLeft(layout, room, content.picture, style.gap);
    else if (content.glyph != 0)
        addLeft(layout, room, style.glyph(content.glyph, iconTone, style.smallGlyphSize),
                style.gap);
    if (content.hasStatus) {
        // In the middle of what an icon would take, so that the names of all rows begin alike.
        int const beside = (style.smallGlyphSize - style.statusSize) / 2;
        room->left += beside;
        addLeft(layout, room, style.statusCircle(content.status), beside + style.gap);
    }
}

// The number's badge is as wide as its text with the padding, and never narrower than high.
void layoutBadge(RowContent const& content, RowPlace const& place, SbarViewStyle const& style,
                 RowLayout* layout, Room* room)
{
    if (content.badge == BadgeKind::None)
        return;
    layout->badgeKind = content.badge;
    layout->badgeText = NakPlainText::shaped(numberText(content.number), style.badgeFont.font);
    QSize const text = layout->badgeText.size().toSize();
    bool const members = content.badge == BadgeKind::Members;
    int const glyph = members ? style.lockGlyphSize + style.gap / 2 : 0;
    int const width = std::max(text.width() + glyph + style.badgePadding, style.badgeMinWidth);
    // As in a plain row whatever the height of this one.
    int const top = (room->height - style.rowHeight) / 2 + style.badgeTop;
    int const height = style.rowHeight - style.badgeTop - style.badgeBottom;
    layout->badge = QRect(room->right - width, top, width, height);
    int const x = layout->badge.left() + (width - text.width() - glyph) / 2;
    layout->badgeTextPos = { x + glyph, top + (height - text.height()) / 2 };
    if (members) {
        QColor const& color = place.active ? style.activeFill : style.membersText;
        addPicture(layout, style.glyphInColor(Glyph::person, color, style.lockGlyphSize),
                   QRect(x, top + (height - style.lockGlyphSize) / 2, style.lockGlyphSize,
                         style.lockGlyphSize));
    }
    room->right -= width + style.gap;
}

void layoutFlags(RowContent const& content, RowPlace const& place, SbarViewStyle const& style,
                 RowLayout* layout, Room* room)
{
    SbarTone const tone = place.active ? SbarTone::OnActive : SbarTone::Dim;
    for (ushort const flag : content.flags) {
        if (flag == 0)
            continue;
        int const size = style.smallGlyphSize;
        room->right -= size;
        addPicture(layout, style.glyph(flag, tone, size),
                   centred(room->right, { size, size }, room->height));
        room->right -= style.gap;
    }
}

void layoutText(RowContent const& content, SbarViewStyle const& style, Room const& room,
                RowLayout const* before, RowLayout* layout)
{
    bool const head = layout->shape == Shape::Section || layout->shape == Shape::Group;
    QFont const& font = head ? style.headFont : style.rowFont;
    int const lineHeight = head ? style.headFontHeight : style.rowFontHeight;
    int const width = std::max(room.right - room.left, 0);
    layout->textRect = QRect(room.left, (room.height - lineHeight) / 2, width, lineHeight);
    layout->line = NakPlainText::titleLine(content.text);
    if (before && before->line == layout->line && before->textRect.width() == width) {
        layout->text = before->text;
        layout->elided = before->elided;
        return;
    }
    layout->text = NakPlainText::shaped(layout->line, font);
    layout->elided = layout->text.size().width() > width;
    if (layout->elided)
        layout->text = NakPlainText::shaped(
            QFontMetrics(font).elidedText(layout->line, Qt::ElideRight, width), font);
}

int baseOf(Shape shape, SbarViewStyle const& style)
{
    return shape == Shape::Row || shape == Shape::Group ? style.groupBase : 0;
}

} // namespace

bool operator==(RowContent const& a, RowContent const& b)
{
    return a.text == b.text && a.glyph == b.glyph && a.picture.cacheKey() == b.picture.cacheKey()
        && a.hasStatus == b.hasStatus && a.status == b.status && a.flags == b.flags
        && a.badge == b.badge && a.number == b.number && a.tone == b.tone;
}

int rowHeight(Shape shape, SbarViewStyle const& style)
{
    switch (shape) {
    case Shape::None:
        return 0;
    case Shape::Section:
        return style.sectionHeight;
    case Shape::Group:
        return style.groupHeight;
    case Shape::Row:
        return style.rowHeight;
    case Shape::Alone:
        return style.aloneHeight;
    }
    return 0;
}

RowLayout layoutRow(RowContent const& content, RowPlace const& place, SbarViewStyle const& style,
                    RowLayout const* before)
{
    RowLayout layout;
    layout.shape = place.shape;
    layout.tone = place.active ? SbarTone::OnActive : content.tone;
    int const height = rowHeight(place.shape, style);
    int const base = baseOf(place.shape, style);
    layout.highlight = QRect(base, 0, std::max(place.width - 2 * base, 0), height);
    Room room;
    room.left = place.level * style.levelIndent + base + style.leftPadding;
    room.right = place.width - base - style.rightPadding;
    room.height = height;
    layoutLeft(content, place, style, &layout, &room);
    layoutBadge(content, place, style, &layout, &room);
    layoutFlags(content, place, style, &layout, &room);
    layoutText(content, style, room, before, &layout);
    return layout;
}

} // namespace NakSbar
