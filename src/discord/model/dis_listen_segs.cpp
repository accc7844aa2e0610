// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Member lists: what is asked for on behalf of all listeners, and who is told of what comes.

#include "dis_client.h"
#include "dis_listen_p.h"
#include "dis_utils.h"

#include <iterator>

using namespace DisListenImpl;

namespace {

// What may move a channel to another list: who may read it.
constexpr DisChange::ChangeType listMovers[] = {
    DisChange::ChangeType::ChannelChanged,   DisChange::ChangeType::GuildChanged,
    DisChange::ChangeType::GuildRoleCreated, DisChange::ChangeType::GuildRoleChanged,
    DisChange::ChangeType::GuildRoleDeleted,
};

} // namespace

// --- listener ---

DisSegListener::DisSegListener(QObject* parent)
    : QObject(parent)
{
}

DisSegListener::~DisSegListener()
{
    clear();
}

void DisSegListener::setParams(DisListen::SegParams const& params)
{
    if (params == m_params)
        return;
    clear();
    m_params = params;
    if (isNull() || !g_disListenManager)
        return;
    m_listId = DisUtils::memberListIdOfChannel(params.channelId);
    g_disListenManager->impl().segListeners.append(this);
    g_disListenManager->impl().segTimer.start(0);
}

// What is not listened to any more is given up in a moment, unless another listener comes for it.
void DisSegListener::clear()
{
    if (g_disListenManager && !isNull()) {
        g_disListenManager->impl().segListeners.removeOne(this);
        g_disListenManager->impl().segTimer.start(0);
    }
    m_params = {};
    m_listId.clear();
}

DisSegList const* DisSegListener::list() const
{
    if (!g_disListenManager || isNull())
        return nullptr;
    auto const& lists = g_disListenManager->impl().segLists;
    auto const found = lists.constFind({ m_params.guildId, m_listId });
    return found == lists.constEnd() ? nullptr : &*found;
}

int DisSegListener::rowCount() const
{
    DisSegList const* const known = list();
    return known ? DisSegLists::rowCount(*known) : 0;
}

QVector<DisSeg::Group> DisSegListener::groups() const
{
    DisSegList const* const known = list();
    return known ? known->groups : QVector<DisSeg::Group>();
}

DisSeg::Item const* DisSegListener::row(int index) const
{
    DisSegList const* const known = list();
    return known ? DisSegLists::find(*known, index) : nullptr;
}

// --- manager ---

QVector<DisSegListener*> DisListenManager::Impl::segListenersOf(SegListKey const& key) const
{
    QVector<DisSegListener*> found;
    std::copy_if(segListeners.cbegin(), segListeners.cend(), std::back_inserter(found),
                 [&key](DisSegListener const* listener) {
                     return listener->m_params.guildId == key.first
                         && listener->m_listId == key.second;
                 });
    return found;
}

void DisListenManager::Impl::keepSegsOnScreen(SegListKey const& key)
{
    DisClientChanSegs wanted;
    wanted.channelId = FlakeId(0); // which channel it is does not matter for the rows
    for (DisSegListener const* const listener : segListenersOf(key))
        wanted.ranges += listener->m_params.ranges;
    DisSegLists::keepChunks(&segLists[key], DisSeg::normalized({ wanted }).first().chunks);
}

void DisListenManager::segUpdateTimeout()
{
    QHash<FlakeId, QVector<DisClientChanSegs>> wanted;
    for (FlakeId const guild : qAsConst(m_impl->segGuilds))
        wanted.insert(guild, {});
    m_impl->segGuilds.clear();
    for (DisSegListener const* const listener : qAsConst(m_impl->segListeners)) {
        auto const& params = listener->m_params;
        wanted[params.guildId].append({ params.channelId, params.ranges });
        m_impl->segGuilds.insert(params.guildId);
    }
    for (auto guild = wanted.cbegin(); guild != wanted.cend(); ++guild)
        g_disClient->updateChanSegs(g_disClient->hack_getDefaultUserId(), guild.key(), *guild);
    for (auto const& key : m_impl->segLists.keys()) {
        if (m_impl->segListenersOf(key).isEmpty())
            m_impl->segLists.remove(key);
        else
            m_impl->keepSegsOnScreen(key);
    }
}

void DisListenManager::segPackage(DisSeg::Package const& package)
{
    Impl::SegListKey const key(package.guildId, package.listId);
    QVector<DisSegListener*> const listeners = m_impl->segListenersOf(key);
    if (listeners.isEmpty())
        return;
    DisSegLists::apply(&m_impl->segLists[key], package);
    m_impl->keepSegsOnScreen(key);
    forEachAlive(listeners, [](DisSegListener& listener) { emit listener.segChanged(); });
}

// A session that begins anew knows of no subscription; one that goes on is asked for nothing new.
void DisListenManager::Impl::segChanges(DisChanges const& changes)
{
    bool const moved = changes.isReload()
        || std::any_of(std::begin(listMovers), std::end(listMovers),
                       [&](DisChange::ChangeType type) { return changes.has(type); });
    if (!moved || segListeners.isEmpty())
        return;
    segTimer.start(0);
    forEachAlive(segListeners, [](DisSegListener& listener) {
        QString const listId = DisUtils::memberListIdOfChannel(listener.m_params.channelId);
        if (listId == listener.m_listId)
            return;
        listener.m_listId = listId;
        emit listener.segChanged();
    });
}
