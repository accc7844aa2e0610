// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_dump.h"

#include "dis_message_parse.h"

using Kind = DisplayMessagePiece::Kind;

QString displayDump(QString const& text)
{
    static constexpr char const* kinds[] = { "[text ",    "[emoji ", "[user ",  "[url ",
                                             "[channel ", "[role ",  "[block ", "[code " };
    QString out;
    for (DisplayMessagePiece const& piece : DisMessageParse::parseDisplayMessage(&text)) {
        out += QLatin1String(kinds[static_cast<int>(piece.kind)]);
        if (piece.id.isValid())
            out += piece.id.toString();
        if (piece.kind == Kind::CustomEmoji)
            out += u' ';
        out += piece.text.toString();
        if (piece.kind == Kind::CodeBlock)
            out += QLatin1String(" / ") + piece.raw.toString();
        out += u']';
    }
    return out;
}

QString inputDump(QString const& text)
{
    static constexpr char const* kinds[] = { "[text ", "[shortcode ", "[name ", "[name " };
    QString out;
    for (InputMessagePiece const& piece : DisMessageParse::parseInputMessage(&text)) {
        out += QLatin1String(kinds[static_cast<int>(piece.kind)]) + piece.text.toString();
        if (!piece.discrim.isEmpty())
            out += QLatin1String(" / ") + piece.discrim.toString();
        out += u']';
    }
    return out;
}

bool displayCovers(QStringRef const& text)
{
    int pos = 0;
    for (DisplayMessagePiece const& piece : DisMessageParse::parseDisplayMessage(text)) {
        if (piece.id.isValid()) {
            if (text.at(pos) != u'<')
                return false;
            pos = text.indexOf(u'>', pos) + 1;
            continue;
        }
        int const quote = piece.kind == Kind::InlineCode ? 1 : 0;
        QStringView const part = piece.kind == Kind::CodeBlock ? piece.raw : piece.text;
        if (part.data() != text.constData() + pos + quote)
            return false;
        pos += static_cast<int>(part.size()) + 2 * quote;
    }
    return pos == text.size();
}
