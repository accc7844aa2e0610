// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A bounded map that forgets what was used longest ago. A hit costs one hash lookup and a few
// pointer writes. No lock: an instance belongs to one thread.

#include <QHash>
#include <QVector>

#include <utility>

template <typename Key, typename Value> class NakKVCache {
public:
    NakKVCache() = default;
    explicit NakKVCache(int maxCost) { setMaxAndReserveCount(maxCost); }
    NakKVCache(NakKVCache const&) = delete;
    NakKVCache& operator=(NakKVCache const&) = delete;

    // With the default cost of 1 the maximum is a number of entries.
    void setMaxAndReserveCount(int max)
    {
        m_maxCost = max;
        evictDownTo(max);
        m_nodes.reserve(qMax(max, 1));
    }

    // Replaces what stood there. Null when the cost is above the maximum: a value that is too large
    // still erases the old one, which is out of date by then. The pointer holds until the entry
    // goes.
    Value* insert(Key const& key, Value value, int cost = 1)
    {
        remove(key);
        if (cost > m_maxCost)
            return nullptr;
        evictDownTo(m_maxCost - cost);
        auto const it = m_nodes.insert(key, Node());
        Node* node = &it.value();
        node->key = &it.key();
        node->value = std::move(value);
        node->cost = cost;
        m_totalCost += cost;
        linkAtHead(node);
        return &node->value;
    }

    // Null when absent; a hit becomes the most recently used.
    Value* find(Key const& key)
    {
        auto const it = m_nodes.find(key);
        if (it == m_nodes.end())
            return nullptr;
        Node* node = &it.value();
        if (node != m_head) {
            unlink(node);
            linkAtHead(node);
        }
        return &node->value;
    }

    bool remove(Key const& key)
    {
        auto const it = m_nodes.find(key);
        if (it == m_nodes.end())
            return false;
        unlink(&it.value());
        m_totalCost -= it.value().cost;
        m_nodes.erase(it);
        return true;
    }

    // Those for which predicate(key, value) is true. Looks at all.
    template <typename Predicate> void removeIf(Predicate predicate)
    {
        for (auto it = m_nodes.begin(); it != m_nodes.end();) {
            Node* const node = &it.value();
            if (!predicate(it.key(), node->value)) {
                ++it;
                continue;
            }
            unlink(node);
            m_totalCost -= node->cost;
            it = m_nodes.erase(it);
        }
    }

    void clear()
    {
        m_nodes.clear();
        m_head = nullptr;
        m_tail = nullptr;
        m_totalCost = 0;
    }

    // The most recent first; a negative count means all. The walk stops at the oldest entry without
    // taking it, so a cache of one entry lists nothing: the one user wants some recent names, not
    // all of them, and an entry about to be forgotten is none.
    QVector<Key> recentKeys(int count) const
    {
        int const wanted = count < 0 ? m_nodes.size() : qMin(count, m_nodes.size());
        QVector<Key> keys;
        keys.reserve(wanted);
        for (Node const* node = m_head; node != m_tail && keys.size() < wanted; node = node->next)
            keys.append(*node->key);
        return keys;
    }

    int count() const { return m_nodes.size(); }
    int maxCost() const { return m_maxCost; }
    int totalCost() const { return m_totalCost; }

private:
    struct Node {
        Key const* key = nullptr; // into the hash, whose nodes do not move
        Value value{};
        qint32 cost = 0;
        Node* previous = nullptr; // towards the head, the most recently used
        Node* next = nullptr;
    };

    void linkAtHead(Node* node)
    {
        node->previous = nullptr;
        node->next = m_head;
        (m_head ? m_head->previous : m_tail) = node;
        m_head = node;
    }

    void unlink(Node* node)
    {
        (node->previous ? node->previous->next : m_head) = node->next;
        (node->next ? node->next->previous : m_tail) = node->previous;
    }

    void evictDownTo(int cost)
    {
        while (m_tail && m_totalCost > cost) {
            Key const key = *m_tail->key; // a copy, since the original goes with the node
            remove(key);
        }
    }

    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    QHash<Key, Node> m_nodes;
    qint32 m_maxCost = 0;
    qint32 m_totalCost = 0;
};
