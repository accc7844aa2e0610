// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Text from servers for those parts of the toolkit that would read a meaning into it. Pure.

#include <QStaticText>
#include <QString>

namespace NakPlainText {

// One line of bounded length: control characters and line breaks become blanks.
QString titleLine(QString const& text);

// The same for a window's title, where "[*]" would be the mark of a modified document.
QString windowTitle(QString const& text);

// For tabs and actions, where an ampersand would mark a key.
QString withoutMnemonics(QString text);

// For tool tips, which take text that looks like markup for markup.
QString toolTip(QString const& text);

// Laid out once, for painting often.
QStaticText shaped(QString const& text, QFont const& font);

} // namespace NakPlainText
