// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The glyphs that windows use (Font Awesome code points).

#include <QChar>
#include <QIcon>

namespace NakShell {

constexpr ushort newTabGlyph = 61543; // plus
constexpr ushort backGlyph = 61536; // arrow to the left
constexpr ushort forwardGlyph = 61537; // arrow to the right
constexpr ushort upGlyph = 61538; // arrow up
constexpr ushort downGlyph = 61539; // arrow down
constexpr ushort closeGlyph = 61453; // cross

QIcon icon(ushort glyph); // null without g_guiIcons

} // namespace NakShell
