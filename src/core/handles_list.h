// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A bounded list of 16-bit handles in the order of their last use. It names slots of somebody
// else's array. A new list costs nothing per slot. No lock: an instance belongs to one thread.

#include <QtGlobal>

#include <memory>

class HandlesList {
public:
    static constexpr quint16 noHandle = 0xFFFF;

    explicit HandlesList(quint16 capacity)
        : m_capacity(capacity)
    {
    }

    void setCapacity(quint16 capacity); // forgets all handles
    void clear();

    // A free handle, now the most recently used; noHandle when the list is full. As long as nothing
    // was freed, handles come in sequence from 0.
    quint16 takeId();
    void touchId(quint16 id); // id was taken
    void freeId(quint16 id); // id was taken

    bool isFull() const { return m_freeHead == m_capacity; }
    quint16 tail() const { return m_tail; } // used longest ago; noHandle when empty
    quint16 capacity() const { return m_capacity; }

private:
    struct Link {
        quint16 next; // towards the tail; of a free slot: the next free handle, see takeId
        quint16 previous;
    };

    void linkAtHead(quint16 id);
    void unlink(quint16 id);

    std::unique_ptr<Link[]> m_links; // made by the first takeId
    quint16 m_head = noHandle;
    quint16 m_tail = noHandle;
    quint16 m_capacity;
    quint16 m_freeHead = 0; // m_capacity when full
};
