// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_manager_impl.h"
#include "dis_mentions_list_model.h"
#include "dis_session.h"
#include "dis_utils.h"
#include "nak_go.h"
#include "nak_stmt.h"
#include "preferences.h"

#include <QPointer>
#include <QWidget>

#include <algorithm>

namespace {

using Impl = DisManager::Impl;

constexpr qint32 incomingRequest = 3; // of user_relationship
constexpr qint32 minIdleMinutes = 3;
constexpr qint32 maxIdleMinutes = 240;

// Only who shows as online goes idle; the other choices hold while the user is away.
DisUserStatusCode wantedStatus(Impl const& impl)
{
    bool const showIdle = impl.idle && impl.preferredStatus == DisUserStatusCode::Online;
    return showIdle ? DisUserStatusCode::Idle : impl.preferredStatus;
}

void sendOwnStatus(Impl& impl)
{
    if (!impl.activeUser.isValid())
        return;
    g_disClient->setOwnUserStatus(impl.activeUser, wantedStatus(impl), impl.idle, impl.playingGame);
    impl.toldStatus = DisUserStatusCode::Unknown;
    emit impl.manager->ownStatusChanged();
}

// A service that has just learned who the user is takes them for online and playing nothing.
bool hasStatusToTell(Impl const& impl)
{
    return impl.idle || impl.preferredStatus != DisUserStatusCode::Online
        || !impl.playingGame.isEmpty();
}

bool isIdle(unsigned int milliseconds)
{
    qint32 const minutes =
        qBound(minIdleMinutes, g_preferences->inactivityThresholdMinutes, maxIdleMinutes);
    return g_preferences->useAutomaticInactivityDetection
        && static_cast<unsigned int>(minutes) * 60000U < milliseconds;
}

// Opens the channel of the two once the service has made it. It may be made by nobody's wish, or
// never: the wait ends with the first one that fits, or with the widget that it was asked from.
void openWhenMade(DisManager* manager, FlakeId user, FlakeId other, QWidget* parent)
{
    auto* const wait = new QObject(parent ? static_cast<QObject*>(parent) : manager);
    QObject::connect(g_disClient, &DisClient::directMessageChannelCreated, wait,
                     [=](FlakeId const& channel) {
                         if (DisUtils::findDirectMessageChannel(user, other) != channel)
                             return;
                         NakGo::openNavLoc(NakNavLoc::discordChannel(channel),
                                           NakGo::OpenMode::CurrentTab, parent);
                         wait->deleteLater();
                     });
}

} // namespace

namespace DisManagerImpl {

void activeUserMayHaveChanged(Impl& impl)
{
    FlakeId const user = g_disClient->hack_getDefaultUserId();
    if (user == impl.activeUser)
        return;
    impl.activeUser = user;
    impl.toldStatus = DisUserStatusCode::Unknown;
    if (user.isValid())
        DisNotifs::addUserChanWatches(impl.notifs, user);
    emit impl.manager->activeUserIdChanged();
    if (hasStatusToTell(impl))
        sendOwnStatus(impl);
}

bool isWaitingForReady(Impl const& impl)
{
    QVector<DisSession*> const sessions = g_disClient->sessions();
    bool const any = std::any_of(sessions.cbegin(), sessions.cend(), [](auto const* session) {
        return session->stateType() != DisSessionStateType::Disconnected;
    });
    return any && impl.activeUser.isValid() && DisCache::userName(impl.activeUser).isNull();
}

// Only what was told of this user alone: READY writes Online for want of anything better.
void ownStatusMayHaveChanged(Impl& impl, DisChanges const& changes)
{
    bool const told = std::any_of(changes.items.cbegin(), changes.items.cend(), [&](auto const& c) {
        return c.type == DisChange::ChangeType::UserStatusChanged && c.words[0] == impl.activeUser;
    });
    if (!told)
        return;
    DisUserStatusCode const before = impl.manager->ownStatus();
    impl.toldStatus = DisCache::userStatusCode(impl.activeUser);
    if (impl.manager->ownStatus() != before)
        emit impl.manager->ownStatusChanged();
}

void loadPendingFriendRequests(Impl& impl)
{
    if (isWaitingForReady(impl))
        return;
    NakStmt stmt(g_disClient->db(),
                 "select other_user_id from user_relationship where own_user_id = ? and type = ?");
    stmt.bind(1, impl.activeUser);
    stmt.bind(2, incomingRequest);
    QVector<FlakeId> requests;
    while (stmt.step())
        requests.append(stmt.colFlake(0));
    std::sort(requests.begin(), requests.end());
    if (requests == impl.friendRequests)
        return;
    impl.friendRequests = requests;
    DisNotifs::setFriendRequests(impl.notifs, impl.activeUser, requests);
    emit impl.manager->pendingFriendRequestsChanged();
}

} // namespace DisManagerImpl

void DisManager::setPreferredUserStatus(FlakeId user, DisUserStatusCode code)
{
    if (user != m_impl->activeUser)
        return;
    // Told even if it is not new here: another device may have made a choice since.
    m_impl->preferredStatus = code;
    sendOwnStatus(*m_impl);
}

DisUserStatusCode DisManager::preferredUserStatus() const
{
    return m_impl->preferredStatus;
}

void DisManager::setPlayingGameName(FlakeId user, QString const& name)
{
    if (user != m_impl->activeUser || name == m_impl->playingGame)
        return;
    m_impl->playingGame = name;
    sendOwnStatus(*m_impl);
}

QString DisManager::playingGameName() const
{
    return m_impl->playingGame;
}

// Whoever is signed in is not offline: the service says so of one who is invisible, and of one whom
// it has told nothing of yet.
DisUserStatusCode DisManager::ownStatus() const
{
    DisUserStatusCode const told = m_impl->toldStatus;
    bool const known = told != DisUserStatusCode::Unknown && told != DisUserStatusCode::Offline;
    return known ? told : wantedStatus(*m_impl);
}

void DisManager::idleTimeUpdated(unsigned int milliseconds)
{
    bool const idle = isIdle(milliseconds);
    if (idle == m_impl->idle || !m_impl->activeUser.isValid())
        return;
    m_impl->idle = idle;
    sendOwnStatus(*m_impl);
}

QVector<FlakeId> DisManager::pendingFriendRequests() const
{
    return m_impl->friendRequests;
}

void DisManager::openDirectMessage(FlakeId user, FlakeId other, QWidget* parent)
{
    FlakeId const channel = DisUtils::findDirectMessageChannel(user, other);
    if (channel.isValid()) {
        NakGo::openNavLoc(NakNavLoc::discordChannel(channel), NakGo::OpenMode::CurrentTab, parent);
        return;
    }
    openWhenMade(this, user, other, parent);
    g_disClient->createDirectMessage(user, other);
}

void DisManager::connectToVoiceChannel(FlakeId user, FlakeId channel)
{
    g_disClient->connectToVoiceChannel(user, channel);
}

bool DisManager::anyCallsActive() const
{
    return g_disClient->anySessionsWithVoiceLine();
}

DisMentionsListModel* DisManager::mentionsListModelForUser(FlakeId user)
{
    DisMentionsListModel*& model = m_impl->mentions[user];
    if (!model)
        model = new DisMentionsListModel(user, this);
    return model;
}

void DisManager::setReadableTextProvider(std::function<QString(FlakeId)> const& provider)
{
    m_impl->notifs.readableText = provider;
}
