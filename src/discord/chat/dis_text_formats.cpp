// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_text_formats.h"

#include "preferences.h"

#include <QGuiApplication>
#include <QPalette>
#include <QScreen>

namespace {

constexpr int codeBackgroundAlpha = 30;
constexpr qreal codeBlockMargin = 5.0;
constexpr qreal standardDpi = 96.0;
constexpr int maxEmojiHeight = 256;
constexpr int codeBlockProperty = QTextFormat::UserProperty + 1;

// With the standard resolution forced on the application, points would come out too small on a
// finer screen.
QFont scaledToScreen(QFont font)
{
    if (QCoreApplication::testAttribute(Qt::AA_Use96Dpi) && font.pointSizeF() > 0.0
        && QGuiApplication::primaryScreen() != nullptr) {
        qreal const dpi = QGuiApplication::primaryScreen()->logicalDotsPerInch();
        font.setPointSizeF(font.pointSizeF() * dpi / standardDpi);
    }
    return font;
}

QTextCharFormat withFont(QFont const& font)
{
    QTextCharFormat format;
    format.setFont(font);
    return format;
}

} // namespace

DisTextFormats DisText::formatsFromPrefs(NakPreferences const& prefs)
{
    QPalette const palette = QGuiApplication::palette();
    QBrush const& dimInk = palette.brush(QPalette::Disabled, QPalette::Text);
    DisTextFormats f;
    f.bodyFont = scaledToScreen(prefs.messageBufferFont);
    f.regular = withFont(f.bodyFont);
    f.italic = f.regular;
    f.italic.setFontItalic(true);
    f.bold = f.regular;
    f.bold.setFontWeight(QFont::Bold);
    f.discriminator = f.regular;
    f.discriminator.setForeground(dimInk);
    f.link = f.regular;
    f.link.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    f.codeBlock = withFont(scaledToScreen(prefs.messageMonospaceFont));
    f.inlineCode = f.codeBlock;
    f.inlineCode.setBackground(codeBackground());
    f.dim = f.discriminator;
    f.selection = f.regular;
    f.selection.setForeground(palette.brush(QPalette::Current, QPalette::HighlightedText));
    f.selection.setBackground(palette.brush(QPalette::Current, QPalette::Highlight));
    f.codeBlockBlock.setLeftMargin(codeBlockMargin);
    f.codeBlockBlock.setProperty(codeBlockProperty, true);
    f.emojiHeight = qBound(1, prefs.chatEmojiSize, maxEmojiHeight);
    return f;
}

bool DisText::isCodeBlock(QTextBlockFormat const& format)
{
    return format.boolProperty(codeBlockProperty);
}

QColor DisText::codeBackground()
{
    return QColor(0, 0, 0, codeBackgroundAlpha);
}
