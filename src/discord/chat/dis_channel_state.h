// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a channel view has to say while it has no messages to show. Pure.

#include "dis_types.h"

#include <QString>

struct DisChannelState {
    bool hasChannel = false;
    bool hasAccounts = false;
    bool connecting = false; // some account is on its way
    bool hasUser = false; // an own user is connected and known
    DisChannelType type = DisChannelType::Unknown;
    bool hasAccess = true;
    bool historyFetched = false;
};

namespace DisChannelStates {

QString emptyText(DisChannelState const& state);
// The channel's newest messages can be asked for.
bool canFetchHistory(DisChannelState const& state);

} // namespace DisChannelStates
