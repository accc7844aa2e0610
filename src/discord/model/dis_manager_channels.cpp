// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_manager_impl.h"
#include "dis_utils.h"
#include "global_events.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QElapsedTimer>

namespace {

using Impl = DisManager::Impl;
using ChangeType = DisChange::ChangeType;

constexpr int maxRecentChannels = 100;
// A READY can bring thousands of unread channels, and each is asked for in the store.
constexpr int shareOfFrameMs = 2;
constexpr int pauseBetweenSharesMs = 1;
constexpr int goneDelayMs = 100; // views read when channels have changed, too
constexpr int ackInterval = 5000; // milliseconds
// A session that the service gave no token for the next acknowledgement refuses all further ones;
// trying for ever would only wake the machine.
constexpr int maxRefusedAckRounds = 24;

FlakeId lastMessageOf(NakStmt& guildChannels, NakStmt& privateChannels, FlakeId channel)
{
    for (NakStmt* const stmt : { &guildChannels, &privateChannels }) {
        stmt->reset();
        stmt->bind(1, channel);
        FlakeId const last = stmt->step() ? stmt->colFlake(0) : FlakeId();
        stmt->reset();
        if (last.isValid())
            return last;
    }
    return {};
}

void sendMessageReadAcks(Impl& impl)
{
    bool anySent = false;
    for (auto it = impl.acksToSend.begin(); it != impl.acksToSend.end();) {
        bool const sent = g_disClient->trySendMessageReadAck(impl.activeUser, it.key(), it.value());
        anySent |= sent;
        it = sent ? impl.acksToSend.erase(it) : std::next(it);
    }
    impl.refusedAckRounds = anySent ? 0 : impl.refusedAckRounds + 1;
    if (impl.refusedAckRounds >= maxRefusedAckRounds)
        impl.acksToSend.clear();
    if (!impl.acksToSend.isEmpty())
        impl.acksTimer.start();
}

void synchronizeGuildsOfChannels(Impl const& impl, QSet<FlakeId> const& channels)
{
    QSet<FlakeId> guilds;
    for (FlakeId const channel : channels)
        guilds.insert(DisCache::guildIdOfChannel(channel));
    guilds.remove(FlakeId());
    if (!guilds.isEmpty())
        g_disClient->includeGuildsForSynchronization(impl.activeUser, guilds);
}

bool isPrivate(FlakeId channel)
{
    DisChannelType const type = DisCache::channelType(channel);
    return type == DisChannelType::Private || type == DisChannelType::PrivateGroup;
}

void notify(Impl& impl, DisNotifs::MsgNotifParams const& message, bool mentioned)
{
    if (isPrivate(message.channel) && !impl.mutedChannels.contains(message.channel))
        DisNotifs::addPrivMsgNotif(impl.notifs, message);
    if (mentioned)
        DisNotifs::addMentionedMsgNotif(impl.notifs, message);
}

// An item of MessageCreated: message, channel, author.
void messageCreated(Impl& impl, DisChange const& change)
{
    FlakeId const message = change.words[0];
    FlakeId const channel = change.words[1];
    FlakeId const author = change.words[2];
    bool const mentioned = impl.messagesThatMention.remove(message);
    if (author == impl.activeUser || impl.mutedUsers.contains(author))
        return;
    if (impl.foreground.attended.contains(channel)) {
        DisManagerImpl::addMsgAck(impl, channel, message);
        return;
    }
    ++impl.unreadCounts[channel];
    DisManagerImpl::tellUnreads(impl, { channel });
    DisNotifs::MsgNotifParams params;
    params.channel = channel;
    params.message = message;
    params.author = author;
    notify(impl, params, mentioned);
}

// After what is told at once has come.
void checkUnreadsSoon(Impl& impl)
{
    impl.unreadsToCheck.clear(); // all of them anew
    impl.goneTimer.start(goneDelayMs);
}

void emitUnreads(Impl& impl)
{
    QHash<FlakeId, int> counts;
    {
        NakSqlTransaction const oneRead(g_disClient->db());
        QElapsedTimer elapsed;
        elapsed.start();
        auto it = impl.unreadsToTell.cbegin();
        while (it != impl.unreadsToTell.cend() && elapsed.elapsed() < shareOfFrameMs) {
            counts.insert(*it, impl.manager->channelUnreadCount(*it));
            it = impl.unreadsToTell.erase(it);
        }
    }
    if (!impl.unreadsToTell.isEmpty())
        impl.unreadsTimer.start();
    emit impl.manager->unreadsChanged(counts);
}

} // namespace

namespace DisManagerImpl {

void setUpChannels(Impl& impl)
{
    impl.foregroundTimer.setSingleShot(true);
    QObject::connect(&impl.foregroundTimer, &QTimer::timeout, impl.manager, [&impl] {
        setForegroundChannels(
            impl, impl.foregroundProvider ? impl.foregroundProvider() : DisForegroundChannels());
    });
    impl.unreadsTimer.setSingleShot(true);
    impl.unreadsTimer.setInterval(pauseBetweenSharesMs);
    QObject::connect(&impl.unreadsTimer, &QTimer::timeout, impl.manager,
                     [&impl] { emitUnreads(impl); });
    impl.goneTimer.setSingleShot(true);
    QObject::connect(&impl.goneTimer, &QTimer::timeout, impl.manager,
                     [&impl] { clearUnreadsOnIrrelevantChannels(impl); });
    impl.acksTimer.setSingleShot(true);
    impl.acksTimer.setInterval(ackInterval);
    QObject::connect(&impl.acksTimer, &QTimer::timeout, impl.manager,
                     [&impl] { sendMessageReadAcks(impl); });
    QObject::connect(
        g_disClient, &DisClient::messageCreated, impl.manager,
        [&impl](FlakeId message, FlakeId, FlakeId, FlakeId, QVector<FlakeId> const& mentions) {
            if (mentions.contains(impl.activeUser))
                impl.messagesThatMention.insert(message);
        });
    // Read on another device.
    QObject::connect(
        g_disClient, &DisClient::messageAckReceived, impl.manager,
        [&impl](FlakeId, FlakeId channel, FlakeId) { removeUnreads(impl, { channel }); });
}

void disChanges(Impl& impl, DisChanges const& changes)
{
    if (changes.isReload()) {
        // A new connection has nothing synchronized yet, though the same channels are on screen.
        synchronizeGuildsOfChannels(impl, impl.foreground.shown);
        loadAllMutedChannelsFromDisDb(impl);
        checkUnreadsSoon(impl);
        loadPendingFriendRequests(impl);
        impl.messagesThatMention.clear();
        return;
    }
    for (DisChange const& change : changes.items) {
        if (change.type == ChangeType::MessageCreated) {
            messageCreated(impl, change);
        } else if (change.type == ChangeType::UserGuildSettingsChanged) {
            impl.guildsWithNewSettings.insert(change.words[1]);
            impl.mutedTimer.start();
        }
    }
    if (changes.has(ChangeType::RelationshipAdded) || changes.has(ChangeType::RelationshipRemoved))
        loadPendingFriendRequests(impl);
    if (changes.has(ChangeType::ChannelChanged))
        checkUnreadsSoon(impl);
}

void setForegroundChannels(Impl& impl, DisForegroundChannels const& channels)
{
    QSet<FlakeId> const shown = channels.shown - impl.foreground.shown;
    QSet<FlakeId> const attended = channels.attended - impl.foreground.attended;
    bool const changed = channels.shown != impl.foreground.shown;
    impl.foreground = channels;
    synchronizeGuildsOfChannels(impl, shown);
    QHash<FlakeId, int> read;
    for (FlakeId const channel : attended)
        if (int const count = impl.unreadCounts.value(channel))
            read.insert(channel, count);
    hackSendMessageReadAcks(impl, read);
    removeUnreads(impl, attended);
    if (changed)
        emit impl.manager->foregroundChannelsChanged();
}

void userUnreadCountersInitialized(Impl& impl, QHash<FlakeId, int> const& counts)
{
    QSet<FlakeId> changed;
    for (FlakeId const channel : impl.unreadCounts.keys() + counts.keys())
        if (impl.unreadCounts.value(channel) != counts.value(channel))
            changed.insert(channel);
    // Read on another device while this one was away, or another user's.
    QSet<FlakeId> read;
    for (FlakeId const channel : impl.notifs.messages.keys())
        if (counts.value(channel) == 0)
            read.insert(channel);
    impl.unreadCounts = counts;
    impl.countersInitialized = true;
    tellUnreads(impl, changed);
    DisNotifs::removeMsgNotifsInChannels(impl.notifs, read);
}

void readyHandled(Impl& impl)
{
    if (!impl.countersInitialized)
        userUnreadCountersInitialized(impl, {});
    impl.countersInitialized = false;
    // What the user has before their eyes is read already.
    DisForegroundChannels const now = std::exchange(impl.foreground, { impl.foreground.shown, {} });
    setForegroundChannels(impl, now);
}

void tellUnreads(Impl& impl, QSet<FlakeId> const& channels)
{
    if (channels.isEmpty())
        return;
    impl.unreadsToTell.unite(channels);
    if (!impl.unreadsTimer.isActive())
        impl.unreadsTimer.start();
}

void removeUnreads(Impl& impl, QSet<FlakeId> const& channels)
{
    QSet<FlakeId> removed;
    for (FlakeId const channel : channels)
        if (impl.unreadCounts.remove(channel) != 0)
            removed.insert(channel);
    tellUnreads(impl, removed);
    DisNotifs::removeMsgNotifsInChannels(impl.notifs, channels);
}

void clearUnreadsOnIrrelevantChannels(Impl& impl)
{
    if (isWaitingForReady(impl))
        return; // READY begins anew with them
    if (impl.unreadsToCheck.isEmpty())
        impl.unreadsToCheck = impl.unreadCounts.keys().toVector();
    QSet<FlakeId> gone;
    {
        NakSqlTransaction const oneRead(g_disClient->db());
        // The table of the guilds' channels keeps those that are gone.
        NakStmt stmt(g_disClient->db(),
                     "select id from guild_channel where id = ?1 and deleted = 0"
                     " union all select id from private_channel where id = ?1");
        QElapsedTimer elapsed;
        elapsed.start();
        while (!impl.unreadsToCheck.isEmpty() && elapsed.elapsed() < shareOfFrameMs) {
            FlakeId const channel = impl.unreadsToCheck.takeLast();
            stmt.bind(1, channel);
            if (!stmt.step())
                gone.insert(channel);
            stmt.reset();
        }
    }
    if (!impl.unreadsToCheck.isEmpty())
        impl.goneTimer.start(pauseBetweenSharesMs);
    removeUnreads(impl, gone);
}

void addMsgAck(Impl& impl, FlakeId channel, FlakeId message)
{
    FlakeId& newest = impl.acksToSend[channel];
    if (!newest.isValid() || newest < message)
        newest = message;
    impl.refusedAckRounds = 0;
    if (!impl.acksTimer.isActive())
        impl.acksTimer.start();
}

void hackSendMessageReadAcks(Impl& impl, QHash<FlakeId, int> const& counts)
{
    if (counts.isEmpty())
        return;
    NakStmt inGuild(g_disClient->db(), "select last_message_id from guild_channel where id = ?");
    NakStmt inPrivate(g_disClient->db(),
                      "select last_message_id from private_channel where id = ?");
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        FlakeId const last = lastMessageOf(inGuild, inPrivate, it.key());
        if (last.isValid())
            addMsgAck(impl, it.key(), last);
    }
    // Opening a channel counts at once; only what follows waits for its round.
    sendMessageReadAcks(impl);
}

} // namespace DisManagerImpl

// --- channels on screen ---

void DisManager::setForegroundChannelsProvider(
    std::function<DisForegroundChannels()> const& provider)
{
    m_impl->foregroundProvider = provider;
}

QSet<FlakeId> DisManager::foregroundChannels() const
{
    return m_impl->foreground.shown;
}

void DisManager::hack_foregroundChannelsMayHaveChanged()
{
    if (!m_impl->foregroundTimer.isActive())
        m_impl->foregroundTimer.start(0);
}

void DisManager::markChannelAsRecentlyUsed(FlakeId channel)
{
    m_impl->recentChannels.removeOne(channel);
    m_impl->recentChannels.prepend(channel);
    if (m_impl->recentChannels.size() > maxRecentChannels)
        m_impl->recentChannels.removeLast();
}

QVector<FlakeId> DisManager::recentlyUsedChannels() const
{
    return m_impl->recentChannels;
}

void DisManager::keepUnsentText(FlakeId channel, QString const& text)
{
    m_impl->unsentTexts.insert(channel, text);
}

QString DisManager::takeUnsentText(FlakeId channel)
{
    return m_impl->unsentTexts.take(channel);
}

// --- unread channels ---

QHash<FlakeId, int> const& DisManager::unreadCounts() const
{
    return m_impl->unreadCounts;
}

int DisManager::channelUnreadCount(FlakeId channel) const
{
    int const count = m_impl->unreadCounts.value(channel);
    if (count == 0 || m_impl->mutedChannels.contains(channel))
        return 0;
    bool const visible =
        isPrivate(channel) || DisCache::userCanAccessGuildChannel(m_impl->activeUser, channel);
    return visible ? count : 0;
}

void DisManager::markChannelsAsRead(QVector<FlakeId> const& channels)
{
    QHash<FlakeId, int> counts;
    for (FlakeId const channel : channels)
        counts.insert(channel, m_impl->unreadCounts.value(channel));
    DisManagerImpl::hackSendMessageReadAcks(*m_impl, counts);
    DisManagerImpl::removeUnreads(*m_impl, QSet<FlakeId>(channels.cbegin(), channels.cend()));
}

void DisManager::markGuildAsRead(FlakeId guild)
{
    g_disClient->sendGuildReadAck(m_impl->activeUser, guild);
    QSet<FlakeId> channels;
    for (auto it = m_impl->unreadCounts.cbegin(); it != m_impl->unreadCounts.cend(); ++it)
        if (DisCache::guildIdOfChannel(it.key()) == guild)
            channels.insert(it.key());
    DisManagerImpl::removeUnreads(*m_impl, channels);
}

void DisManager::hack_localClearAllUnreads()
{
    QList<FlakeId> const channels = m_impl->unreadCounts.keys();
    DisManagerImpl::removeUnreads(*m_impl, QSet<FlakeId>(channels.cbegin(), channels.cend()));
}
