// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Every distance, font and colour of the side bar, made once per font, palette and density.
// Distances are device-independent pixels. User-interface thread; needs g_guiIcons for glyphs.

#include "dis_types.h"
#include "presence_circle.h"

#include <QColor>
#include <QFont>
#include <QHash>
#include <QPixmap>
#include <QSize>

class QPalette;

namespace NakBadgePaint {

struct FontData {
    QFont font;
    int height = 0; // of a line
};
// The font of numbers in badges beside text in the larger font.
FontData deriveFontDataFromLargerFont(QFont const& larger);

} // namespace NakBadgePaint

namespace NakStyle {

// How a row's name stands out.
enum class SbarTone : quint8 { Normal, Strong, Dim, OnActive, Count };

struct SbarViewStyle {
    // --- heights, from the row height H ---
    int rowHeight = 1; // H, even
    int sectionHeight = 1;
    int groupHeight = 1;
    int groupEndHeight = 1;
    int groupStartHeight = 1;
    int aloneHeight = 1;

    // --- distances in a row ---
    int iconSize = 1; // H - 2, at least 1
    int smallGlyphSize = 1; // of flags and channel icons
    int lockGlyphSize = 10;
    int avatarSize = 1; // of people in voice
    int statusSize = presenceCircleSize;
    int levelIndent = 10;
    int leftPadding = 3;
    int rightPadding = 4;
    int groupBase = 4; // where the rows of a group begin, and its own arrow
    int gap = 4; // between the parts of a row
    int groupMargin = 3; // left and right of a group's panel
    int groupCorner = 4; // as high as the panel's rounding reaches
    int badgeTop = 3;
    int badgeBottom = 4;
    int badgePadding = 1; // beside the number
    int badgeMinWidth = 1;
    int badgeShadowDrop = 3;

    // --- roundings ---
    double highlightRadius = 1.8;
    double groupRadius = 2.0;
    double groupInsetRadius = 1.3;

    // --- fonts ---
    QFont rowFont;
    QFont headFont; // sections and groups
    int rowFontHeight = 0;
    int headFontHeight = 0;
    NakBadgePaint::FontData badgeFont;

    // --- colours ---
    bool isLight = false;
    QColor background;
    QColor groupFill;
    QColor groupLine;
    QColor activeFill;
    QColor pressedFill;
    QColor caretLine;
    QColor text[static_cast<size_t>(SbarTone::Count)];
    QColor icon[static_cast<size_t>(SbarTone::Count)];
    QColor badgeFill;
    QColor badgeText;
    QColor badgeShadow;
    QColor membersFill;
    QColor membersText;
    QColor tileFill;
    QColor tileText;
    QColor presence[static_cast<size_t>(DisUserStatusCode::Online) + 1];

    double density = 1; // device pixels in one

    // The glyph in the icon colour of the tone, centred in a square of that size. Kept from call to
    // call, as are the circles.
    QPixmap glyph(ushort code, SbarTone tone, int size) const;
    QPixmap glyphInColor(ushort code, QColor const& color, int size) const;
    QPixmap statusCircle(DisUserStatusCode status) const;
    // A badge without its number. With a shadow the picture reaches so much further down.
    QPixmap badgeGround(QSize const& size, QColor const& fill, bool shadow) const;
    // What stands for a guild without a picture: the first letter of its name.
    QPixmap letterTile(QString const& name) const;

    mutable QHash<quint64, QPixmap> pictures;
};

SbarViewStyle makeSbarViewStyle(QFont const& sourceListFont, QPalette const& palette,
                                double density);

} // namespace NakStyle
