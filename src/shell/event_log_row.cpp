// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_row.h"

#include "nak_color.h"
#include "plain_text.h"

#include <QPainter>

namespace NakEvLogRow {

namespace {

constexpr double minContrast = 4.5; // of text that one has to read
constexpr int maxFoundMarks = 100;

// The colour nearest to wanted that can be read on ground: as light or as dark as that takes.
QColor readable(QColor wanted, QColor const& ground)
{
    double const step = ground.lightness() < 128 ? 0.02 : -0.02;
    for (int i = 0; i < 50 && NakColor::contrast(wanted, ground) < minContrast; ++i)
        wanted = NakColor::adjustLightness(wanted, step);
    return wanted;
}

void addText(Row* row, QRect const& column, QString const& text, int tone, Style const& style)
{
    if (text.isEmpty() || column.isEmpty())
        return;
    QString const fits = QFontMetrics(style.font).elidedText(text, Qt::ElideRight, column.width());
    row->texts.append(
        { QPoint(column.left(), style.textTop), NakPlainText::shaped(fits, style.font), tone });
}

// As far as the column shows it.
void addFound(Row* row, QRect const& column, QString const& message, QString const& needle,
              QFontMetrics const& metrics)
{
    int at = needle.isEmpty() ? -1 : message.indexOf(needle, 0, Qt::CaseInsensitive);
    while (at >= 0 && row->found.size() < maxFoundMarks) {
        int const left = column.left() + metrics.horizontalAdvance(message, at);
        if (left > column.right())
            return;
        int const width = metrics.horizontalAdvance(message.mid(at, needle.size()));
        row->found.append(QRect(left, column.top(), width, column.height()).intersected(column));
        at = message.indexOf(needle, at + needle.size(), Qt::CaseInsensitive);
    }
}

} // namespace

Style makeStyle(QFont const& font, QPalette const& palette, int rowHeight)
{
    using EvLog::Category;
    QFontMetrics const metrics(font);
    QColor const& ground = palette.color(QPalette::Base);
    QColor const& text = palette.color(QPalette::Text);
    Style style;
    style.font = font;
    style.margin = metrics.averageCharWidth();
    style.gap = 2 * metrics.averageCharWidth();
    // A pixel more, since the parts of a text are rounded each.
    auto const widthOf = [&metrics](QString const& sample) {
        return metrics.horizontalAdvance(sample) + 1;
    };
    style.dateWidth = widthOf(QStringLiteral("0000-00-00 "));
    style.timeWidth = widthOf(QStringLiteral("00:00:00.000"));
    style.severityWidth = widthOf(EvLog::toString(EvLog::Severity::Critical));
    for (Category category : { Category::Application, Category::Networking, Category::Images,
                               Category::Audio, static_cast<Category>(3) })
        style.categoryWidth = std::max(style.categoryWidth, widthOf(EvLog::toString(category)));
    style.categoryFromWidth = 70 * metrics.averageCharWidth();
    style.dateFromWidth = 120 * metrics.averageCharWidth();
    style.textTop = (rowHeight - metrics.height()) / 2;
    style.faint = readable(NakColor::mix(text, ground, 0.35), ground);
    style.severity = { style.faint,
                       text,
                       readable(QColor(200, 130, 0), ground),
                       readable(QColor(220, 60, 50), ground),
                       readable(QColor(210, 50, 160), ground),
                       text };
    style.selected = palette.color(QPalette::HighlightedText);
    style.found = QColor(255, 214, 64);
    style.foundText = QColor(30, 26, 0);
    return style;
}

Columns layoutColumns(Style const& style, int width, int rowHeight)
{
    Columns columns;
    int left = style.margin;
    auto const column = [&](int columnWidth) {
        QRect const rect(left, 0, columnWidth, rowHeight);
        left += columnWidth + style.gap;
        return rect;
    };
    columns.withDate = width >= style.dateFromWidth;
    columns.time = column(style.timeWidth + (columns.withDate ? style.dateWidth : 0));
    columns.severity = column(style.severityWidth);
    if (width >= style.categoryFromWidth)
        columns.category = column(style.categoryWidth);
    columns.message = QRect(left, 0, std::max(0, width - left - style.margin), rowHeight);
    return columns;
}

Row layoutRow(Entry const& entry, Columns const& columns, Style const& style, QString const& needle)
{
    constexpr int lengthOfDate = 11; // with the blank behind it
    Row row;
    bool const continued = entry.severity == EvLog::Severity::NotParsed;
    int const tone = static_cast<int>(entry.severity);
    QString const time = columns.withDate ? entry.timestamp : entry.timestamp.mid(lengthOfDate);
    addText(&row, columns.time, time, faintTone, style);
    if (!continued)
        addText(&row, columns.severity, EvLog::toString(entry.severity), tone, style);
    addText(&row, columns.category, entry.category, faintTone, style);
    addText(&row, columns.message, entry.message, tone, style);
    addFound(&row, columns.message, entry.message, needle, QFontMetrics(style.font));
    return row;
}

void paintRow(QPainter* painter, Row const& row, QPoint const& origin, bool selected,
              Style const& style)
{
    painter->setFont(style.font);
    for (Row::Text const& text : row.texts) {
        QColor const& color =
            text.tone == faintTone ? style.faint : style.severity[static_cast<size_t>(text.tone)];
        painter->setPen(selected ? style.selected : color);
        painter->drawStaticText(origin + text.pos, text.text);
    }
    if (row.found.isEmpty())
        return;
    // The message once more over the marks, in the colour that can be read there.
    QRegion marks;
    for (QRect const& found : row.found) {
        painter->fillRect(found.translated(origin), style.found);
        marks += found.translated(origin);
    }
    painter->save();
    painter->setClipRegion(marks, Qt::IntersectClip);
    painter->setPen(style.foundText);
    painter->drawStaticText(origin + row.texts.last().pos, row.texts.last().text);
    painter->restore();
}

} // namespace NakEvLogRow
