// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A row of the side bar in three steps: what it says (RowContent, compared to find out whether
// anything changed), where that stands (RowLayout, made when the content, the width or the state
// changes), and painting it, which does no text layout and allocates nothing. User-interface
// thread.

#include "sbar_style.h"

#include <QStaticText>
#include <QVarLengthArray>

#include <array>

namespace NakSbar {

enum class Shape : quint8 { None, Section, Group, Row, Alone };

enum class BadgeKind : quint8 {
    None,
    Number, // what is unread
    Members, // how many are in a voice channel
};

struct RowContent {
    QString text; // from a server: plain, any length
    ushort glyph = 0; // icon, if there is no picture
    QPixmap picture;
    bool hasStatus = false;
    DisUserStatusCode status = DisUserStatusCode::Unknown;
    std::array<ushort, 2> flags{}; // glyphs at the right, 0 for none
    BadgeKind badge = BadgeKind::None;
    int number = 0;
    NakStyle::SbarTone tone = NakStyle::SbarTone::Normal;
};
bool operator==(RowContent const& a, RowContent const& b);

// Where the row stands in the tree, and what the view says of it.
struct RowPlace {
    Shape shape = Shape::Row;
    int level = 0;
    bool hasArrow = false;
    bool collapsed = false;
    bool active = false;
    int width = 0;
};

// In coordinates of the row: its header's top left corner is the origin.
struct RowLayout {
    struct Picture {
        QRect rect;
        QPixmap pixmap;
    };

    QRect highlight; // behind an active or pressed row
    QVarLengthArray<Picture, 6> pictures;
    QString line; // the whole name
    QRect textRect;
    QStaticText text; // as much of it as there is room for
    bool elided = false;
    BadgeKind badgeKind = BadgeKind::None;
    QRect badge;
    QPoint badgeTextPos;
    QStaticText badgeText;
    NakStyle::SbarTone tone = NakStyle::SbarTone::Normal;
    Shape shape = Shape::Row;
};

int rowHeight(Shape shape, NakStyle::SbarViewStyle const& style);
// before: what stood there in the same style, whose text is taken over if it still fits; or null.
RowLayout layoutRow(RowContent const& content, RowPlace const& place,
                    NakStyle::SbarViewStyle const& style, RowLayout const* before = nullptr);

struct RowPaint {
    QRect rect; // the header
    QRect fullRect; // with what hangs below it
    QRegion const& region; // what has to be painted
    bool active = false;
    bool pressed = false;
    bool caret = false;
};
void paintRow(QPainter* painter, RowLayout const& layout, RowPaint const& paint,
              NakStyle::SbarViewStyle const& style);

} // namespace NakSbar
