// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_message_parse.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

QRegularExpression compiled(QString const& pattern)
{
    return QRegularExpression(pattern, QRegularExpression::MultilineOption);
}

// The animated mark of emojiRe is matched and thrown away: nothing on screen depends on it.
QRegularExpression const emojiRe = compiled(QStringLiteral(R"(\<a?\:([a-zA-Z0-9_]+)\:(\d+)\>)"));
QRegularExpression const mentionedIdRe = compiled(QStringLiteral(R"(\<(\@|\@\!|\#|\@\&)(\d+)\>)"));
QRegularExpression const emojiColonInputRe =
    compiled(QStringLiteral(R"(\:([a-zA-Z0-9_-]{1,50})\:)"));
QRegularExpression const mentionInputWithIdRe =
    compiled(QStringLiteral(R"(\@([^\#\@]{1,50})\#(\d*))"));
QRegularExpression const cheapUrlRe =
    compiled(QStringLiteral(R"((?:\s|^|\n)(https?\:\/\/[^\s]+))"));
QRegularExpression const inlineCodeRe = compiled(QStringLiteral(R"(`([^`]+)`)"));

// The matches of one expression, of which the next can be looked at before it is taken.
class MatchQueue {
public:
    // For an expression that cannot match the text.
    MatchQueue() = default;
    MatchQueue(QRegularExpression const& re, QStringRef const& text)
        : m_iterator(re.globalMatch(text))
    {
        advance();
    }

    bool hasNext() const { return m_start >= 0; }
    int start() const { return m_start; }
    QRegularExpressionMatch const& peek() const { return m_match; }

    void advance()
    {
        if (m_iterator.hasNext()) {
            m_match = m_iterator.next();
            m_start = m_match.capturedStart();
        } else {
            m_start = -1;
        }
    }

private:
    QRegularExpressionMatchIterator m_iterator;
    QRegularExpressionMatch m_match;
    int m_start = -1; // -1 at the end
};

DisplayMessagePiece piece(DisplayMessagePiece::Kind kind, QStringView text)
{
    DisplayMessagePiece result;
    result.kind = kind;
    result.text = text;
    return result;
}

DisplayMessagePiece piece(DisplayMessagePiece::Kind kind, FlakeId id, QStringView text = {})
{
    DisplayMessagePiece result;
    result.kind = kind;
    result.id = id;
    result.text = text;
    return result;
}

// --- what each expression's match becomes ---

void appendEmoji(DisplayMessageRun& run, QStringRef const&, QRegularExpressionMatch const& match)
{
    FlakeId const id = FlakeId::fromStringRef(match.capturedRef(2));
    if (id.isValid()) {
        run.append(piece(DisplayMessagePiece::Kind::CustomEmoji, id, match.capturedView(1)));
    } else {
        run.append(piece(DisplayMessagePiece::Kind::Text, match.capturedView()));
    }
}

DisplayMessagePiece::Kind kindOfSigil(QStringView sigil)
{
    if (sigil.startsWith(QLatin1Char('#'))) {
        return DisplayMessagePiece::Kind::ChannelMention;
    }
    return sigil.endsWith(QLatin1Char('&')) ? DisplayMessagePiece::Kind::RoleMention
                                            : DisplayMessagePiece::Kind::UserMention;
}

void appendMention(DisplayMessageRun& run, QStringRef const&, QRegularExpressionMatch const& match)
{
    FlakeId const id = FlakeId::fromStringRef(match.capturedRef(2));
    if (id.isValid()) {
        run.append(piece(kindOfSigil(match.capturedView(1)), id));
    } else {
        run.append(piece(DisplayMessagePiece::Kind::Text, match.capturedView()));
    }
}

void appendUrl(DisplayMessageRun& run, QStringRef const& stretch,
               QRegularExpressionMatch const& match)
{
    // The white-space character before the address, or nothing at the start of a line.
    int const blank = match.capturedStart(1) - match.capturedStart();
    run.append(piece(DisplayMessagePiece::Kind::Text,
                     QStringView(stretch).mid(match.capturedStart(), blank)));
    run.append(piece(DisplayMessagePiece::Kind::Url, match.capturedView(1)));
}

void appendInlineCode(DisplayMessageRun& run, QStringRef const& stretch,
                      QRegularExpressionMatch const& match)
{
    run.append(
        piece(DisplayMessagePiece::Kind::Text, QStringView(stretch).mid(match.capturedStart(), 0)));
    run.append(piece(DisplayMessagePiece::Kind::InlineCode, match.capturedView(1)));
}

struct RegularRule {
    QRegularExpression const& re;
    QLatin1String trigger; // without it in the text the expression cannot match
    void (*append)(DisplayMessageRun&, QStringRef const&, QRegularExpressionMatch const&);
};

// In the order of priority: of two matches at one place the earlier rule's counts.
RegularRule const regularRules[] = {
    { emojiRe, QLatin1String("<"), appendEmoji },
    { mentionedIdRe, QLatin1String("<"), appendMention },
    { cheapUrlRe, QLatin1String("://"), appendUrl },
    { inlineCodeRe, QLatin1String("`"), appendInlineCode },
};
constexpr int ruleCount = 4;

// One look at the characters that all triggers begin with, since most messages have none of them.
bool mayHoldMarkup(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return c == QLatin1Char('<') || c == QLatin1Char(':') || c == QLatin1Char('`');
    });
}

// Appends the match that begins at pos, if there is one, and returns its end. Otherwise returns -1
// and lowers boundary to the start of the next match.
int takeMatchAt(int pos, int& boundary, MatchQueue (&queues)[ruleCount], DisplayMessageRun& run,
                QStringRef const& stretch)
{
    for (int i = 0; i < ruleCount; ++i) {
        MatchQueue& queue = queues[i];
        while (queue.hasNext() && queue.start() < pos) {
            queue.advance(); // overlaps what an earlier match has consumed
        }
        if (!queue.hasNext()) {
            continue;
        }
        if (queue.start() == pos) {
            regularRules[i].append(run, stretch, queue.peek());
            int const end = queue.peek().capturedEnd();
            queue.advance();
            return end;
        }
        boundary = std::min(boundary, queue.start());
    }
    return -1;
}

// The end of a fenced block's opening line: what stands on it is the language in the common case,
// and is dropped unseen. A block on one line keeps its text.
int codeStart(QStringRef const& text, int inner, int close)
{
    int const newline = text.indexOf(QLatin1Char('\n'), inner);
    return newline >= 0 && newline + 1 < close ? newline + 1 : inner;
}

DisplayMessagePiece codeBlock(QStringRef const& text, int open, int close, int end)
{
    int const begin = codeStart(text, open + 3, close);
    bool const endsLine = close > begin && text.at(close - 1) == QLatin1Char('\n');
    QStringView const view(text);
    DisplayMessagePiece result;
    result.kind = DisplayMessagePiece::Kind::CodeBlock;
    result.text = view.mid(begin, close - begin - (endsLine ? 1 : 0));
    result.raw = view.mid(open, end - open);
    return result;
}

} // namespace

DisplayMessageRun DisMessageParse::parseDisplayMessage(QStringRef const& text)
{
    QLatin1String const fence("```");
    DisplayMessageRun run;
    int segmentStart = 0;
    int open = text.indexOf(fence);
    while (open >= 0 && open + 3 < text.size()) {
        int const close = text.indexOf(fence, open + 3);
        if (close < 0) {
            break; // never closed: ordinary text
        }
        parseRegularBlock(run, text.mid(segmentStart, open - segmentStart));
        segmentStart = close + 3;
        if (segmentStart < text.size() && text.at(segmentStart) == QLatin1Char('\n')) {
            ++segmentStart;
        }
        run.append(codeBlock(text, open, close, segmentStart));
        open = text.indexOf(fence, segmentStart);
    }
    if (segmentStart < text.size()) {
        parseRegularBlock(run, text.mid(segmentStart));
    }
    return run;
}

DisplayMessageRun DisMessageParse::parseDisplayMessage(QString const* text)
{
    return parseDisplayMessage(QStringRef(text));
}

void DisMessageParse::parseRegularBlock(DisplayMessageRun& run, QStringRef const& stretch)
{
    MatchQueue queues[ruleCount];
    if (mayHoldMarkup(stretch)) {
        for (int i = 0; i < ruleCount; ++i) {
            if (stretch.contains(regularRules[i].trigger)) {
                queues[i] = MatchQueue(regularRules[i].re, stretch);
            }
        }
    }
    int pos = 0;
    while (pos < stretch.size()) {
        int boundary = stretch.size();
        int const end = takeMatchAt(pos, boundary, queues, run, stretch);
        if (end < 0) {
            run.append(piece(DisplayMessagePiece::Kind::Text,
                             QStringView(stretch).mid(pos, boundary - pos)));
        }
        pos = end < 0 ? boundary : end;
    }
}

// Matches that begin before the position are not thrown away here, as they are above: a shortcode
// inside a name that was just taken, be it at the end of the text, brings the position back to its
// start, over an empty piece of text, and the tail of the name comes out a second time. The
// service's users know the input box that way, so it stays.
void DisMessageParse::parseInputMessage(InputMessageRun& run, QChar const* text, int length)
{
    QString const subject = QString::fromRawData(text, length);
    QStringRef const all(&subject);
    QStringView const view(text, length);
    MatchQueue emoji;
    MatchQueue mentions;
    if (subject.contains(QLatin1Char(':'))) {
        emoji = MatchQueue(emojiColonInputRe, all);
    }
    if (subject.contains(QLatin1Char('@'))) {
        mentions = MatchQueue(mentionInputWithIdRe, all);
    }
    auto const captured = [view](QRegularExpressionMatch const& match, int group) {
        return view.mid(match.capturedStart(group), match.capturedLength(group));
    };
    auto const isBehind = [](MatchQueue const& queue, int at) {
        return queue.hasNext() && queue.start() < at;
    };
    int pos = 0;
    while (pos < length || isBehind(emoji, pos) || isBehind(mentions, pos)) {
        int boundary = length;
        if (emoji.hasNext()) {
            if (emoji.start() == pos) {
                run.append({ InputMessagePiece::Kind::Shortcode, captured(emoji.peek(), 1), {} });
                pos = emoji.peek().capturedEnd();
                emoji.advance();
                continue;
            }
            boundary = std::min(boundary, emoji.start());
        }
        if (mentions.hasNext()) {
            if (mentions.start() == pos) {
                QStringView const discrim = captured(mentions.peek(), 2);
                run.append({ discrim.isEmpty() ? InputMessagePiece::Kind::UserByName
                                               : InputMessagePiece::Kind::UserWithDiscrim,
                             captured(mentions.peek(), 1), discrim });
                pos = mentions.peek().capturedEnd();
                mentions.advance();
                continue;
            }
            boundary = std::min(boundary, mentions.start());
        }
        run.append(
            { InputMessagePiece::Kind::Text, view.mid(pos, std::max(0, boundary - pos)), {} });
        pos = boundary;
    }
}

InputMessageRun DisMessageParse::parseInputMessage(QString const* text)
{
    InputMessageRun run;
    parseInputMessage(run, text->constData(), text->size());
    return run;
}
