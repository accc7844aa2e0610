// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One line of a log on screen: its layout and its paint. Pure but for the painter.

#include "event_log.h"

#include <QColor>
#include <QFontMetrics>
#include <QPalette>
#include <QRect>
#include <QStaticText>
#include <QVector>

#include <array>

namespace NakEvLogRow {

// Every distance and colour, made once per font and palette. Device-independent pixels.
struct Style {
    QFont font;
    int margin = 0;
    int gap = 0; // between columns
    int dateWidth = 0;
    int timeWidth = 0;
    int severityWidth = 0;
    int categoryWidth = 0;
    int dateFromWidth = 0; // rows as wide as this tell the day too,
    int categoryFromWidth = 0; // and such the category
    int textTop = 0;
    std::array<QColor, 6> severity; // by Severity
    QColor faint; // time and category
    QColor selected; // all text on the selection
    QColor found; // behind what a search found
    QColor foundText;
};
Style makeStyle(QFont const& font, QPalette const& palette, int rowHeight);

// Where the columns of a row stand; an empty rectangle is left out.
struct Columns {
    QRect time; // with the day before it where there is room
    QRect severity;
    QRect category;
    QRect message;
    bool withDate = false;
};
Columns layoutColumns(Style const& style, int width, int rowHeight);

struct Entry {
    QString timestamp; // empty in the continuation of a message
    EvLog::Severity severity = EvLog::Severity::NotParsed;
    QString category;
    QString message;
};

struct Row {
    struct Text {
        QPoint pos;
        QStaticText text;
        int tone = 0; // a severity, or faintTone
    };
    QVector<Text> texts;
    QVector<QRect> found; // behind the message
};
constexpr int faintTone = -1;

// A needle is looked for without regard to case; empty marks nothing.
Row layoutRow(Entry const& entry, Columns const& columns, Style const& style,
              QString const& needle);
void paintRow(QPainter* painter, Row const& row, QPoint const& origin, bool selected,
              Style const& style);

} // namespace NakEvLogRow
