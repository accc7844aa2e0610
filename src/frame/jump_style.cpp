// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "jump_style.h"

#include "app_theme.h"
#include "nak_color.h"
#include "plain_text.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPalette>

#include <algorithm>

namespace {

constexpr int spaceAroundLine = 8; // above and below together
constexpr int spaceAroundDecoration = 6;
constexpr double selectedDetailStrength = 0.75;
// The name gives way to the detail only so far.
constexpr int nameShare = 3;
constexpr int wholeShare = 5;

} // namespace

NakJump::Style NakJump::makeStyle(QFont const& font, QPalette const& palette)
{
    Style style;
    style.font = font;
    style.rowHeight = QFontMetrics(font).height() + spaceAroundLine;
    style.rowHeight += style.rowHeight % 2;
    style.decorationSize = style.rowHeight - spaceAroundDecoration;
    style.text = palette.color(QPalette::Text);
    style.detail = NakAppTheme::secondaryTextColor(palette);
    style.icon = NakAppTheme::getGlobalThemeColors().icon;
    style.selectedFill = palette.color(QPalette::Highlight);
    style.selectedText = palette.color(QPalette::HighlightedText);
    style.selectedDetail =
        NakColor::mix(style.selectedFill, style.selectedText, selectedDetailStrength);
    return style;
}

NakJump::RowText::RowText(QString const& rowName, QString const& rowDetail)
    : name(NakPlainText::titleLine(rowName))
    , detail(NakPlainText::titleLine(rowDetail))
{
}

void NakJump::layoutRowText(RowText* text, int width, Style const& style)
{
    QFontMetrics const metrics(style.font);
    int const nameWidth = metrics.horizontalAdvance(text->name);
    int const nameRoom = std::min(nameWidth, width * nameShare / wholeShare);
    int const detailRoom = std::max(0, width - nameRoom - style.gap);
    QString const detail = metrics.elidedText(text->detail, Qt::ElideRight, detailRoom);
    int const detailWidth = metrics.horizontalAdvance(detail);
    text->detailX = width - detailWidth;
    int const left = detail.isEmpty() ? width : text->detailX - style.gap;
    text->nameLine =
        NakPlainText::shaped(metrics.elidedText(text->name, Qt::ElideRight, left), style.font);
    text->detailLine = NakPlainText::shaped(detail, style.font);
    text->width = width;
}

void NakJump::paintRowText(QPainter* painter, RowText const& text, QRect const& contents,
                           bool selected, Style const& style)
{
    int const lineHeight = painter->fontMetrics().height();
    int const top = contents.top() + (contents.height() - lineHeight) / 2;
    painter->setPen(selected ? style.selectedText : style.text);
    painter->drawStaticText(contents.left(), top, text.nameLine);
    painter->setPen(selected ? style.selectedDetail : style.detail);
    painter->drawStaticText(contents.left() + text.detailX, top, text.detailLine);
}
