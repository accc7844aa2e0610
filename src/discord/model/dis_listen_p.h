// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the listeners and their manager share. User-interface thread only.

#include "dis_listen.h"
#include "dis_seg_list.h"

#include <QHash>
#include <QPair>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <QVector>

#include <algorithm>
#include <functional>

namespace DisListenImpl {

constexpr quint32 allUserProps = DisListen::UserProps::Name | DisListen::UserProps::Discriminator
    | DisListen::UserProps::Nick | DisListen::UserProps::Avatar | DisListen::UserProps::RoleColor
    | DisListen::UserProps::Status;
constexpr quint32 allGuildProps = DisListen::GuildProps::Name;
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

// Calls function for each listener that is still alive when its turn comes.
template <typename Listener, typename Function>
void forEachAlive(QVector<Listener*> const& listeners, Function const& function)
{
    QVector<QPointer<Listener>> alive;
    for (Listener* const listener : listeners)
        alive.append(listener);
    for (QPointer<Listener> const& listener : qAsConst(alive))
        if (listener)
            function(*listener);
}

} // namespace DisListenImpl

struct DisListenManager::Impl {
    DisListenImpl::Routes<DisUserListener> usersById;
    DisListenImpl::Routes<DisUserListener> usersByGuild;
    DisListenImpl::Routes<DisChannelListener> channelsById;
    DisListenImpl::Routes<DisChannelListener> channelsByGuild;
    DisListenImpl::Routes<DisChannelListener> channelsByOtherUser;

    DisListenImpl::Routes<DisGuildListener> guildsById;

    QHash<FlakeId, DisListenImpl::TypingBacking> typing; // by channel
    QTimer typingTimer;
    std::function<qint64()> clock;

    QVector<DisSegListener*> segListeners;
    using SegListKey = QPair<FlakeId, QString>; // guild and list
    QHash<SegListKey, DisSegList> segLists; // those that somebody listens to
    QSet<FlakeId> segGuilds; // whose rows the session was last asked for
    QTimer segTimer; // 0 ms: what many listeners want is asked for at once

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
    QVector<DisSegListener*> segListenersOf(SegListKey const& key) const;
    void keepSegsOnScreen(SegListKey const& key);
    void segChanges(DisChanges const& changes);

    void stopTyping(FlakeId channel, FlakeId user);
    void tellTypingListeners(FlakeId channel) const;
};
