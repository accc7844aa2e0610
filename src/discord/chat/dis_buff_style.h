// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Every distance, font and colour of the channel buffer under a name. Made anew when the
// preferences, the theme or the screen's resolution change; what lays out and what paints takes
// both as values. User-interface thread only.

#include "flake_id.h"
#include "presence_circle.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>
#include <QMargins>
#include <QPixmap>

#include <array>

class QPalette;
struct NakPreferences;

struct DisBuffMetrics {
    QFont textFont;
    QFont nameFont;
    QFont smallFont; // times and the bot mark
    QFont initialFont; // the letter in place of an avatar
    QFontMetrics textFm{ textFont };
    QFontMetrics nameFm{ nameFont };
    QFontMetrics smallFm{ smallFont };

    QMargins groupMargins;
    int avatarSize = 0; // 0: none are shown
    int avatarGap = 7; // between the avatar and the text
    double avatarRadius = 4.0;
    int partGap = 6; // between the parts of a header
    int minNameWidth = 24; // what a narrow header leaves of a name
    int statusSize = 0; // of the circle behind a name; 0: none is shown
    int botPadding = 3;
    double botRadius = 2.0;
    int headerGap = 1; // below the header
    int contentGap = 1; // between the messages of a group
    // A message is wider by this, at both sides, than what it shows, so that its frame leaves the
    // text free. It lies within the group's margins.
    int contentInset = 3;
    int noteGap = 1; // above a line that stands for what is not text
    int pictureGap = 4; // above and below a picture
    bool timeOnEachMessage = false;
    double minNameContrast = 3.0; // of role colours against the ground
    int timeColumn = 0; // width at the right of each message, its gap included; 0: none
    double highlightRadius = 3.0;
    double highlightPen = 1.0;

    int avatarColumn() const { return avatarSize > 0 ? avatarSize + avatarGap : 0; }
};

struct DisBuffTheme {
    QColor ground;
    QColor name; // of authors without a role colour
    QColor dim;
    QColor timestamp;
    QColor botBackground;
    QColor botText;
    QColor highlight;
    QColor highlightFill;
    QColor editing;
    QColor editingFill;
    QColor initialText;
    std::array<QPixmap, 5> statusCircles; // by DisUserStatusCode
    bool dark = false;
};

// What both stand on, and how much room the user wants around groups.
struct DisBuffStyle {
    DisBuffMetrics metrics;
    DisBuffTheme theme;
};

namespace DisBuffStyles {

int extraPaddingBounded(int padding); // 0 to 100
QMargins groupBuffContentMargins(int padding);

DisBuffMetrics metricsFromPreferences(NakPreferences const& preferences);
DisBuffTheme themeFromPalette(QPalette const& palette);

// The colour, or one between it and text that can be read on the ground: the colours of roles and
// of custom themes are not made for each other.
QColor readableColor(QColor const& color, DisBuffTheme const& theme, double minContrast);

// The ground of a missing avatar: always the same for a user, and told apart from its neighbours.
QColor avatarColor(FlakeId userId, bool darkTheme);

// "21:05".
QString clockText(qint64 msecsSinceEpoch);
// The same today, with the date in front on other days.
QString timeText(qint64 msecsSinceEpoch, QDateTime const& now);
QString fullDateText(qint64 msecsSinceEpoch);

} // namespace DisBuffStyles
