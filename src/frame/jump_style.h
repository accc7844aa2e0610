// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the rows of quick jump look like, whoever's they are: a picture, a name, and dim at the
// right what tells it from another of the same name. Distances are device-independent pixels.
// User-interface thread.

#include <QColor>
#include <QFont>
#include <QRect>
#include <QStaticText>

class QPainter;
class QPalette;

namespace NakJump {

// Made once per view, from the font and palette of the moment.
struct Style {
    QFont font;
    int rowHeight = 1; // the standard one
    int decorationSize = 1;
    int padding = 6; // left and right in a row
    int gap = 6; // between the parts of a row
    QColor text;
    QColor detail;
    QColor icon;
    QColor selectedFill;
    QColor selectedText;
    QColor selectedDetail;
};
Style makeStyle(QFont const& font, QPalette const& palette);

struct PaintOptions {
    QRect rect; // the whole row, in the painter's coordinates
    bool selected = false;
};

// The texts of a row, and where they stood when they were last laid out. One line each, plain.
struct RowText {
    RowText() = default;
    RowText(QString const& rowName, QString const& rowDetail); // from a server: any characters

    QString name;
    QString detail;

    int width = -1; // what follows was laid out for
    QStaticText nameLine;
    QStaticText detailLine;
    int detailX = 0; // from the left of the contents
};
void layoutRowText(RowText* text, int width, Style const& style);
// contents: as wide as the text was laid out for.
void paintRowText(QPainter* painter, RowText const& text, QRect const& contents, bool selected,
                  Style const& style);

} // namespace NakJump
