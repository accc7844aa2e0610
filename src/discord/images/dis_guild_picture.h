// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A guild's picture, and what stands for one that has none. Sizes in device-independent pixels.
// User-interface thread.

#include "flake_id.h"

#include <QColor>
#include <QFont>
#include <QPixmap>

struct DisLetterTileStyle {
    QFont font;
    QColor fill;
    QColor text;
    double density = 1; // device pixels in one
};

// The first letter of the name on a rounded square. Kept by the toolkit's cache of pictures.
QPixmap disLetterTile(QString const& name, int size, DisLetterTileStyle const& style);

// For lists and forms, in the application's colours: the guild's picture, or the letter of its
// name. The picture may come later: DisAvatarImages says when.
QPixmap disGuildPicture(FlakeId guild, int size);
