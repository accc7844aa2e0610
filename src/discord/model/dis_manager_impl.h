// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What DisManager keeps, and the functions that work on it: channels on screen and unread
// (dis_manager_channels.cpp), muted ones (dis_manager_mutes.cpp), people and status
// (dis_manager_people.cpp). User-interface thread only; for the files of DisManager alone.

#include "dis_manager.h"
#include "dis_notifs.h"

#include <QTimer>

// There is one; it is ordered by subject.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct DisManager::Impl {
    DisManager* manager = nullptr;

    QString accountsPath;
    bool savingBlocked = false; // an unreadable file still stands there
    QVector<DisStoredAccount*> accounts;
    bool anyConnected = false;
    FlakeId activeUser;

    DisUserStatusCode preferredStatus = DisUserStatusCode::Online;
    QString playingGame;
    bool idle = false;
    DisUserStatusCode toldStatus = DisUserStatusCode::Unknown; // by the service, since we told it

    std::function<DisForegroundChannels()> foregroundProvider;
    QTimer foregroundTimer; // 0 ms; many views report one switch of tabs
    DisForegroundChannels foreground;
    QVector<FlakeId> recentChannels; // most recent first
    QHash<FlakeId, QString> unsentTexts; // by channel

    QHash<FlakeId, int> unreadCounts;
    QSet<FlakeId> unreadsToTell; // until unreadsTimer
    QTimer unreadsTimer; // 1 ms; a burst of messages is told once
    QVector<FlakeId> unreadsToCheck; // whether they are still there; the rest of a round
    QTimer goneTimer;
    bool countersInitialized = false; // since the last READY began
    QSet<FlakeId> messagesThatMention; // an own user; until their change record comes
    QHash<FlakeId, FlakeId> acksToSend; // channel to its newest message
    QTimer acksTimer; // 5,000 ms
    int refusedAckRounds = 0;

    QSet<FlakeId> mutedChannels;
    QSet<FlakeId> guildsWithNewSettings; // until mutedTimer
    QTimer mutedTimer; // 10 ms; settings of many guilds come one by one
    QSet<FlakeId> mutedUsers;

    QVector<FlakeId> friendRequests; // sorted
    QHash<FlakeId, DisMentionsListModel*> mentions; // by user; the manager's children
    DisNotifs::NotifsData notifs;
};

namespace DisManagerImpl {

using Impl = DisManager::Impl;

// --- dis_manager_channels.cpp ---
void setUpChannels(Impl& impl);
void disChanges(Impl& impl, DisChanges const& changes);
void setForegroundChannels(Impl& impl, DisForegroundChannels const& channels);
void userUnreadCountersInitialized(Impl& impl, QHash<FlakeId, int> const& counts);
// After READY: without counters in it nothing is unread.
void readyHandled(Impl& impl);
// Channels whose shown number may differ now; told in a moment.
void tellUnreads(Impl& impl, QSet<FlakeId> const& channels);
void removeUnreads(Impl& impl, QSet<FlakeId> const& channels);
// Removes the counts of channels that the store does not know any more; a share at a time.
void clearUnreadsOnIrrelevantChannels(Impl& impl);
// The newest message of a channel that was seen; sent with the next round of acknowledgements.
void addMsgAck(Impl& impl, FlakeId channel, FlakeId message);
// Acknowledges the last message of each channel.
void hackSendMessageReadAcks(Impl& impl, QHash<FlakeId, int> const& counts);

// --- dis_manager_mutes.cpp ---
QString kMutedUsersKey(); // of the blob in the saved data
QByteArray serializeMutedUsers(QSet<FlakeId> const& users);
// Users of a blob that is damaged are those before the damage.
QSet<FlakeId> deserializeMutedUsers(QByteArray const& blob);
void setUpMutes(Impl& impl);
void loadAllMutedChannelsFromDisDb(Impl& impl);
void loadMutedChannelsInGuildFromDisDb(Impl& impl, FlakeId user, FlakeId guild);

// --- dis_manager_people.cpp ---
void activeUserMayHaveChanged(Impl& impl);
// A session that could not be resumed empties the store; until READY that says nothing of what has
// become of the channels and requests that were there.
bool isWaitingForReady(Impl const& impl);
void loadPendingFriendRequests(Impl& impl);
void ownStatusMayHaveChanged(Impl& impl, DisChanges const& changes);

} // namespace DisManagerImpl
