// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Whether new versions of the program may be looked for. User-interface thread.

namespace NakAppUpdates {

// Whoever packages the program does the updates. Set once, by the function below.
extern bool isForcefullyDisabled;

// NAKWIRE_ALLOW_UPDATES with the value 0 disables; a word, another number and nothing do not.
void readEnvironment();

} // namespace NakAppUpdates
