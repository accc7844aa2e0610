// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Reads GUILD_MEMBER_LIST_UPDATE. Pure: no store, no log.

#include "dis_seg.h"
#include "dread.h"

#include <QVector>

namespace DisClientImpl {

struct DisMemberListUpdate {
    bool hasIds = false; // without them the event is dropped without a word
    bool ok = false;
    char const* failure = nullptr; // the line for the log; null if the update is too large only
    DisSeg::Package package;
    QVector<Dread::VMap> members; // of the items, to be written into the store
};

[[nodiscard]] DisMemberListUpdate readMemberListUpdate(Dread::Ctx const& ctx,
                                                       Dread::VMap const& data);

} // namespace DisClientImpl
