// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What this test program does when a test starts it once more: it is then the application itself,
// with something added. Each role prints what it sees.

int runChildRole(char const* role);
