// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The world as the service words it: the objects that the gateway and REST both send.

#include "stage_etf.h"
#include "stage_world.h"

#include <QPair>
#include <QVector>

namespace stage {

Term userTerm(User const& user);
Term memberTerm(World const& world, Member const& member);
Term presenceTerm(User const& user);
Term channelTerm(World const& world, Channel const& channel);
Term privateChannelTerm(World const& world, Channel const& channel);
Term guildTerm(World const& world, Guild const& guild);
Term messageTerm(World const& world, Message const& message);
// What the account has set for a guild.
Term guildSettingsTerm(World const& world, Guild const& guild);
Term emojiOfReaction(Reaction const& reaction);

// The payload of READY. Guilds are encoded one at a time, so that the whole account never stands in
// memory as values.
Term readyTerm(World const& world, QByteArray const& sessionId, EncodeOptions const& options);
Term guildSyncTerm(World const& world, Guild const& guild);
// The payload of GUILD_MEMBER_LIST_UPDATE that answers a subscription to these index ranges.
Term memberListTerm(World const& world, Guild const& guild, QVector<QPair<int, int>> const& ranges);

} // namespace stage
