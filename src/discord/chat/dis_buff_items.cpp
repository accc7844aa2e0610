// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_items.h"

#include "nak_sql.h"

#include <cstdlib>

namespace {

constexpr char previousSql[] = "select id, author_id from message where channel_id = :channel_id "
                               "and id < :message_id order by id desc limit 1";
constexpr char nextSql[] = "select id, author_id from message where channel_id = :channel_id "
                           "and id > :message_id order by id asc limit 1";
constexpr char oldestSql[] = "select id, author_id from message where id = "
                             "(select min(id) from message where channel_id = :channel_id)";
constexpr char newestSql[] = "select id, author_id from message where id = "
                             "(select max(id) from message where channel_id = :channel_id)";
constexpr char nearEndSql[] =
    "select id, author_id from message where id = coalesce("
    "(select id from message where channel_id = :channel_id order by id asc limit 1 offset 50), "
    "(select max(id) from message where channel_id = :channel_id))";

bool inOneRun(DisBuffItem const& a, DisBuffItem const& b)
{
    return a.isValid() && b.isValid() && a.authorId == b.authorId
        && std::llabs(a.timestamp - b.timestamp) <= DisBuffItems::spanMaxGapMSecs;
}

enum ParamIndex { ParamChannelId = 1, ParamMessageId = 2 };
enum Column { ColId = 0, ColAuthorId = 1 };

} // namespace

DisBuffItem DisBuffItem::confirmed(FlakeId id, FlakeId authorId)
{
    return { id, authorId, id.toMSecsSinceEpoch_Discord(), Confirmed };
}

uint qHash(DisBuffItem const& item, uint seed)
{
    // Ids differ between all the items of a client; the rest of the key never tells two apart
    // that the id does not.
    return qHash(item.id, seed) ^ static_cast<uint>(item.kind);
}

uint qHash(DisBuffSpan const& span, uint seed)
{
    return qHash(span.first, seed) * 31U + qHash(span.last, seed);
}

DisBuffReads::DisBuffReads(sqlite3* db)
    : m_db(db)
{
}

void DisBuffReads::aboutToRead()
{
    ++m_readCount;
    if (m_depth == 0 || m_open) {
        return;
    }
    NakSql::beginTransaction(m_db);
    m_open = true;
}

DisBuffReads::Scope::Scope(DisBuffReads& reads)
    : m_reads(reads)
{
    ++m_reads.m_depth;
}

DisBuffReads::Scope::~Scope()
{
    if (--m_reads.m_depth > 0 || !m_reads.m_open) {
        return;
    }
    m_reads.m_open = false;
    NakSql::endTransaction(m_reads.m_db);
}

DisBuffItems::DisBuffItems(DisBuffItemsSources sources)
    : m_sources(std::move(sources))
    , m_previousStmt(m_sources.db, previousSql)
    , m_nextStmt(m_sources.db, nextSql)
    , m_oldestStmt(m_sources.db, oldestSql)
    , m_newestStmt(m_sources.db, newestSql)
    , m_nearEndStmt(m_sources.db, nearEndSql)
{
    m_adjacentItems.setMaxAndReserveCount(cacheSize);
    m_adjacentSpans.setMaxAndReserveCount(cacheSize);
}

void DisBuffItems::setChannelId(FlakeId channelId)
{
    m_channelId = channelId;
    invalidate();
}

void DisBuffItems::invalidate()
{
    m_adjacentItems.clear();
    m_adjacentSpans.clear();
    m_oldestItem.reset();
    m_newestItem.reset();
    m_oldestSpan.reset();
    m_newestSpan.reset();
    m_nearingEndMessageId = FlakeId();
}

DisBuffAdjacentItems DisBuffItems::findAdjacentItems(DisBuffItem const& item)
{
    if (auto const* cached = m_adjacentItems.find(item)) {
        return *cached;
    }
    DisBuffAdjacentItems const adjacent = findAdjacentItems_uncached(item);
    m_adjacentItems.insert(item, adjacent);
    return adjacent;
}

DisBuffSpan DisBuffItems::findSpanContainingItem(DisBuffItem const& item)
{
    if (!item.isValid()) {
        return {};
    }
    return { spanEnd(item, Direction::Earlier), spanEnd(item, Direction::Later) };
}

DisBuffAdjacentSpans DisBuffItems::findAdjacentSpans(DisBuffSpan const& span)
{
    if (!span.isValid()) {
        return {};
    }
    if (auto const* cached = m_adjacentSpans.find(span)) {
        return *cached;
    }
    DisBuffAdjacentSpans adjacent;
    adjacent.earlier = findSpanContainingItem(neighbour(span.first, Direction::Earlier));
    adjacent.later = findSpanContainingItem(neighbour(span.last, Direction::Later));
    m_adjacentSpans.insert(span, adjacent);
    return adjacent;
}

DisBuffItem DisBuffItems::oldestItem()
{
    if (!m_oldestItem) {
        DisBuffItem const confirmed = skipMuted(stepEnd(m_oldestStmt), m_nextStmt);
        m_oldestItem = confirmed.isValid() ? confirmed : oldestPendingItem();
    }
    return *m_oldestItem;
}

DisBuffItem DisBuffItems::newestItem()
{
    if (!m_newestItem) {
        DisBuffItem const pending = newestPendingItem();
        m_newestItem = pending.isValid() ? pending : newestConfirmedItem();
    }
    return *m_newestItem;
}

DisBuffSpan DisBuffItems::oldestSpan()
{
    if (!m_oldestSpan) {
        m_oldestSpan = findSpanContainingItem(oldestItem());
    }
    return *m_oldestSpan;
}

DisBuffSpan DisBuffItems::newestSpan()
{
    if (!m_newestSpan) {
        m_newestSpan = findSpanContainingItem(newestItem());
    }
    return *m_newestSpan;
}

FlakeId DisBuffItems::nearingEndMessageId()
{
    if (!m_nearingEndMessageId.isValid()) {
        m_nearingEndMessageId = skipMuted(stepEnd(m_nearEndStmt), m_nextStmt).id;
    }
    return m_nearingEndMessageId;
}

FlakeId DisBuffItems::oldestStoredMessageId()
{
    return stepEnd(m_oldestStmt).id;
}

bool DisBuffItems::exists(DisBuffItem const& item)
{
    if (!item.isValid() || m_sources.isUserMuted(item.authorId)) {
        return false;
    }
    if (item.isPending()) {
        return pendingRecord(item) != nullptr;
    }
    return item.id.value() > 0 && stepFrom(m_nextStmt, FlakeId(item.id.value() - 1)).id == item.id;
}

DisPendingMsg const* DisBuffItems::pendingRecord(DisBuffItem const& item) const
{
    auto const it = m_sources.pending->constFind(item.id);
    return it == m_sources.pending->constEnd() ? nullptr : &*it;
}

DisBuffItem DisBuffItems::stepEnd(NakStmt& stmt)
{
    return stepFrom(stmt, FlakeId());
}

DisBuffItem DisBuffItems::stepFrom(NakStmt& stmt, FlakeId id)
{
    if (!m_channelId.isValid()) {
        return {};
    }
    m_sources.reads->aboutToRead();
    stmt.bind(ParamChannelId, m_channelId);
    if (id.isValid()) {
        stmt.bind(ParamMessageId, id);
    }
    DisBuffItem item;
    if (stmt.step()) {
        item = DisBuffItem::confirmed(stmt.colFlake(ColId), stmt.colFlake(ColAuthorId));
    }
    stmt.reset();
    return item;
}

// The first item from item on, itself included, in the direction of stmt whose author is not muted.
DisBuffItem DisBuffItems::skipMuted(DisBuffItem item, NakStmt& stmt)
{
    while (item.isValid() && m_sources.isUserMuted(item.authorId)) {
        item = stepFrom(stmt, item.id);
    }
    return item;
}

DisBuffItem DisBuffItems::pendingItem(QMap<FlakeId, DisPendingMsg>::const_iterator it) const
{
    return { it.key(), it->authorId, it->timestamp, DisBuffItem::Pending };
}

DisBuffItem DisBuffItems::oldestPendingItem() const
{
    for (auto it = m_sources.pending->cbegin(); it != m_sources.pending->cend(); ++it) {
        if (it->channelId == m_channelId) {
            return pendingItem(it);
        }
    }
    return {};
}

DisBuffItem DisBuffItems::newestPendingItem() const
{
    for (auto it = m_sources.pending->cend(); it != m_sources.pending->cbegin();) {
        --it;
        if (it->channelId == m_channelId) {
            return pendingItem(it);
        }
    }
    return {};
}

DisBuffItem DisBuffItems::newestConfirmedItem()
{
    return skipMuted(stepEnd(m_newestStmt), m_previousStmt);
}

DisBuffAdjacentItems DisBuffItems::findAdjacentItems_uncached(DisBuffItem const& item)
{
    if (!item.isValid()) {
        return {};
    }
    if (item.isPending()) {
        return pendingNeighbours(item);
    }
    DisBuffAdjacentItems adjacent;
    adjacent.earlier = skipMuted(stepFrom(m_previousStmt, item.id), m_previousStmt);
    adjacent.later = skipMuted(stepFrom(m_nextStmt, item.id), m_nextStmt);
    if (!adjacent.later.isValid()) {
        adjacent.later = oldestPendingItem();
    }
    return adjacent;
}

DisBuffAdjacentItems DisBuffItems::pendingNeighbours(DisBuffItem const& item)
{
    auto const found = m_sources.pending->constFind(item.id);
    if (found == m_sources.pending->constEnd()) {
        return {};
    }
    DisBuffAdjacentItems adjacent;
    for (auto it = found; it != m_sources.pending->cbegin() && !adjacent.earlier.isValid();) {
        --it;
        if (it->channelId == m_channelId) {
            adjacent.earlier = pendingItem(it);
        }
    }
    if (!adjacent.earlier.isValid()) {
        adjacent.earlier = newestConfirmedItem();
    }
    for (auto it = found + 1; it != m_sources.pending->cend() && !adjacent.later.isValid(); ++it) {
        if (it->channelId == m_channelId) {
            adjacent.later = pendingItem(it);
        }
    }
    return adjacent;
}

DisBuffItem DisBuffItems::neighbour(DisBuffItem const& item, Direction direction)
{
    DisBuffAdjacentItems const adjacent = findAdjacentItems(item);
    return direction == Direction::Earlier ? adjacent.earlier : adjacent.later;
}

DisBuffItem DisBuffItems::spanEnd(DisBuffItem item, Direction direction)
{
    for (;;) {
        DisBuffItem const next = neighbour(item, direction);
        if (!inOneRun(item, next) || isCutBefore(direction == Direction::Earlier ? item : next)) {
            return item;
        }
        item = next;
    }
}

bool DisBuffItems::isCutBefore(DisBuffItem item)
{
    // The low bits of ids are mostly zero; the product spreads the times above them.
    quint64 const spread = (item.id.value() >> 16) * 0x9E3779B97F4A7C15ULL;
    if ((spread >> 40) % cutOneIn != 0) {
        return false;
    }
    for (int length = 0; length < longRun; ++length) {
        DisBuffItem const earlier = neighbour(item, Direction::Earlier);
        if (!inOneRun(earlier, item)) {
            return false;
        }
        item = earlier;
    }
    return true;
}
