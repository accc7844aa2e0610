// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_listen.h"

#include "dis_cache.h"
#include "dis_client.h"
#include "dis_utils.h"

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <iterator>

DisListenManager* g_disListenManager = nullptr;

namespace {

constexpr qint64 typingLifetime = 10'000; // ms
constexpr int typingCheck = 1'000; // ms

constexpr quint32 allUserProps = DisListen::UserProps::Name | DisListen::UserProps::Discriminator
    | DisListen::UserProps::Nick | DisListen::UserProps::RoleColor | DisListen::UserProps::Status;
constexpr quint32 allChannelProps = DisListen::ChannelProps::Name;

// Listeners by one of the identifiers that they depend on.
template <typename Listener> class Routes {
public:
    void add(FlakeId id, Listener* listener)
    {
        if (id.isValid())
            m_listeners[id].append(listener);
    }
    void remove(FlakeId id, Listener* listener)
    {
        auto const found = m_listeners.find(id);
        if (found == m_listeners.end())
            return;
        found->removeOne(listener);
        if (found->isEmpty())
            m_listeners.erase(found);
    }
    QVector<Listener*> of(FlakeId id) const { return m_listeners.value(id); }
    QVector<Listener*> all() const
    {
        QVector<Listener*> listeners;
        for (QVector<Listener*> const& some : m_listeners)
            listeners += some;
        return listeners;
    }

private:
    QHash<FlakeId, QVector<Listener*>> m_listeners;
};

// The listeners that one record of changes concerns, each once, with what to check of it. Listeners
// may die while others are told.
template <typename Listener> class Gathered {
public:
    void add(QVector<Listener*> const& listeners, quint32 props)
    {
        for (Listener* const listener : listeners) {
            auto const found =
                std::find_if(m_entries.begin(), m_entries.end(),
                             [listener](Entry const& entry) { return entry.listener == listener; });
            if (found == m_entries.end())
                m_entries.append({ listener, props });
            else
                found->props |= props;
        }
    }
    // All of them, of which each is there once already.
    void setAll(QVector<Listener*> const& listeners, quint32 props)
    {
        for (Listener* const listener : listeners)
            m_entries.append({ listener, props });
    }
    template <typename Function> void forEachAlive(Function const& function) const
    {
        for (Entry const& entry : m_entries)
            if (entry.listener)
                function(*entry.listener, entry.props);
    }

private:
    struct Entry {
        QPointer<Listener> listener;
        quint32 props;
    };
    QVarLengthArray<Entry, 16> m_entries;
};

// Who types in a channel that somebody listens to, in the order in which they began.
struct TypingBacking {
    struct User {
        FlakeId id;
        qint64 lastStart; // by the manager's clock
    };
    QVector<User> users;
    QVector<DisTypingUsersListener*> listeners;

    auto find(FlakeId user)
    {
        return std::find_if(users.begin(), users.end(),
                            [user](User const& entry) { return entry.id == user; });
    }
};

template <typename T> quint32 updateProp(T& field, T const& value, quint32 bit)
{
    if (field == value)
        return 0;
    field = value;
    return bit;
}

} // namespace

struct DisListenManager::Impl {
    Routes<DisUserListener> usersById;
    Routes<DisUserListener> usersByGuild;
    Routes<DisChannelListener> channelsById;
    Routes<DisChannelListener> channelsByGuild;
    Routes<DisChannelListener> channelsByOtherUser;

    QHash<FlakeId, TypingBacking> typing; // by channel
    QTimer typingTimer;
    std::function<qint64()> clock;

    QVector<DisUserListener*> membersByGuild(FlakeId guild, FlakeId user) const
    {
        QVector<DisUserListener*> listeners = usersById.of(user);
        listeners.erase(std::remove_if(listeners.begin(), listeners.end(),
                                       [guild](DisUserListener const* listener) {
                                           return listener->params().guildId != guild;
                                       }),
                        listeners.end());
        return listeners;
    }
    void stopTyping(FlakeId channel, FlakeId user);
    void tellTypingListeners(FlakeId channel) const;
};

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

// --- manager ---

DisListenManager::DisListenManager(QObject* parent)
    : QObject(parent)
    , m_impl(std::make_unique<Impl>())
{
    QElapsedTimer elapsed;
    elapsed.start();
    m_impl->clock = [elapsed] { return elapsed.elapsed(); };
    m_impl->typingTimer.setInterval(typingCheck);
    connect(&m_impl->typingTimer, &QTimer::timeout, this, &DisListenManager::typingTimeout);
    connect(g_disClient, &DisClient::disChanges, this, &DisListenManager::disChanges);
    connect(g_disClient, &DisClient::typingStarts, this, &DisListenManager::typingStarts);
}

DisListenManager::~DisListenManager() = default;

void DisListenManager::setClock(std::function<qint64()> const& msecs)
{
    m_impl->clock = msecs;
}

namespace {

using namespace DisListen;
using Impl = DisListenManager::Impl;

struct Concerned {
    Gathered<DisUserListener> users;
    Gathered<DisChannelListener> channels;
};

void onGuild(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.channels.add(impl.channelsByGuild.of(words[0]), ChannelProps::Name);
}

void onChannel(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.channels.add(impl.channelsById.of(words[0]),
                           ChannelProps::Name | ChannelProps::Image);
}

void onMessage(Impl& impl, FlakeId const* words, Concerned&)
{
    impl.stopTyping(words[1], words[2]);
}

void onUserProperties(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.users.add(impl.usersById.of(words[0]),
                        UserProps::Name | UserProps::Discriminator | UserProps::Avatar);
    concerned.channels.add(impl.channelsByOtherUser.of(words[0]), ChannelProps::Name);
}

void onUserStatus(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.users.add(impl.usersById.of(words[0]), UserProps::Status);
}

void onMember(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.users.add(impl.membersByGuild(words[0], words[1]),
                        UserProps::Nick | UserProps::RoleColor);
}

void onRole(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.users.add(impl.usersByGuild.of(words[0]), UserProps::RoleColor);
}

void onRecipient(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.channels.add(impl.channelsById.of(words[0]), ChannelProps::Name);
}

using Handler = void (*)(Impl&, FlakeId const* words, Concerned&);
struct Route {
    DisChange::ChangeType type;
    Handler handler;
};
// What is not here concerns no listener.
constexpr Route routes[] = {
    { DisChange::ChangeType::GuildChanged, onGuild },
    { DisChange::ChangeType::ChannelChanged, onChannel },
    { DisChange::ChangeType::MessageCreated, onMessage },
    { DisChange::ChangeType::MessageChanged, onMessage },
    { DisChange::ChangeType::UserPropertiesChanged, onUserProperties },
    { DisChange::ChangeType::UserStatusChanged, onUserStatus },
    { DisChange::ChangeType::GuildMemberAdded, onMember },
    { DisChange::ChangeType::GuildMemberChanged, onMember },
    { DisChange::ChangeType::GuildMemberRemoved, onMember },
    { DisChange::ChangeType::GuildRoleCreated, onRole },
    { DisChange::ChangeType::GuildRoleChanged, onRole },
    { DisChange::ChangeType::GuildRoleDeleted, onRole },
    { DisChange::ChangeType::PrivateRecipientAdded, onRecipient },
    { DisChange::ChangeType::PrivateRecipientRemoved, onRecipient },
};

} // namespace

void DisListenManager::disChanges(DisChanges const& changes)
{
    Concerned concerned;
    if (changes.isReload()) {
        concerned.users.setAll(m_impl->usersById.all(), allUserProps);
        concerned.channels.setAll(m_impl->channelsById.all(), allChannelProps);
    } else {
        for (DisChange const& change : changes.items) {
            auto const route = std::find_if(
                std::begin(routes), std::end(routes),
                [&change](Route const& candidate) { return candidate.type == change.type; });
            if (route != std::end(routes))
                route->handler(*m_impl, change.words, concerned);
        }
    }
    concerned.users.forEachAlive([](DisUserListener& listener, quint32 props) {
        if (quint32 const changed = listener.readProperties(props))
            emit listener.propertiesChanged(changed);
    });
    concerned.channels.forEachAlive([](DisChannelListener& listener, quint32 props) {
        if (quint32 const changed = listener.readProperties(props))
            emit listener.propertiesChanged(changed);
    });
}

void DisListenManager::Impl::tellTypingListeners(FlakeId channel) const
{
    QVector<QPointer<DisTypingUsersListener>> listeners;
    for (DisTypingUsersListener* const listener : typing.value(channel).listeners)
        listeners.append(listener);
    for (QPointer<DisTypingUsersListener> const& listener : qAsConst(listeners))
        if (listener)
            emit listener->typingUsersChanged();
}

void DisListenManager::Impl::stopTyping(FlakeId channel, FlakeId user)
{
    auto const backing = typing.find(channel);
    if (backing == typing.end())
        return;
    auto const found = backing->find(user);
    if (found == backing->users.end())
        return;
    backing->users.erase(found);
    tellTypingListeners(channel);
}

void DisListenManager::typingStarts(QVector<DisTypingStart> const& starts)
{
    QVector<FlakeId> changed;
    qint64 const now = m_impl->clock();
    for (DisTypingStart const& start : starts) {
        auto const backing = m_impl->typing.find(start.channelId);
        if (backing == m_impl->typing.end())
            continue;
        auto const user = backing->find(start.userId);
        if (user != backing->users.end()) {
            user->lastStart = now;
        } else if (backing->users.size() < DisTypingUsersListener::maxTrackedUsers()) {
            backing->users.append({ start.userId, now });
            if (!changed.contains(start.channelId))
                changed.append(start.channelId);
        }
    }
    if (changed.isEmpty())
        return;
    if (!m_impl->typingTimer.isActive())
        m_impl->typingTimer.start();
    for (FlakeId const channel : qAsConst(changed))
        m_impl->tellTypingListeners(channel);
}

void DisListenManager::typingTimeout()
{
    qint64 const now = m_impl->clock();
    QVector<FlakeId> changed;
    bool anyLeft = false;
    for (auto it = m_impl->typing.begin(); it != m_impl->typing.end(); ++it) {
        auto& users = it->users;
        int const before = users.size();
        users.erase(std::remove_if(users.begin(), users.end(),
                                   [now](TypingBacking::User const& user) {
                                       return now - user.lastStart >= typingLifetime;
                                   }),
                    users.end());
        if (users.size() != before)
            changed.append(it.key());
        anyLeft = anyLeft || !users.isEmpty();
    }
    if (!anyLeft)
        m_impl->typingTimer.stop();
    for (FlakeId const channel : qAsConst(changed))
        m_impl->tellTypingListeners(channel);
}
