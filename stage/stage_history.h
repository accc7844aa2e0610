// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What was said in the channels of the stand-in service.
//
// Free functions on the world, one thread at a time. Message number i of a channel is computed from
// the seed, the channel and i when somebody asks. What happens while the stage runs is laid over
// it: appended, replaced and deleted messages, all of them bounded.

#include "stage_world.h"

#include <optional>
#include <vector>

namespace stage {

// Message number `index` of the generated history, oldest first, without what is laid over it.
Message historyMessage(World const& world, Channel const& channel, int index);
quint64 lastMessageId(World const& world, Channel const& channel);
// What the account has read up to, 0 if the channel never had a message.
quint64 readMessageId(World const& world, Channel const& channel);

// At most `limit` messages below `before` (0: from the end), newest first.
std::vector<Message> messagesBefore(World const& world, Channel const& channel, quint64 before,
                                    int limit);
std::optional<Message> findMessage(World const& world, Channel const& channel, quint64 id);

// The message gets its identifier here. The oldest appended ones are given up beyond a bound.
Message appendMessage(World& world, Channel& channel, quint32 author, QString const& content,
                      qint64 nowMs);
void replaceMessage(World& world, Message const& message);
void removeMessage(World& world, quint64 id);

// What that person would say in the channel now, for the scripted life.
QString talkIn(World const& world, Channel const& channel, quint32 author, quint64 salt);

} // namespace stage
