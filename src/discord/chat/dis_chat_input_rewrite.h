// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Between what the user types and what the service stores. User-interface thread only; needs
// g_disClient.

#include "flake_id.h"

#include <QString>

namespace DisUtils {

// The wire text of what was typed: shortcodes of emoji that the user may use in the channel and
// names of known users become markup, everything else stays.
QString parseChatInputAsUserInChannel(FlakeId userId, FlakeId channelId, QString const& text);

// The editable text of a stored message.
QString reverseChatParseAsUser(FlakeId userId, QString const& text);
// The message's text for the clipboard, readable; empty if the message is unknown.
QString getCopyableText(FlakeId userId, FlakeId messageId);

} // namespace DisUtils
