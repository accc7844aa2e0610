// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A guild's picture for lists and forms; a glyph for one that has none. User-interface thread.

#include "flake_id.h"

#include <QPixmap>

// size in device-independent pixels. It may come later: DisAvatarImages says when.
QPixmap disGuildPicture(FlakeId guild, int size);
