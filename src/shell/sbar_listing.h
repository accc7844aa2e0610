// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The channels of guilds as the store lists them: of one guild by statements of its own, or of all
// guilds by one pass over each table, which costs a fraction of that for each channel. Such a pass
// is made in shares of time from the event loop. User-interface thread.

#include "sbar_discord_stmts.h"
#include "sbar_info.h"

#include <QElapsedTimer>
#include <QHash>

#include <limits>
#include <vector>

namespace NakSbar {

// The user-interface thread's share of a frame for reading: of tens of thousands of channels the
// rest is read when the events that came meanwhile are handled. After a READY the counts of unread
// channels are told in such shares as well, and both come before the window's own events.
class Share {
public:
    Share() { m_elapsed.start(); }
    bool isOver() const { return m_elapsed.elapsed() >= milliseconds; }

private:
    static constexpr int milliseconds = 2;
    QElapsedTimer m_elapsed;
};

struct ListedChannel {
    FlakeId id;
    FlakeId parent; // its category; invalid for none
    int position = 0;
    ChanSortType type = ChanSortType::Text;
};
// Categories come first, as channels hang below them; then the order in which they are shown.
bool operator<(ListedChannel const& a, ListedChannel const& b);
using ListedChannels = std::vector<ListedChannel>;

ListedChannels channelsOfGuild(DisStmts& store, FlakeId guild); // in their order

// All of the store. No statement is kept open from one share to the next: that would hold the state
// of the store that it began with, and the log of writes could not be begun anew until it ends. So
// the parts may be of different states. What is changed by a commit between them is told by a
// record afterwards, and the guild is then read by itself, which takes it from here.
class Listing {
public:
    // Anew, of these guilds.
    template <typename Ids> void start(Ids begin, Ids end)
    {
        m_guilds.clear();
        for (; begin != end; ++begin)
            m_guilds.insert(*begin, {});
        m_channelCount = 0;
        m_table = 0;
        m_next = std::numeric_limits<qint64>::min();
    }
    void forget(FlakeId guild) { m_guilds.remove(guild); }
    void clear() { m_guilds.clear(); }

    bool isEmpty() const { return m_guilds.isEmpty(); } // no guild waits
    bool contains(FlakeId guild) const { return m_guilds.contains(guild); }
    int channelCount() const { return m_channelCount; } // of all that were read
    // False while there is more to read.
    bool readOn(DisStmts& store, Share const& share);
    ListedChannels take(FlakeId guild); // in their order

private:
    QHash<FlakeId, ListedChannels> m_guilds;
    int m_channelCount = 0;
    size_t m_table = 0; // the one to go on with
    qint64 m_next = 0; // the first id to read there
};

} // namespace NakSbar
