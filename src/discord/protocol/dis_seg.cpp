// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_seg.h"

#include <QtEndian>

#include <algorithm>
#include <limits>

namespace DisSeg {

namespace {

constexpr int maxChunks = 20; // of one range; a wider one is taken for a mistake and ignored
// Row numbers are sent as signed 32-bit integers.
constexpr int maxChunk = std::numeric_limits<qint32>::max() / chunkSize - 1;

void addChunks(DisSegRange const& range, QVector<int>* chunks)
{
    if (range.first < 0 || range.last < range.first)
        return;
    int const first = range.first / chunkSize;
    int const last = range.last / chunkSize;
    if (last - first >= maxChunks || last > maxChunk)
        return;
    for (int chunk = first; chunk <= last; ++chunk)
        chunks->append(chunk);
}

void sortUnique(QVector<int>* chunks)
{
    std::sort(chunks->begin(), chunks->end());
    chunks->erase(std::unique(chunks->begin(), chunks->end()), chunks->end());
}

quint32 rotatedLeft(quint32 value, int bits)
{
    return value << bits | value >> (32 - bits);
}

// MurmurHash3 of 32 bits with the seed 0.
quint32 murmur(QByteArray const& bytes)
{
    auto const scrambled = [](quint32 block) {
        return rotatedLeft(block * 0xCC9E2D51U, 15) * 0x1B873593U;
    };
    quint32 hash = 0;
    int at = 0;
    for (; at + 4 <= bytes.size(); at += 4) {
        hash ^= scrambled(qFromLittleEndian<quint32>(bytes.constData() + at));
        hash = rotatedLeft(hash, 13) * 5 + 0xE6546B64U;
    }
    quint32 tail = 0;
    for (int i = bytes.size() - 1; i >= at; --i)
        tail = tail << 8 | static_cast<quint8>(bytes[i]);
    hash ^= scrambled(tail);
    hash ^= static_cast<quint32>(bytes.size());
    hash = (hash ^ hash >> 16) * 0x85EBCA6BU;
    hash = (hash ^ hash >> 13) * 0xC2B2AE35U;
    return hash ^ hash >> 16;
}

} // namespace

QString listIdOfReaders(QStringList readers)
{
    readers.sort();
    return QString::number(murmur(readers.join(QLatin1Char(',')).toLatin1()));
}

QVector<DisSegsNormalized> normalized(QVector<DisClientChanSegs> const& channels)
{
    QVector<DisSegsNormalized> result;
    for (DisClientChanSegs const& channel : channels) {
        if (!channel.channelId.isValid())
            continue;
        auto at = std::lower_bound(
            result.begin(), result.end(), channel.channelId,
            [](DisSegsNormalized const& segs, FlakeId id) { return segs.channelId < id; });
        if (at == result.end() || at->channelId != channel.channelId)
            at = result.insert(at, { channel.channelId, { 0 } });
        for (DisSegRange const& range : channel.ranges)
            addChunks(range, &at->chunks);
    }
    for (DisSegsNormalized& segs : result)
        sortUnique(&segs.chunks);
    return result;
}

} // namespace DisSeg
