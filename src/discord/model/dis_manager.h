// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Between the protocol and the desktop frame: the stored accounts and their sessions, which
// channels are in the foreground, unread, muted or recently used, and what the user is told of
// messages. User-interface thread only.

#include "dis_changes.h"
#include "dis_types.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>

class DisMentionsListModel;
class QWidget;

// Channels of the current tabs of windows that are not put away.
struct DisForegroundChannels {
    QSet<FlakeId> shown;
    QSet<FlakeId> attended; // those in the window that has the user's attention
};

class DisStoredAccount : public QObject {
    Q_OBJECT
public:
    enum class AuthTokenState : qint32 { None = 0, Unverified = 1, Accepted = 2, Rejected = 3 };

    explicit DisStoredAccount(QObject* parent);

    // Plain fields; whoever changes one emits the signal below and has the accounts saved. There
    // is no debug operator on purpose: the token must not reach a log.
    QString userName;
    QString discriminator;
    QString authToken;
    QString cachedGatewayUrl;
    FlakeId userId;
    QString avatarName;
    AuthTokenState authTokenState = AuthTokenState::None;
    DisSessionStateType connectionState = DisSessionStateType::Disconnected; // not saved
    bool autoConnect = false;

signals:
    void authTokenStateChanged();
    void userInfoChangedBySession();
    void connectionStateChanged();
    void autoConnectChanged();
};

class DisManager : public QObject {
    Q_OBJECT
public:
    // Loads the accounts from accountsPath (nakwire_accounts.bin in the data directory).
    DisManager(QString const& accountsPath, QObject* parent);
    ~DisManager() override;

    QVector<DisStoredAccount*> accounts() const;
    DisStoredAccount* createAccountWithToken(QString const& token); // null if one holds it already
    void removeAccount(DisStoredAccount* account);
    void connectWithAccount(DisStoredAccount* account);
    void disconnectAccount(DisStoredAccount* account);
    void setAutoConnectForAccount(DisStoredAccount* account, bool on);
    // After a change of the account's fields, such as a new token.
    void saveAccountToDisk(DisStoredAccount* account);
    bool anyAccountsConnected() const;
    FlakeId activeUserId() const; // invalid if none is connected

    // --- the user's status; the chosen one lasts until the program ends ---
    void setPreferredUserStatus(FlakeId user, DisUserStatusCode code);
    DisUserStatusCode preferredUserStatus() const; // Online until something is chosen
    void setPlayingGameName(FlakeId user, QString const& name); // empty for none
    QString playingGameName() const;
    // What others see, as far as it is known: what the service has told since the last choice, such
    // as one made on another device, else what was chosen, or Idle while nobody is there.
    DisUserStatusCode ownStatus() const;
    // The time since the last input anywhere on the desktop.
    void idleTimeUpdated(unsigned int milliseconds);

    // --- channels on screen ---
    // A view's channel came to or left the screen, or a window became active or stopped being it;
    // the sets are computed anew in a moment.
    void hack_foregroundChannelsMayHaveChanged();
    QSet<FlakeId> foregroundChannels() const;
    // Door: who owns the windows tells which channels are on screen.
    void setForegroundChannelsProvider(std::function<DisForegroundChannels()> const& provider);
    void markChannelAsRecentlyUsed(FlakeId channel);
    QVector<FlakeId> recentlyUsedChannels() const; // most recent first
    // What was typed in a channel and not sent, while no view has it. Lives as long as this object.
    void keepUnsentText(FlakeId channel, QString const& text); // in place of what was kept
    QString takeUnsentText(FlakeId channel);

    // --- unread channels ---
    // Messages by channel since it was last read, or 1 for what came before this run.
    QHash<FlakeId, int> const& unreadCounts() const;
    // What is shown: 0 for a muted channel and for one that the user has no access to.
    int channelUnreadCount(FlakeId channel) const;
    void markChannelsAsRead(QVector<FlakeId> const& channels);
    void markGuildAsRead(FlakeId guild);
    void hack_localClearAllUnreads(); // the service is not told

    // --- muted ---
    QSet<FlakeId> const& mutedChannels() const;
    void setChannelMuted(FlakeId channel, bool muted); // of a guild; asks the service
    bool isUserMuted(FlakeId user) const;
    QSet<FlakeId> const& mutedUsers() const;
    void addMutedUser(FlakeId user);
    void removeMutedUser(FlakeId user);

    // --- people ---
    QVector<FlakeId> pendingFriendRequests() const; // those that others sent, by id
    // Shows the channel of the two in a tab; makes it first if there is none. parent: the widget
    // that it is opened from, may be null.
    void openDirectMessage(FlakeId user, FlakeId other, QWidget* parent);
    void connectToVoiceChannel(FlakeId user, FlakeId channel);
    bool anyCallsActive() const; // in voice channels or private calls
    // The same each time for the same user; it asks the service for nothing before a view does.
    DisMentionsListModel* mentionsListModelForUser(FlakeId user);

    // Door: what a notification quotes of a stored message.
    void setReadableTextProvider(std::function<QString(FlakeId message)> const& provider);

signals:
    void accountsChanged();
    void anyAccountsConnectedChanged();
    void activeUserIdChanged();
    // The channels whose count changed, with the number that is shown now.
    void unreadsChanged(QHash<FlakeId, int> const& counts);
    void mutedChannelsChanged();
    void mutedUsersChanged();
    void foregroundChannelsChanged();
    void pendingFriendRequestsChanged();
    void ownStatusChanged(); // what is shown of it, what was chosen, or the game

private:
    void createAccounts();
    void connectToClient();
    void saveAccounts();
    void connectAutoConnectAccount();
    void disSessionsChanged();
    void authTokenRejected(QString const& token);
    void authTokenAcquiredUserInfo(QString const& token, FlakeId const& userId,
                                   QString const& userName, QString const& discriminator,
                                   QString const& avatar);
    void authTokenAcquiredGatewayUrl(QString const& token, QString const& url);

public:
    // The state that the functions of the namespace DisManagerImpl work on.
    struct Impl;

private:
    std::unique_ptr<Impl> m_impl;
};

// Set and cleared in src/app.
extern DisManager* g_disManager;
