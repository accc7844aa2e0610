// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What screen readers meet in a LitItemView: a list of the rows on screen that have something to
// say. Costs nothing while none of them runs. User-interface thread.

class LitItemView;

namespace LitAccessible {

void install(); // any number of times
// The keyboard is on another item of the view, which is visible.
void focusMoved(LitItemView& view, unsigned int item);

} // namespace LitAccessible
