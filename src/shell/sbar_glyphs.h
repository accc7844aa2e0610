// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The glyphs of the side bar (Font Awesome code points).

#include <QtGlobal>

namespace NakSbar::Glyph {

constexpr ushort bookmarks = 61486;
constexpr ushort star = 61445;
constexpr ushort notifications = 61545; // a star of six rays
constexpr ushort expandedArrow = 61703;
constexpr ushort collapsedArrow = 61701;
constexpr ushort folder = 61563;
constexpr ushort envelope = 61664;
constexpr ushort people = 61632;
constexpr ushort person = 61447;

constexpr ushort microphone = 61744; // a voice channel
constexpr ushort lock = 61475; // no access
constexpr ushort muted = 61552; // an eye struck through
constexpr ushort microphoneOff = 61745;
constexpr ushort soundOff = 61478;

} // namespace NakSbar::Glyph
