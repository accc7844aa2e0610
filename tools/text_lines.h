// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Whether there is something to read in the picture of a window.

class QImage;

// Runs of rows with ink in the middle of the window, away from tabs, tool bars, input and status.
int countTextLines(QImage const& picture);
