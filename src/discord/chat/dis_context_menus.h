// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Menus that several views of messages open. They do not block, and delete themselves when they
// close. User-interface thread only; need g_disClient.

#include "flake_id.h"

#include <QPoint>

class DisChanBuff;

namespace DisContextMenus {

// Offers what the user may do with a confirmed message of the buffer's channel.
void popupChannelMessageContextMenu(DisChanBuff* buffer, FlakeId userId, FlakeId channelId,
                                    FlakeId messageId, QPoint const& globalPos);

} // namespace DisContextMenus
