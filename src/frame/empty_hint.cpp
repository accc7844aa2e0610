// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "empty_hint.h"

#include "app_theme.h"

#include <QPainter>
#include <QWidget>

#include <algorithm>

void paintEmptyHint(QWidget* widget, NakEmptyHint const& hint)
{
    QPalette const palette = widget->palette();
    QFontMetrics const metrics = widget->fontMetrics();
    int const line = metrics.height();
    int const margin = line;
    QRect const room = widget->rect().adjusted(margin, 0, -margin, 0);
    int const width = std::max(room.width(), 0);
    int const top = room.center().y() - line - line / 4;

    QPainter painter(widget);
    painter.setPen(palette.color(QPalette::WindowText));
    painter.drawText(QRect(room.left(), top, width, line), Qt::AlignHCenter | Qt::TextSingleLine,
                     metrics.elidedText(hint.title, Qt::ElideRight, width));
    painter.setPen(NakAppTheme::secondaryTextColor(palette));
    painter.drawText(QRect(room.left(), top + line + line / 2, width, line),
                     Qt::AlignHCenter | Qt::TextSingleLine,
                     metrics.elidedText(hint.detail, Qt::ElideRight, width));
}
