// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_avatar_images.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_listen_p.h"
#include "dis_utils.h"

using namespace DisListenImpl;

namespace {

template <typename T> quint32 updateProp(T& field, T const& value, quint32 bit)
{
    if (field == value)
        return 0;
    field = value;
    return bit;
}

} // namespace

// --- user ---

DisUserListener::DisUserListener(QObject* parent)
    : QObject(parent)
{
}

DisUserListener::~DisUserListener()
{
    clear();
}

void DisUserListener::setParams(DisListen::UserParams const& params)
{
    if (params == m_params)
        return;
    clear();
    m_params = params;
    if (isNull())
        return;
    if (g_disListenManager) {
        g_disListenManager->impl().usersById.add(params.userId, this);
        g_disListenManager->impl().usersByGuild.add(params.guildId, this);
    }
    readProperties(allUserProps);
}

void DisUserListener::clear()
{
    if (g_disListenManager && !isNull()) {
        g_disListenManager->impl().usersById.remove(m_params.userId, this);
        g_disListenManager->impl().usersByGuild.remove(m_params.guildId, this);
    }
    m_params = {};
    m_name.clear();
    m_discrim.clear();
    m_nick.clear();
    m_avatar.clear();
    m_roleColor = {};
    m_status = DisUserStatusCode::Unknown;
}

quint32 DisUserListener::readProperties(quint32 userProps)
{
    using namespace DisListen;
    quint32 changed = 0;
    if (userProps & UserProps::Name)
        changed |= updateProp(m_name, DisCache::userName(m_params.userId), UserProps::Name);
    if (userProps & UserProps::Discriminator)
        changed |= updateProp(m_discrim, DisCache::userDiscrimWithHash(m_params.userId),
                              UserProps::Discriminator);
    if (userProps & UserProps::Status)
        changed |=
            updateProp(m_status, DisCache::userStatusCode(m_params.userId), UserProps::Status);
    if ((userProps & UserProps::Avatar) && m_params.avatarSize > 0 && g_disAvatarImages)
        changed |=
            updateProp(m_avatar, g_disAvatarImages->getAvatar(m_params.userId, m_params.avatarSize),
                       UserProps::Avatar);
    if (!m_params.guildId.isValid())
        return changed;
    if (userProps & UserProps::Nick)
        changed |= updateProp(m_nick, DisCache::userNickInGuild(m_params.userId, m_params.guildId),
                              UserProps::Nick);
    if (userProps & UserProps::RoleColor)
        changed |= updateProp(m_roleColor,
                              DisCache::userRoleColorInGuild(m_params.userId, m_params.guildId),
                              UserProps::RoleColor);
    return changed;
}

// --- channel ---

DisChannelListener::DisChannelListener(QObject* parent)
    : QObject(parent)
{
}

DisChannelListener::~DisChannelListener()
{
    clear();
}

void DisChannelListener::setParams(DisListen::ChannelParams const& params)
{
    if (params == m_params)
        return;
    clear();
    m_params = params;
    if (isNull())
        return;
    if (g_disListenManager)
        g_disListenManager->impl().channelsById.add(params.channelId, this);
    readProperties(allChannelProps);
}

void DisChannelListener::clear()
{
    if (g_disListenManager && !isNull()) {
        DisListenManager::Impl& impl = g_disListenManager->impl();
        impl.channelsById.remove(m_params.channelId, this);
        impl.channelsByGuild.remove(m_guildId, this);
        impl.channelsByOtherUser.remove(m_otherUserId, this);
    }
    m_params = {};
    m_name.clear();
    m_type = DisChannelType::Unknown;
    m_guildId = {};
    m_otherUserId = {};
}

// What the channel depends on may become known, or another, only after the parameters were set.
quint32 DisChannelListener::readProperties(quint32 channelProps)
{
    if (!(channelProps & DisListen::ChannelProps::Name))
        return 0;
    DisChannelType const type = DisCache::channelType(m_params.channelId);
    FlakeId const guild = DisCache::guildIdOfChannel(m_params.channelId);
    FlakeId other;
    if (type == DisChannelType::Private)
        for (FlakeId const user : DisCache::privateChannelParticipants(m_params.channelId))
            if (user != m_params.ownUserId)
                other = user;
    if (g_disListenManager) {
        DisListenManager::Impl& impl = g_disListenManager->impl();
        impl.channelsByGuild.remove(m_guildId, this);
        impl.channelsByGuild.add(guild, this);
        impl.channelsByOtherUser.remove(m_otherUserId, this);
        impl.channelsByOtherUser.add(other, this);
    }
    constexpr quint32 name = DisListen::ChannelProps::Name;
    return updateProp(m_type, type, name) | updateProp(m_guildId, guild, name)
        | updateProp(m_otherUserId, other, name)
        | updateProp(m_name, DisUtils::channelDisplayName(m_params.channelId, m_params.ownUserId),
                     name);
}

// --- guild ---

DisGuildListener::DisGuildListener(QObject* parent)
    : QObject(parent)
{
}

DisGuildListener::~DisGuildListener()
{
    clear();
}

void DisGuildListener::setParams(DisListen::GuildParams const& params)
{
    if (params == m_params)
        return;
    clear();
    m_params = params;
    if (isNull())
        return;
    if (g_disListenManager)
        g_disListenManager->impl().guildsById.add(params.guildId, this);
    readProperties(allGuildProps);
}

void DisGuildListener::clear()
{
    if (g_disListenManager)
        g_disListenManager->impl().guildsById.remove(m_params.guildId, this);
    m_params = {};
    m_name.clear();
}

quint32 DisGuildListener::readProperties(quint32 guildProps)
{
    if (!(guildProps & DisListen::GuildProps::Name))
        return 0;
    return updateProp(m_name, DisCache::guildName(m_params.guildId), DisListen::GuildProps::Name);
}

// --- typing ---

DisTypingUsersListener::DisTypingUsersListener(QObject* parent)
    : QObject(parent)
{
}

DisTypingUsersListener::~DisTypingUsersListener()
{
    clear();
}

void DisTypingUsersListener::setChannelId(FlakeId channel)
{
    if (channel == m_channelId)
        return;
    clear();
    m_channelId = channel;
    if (g_disListenManager && channel.isValid())
        g_disListenManager->impl().typing[channel].listeners.append(this);
}

void DisTypingUsersListener::clear()
{
    if (g_disListenManager && m_channelId.isValid()) {
        auto& typing = g_disListenManager->impl().typing;
        auto const backing = typing.find(m_channelId);
        if (backing != typing.end()) {
            backing->listeners.removeOne(this);
            if (backing->listeners.isEmpty())
                typing.erase(backing);
        }
    }
    m_channelId = {};
}

QVector<FlakeId> DisTypingUsersListener::typingUsers() const
{
    QVector<FlakeId> users;
    if (!g_disListenManager)
        return users;
    for (TypingBacking::User const& user :
         g_disListenManager->impl().typing.value(m_channelId).users)
        if (!g_disClient->hasSessionForOwnUserId(user.id))
            users.append(user.id);
    return users;
}
