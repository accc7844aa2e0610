// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The strip of actions below each notification in a list: where they stand, how they look, what is
// under a point. Layout is made when an item, the width or the font changes; painting and hit test
// read the same value. User-interface thread.

#include "notif_item.h"

#include <QColor>
#include <QFontMetrics>

class QPainter;
class QPalette;

// Every distance of a row under a name, in device-independent pixels.
struct NakNotifsMetrics {
    explicit NakNotifsMetrics(QFont const& font);

    QFontMetrics fm;
    int stripHeight; // the font's height rounded up to an even number, plus 11
    int separator = 1; // below each row
    int side; // left and right of the actions
    int below = 5; // under them
    int iconSize;
    int iconGap = 5; // between icon and text
    int padding = 8; // left and right within an action
    int gap = 6; // between actions
    int caretBar = 3; // at the left edge of the row that the caret is on
    double radius = 3.0;
    double penWidth = 1.0;
};

struct NakNotifsTheme {
    explicit NakNotifsTheme(QPalette const& palette);

    QColor text;
    QColor separator;
    QColor action;
    QColor hover;
    QColor pressed;
    QColor caret;
};

// Rectangles relative to the row's top left. The item's actions stand at the left in their order;
// the last entry is the dismiss action, at the right, if there is one.
struct NakNotifStripLayout {
    struct Action {
        QRect rect;
        QRect icon; // empty without one
        QPoint baseline; // of the text
        QString text; // cut to the room
        QIcon picture;
    };
    QVector<Action> actions;
    bool hasDismiss = false;
    int height = 0; // 0 without any action
};

NakNotifStripLayout layoutActions(NakNotifItem const& item, NakNotifsMetrics const& metrics,
                                  int top, int width);

// Indexes into the layout's actions; -1 for none.
struct NakNotifStripState {
    int hovered = -1;
    int pressed = -1;
    int caret = -1;
};
void paintActions(QPainter& painter, NakNotifStripLayout const& layout,
                  NakNotifStripState const& state, NakNotifsMetrics const& metrics,
                  NakNotifsTheme const& theme);
int hitActions(NakNotifStripLayout const& layout, QPoint const& pos);
