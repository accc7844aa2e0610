// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One channel's messages as an ordered sequence that is never loaded: all confirmed messages of
// the store by id, then the channel's pending messages in the order of sending. Neighbours are
// asked for one by one, each with a single-row query through a small cache, and joined into spans,
// which are shown under one header. Messages of muted authors do not exist here.
// User-interface thread only; no widgets.

#include "dis_client.h"
#include "flake_id.h"
#include "kv_cache.h"
#include "nak_stmt.h"

#include <QMap>

#include <functional>
#include <optional>
#include <tuple>

struct sqlite3;

// One message of the sequence. A value and a hash key.
struct DisBuffItem {
    enum Kind : int { Confirmed = 0, Pending = 1 };

    FlakeId id; // of the message, or the nonce of a pending one
    FlakeId authorId;
    qint64 timestamp = 0; // milliseconds since the Unix epoch
    int kind = Confirmed;

    bool isValid() const { return id.isValid(); }
    bool isPending() const { return kind == Pending; }
    auto key() const { return std::tie(id, authorId, timestamp, kind); }

    // Its time is always that of its id.
    static DisBuffItem confirmed(FlakeId id, FlakeId authorId);
};

struct DisBuffAdjacentItems {
    DisBuffItem earlier; // each may be empty
    DisBuffItem later;
};

// A run of neighbours that is shown under one header.
struct DisBuffSpan {
    DisBuffItem first; // the oldest
    DisBuffItem last;

    bool isValid() const { return first.isValid() && last.isValid(); }
    auto key() const { return std::tuple_cat(first.key(), last.key()); }
};

struct DisBuffAdjacentSpans {
    DisBuffSpan earlier;
    DisBuffSpan later;
};

inline bool operator==(DisBuffItem const& a, DisBuffItem const& b)
{
    return a.key() == b.key();
}
inline bool operator!=(DisBuffItem const& a, DisBuffItem const& b)
{
    return !(a == b);
}
inline bool operator<(DisBuffItem const& a, DisBuffItem const& b)
{
    return a.key() < b.key();
}
uint qHash(DisBuffItem const& item, uint seed = 0);

inline bool operator==(DisBuffSpan const& a, DisBuffSpan const& b)
{
    return a.key() == b.key();
}
inline bool operator!=(DisBuffSpan const& a, DisBuffSpan const& b)
{
    return !(a == b);
}
uint qHash(DisBuffSpan const& span, uint seed = 0);

// A read transaction over all the questions of one pass: a row costs a quarter of what it costs
// when each statement opens and closes its own. It begins with the first row that is really read,
// and must not outlive the pass, since an open one keeps the store's log from being written back.
class DisBuffReads {
public:
    explicit DisBuffReads(sqlite3* db);
    void aboutToRead(); // every reader calls this before it steps
    quint64 readCount() const { return m_readCount; }

    class Scope {
    public:
        explicit Scope(DisBuffReads& reads);
        ~Scope();
        Scope(Scope const&) = delete;
        Scope& operator=(Scope const&) = delete;

    private:
        DisBuffReads& m_reads;
    };

private:
    sqlite3* m_db;
    int m_depth = 0;
    bool m_open = false;
    quint64 m_readCount = 0;
};

struct DisBuffItemsSources {
    sqlite3* db = nullptr;
    DisBuffReads* reads = nullptr;
    QMap<FlakeId, DisPendingMsg> const* pending = nullptr;
    std::function<bool(FlakeId)> isUserMuted;
};

class DisBuffItems {
public:
    explicit DisBuffItems(DisBuffItemsSources sources);

    FlakeId channelId() const { return m_channelId; }
    void setChannelId(FlakeId channelId);
    // The store, the pending messages or the muted users changed.
    void invalidate();

    // Neighbours closer than this, by one author, are in one span.
    static constexpr qint64 spanMaxGapMSecs = 179999;
    static constexpr int cacheSize = 300;
    // A span has a widget for each message, so one that never ends, as a bot's log does, is cut:
    // behind a run of this many, before one message in so many, told by its id. The rule looks at
    // a bounded way back only, so the cuts are the same wherever one asks from.
    static constexpr int longRun = 64;
    static constexpr int cutOneIn = 16;

    DisBuffAdjacentItems findAdjacentItems(DisBuffItem const& item);
    DisBuffSpan findSpanContainingItem(DisBuffItem const& item);
    DisBuffAdjacentSpans findAdjacentSpans(DisBuffSpan const& span);

    // Ends of the sequence: the oldest prefers confirmed messages, the newest pending ones.
    DisBuffItem oldestItem();
    DisBuffItem newestItem();
    DisBuffSpan oldestSpan();
    DisBuffSpan newestSpan();

    // The 51st oldest message that the store has, or the newest if there are fewer: whoever sees
    // it is near the end of what the store has.
    FlakeId nearingEndMessageId();
    // The channel's oldest message in the store, by a muted author or not: history is asked for
    // from there.
    FlakeId oldestStoredMessageId();

    // Whether the item is part of the sequence now.
    bool exists(DisBuffItem const& item);
    // Null if the record has gone, which happens when the message is confirmed or cancelled.
    DisPendingMsg const* pendingRecord(DisBuffItem const& item) const;

private:
    enum class Direction { Earlier, Later };

    DisBuffItem stepEnd(NakStmt& stmt);
    DisBuffItem stepFrom(NakStmt& stmt, FlakeId id);
    DisBuffItem skipMuted(DisBuffItem item, NakStmt& stmt);
    DisBuffItem pendingItem(QMap<FlakeId, DisPendingMsg>::const_iterator it) const;
    DisBuffItem oldestPendingItem() const;
    DisBuffItem newestPendingItem() const;
    DisBuffItem newestConfirmedItem();
    DisBuffAdjacentItems findAdjacentItems_uncached(DisBuffItem const& item);
    DisBuffAdjacentItems pendingNeighbours(DisBuffItem const& item);
    DisBuffItem neighbour(DisBuffItem const& item, Direction direction);
    DisBuffItem spanEnd(DisBuffItem item, Direction direction);
    bool isCutBefore(DisBuffItem item);

    DisBuffItemsSources m_sources;
    FlakeId m_channelId;
    NakStmt m_previousStmt;
    NakStmt m_nextStmt;
    NakStmt m_oldestStmt;
    NakStmt m_newestStmt;
    NakStmt m_nearEndStmt;
    NakKVCache<DisBuffItem, DisBuffAdjacentItems> m_adjacentItems;
    NakKVCache<DisBuffSpan, DisBuffAdjacentSpans> m_adjacentSpans;
    std::optional<DisBuffItem> m_oldestItem;
    std::optional<DisBuffItem> m_newestItem;
    std::optional<DisBuffSpan> m_oldestSpan;
    std::optional<DisBuffSpan> m_newestSpan;
    FlakeId m_nearingEndMessageId;
};
