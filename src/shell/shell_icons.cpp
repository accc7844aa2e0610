// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell_icons.h"

#include "gui_icons.h"

QIcon NakShell::icon(ushort glyph)
{
    return g_guiIcons ? g_guiIcons->iconForCode(QChar(glyph)) : QIcon();
}
