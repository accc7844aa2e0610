// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_channel_state.h"

namespace {

bool holdsMessages(DisChannelType type)
{
    return type == DisChannelType::GuildText || type == DisChannelType::Private
        || type == DisChannelType::PrivateGroup;
}

} // namespace

namespace DisChannelStates {

QString emptyText(DisChannelState const& state)
{
    if (!state.hasChannel) {
        return QStringLiteral("No channel is open.");
    }
    if (!state.hasUser) {
        if (!state.hasAccounts) {
            return QStringLiteral("There is no Discord account yet. Add one in Accounts.");
        }
        return state.connecting ? QStringLiteral("Connecting\u2026")
                                : QStringLiteral("Not connected.");
    }
    if (state.type == DisChannelType::Unknown) {
        return QStringLiteral("This channel is not known here.");
    }
    if (!holdsMessages(state.type)) {
        return QStringLiteral("This channel holds no messages.");
    }
    if (!state.hasAccess) {
        return QStringLiteral("You have no access to this channel.");
    }
    return state.historyFetched ? QStringLiteral("No messages yet.")
                                : QStringLiteral("Loading messages\u2026");
}

bool canFetchHistory(DisChannelState const& state)
{
    return state.hasChannel && state.hasUser && holdsMessages(state.type) && state.hasAccess
        && !state.historyFetched;
}

} // namespace DisChannelStates
