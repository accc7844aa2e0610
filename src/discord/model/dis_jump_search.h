// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Finds channels of guilds by their name, and private ones by the people in them. Reads the store
// through a connection of its own and touches nothing else, so it may run on any thread.

#include "flake_id.h"
#include "jump_matcher.h"

#include <QString>

namespace DisJumpSearch {

struct Query {
    QString text;
    FlakeId activeUser; // whose private channels are looked through; invalid for none
    QVector<FlakeId> shown; // what the last answer held, in its order
};

struct Match {
    FlakeId channel;
    NakJump::MatchInfo info;
};

// Those shown that still match come first, in their old order, so that rows stay in place while the
// user goes on typing. Then, among those that are new, names that begin with the text and short
// ones. Nothing for an empty text, and nothing when the store cannot be opened.
QVector<Match> search(QString const& dbPath, Query const& query);

} // namespace DisJumpSearch
