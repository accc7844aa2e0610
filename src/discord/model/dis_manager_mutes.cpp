// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_manager_impl.h"
#include "dis_rest_params.h"
#include "nak_stmt.h"
#include "saved_data.h"

#include <QDataStream>

#include <algorithm>

namespace {

using Impl = DisManager::Impl;

constexpr QDataStream::Version blobVersion = QDataStream::Qt_5_9;

// A channel is muted by an override of its own or with its whole guild.
// 1: user, 2: guild or null for all.
constexpr char mutedChannelsSql[] =
    "select channel_id from user_guild_setting_channel_override"
    " where user_id = ?1 and muted and (?2 is null or guild_id = ?2)"
    " union select guild_channel.id from user_guild_setting join guild_channel"
    " on guild_channel.guild_id = user_guild_setting.guild_id"
    " where user_guild_setting.user_id = ?1 and user_guild_setting.muted"
    " and (?2 is null or user_guild_setting.guild_id = ?2)";

QSet<FlakeId> loadMutedChannels(FlakeId user, FlakeId guild)
{
    NakStmt stmt(g_disClient->db(), mutedChannelsSql);
    stmt.bind(1, user);
    if (guild.isValid())
        stmt.bind(2, guild);
    QSet<FlakeId> channels;
    while (stmt.step())
        channels.insert(stmt.colFlake(0));
    return channels;
}

void setMutedChannels(Impl& impl, QSet<FlakeId> const& channels)
{
    QSet<FlakeId> const changed = (channels - impl.mutedChannels) + (impl.mutedChannels - channels);
    if (changed.isEmpty())
        return;
    impl.mutedChannels = channels;
    emit impl.manager->mutedChannelsChanged();
    DisManagerImpl::tellUnreads(impl, changed);
}

void saveMutedUsers(Impl const& impl)
{
    if (g_savedData)
        g_savedData->storeBlob(DisManagerImpl::kMutedUsersKey(),
                               DisManagerImpl::serializeMutedUsers(impl.mutedUsers));
}

} // namespace

namespace DisManagerImpl {

QString kMutedUsersKey()
{
    return QStringLiteral("discord_muted_users");
}

// In order of ids, so that the same set gives the same bytes.
QByteArray serializeMutedUsers(QSet<FlakeId> const& users)
{
    QVector<FlakeId> sorted(users.cbegin(), users.cend());
    std::sort(sorted.begin(), sorted.end());
    QByteArray blob;
    QDataStream stream(&blob, QIODevice::WriteOnly);
    stream.setVersion(blobVersion);
    for (FlakeId const user : qAsConst(sorted))
        stream << user.value();
    return blob;
}

QSet<FlakeId> deserializeMutedUsers(QByteArray const& blob)
{
    QDataStream stream(blob);
    stream.setVersion(blobVersion);
    QSet<FlakeId> users;
    while (!stream.atEnd()) {
        quint64 user = 0;
        stream >> user;
        if (stream.status() != QDataStream::Ok)
            break;
        users.insert(FlakeId(user));
    }
    return users;
}

void setUpMutes(Impl& impl)
{
    if (g_savedData)
        impl.mutedUsers = deserializeMutedUsers(g_savedData->loadBlob(kMutedUsersKey()));
    impl.mutedTimer.setSingleShot(true);
    impl.mutedTimer.setInterval(10);
    QObject::connect(&impl.mutedTimer, &QTimer::timeout, impl.manager, [&impl] {
        for (FlakeId const guild : std::exchange(impl.guildsWithNewSettings, {}))
            loadMutedChannelsInGuildFromDisDb(impl, impl.activeUser, guild);
    });
}

void loadAllMutedChannelsFromDisDb(Impl& impl)
{
    setMutedChannels(impl, loadMutedChannels(impl.activeUser, FlakeId()));
}

void loadMutedChannelsInGuildFromDisDb(Impl& impl, FlakeId user, FlakeId guild)
{
    QSet<FlakeId> channels;
    for (FlakeId const channel : qAsConst(impl.mutedChannels))
        if (DisCache::guildIdOfChannel(channel) != guild)
            channels.insert(channel);
    setMutedChannels(impl, channels.unite(loadMutedChannels(user, guild)));
}

} // namespace DisManagerImpl

QSet<FlakeId> const& DisManager::mutedChannels() const
{
    return m_impl->mutedChannels;
}

void DisManager::setChannelMuted(FlakeId channel, bool muted)
{
    // The service's settings, and the store's, are those of a guild: private channels have none.
    FlakeId const guild = DisCache::guildIdOfChannel(channel);
    if (!guild.isValid())
        return;
    DisGuildNotificationSettings settings;
    settings.channelOverrides.append({ channel, muted, std::nullopt });
    g_disClient->setGuildNotificationSettings(m_impl->activeUser, guild, settings);
}

bool DisManager::isUserMuted(FlakeId user) const
{
    return m_impl->mutedUsers.contains(user);
}

QSet<FlakeId> const& DisManager::mutedUsers() const
{
    return m_impl->mutedUsers;
}

void DisManager::addMutedUser(FlakeId user)
{
    if (isUserMuted(user))
        return;
    m_impl->mutedUsers.insert(user);
    saveMutedUsers(*m_impl);
    emit mutedUsersChanged();
}

void DisManager::removeMutedUser(FlakeId user)
{
    if (!m_impl->mutedUsers.remove(user))
        return;
    saveMutedUsers(*m_impl);
    emit mutedUsersChanged();
}
