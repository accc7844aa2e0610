// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_guild_picture.h"

#include "dis_avatar_images.h"
#include "gui_icons.h"

QPixmap disGuildPicture(FlakeId guild, int size)
{
    constexpr ushort peopleGlyph = 61632;
    QPixmap picture;
    if (g_disAvatarImages)
        picture = g_disAvatarImages->getGuildIcon(guild, size).pixmap();
    if (picture.isNull() && g_guiIcons)
        picture = g_guiIcons->pixmapForCodeAndColorAtSize(
            QChar(peopleGlyph), g_guiIcons->normalIconColor(), { size, size });
    return picture;
}
