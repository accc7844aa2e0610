// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What this test program does when a test starts it once more, to see a process end.

#include <QString>

int runChildRole(QString const& role);
