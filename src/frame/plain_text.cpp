// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "plain_text.h"

#include <QTextDocument>

namespace {

constexpr int titleMaxLength = 256; // code units

} // namespace

QString NakPlainText::titleLine(QString const& text)
{
    QString line = text.left(titleMaxLength);
    for (QChar& c : line) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator
            || c == QChar::ParagraphSeparator)
            c = u' ';
    }
    return line;
}

QString NakPlainText::windowTitle(QString const& text)
{
    return titleLine(text).replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
}

QString NakPlainText::withoutMnemonics(QString text)
{
    return text.replace(u'&', QLatin1String("&&"));
}

QString NakPlainText::toolTip(QString const& text)
{
    if (!Qt::mightBeRichText(text))
        return text;
    return QLatin1String("<span style=\"white-space: pre-wrap\">") + text.toHtmlEscaped()
        + QLatin1String("</span>");
}

QStaticText NakPlainText::shaped(QString const& text, QFont const& font)
{
    QStaticText shape(text);
    shape.setTextFormat(Qt::PlainText);
    shape.setPerformanceHint(QStaticText::AggressiveCaching);
    shape.prepare(QTransform(), font);
    return shape;
}
