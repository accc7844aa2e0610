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
        if (qMin(qMin(emojiStart, nameStart), pos) >= text.size()) {
            return out;
        }
        if (emoji.hasNext() && emojiStart == pos) {
            out += bracket("shortcode ", emoji.peekNext().captured(1));
            pos = emoji.next().capturedEnd();
        } else if (names.hasNext() && nameStart == pos) {
            QString const digits = names.peekNext().captured(2);
            out += bracket("name ",
                           names.peekNext().captured(1)
                               + (digits.isEmpty() ? digits : QLatin1String(" / ") + digits));
            pos = names.next().capturedEnd();
        } else {
            int const boundary = qMin(emojiStart, nameStart);
            out += bracket("text ", boundary < pos ? QString() : text.mid(pos, boundary - pos));
            pos = boundary;
        }
    }
}

// --- the reader under test ---

QString displayDump(QString const& text)
{
    using Kind = DisplayMessagePiece::Kind;
    QString out;
    for (DisplayMessagePiece const& piece : DisMessageParse::parseDisplayMessage(&text)) {
        QString const id = piece.id.toString();
        QString const view = piece.text.toString();
        switch (piece.kind) {
        case Kind::Text:
            out += bracket("text ", view);
            break;
        case Kind::CustomEmoji:
            out += bracket("emoji ", id + QLatin1Char(' ') + view);
            break;
        case Kind::UserMention:
            out += bracket("user ", id);
            break;
        case Kind::Url:
            out += bracket("url ", view);
            break;
        case Kind::ChannelMention:
            out += bracket("channel ", id);
            break;
        case Kind::RoleMention:
            out += bracket("role ", id);
            break;
        case Kind::CodeBlock:
            out += bracket("block ", view + QLatin1String(" / ") + piece.raw.toString());
            break;
        case Kind::InlineCode:
            out += bracket("code ", view);
            break;
        }
    }
    return out;
}

QString inputDump(QString const& text)
{
    QString out;
    for (InputMessagePiece const& piece : DisMessageParse::parseInputMessage(&text)) {
        QString const view = piece.text.toString();
        switch (piece.kind) {
        case InputMessagePiece::Kind::Text:
            out += bracket("text ", view);
            break;
        case InputMessagePiece::Kind::Shortcode:
            out += bracket("shortcode ", view);
            break;
        case InputMessagePiece::Kind::UserWithDiscrim:
            out += bracket("name ", view + QLatin1String(" / ") + piece.discrim.toString());
            break;
        case InputMessagePiece::Kind::UserByName:
            out += bracket("name ", view);
            break;
        }
    }
    return out;
}

bool displayCovers(QString const& text)
{
    using Kind = DisplayMessagePiece::Kind;
    int pos = 0;
    for (DisplayMessagePiece const& piece : DisMessageParse::parseDisplayMessage(&text)) {
        QStringView const rest = QStringView(text).mid(pos);
        if (piece.kind == Kind::CodeBlock) {
            if (!rest.startsWith(piece.raw)) {
                return false;
            }
            pos += int(piece.raw.size());
        } else if (piece.kind == Kind::InlineCode) {
            if (!rest.mid(1).startsWith(piece.text)) {
                return false;
            }
            pos += int(piece.text.size()) + 2;
        } else if (piece.kind == Kind::Text || piece.kind == Kind::Url) {
            if (!rest.startsWith(piece.text)) {
                return false;
            }
            pos += int(piece.text.size());
        } else {
            if (!rest.startsWith(QLatin1Char('<'))) {
                return false;
            }
            pos = text.indexOf(QLatin1Char('>'), pos) + 1;
        }
    }
    return pos == text.size();
}
