// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_seg.h"

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

} // namespace

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
