// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_avatar_images.h"
#include "dis_client.h"
#include "dis_listen_p.h"

#include <QElapsedTimer>

#include <iterator>

DisListenManager* g_disListenManager = nullptr;

using namespace DisListenImpl;

namespace {

constexpr qint64 typingLifetime = 10'000; // ms
constexpr int typingCheck = 1'000; // ms

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

} // namespace

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
    if (g_disAvatarImages)
        connect(g_disAvatarImages, &DisAvatarImages::avatarPresented, this,
                &DisListenManager::avatarPresented);
    m_impl->segTimer.setSingleShot(true);
    connect(&m_impl->segTimer, &QTimer::timeout, this, &DisListenManager::segUpdateTimeout);
    connect(g_disClient, &DisClient::segPackage, this, &DisListenManager::segPackage);
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
    Gathered<DisGuildListener> guilds;
    Gathered<DisUserListener> users;
    Gathered<DisChannelListener> channels;
};

void onGuild(Impl& impl, FlakeId const* words, Concerned& concerned)
{
    concerned.guilds.add(impl.guildsById.of(words[0]), GuildProps::Name);
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
        concerned.guilds.setAll(m_impl->guildsById.all(), allGuildProps);
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
    auto const checkChanges = [](auto& listener, quint32 props) {
        if (quint32 const changed = listener.readProperties(props))
            emit listener.propertiesChanged(changed);
    };
    concerned.guilds.forEachAlive(checkChanges);
    concerned.users.forEachAlive(checkChanges);
    concerned.channels.forEachAlive(checkChanges);
    m_impl->segChanges(changes);
}

// Which picture is the listener's is asked anew: one that came late may be of an older avatar.
void DisListenManager::avatarPresented(FlakeId user, int height)
{
    Gathered<DisUserListener> concerned;
    concerned.setAll(m_impl->usersById.of(user), UserProps::Avatar);
    concerned.forEachAlive([height](DisUserListener& listener, quint32 props) {
        if (listener.params().avatarSize != height)
            return;
        if (quint32 const changed = listener.readProperties(props))
            emit listener.propertiesChanged(changed);
    });
}

void DisListenManager::Impl::tellTypingListeners(FlakeId channel) const
{
    forEachAlive(typing.value(channel).listeners,
                 [](DisTypingUsersListener& listener) { emit listener.typingUsersChanged(); });
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
