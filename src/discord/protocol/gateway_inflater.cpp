// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "gateway_inflater.h"

#include "huge_pages.h"

#include <QtAlgorithms>
#include <QtGlobal>

#include <algorithm>
#include <cstdlib>

namespace {

// A frame above this is an account's READY, whose pages are to be huge ones.
constexpr quint32 smallCapacity = 1 << 20; // bytes

// Twice the highest power of two at or below capacity. From a small buffer to one that is mapped on
// its own in one step: what of it is not used takes no memory.
quint64 grownCapacity(quint32 capacity)
{
    quint64 const doubled = quint64(1) << (32 - qCountLeadingZeroBits(capacity));
    return doubled <= smallCapacity ? doubled : std::max<quint64>(doubled, HugePages::ownMapping);
}

char* reallocOrDie(char* buffer, quint32 capacity)
{
    char* const moved = static_cast<char*>(std::realloc(buffer, capacity));
    if (!moved)
        qFatal("Out of memory");
    HugePages::prefer(moved, capacity);
    return moved;
}

} // namespace

DisGatewayInflater::DisGatewayInflater(quint32 maxFrame)
    : m_buffer(reallocOrDie(nullptr, initialCapacity))
    , m_capacity(initialCapacity)
    , m_maxFrame(std::max(maxFrame, initialCapacity))
{
    if (inflateInit(&m_stream) != Z_OK)
        qFatal("Unable to initialize Zlib decompression.");
}

DisGatewayInflater::~DisGatewayInflater()
{
    inflateEnd(&m_stream);
    std::free(m_buffer);
}

DisGatewayInflater::Outcome DisGatewayInflater::inflateMessage(char const* bytes, quint32 size)
{
    Outcome outcome;
    m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes));
    m_stream.avail_in = size;
    for (;;) {
        m_stream.next_out = reinterpret_cast<Bytef*>(m_buffer + outcome.size);
        m_stream.avail_out = m_capacity - outcome.size;
        outcome.zlibError = ::inflate(&m_stream, Z_NO_FLUSH);
        if (outcome.zlibError != Z_OK)
            break;
        outcome.size = m_capacity - m_stream.avail_out;
        if (m_stream.avail_in == 0) {
            outcome.status = Status::Frame;
            outcome.data = m_buffer;
            break;
        }
        if (!grow()) {
            outcome.status = Status::TooLarge;
            break;
        }
    }
    if (outcome.zlibError == Z_STREAM_END)
        outcome.status = Status::StreamEnd;
    m_stream.next_in = nullptr;
    m_stream.avail_in = 0;
    return outcome;
}

bool DisGatewayInflater::grow()
{
    quint32 const capacity =
        static_cast<quint32>(std::min<quint64>(grownCapacity(m_capacity), m_maxFrame));
    if (capacity <= m_capacity)
        return false;
    m_buffer = reallocOrDie(m_buffer, capacity);
    m_capacity = capacity;
    return true;
}

void DisGatewayInflater::release()
{
    if (m_capacity <= initialCapacity)
        return;
    m_buffer = reallocOrDie(m_buffer, initialCapacity);
    m_capacity = initialCapacity;
}

void DisGatewayInflater::reset()
{
    int const code = inflateReset(&m_stream);
    if (code != Z_OK)
        qFatal("Zlib decompression reset error code: %d", code);
}
