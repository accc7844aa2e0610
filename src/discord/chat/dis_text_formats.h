// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The character and block formats that all message texts share. Made from the preferences; a
// document that was filled with an older set must be filled again.

#include <QFont>
#include <QTextBlockFormat>
#include <QTextCharFormat>

struct NakPreferences;

struct DisTextFormats {
    QFont bodyFont; // of an empty line
    QTextCharFormat regular;
    QTextCharFormat italic; // the text of an action
    QTextCharFormat bold; // mentions
    QTextCharFormat discriminator; // behind the mention of a user
    QTextCharFormat link;
    QTextCharFormat codeBlock;
    QTextCharFormat inlineCode;
    QTextCharFormat dim; // what the program adds: "[deleted]" and the like
    QTextCharFormat selection;
    QTextBlockFormat regularBlock;
    QTextBlockFormat codeBlockBlock;
    int emojiHeight = 0; // of pictures in the text
};

namespace DisText {

DisTextFormats formatsFromPrefs(NakPreferences const& prefs);

// Whether the block stands in a fenced block.
bool isCodeBlock(QTextBlockFormat const& format);

// Black at little opacity: what lies under code.
QColor codeBackground();

} // namespace DisText
