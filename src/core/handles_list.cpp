// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "handles_list.h"

void HandlesList::setCapacity(quint16 capacity)
{
    bool const hadLinks = m_links != nullptr;
    m_capacity = capacity;
    m_links.reset();
    if (hadLinks && capacity > 0)
        m_links.reset(new Link[capacity]); // left uninitialised: see takeId
    clear();
}

void HandlesList::clear()
{
    m_head = noHandle;
    m_tail = noHandle;
    m_freeHead = 0;
    if (m_links)
        m_links[0].next = noHandle;
}

quint16 HandlesList::takeId()
{
    if (isFull())
        return noHandle;
    if (!m_links) {
        m_links.reset(new Link[m_capacity]);
        m_links[0].next = noHandle;
    }
    quint16 const id = m_freeHead;
    // Free slots are not linked up in advance: a slot that names no next one stands for the number
    // after it, which has never been used and is set up only now.
    quint16 nextFree = m_links[id].next;
    if (nextFree == noHandle) {
        nextFree = static_cast<quint16>(id + 1);
        if (nextFree != m_capacity)
            m_links[nextFree].next = noHandle;
    }
    m_freeHead = nextFree;
    linkAtHead(id);
    return id;
}

void HandlesList::touchId(quint16 id)
{
    if (id == m_head)
        return;
    unlink(id);
    linkAtHead(id);
}

void HandlesList::freeId(quint16 id)
{
    unlink(id);
    m_links[id].next = m_freeHead;
    m_freeHead = id;
}

void HandlesList::linkAtHead(quint16 id)
{
    m_links[id].previous = noHandle;
    m_links[id].next = m_head;
    if (m_head == noHandle)
        m_tail = id;
    else
        m_links[m_head].previous = id;
    m_head = id;
}

void HandlesList::unlink(quint16 id)
{
    Link const link = m_links[id];
    if (link.previous == noHandle)
        m_head = link.next;
    else
        m_links[link.previous].next = link.next;
    if (link.next == noHandle)
        m_tail = link.previous;
    else
        m_links[link.next].previous = link.previous;
}
