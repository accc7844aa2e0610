// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The door to src/audio: all that the program knows of what uses Qt Multimedia.
//
// That room is no part of the program but a module, loaded when somebody first needs it. Linked in,
// Qt Multimedia would bring twenty libraries into every start, before the first window, for users
// who may never open a call. The module lies in ../lib/nakwire as seen from the program, in a build
// as in a package, and is never unloaded: the sound system's client library has threads.
//
// The module has no code of other rooms in it, or it would have globals of its own beside the
// program's. So only plain values go through the door.

#include <QStringList>

namespace NakAudio {

// The values of QAudio::Mode.
enum Mode { Input = 0, Output = 1 };

// Appends the names of all devices, as the sound system has them. Blocks for as long as the sound
// system takes, which can be half a minute. Call it always on one and the same thread, with an
// event loop: what notices that the sound system has gone, and connects again, lives there
// afterwards.
using AppendDeviceNames = void (*)(int mode, QStringList* names);

// Has another number when the signature is another: a program that runs while its package is
// replaced must not call into a module of the next version.
constexpr char appendDeviceNamesSymbol[] = "nakwireAppendAudioDeviceNames1";

} // namespace NakAudio
