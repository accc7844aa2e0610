// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A page of channel history on its way from the HTTP reply to the store: parsed on the thread pool,
// written on the session's worker. One thread at a time.

#include "dread.h"
#include "flake_id.h"

#include <QByteArray>

struct DisHistoryPage {
    FlakeId channelId;
    FlakeId guildId; // invalid for a private channel
    QByteArray body; // what the tree's strings point into
    Dread::Ctx ctx;
    Dread::VList messages;

    DisHistoryPage() = default;
    ~DisHistoryPage() { Dread::destroy(&ctx); }
    DisHistoryPage(DisHistoryPage const&) = delete;
    DisHistoryPage& operator=(DisHistoryPage const&) = delete;
};
