// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A bounded map that forgets what was used longest ago, and from which a range of keys can be
// erased. No lock: an instance belongs to one thread.

#include "handles_list.h"

#include <map>
#include <utility>
#include <vector>

template <typename Key, typename Value> class OrdCache {
public:
    using Index = std::map<Key, quint16>;
    using Iterator = typename Index::const_iterator;

    explicit OrdCache(quint16 capacity)
        : m_handles(capacity)
    {
    }

    // Null when absent; a hit becomes the most recently used.
    Value const* find(Key const& key)
    {
        auto const it = m_index.find(key);
        if (it == m_index.end())
            return nullptr;
        m_handles.touchId(it->second);
        return &m_entries[it->second].value;
    }

    // Replaces what stood there, or takes the place of the entry used longest ago. False, with
    // nothing kept, when there is room for no entry at all.
    bool insert(Key const& key, Value value)
    {
        auto const it = m_index.find(key);
        if (it != m_index.end()) {
            m_handles.touchId(it->second);
            m_entries[it->second].value = std::move(value);
            return true;
        }
        if (m_handles.isFull() && !evict())
            return false;
        quint16 const id = m_handles.takeId();
        if (id == HandlesList::noHandle)
            return false;
        if (id == m_entries.size()) // fresh handles come in sequence
            m_entries.push_back({ key, std::move(value) });
        else
            m_entries[id] = { key, std::move(value) };
        m_index.emplace(key, id);
        return true;
    }

    // The value, read by fill (called without arguments) and kept if it was not there.
    template <typename Fill> Value findOrFill(Key const& key, Fill&& fill)
    {
        if (Value const* value = find(key))
            return *value;
        Value value = std::forward<Fill>(fill)();
        insert(key, value);
        return value;
    }

    // --- keys in order ---
    Iterator begin() const { return m_index.cbegin(); }
    Iterator end() const { return m_index.cend(); }
    Iterator lowerBound(Key const& key) const { return m_index.lower_bound(key); }
    Iterator upperBound(Key const& key) const { return m_index.upper_bound(key); }

    void erase(Iterator first, Iterator last)
    {
        if (first == begin() && last == end()) {
            clear();
            return;
        }
        for (Iterator it = first; it != last; ++it)
            m_handles.freeId(it->second);
        m_index.erase(first, last);
    }

    void clear()
    {
        m_index.clear();
        m_entries.clear();
        m_handles.clear();
    }

    int count() const { return static_cast<int>(m_index.size()); }

private:
    struct Entry {
        Key key;
        Value value;
    };

    bool evict()
    {
        quint16 const oldest = m_handles.tail();
        if (oldest == HandlesList::noHandle)
            return false;
        m_handles.freeId(oldest);
        m_index.erase(m_entries[oldest].key);
        return true;
    }

    HandlesList m_handles;
    Index m_index;
    std::vector<Entry> m_entries; // by handle
};
