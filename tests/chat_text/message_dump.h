// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the reader of message markup gives, as text.

#include <QString>

// One piece per bracket: [text a][emoji 12 name][user 5][url http://x][channel 7][role 8]
// [block code / raw][code x].
QString displayDump(QString const& text);
// [text a][shortcode x][name a / 12][name a].
QString inputDump(QString const& text);

// Whether the display pieces are views that cover the text from its first character to its last,
// without holes.
bool displayCovers(QStringRef const& text);
