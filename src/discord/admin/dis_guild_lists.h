// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The lists of a guild that its administration shows. User-interface thread.

#include "dis_remote_list_page.h"
#include "flake_id.h"

namespace DisGuildLists {

DisRemoteList bans(FlakeId user, FlakeId guild);
DisRemoteList invites(FlakeId user, FlakeId guild);
DisRemoteList auditLog(FlakeId user, FlakeId guild);

} // namespace DisGuildLists
