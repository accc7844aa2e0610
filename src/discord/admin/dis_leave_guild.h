// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Leaving a guild: the question, the request, and what is said if the service refuses.
// User-interface thread.

#include "flake_id.h"

class QWidget;

namespace DisLeaveGuild {

// Whoever owns a guild cannot leave it.
bool isPossible(FlakeId user, FlakeId guild);
void ask(QWidget* parent, FlakeId user, FlakeId guild);

} // namespace DisLeaveGuild
