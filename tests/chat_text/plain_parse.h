// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Message markup read the straightforward way: every expression over every text, nothing left out
// and nothing kept. What the fast reader has to agree with.

#include <QString>

// One piece per bracket: [text a][emoji 12 name][user 5][url http://x][channel 7][role 8]
// [block code / raw][code x].
QString plainDisplayDump(QString const& text);
// [text a][shortcode x][name a / 12][name a].
QString plainInputDump(QString const& text);

// The same for what the reader under test gives.
QString displayDump(QString const& text);
QString inputDump(QString const& text);
