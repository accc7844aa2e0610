// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "plain_parse.h"

#include "dis_message_parse.h"

#include <QRegularExpression>

namespace {

QRegularExpression plainRe(char const* pattern)
{
    return QRegularExpression(QLatin1String(pattern), QRegularExpression::MultilineOption);
}

QString bracket(char const* kind, QString const& what)
{
    return QLatin1Char('[') + QLatin1String(kind) + what + QLatin1Char(']');
}

QString orText(FlakeId id, QString const& whole, char const* kind, QString const& more = {})
{
    return id.isValid() ? bracket(kind, id.toString() + more) : bracket("text ", whole);
}

QString plainMatch(int rule, QRegularExpressionMatch const& match)
{
    QString const one = match.captured(1);
    FlakeId const id = FlakeId::fromString(match.captured(2));
    switch (rule) {
    case 0:
        return orText(id, match.captured(), "emoji ", QLatin1Char(' ') + one);
    case 1:
        return orText(id, match.captured(),
                      one == QLatin1String("#")        ? "channel "
                          : one == QLatin1String("@&") ? "role "
                                                       : "user ");
    case 2:
        return bracket("text ", match.captured().chopped(one.size())) + bracket("url ", one);
    default:
        return bracket("text ", QString()) + bracket("code ", one);
    }
}

QString plainStretch(QString const& text)
{
    static QRegularExpression const rules[4] = {
        plainRe("\\<a?\\:([a-zA-Z0-9_]+)\\:(\\d+)\\>"),
        plainRe("\\<(\\@|\\@\\!|\\#|\\@\\&)(\\d+)\\>"),
        plainRe("(?:\\s|^|\\n)(https?\\:\\/\\/[^\\s]+)"),
        plainRe("`([^`]+)`"),
    };
    QRegularExpressionMatchIterator matches[4];
    for (int i = 0; i < 4; ++i) {
        matches[i] = rules[i].globalMatch(text);
    }
    QString out;
    int pos = 0;
    while (pos < text.size()) {
        int boundary = text.size();
        bool taken = false;
        for (int i = 0; i < 4 && !taken; ++i) {
            while (matches[i].hasNext() && matches[i].peekNext().capturedStart() < pos) {
                matches[i].next();
            }
            if (!matches[i].hasNext()) {
                continue;
            }
            if (matches[i].peekNext().capturedStart() == pos) {
                QRegularExpressionMatch const match = matches[i].next();
                out += plainMatch(i, match);
                pos = match.capturedEnd();
                taken = true;
            } else {
                boundary = qMin(boundary, matches[i].peekNext().capturedStart());
            }
        }
        if (!taken) {
            out += bracket("text ", text.mid(pos, boundary - pos));
            pos = boundary;
        }
    }
    return out;
}

} // namespace

QString plainDisplayDump(QString const& text)
{
    QString const fence = QStringLiteral("```");
    QString out;
    int segmentStart = 0;
    for (;;) {
        int const open = text.indexOf(fence, segmentStart);
        int inner = open + 3;
        int const close = open < 0 || inner >= text.size() ? -1 : text.indexOf(fence, inner);
        if (close < 0) {
            break;
        }
        out += plainStretch(text.mid(segmentStart, open - segmentStart));
        int const newline = text.indexOf(QLatin1Char('\n'), inner);
        if (newline >= 0 && newline + 1 < close) {
            inner = newline + 1;
        }
        QString code = text.mid(inner, close - inner);
        if (code.endsWith(QLatin1Char('\n'))) {
            code.chop(1);
        }
        segmentStart = close + 3;
        if (text.mid(segmentStart, 1) == QLatin1String("\n")) {
            ++segmentStart;
        }
        out += bracket("block ", code + QLatin1String(" / ") + text.mid(open, segmentStart - open));
    }
    return out + plainStretch(text.mid(segmentStart));
}

QString plainInputDump(QString const& text)
{
    static QRegularExpression const emojiRe = plainRe("\\:([a-zA-Z0-9_-]{1,50})\\:");
    static QRegularExpression const nameRe = plainRe("\\@([^\\#\\@]{1,50})\\#(\\d*)");
    QRegularExpressionMatchIterator emoji = emojiRe.globalMatch(text);
    QRegularExpressionMatchIterator names = nameRe.globalMatch(text);
    QString out;
    int pos = 0;
    for (;;) {
        int const emojiStart = emoji.hasNext() ? emoji.peekNext().capturedStart() : text.size();
        int const nameStart = names.hasNext() ? names.peekNext().capturedStart() : text.size();
        int const boundary = qMin(emojiStart, nameStart);
        if (qMin(boundary, pos) >= text.size())
            return out;
        if (emoji.hasNext() && emojiStart == pos) {
            QRegularExpressionMatch const match = emoji.next();
            out += bracket("shortcode ", match.captured(1));
            pos = match.capturedEnd();
        } else if (names.hasNext() && nameStart == pos) {
            QRegularExpressionMatch const match = names.next();
            QString const digits = match.captured(2);
            out += bracket("name ",
                           match.captured(1)
                               + (digits.isEmpty() ? digits : QLatin1String(" / ") + digits));
            pos = match.capturedEnd();
        } else {
            out += bracket("text ", boundary < pos ? QString() : text.mid(pos, boundary - pos));
            pos = boundary;
        }
    }
}

// --- the reader under test ---

QString displayDump(QString const& text)
{
    using Kind = DisplayMessagePiece::Kind;
    static constexpr char const* kinds[] = { "text ",    "emoji ", "user ",  "url ",
                                             "channel ", "role ",  "block ", "code " };
    QString out;
    for (DisplayMessagePiece const& piece : DisMessageParse::parseDisplayMessage(&text)) {
        QString what = piece.text.toString();
        if (piece.id.isValid())
            what = piece.id.toString() + (what.isEmpty() ? what : QLatin1Char(' ') + what);
        if (piece.kind == Kind::CodeBlock)
            what += QLatin1String(" / ") + piece.raw.toString();
        out += bracket(kinds[static_cast<int>(piece.kind)], what);
    }
    return out;
}

QString inputDump(QString const& text)
{
    static constexpr char const* kinds[] = { "text ", "shortcode ", "name ", "name " };
    QString out;
    for (InputMessagePiece const& piece : DisMessageParse::parseInputMessage(&text)) {
        QString what = piece.text.toString();
        if (!piece.discrim.isEmpty())
            what += QLatin1String(" / ") + piece.discrim.toString();
        out += bracket(kinds[static_cast<int>(piece.kind)], what);
    }
    return out;
}
