// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The subscription of a session to member lists.

#include "dis_cache.h"
#include "dis_client.h"
#include "dis_session.h"
#include "gateway_protocol.h"

void DisSession::updateChanSegs(FlakeId guild, QVector<DisClientChanSegs> const& channels)
{
    QVector<DisSegsNormalized> const wanted = DisSeg::normalized(channels);
    if (!guild.isValid() || wanted == m_chanSegs.value(guild))
        return;
    if (wanted.isEmpty())
        m_chanSegs.remove(guild);
    else
        m_chanSegs.insert(guild, wanted);
    if (!m_dirtySegs.contains(guild))
        m_dirtySegs.append(guild);
    // A running timer goes on, or steady scrolling would put the frame off for ever.
    if (!m_dirtySegsTimer.isActive())
        m_dirtySegsTimer.start(m_timings.dirtySegs);
}

// One guild at a time. What is changed while the connection is down waits for the next one.
void DisSession::tryUpdateDirtySegs()
{
    if (m_dirtySegsTimer.isActive() || m_dirtySegs.isEmpty()
        || m_stateType != DisSessionStateType::Connected)
        return;
    m_dirtySegsTimer.start(m_timings.dirtySegs);
    FlakeId const guild = m_dirtySegs.takeFirst();
    bool const isFirst = !m_subscribedGuilds.contains(guild);
    m_subscribedGuilds.insert(guild);
    sendFrame(DisGateway::lazyGuildRequestFrame(guild, m_chanSegs.value(guild), isFirst));
}

void DisSession::clearChanSegs()
{
    m_dirtySegsTimer.stop();
    m_chanSegs.clear();
    m_dirtySegs.clear();
    m_subscribedGuilds.clear();
}

void DisSession::receiveSegPackage(DisSeg::Package const& package)
{
    // The members were written with their roles; only the caches need to hear of it, since the
    // list itself tells its listeners.
    DisChanges changes;
    for (DisSeg::Op const& op : package.ops) {
        for (DisSeg::Item const& item : op.items) {
            if (item.userId.isValid())
                changes.add(DisChange::ChangeType::GuildMemberChanged, package.guildId,
                            item.userId);
        }
    }
    if (changes.mask != 0)
        DisCache::applyChanges(changes);
    emit m_client->segPackage(package);
}
