// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Between the protocol and the desktop frame: the stored accounts and their sessions, and which
// channels are in the foreground, muted or recently used. User-interface thread only.

#include "dis_changes.h"
#include "dis_types.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>

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

    // A view's channel came to or left the foreground; the set is computed anew in a moment.
    void hack_foregroundChannelsMayHaveChanged();
    QSet<FlakeId> foregroundChannels() const;
    // Door: who owns the windows tells which channels are on screen in active ones.
    void setForegroundChannelsProvider(std::function<QSet<FlakeId>()> const& provider);
    void markChannelAsRecentlyUsed(FlakeId channel);
    QVector<FlakeId> recentlyUsedChannels() const; // most recent first

    bool isUserMuted(FlakeId user) const;
    QSet<FlakeId> mutedUsers() const;
    void addMutedUser(FlakeId user);
    void removeMutedUser(FlakeId user);

signals:
    void accountsChanged();
    void anyAccountsConnectedChanged();
    void mutedUsersChanged();
    void foregroundChannelsChanged();

private:
    void createAccounts();
    void connectToClient();
    void saveAccounts();
    void connectAutoConnectAccount();
    void disSessionsChanged();
    void disChanges(DisChanges const& changes);
    void authTokenRejected(QString const& token);
    void authTokenAcquiredUserInfo(QString const& token, FlakeId const& userId,
                                   QString const& userName, QString const& discriminator,
                                   QString const& avatar);
    void authTokenAcquiredGatewayUrl(QString const& token, QString const& url);
    void updateForegroundChannels();
    void synchronizeGuildsOfChannels(QSet<FlakeId> const& channels);

    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// Set and cleared in src/app.
extern DisManager* g_disManager;
