// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The mark of the Discord side of the program: our own drawing, a speech bubble with two eyes, in
// the theme's colours. Painted from a path at any size; opening a drawing from a resource would
// load a library for this one icon. User-interface thread.

#include <QIcon>

namespace DisLogoIcon {

QIcon make(); // draws itself in the theme's colours of the moment
QIcon makeRasterized();

} // namespace DisLogoIcon
