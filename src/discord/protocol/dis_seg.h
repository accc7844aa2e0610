// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The member list of a large guild, which comes in segments of 100 rows: what is asked for, and
// what the service tells of it. Plain values, any thread.

#include "flake_id.h"

#include <QString>
#include <QStringList>
#include <QVector>

// --- what is asked for ---

// Rows of a channel's member list, both ends included.
struct DisSegRange {
    int first = 0;
    int last = 0;

    friend bool operator==(DisSegRange const& a, DisSegRange const& b)
    {
        return a.first == b.first && a.last == b.last;
    }
};

// What is on screen of one channel's list.
struct DisClientChanSegs {
    FlakeId channelId;
    QVector<DisSegRange> ranges;
};

// The same as it is subscribed to.
struct DisSegsNormalized {
    FlakeId channelId;
    QVector<int> chunks; // ascending, from 0

    friend bool operator==(DisSegsNormalized const& a, DisSegsNormalized const& b)
    {
        return a.channelId == b.channelId && a.chunks == b.chunks;
    }
};

// --- what is told ---

namespace DisSeg {

constexpr int chunkSize = 100; // rows

// In the order of channels, each once.
QVector<DisSegsNormalized> normalized(QVector<DisClientChanSegs> const& channels);

// The id of the list that just these may read, given as "allow:" or "deny:" and the id of a role or
// user, in any order: the service's hash of them.
QString listIdOfReaders(QStringList readers);

enum class GroupKind : qint32 {
    Role = 0,
    Online = 1,
    Offline = 2,
};

struct GroupId {
    GroupKind kind = GroupKind::Role;
    FlakeId roleId; // of kind Role
};

struct Group {
    GroupId id;
    int count = 0; // members
};

// One row of the list: a member, or the heading of a group.
struct Item {
    FlakeId userId; // invalid for a heading
    GroupId group;
};

enum class OpType : qint32 {
    Insert = 0,
    Update = 1,
    Delete = 2,
    Sync = 3,
};

struct Op {
    OpType type = OpType::Sync;
    int index = 0; // the row; of Sync, the first one: range.first
    int last = 0; // of Sync, the last row of the range
    QVector<Item> items; // one for Insert and Update, none for Delete
};

// One GUILD_MEMBER_LIST_UPDATE. Its operations belong to be carried out in their order.
struct Package {
    FlakeId guildId;
    QString listId;
    bool isEveryone = false; // the list of the whole guild, of channels that all may read
    QVector<Group> groups; // in the order of the list
    QVector<Op> ops;
};

} // namespace DisSeg
