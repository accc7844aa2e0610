// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "make_id.h"

#include <algorithm>

MakeID::MakeID(quint32 lastId)
    : m_free({ { 0, lastId } })
    , m_lastId(lastId)
{
}

quint32 MakeID::CreateID()
{
    if (m_free.isEmpty()) {
        return none;
    }
    Range& lowest = m_free.last();
    quint32 const id = lowest.first;
    if (lowest.first == lowest.last) {
        m_free.removeLast();
    } else {
        ++lowest.first;
    }
    return id;
}

bool MakeID::DestroyRangeID(quint32 first, quint32 count)
{
    if (count == 0 || first > m_lastId || count - 1 > m_lastId - first) {
        return false;
    }
    quint32 const last = first + (count - 1);
    int const below = rangeAtOrBelow(last);
    if (below < m_free.size() && m_free[below].last >= first) {
        return false;
    }
    bool const joinsBelow = below < m_free.size() && m_free[below].last + 1 == first;
    bool const joinsAbove = below > 0 && m_free[below - 1].first - 1 == last;
    if (joinsBelow && joinsAbove) {
        m_free[below - 1].first = m_free[below].first;
        m_free.remove(below);
    } else if (joinsBelow) {
        m_free[below].last = last;
    } else if (joinsAbove) {
        m_free[below - 1].first = first;
    } else {
        m_free.insert(below, { first, last });
    }
    return true;
}

bool MakeID::IsID(quint32 id) const
{
    if (id > m_lastId) {
        return false;
    }
    int const at = rangeAtOrBelow(id);
    return at == m_free.size() || m_free[at].last < id;
}

int MakeID::rangeAtOrBelow(quint32 id) const
{
    auto const at = std::partition_point(m_free.cbegin(), m_free.cend(),
                                         [id](Range const& range) { return range.first > id; });
    return static_cast<int>(at - m_free.cbegin());
}
