// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Message markup as flat runs of pieces: what is stored becomes a display run, what the user typed
// an input run. Pure; any thread. All strings are views into the parsed text, which must outlive
// the run.

#include "flake_id.h"

#include <QStringRef>
#include <QStringView>
#include <QVarLengthArray>

struct DisplayMessagePiece {
    enum class Kind : int {
        Text = 0, // text
        CustomEmoji = 1, // id, text is the name
        UserMention = 2, // id
        Url = 3, // text
        ChannelMention = 4, // id
        RoleMention = 5, // id
        CodeBlock = 6, // text is the code, raw the whole fenced span and its trailing newline
        InlineCode = 7, // text is the code without back-ticks
    };

    Kind kind = Kind::Text;
    FlakeId id;
    QStringView text;
    QStringView raw;
};

struct InputMessagePiece {
    enum class Kind : int {
        Text = 0, // text
        Shortcode = 1, // text is the shortcode without colons
        UserWithDiscrim = 2, // text is the name
        UserByName = 3, // text is the name
    };

    Kind kind = Kind::Text;
    QStringView text;
    QStringView discrim; // digits
};

using DisplayMessageRun = QVarLengthArray<DisplayMessagePiece, 128>;
using InputMessageRun = QVarLengthArray<InputMessagePiece, 128>;

namespace DisMessageParse {

DisplayMessageRun parseDisplayMessage(QStringRef const& text);
DisplayMessageRun parseDisplayMessage(QString const* text);
// Appends the pieces of a stretch that holds no fenced block.
void parseRegularBlock(DisplayMessageRun& run, QStringRef const& stretch);

// Fills the run, which must be empty.
void parseInputMessage(InputMessageRun& run, QChar const* text, int length);
InputMessageRun parseInputMessage(QString const* text);

} // namespace DisMessageParse
