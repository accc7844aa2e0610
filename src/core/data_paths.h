// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Where the program keeps its files: one directory of the user's data, named after the application.
// Any thread, once the application's name is set.

#include <QString>

namespace NakDataPaths {

QString appDataPath();

// The same path; the directory is made first, for its owner alone, when it does not exist. A
// failure to make it is not looked at: whoever opens a file in it will see.
QString appDataPathCreated();

} // namespace NakDataPaths
