// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_manager.h"

#include "dis_accounts_file.h"
#include "dis_client.h"
#include "dis_manager_impl.h"
#include "dis_session.h"
#include "global_events.h"

#include <QTimer>

#include <algorithm>

DisManager* g_disManager = nullptr;

namespace {

DisAccountsFile::Record recordOf(DisStoredAccount const& account)
{
    DisAccountsFile::Record record;
    record.userName = account.userName;
    record.discriminator = account.discriminator;
    record.authToken = account.authToken;
    record.cachedGatewayUrl = account.cachedGatewayUrl;
    record.userId = account.userId;
    record.avatarName = account.avatarName;
    record.authTokenState = static_cast<qint32>(account.authTokenState);
    record.autoConnect = account.autoConnect;
    return record;
}

DisStoredAccount::AuthTokenState tokenStateOf(qint32 value)
{
    using State = DisStoredAccount::AuthTokenState;
    if (value < static_cast<qint32>(State::None) || value > static_cast<qint32>(State::Rejected))
        return State::Unverified;
    return static_cast<State>(value);
}

DisStoredAccount* accountOf(DisAccountsFile::Record const& record, QObject* parent)
{
    auto* const account = new DisStoredAccount(parent);
    account->userName = record.userName;
    account->discriminator = record.discriminator;
    account->authToken = record.authToken;
    account->cachedGatewayUrl = record.cachedGatewayUrl;
    account->userId = record.userId;
    account->avatarName = record.avatarName;
    account->authTokenState = tokenStateOf(record.authTokenState);
    account->autoConnect = record.autoConnect;
    return account;
}

void setTokenState(DisStoredAccount* account, DisStoredAccount::AuthTokenState state)
{
    if (account->authTokenState == state)
        return;
    account->authTokenState = state;
    emit account->authTokenStateChanged();
}

NakGenericConnStatus connStatusOf(DisSessionStateType state)
{
    switch (state) {
    case DisSessionStateType::Disconnected:
        return NakGenericConnStatus::Disconnected;
    case DisSessionStateType::Disconnecting:
        return NakGenericConnStatus::Disconnecting;
    case DisSessionStateType::Connecting:
        return NakGenericConnStatus::Connecting;
    case DisSessionStateType::Reconnecting:
        return NakGenericConnStatus::Reconnecting;
    case DisSessionStateType::Connected:
        return NakGenericConnStatus::Connected;
    }
    return NakGenericConnStatus::None;
}

// Assigns and tells whether that was a change.
template <typename T> bool update(T& field, T const& value)
{
    if (field == value)
        return false;
    field = value;
    return true;
}

} // namespace

DisStoredAccount::DisStoredAccount(QObject* parent)
    : QObject(parent)
{
}

DisManager::DisManager(QString const& accountsPath, QObject* parent)
    : QObject(parent)
    , m_impl(std::make_unique<Impl>())
{
    m_impl->manager = this;
    m_impl->notifs.parent = this;
    m_impl->accountsPath = accountsPath;
    createAccounts();
    DisManagerImpl::setUpChannels(*m_impl);
    DisManagerImpl::setUpMutes(*m_impl);
    connectToClient();
}

DisManager::~DisManager() = default;

void DisManager::createAccounts()
{
    DisAccountsFile::Loaded const loaded = DisAccountsFile::load(m_impl->accountsPath);
    m_impl->savingBlocked = loaded.blocked;
    for (DisAccountsFile::Record const& record : loaded.records)
        m_impl->accounts.append(accountOf(record, this));
    if (!loaded.warningTitle.isNull())
        // Later, for nobody listens to the client yet.
        QTimer::singleShot(0, this, [title = loaded.warningTitle, text = loaded.warningText] {
            emit g_disClient->userMustSee(title, text, false);
        });
}

void DisManager::connectToClient()
{
    connect(g_disClient, &DisClient::sessionsChanged, this, &DisManager::disSessionsChanged);
    connect(g_disClient, &DisClient::disChanges, this, [this](DisChanges const& changes) {
        // READY tells who the user is before anything else.
        DisManagerImpl::activeUserMayHaveChanged(*m_impl);
        DisManagerImpl::ownStatusMayHaveChanged(*m_impl, changes);
        DisManagerImpl::disChanges(*m_impl, changes);
    });
    connect(g_disClient, &DisClient::userUnreadCountersInitialized, this,
            [this](FlakeId const&, QHash<FlakeId, int> const& counts) {
                DisManagerImpl::userUnreadCountersInitialized(*m_impl, counts);
            });
    connect(g_disClient, &DisClient::authTokenRejected, this, &DisManager::authTokenRejected);
    connect(g_disClient, &DisClient::authTokenAcquiredGatewayUrl, this,
            &DisManager::authTokenAcquiredGatewayUrl);
    connect(g_disClient, &DisClient::authTokenAcquiredUserInfo, this,
            [this](QString const& token, FlakeId const& id, QString const& name,
                   QString const& discriminator, QString const&, QString const& avatar) {
                authTokenAcquiredUserInfo(token, id, name, discriminator, avatar);
                DisManagerImpl::readyHandled(*m_impl);
            });
    // Also what starts the connection of a new run, once the first window is up.
    connect(g_globalEvents, &NakGlobalEvents::accountAutoOnlineBecameOk, this,
            &DisManager::connectAutoConnectAccount);
    connect(g_globalEvents, &NakGlobalEvents::disconnectAllAccounts, g_disClient,
            &DisClient::disconnectAllSessions);
    connect(g_globalEvents, &NakGlobalEvents::clearAllUnreads, this,
            &DisManager::hack_localClearAllUnreads);
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this, [this] {
        DisNotifs::setFriendRequests(m_impl->notifs, m_impl->activeUser, m_impl->friendRequests);
    });
}

// --- accounts ---

QVector<DisStoredAccount*> DisManager::accounts() const
{
    return m_impl->accounts;
}

void DisManager::saveAccounts()
{
    if (m_impl->savingBlocked)
        return;
    QVector<DisAccountsFile::Record> records;
    for (DisStoredAccount const* account : qAsConst(m_impl->accounts))
        records.append(recordOf(*account));
    DisAccountsFile::save(m_impl->accountsPath, records);
}

void DisManager::saveAccountToDisk(DisStoredAccount*)
{
    saveAccounts(); // one file holds them all
}

DisStoredAccount* DisManager::createAccountWithToken(QString const& token)
{
    bool const known = !token.isEmpty()
        && std::any_of(m_impl->accounts.cbegin(), m_impl->accounts.cend(),
                       [&token](auto const* account) { return account->authToken == token; });
    if (known)
        return nullptr;
    auto* const account = new DisStoredAccount(this);
    account->authToken = token;
    account->authTokenState = token.isEmpty() ? DisStoredAccount::AuthTokenState::None
                                              : DisStoredAccount::AuthTokenState::Unverified;
    m_impl->accounts.append(account);
    emit accountsChanged();
    saveAccounts();
    return account;
}

void DisManager::removeAccount(DisStoredAccount* account)
{
    if (!m_impl->accounts.removeOne(account))
        return;
    disconnectAccount(account);
    emit accountsChanged();
    account->deleteLater();
    saveAccounts();
}

void DisManager::setAutoConnectForAccount(DisStoredAccount* account, bool on)
{
    if (!update(account->autoConnect, on))
        return;
    emit account->autoConnectChanged();
    saveAccounts();
}

// --- connecting ---

void DisManager::connectWithAccount(DisStoredAccount* account)
{
    // One Discord session at a time, by a deliberate restriction at this point.
    if (!g_disClient->sessions().isEmpty())
        return;
    if (account->authToken.startsWith(QLatin1String("Bot"))) {
        emit g_disClient->userMustSee(
            QStringLiteral("No Bot Accounts"),
            QStringLiteral("Connecting with bot accounts using the GUI is not allowed"), false);
        return;
    }
    g_disClient->addSessionWithAuthToken(account->authToken, account->cachedGatewayUrl);
}

void DisManager::disconnectAccount(DisStoredAccount* account)
{
    if (DisSession* const session = g_disClient->findSessionForAuthToken(account->authToken))
        g_disClient->disconnectSession(session);
}

void DisManager::connectAutoConnectAccount()
{
    auto const found =
        std::find_if(m_impl->accounts.cbegin(), m_impl->accounts.cend(),
                     [](DisStoredAccount const* account) { return account->autoConnect; });
    if (found != m_impl->accounts.cend()
        && (*found)->connectionState == DisSessionStateType::Disconnected)
        connectWithAccount(*found);
}

bool DisManager::anyAccountsConnected() const
{
    return m_impl->anyConnected;
}

FlakeId DisManager::activeUserId() const
{
    return m_impl->activeUser;
}

void DisManager::disSessionsChanged()
{
    for (DisStoredAccount* const account : qAsConst(m_impl->accounts)) {
        DisSession const* const session = g_disClient->findSessionForAuthToken(account->authToken);
        auto const state = session ? session->stateType() : DisSessionStateType::Disconnected;
        if (update(account->connectionState, state))
            emit account->connectionStateChanged();
    }
    DisManagerImpl::activeUserMayHaveChanged(*m_impl);
    QVector<DisSession*> const sessions = g_disClient->sessions();
    bool const any = std::any_of(sessions.cbegin(), sessions.cend(), [](auto const* session) {
        return session->stateType() == DisSessionStateType::Connected;
    });
    if (update(m_impl->anyConnected, any))
        emit anyAccountsConnectedChanged();
    g_globalEvents->hack_setServiceConnected(NakHackAnyConnectedService::Discord, any);
    g_globalEvents->updateConnStatus(connStatusOf(
        sessions.isEmpty() ? DisSessionStateType::Disconnected : sessions.first()->stateType()));
}

void DisManager::authTokenRejected(QString const& token)
{
    for (DisStoredAccount* const account : qAsConst(m_impl->accounts))
        if (account->authToken == token)
            setTokenState(account, DisStoredAccount::AuthTokenState::Rejected);
    saveAccounts();
}

void DisManager::authTokenAcquiredUserInfo(QString const& token, FlakeId const& userId,
                                           QString const& userName, QString const& discriminator,
                                           QString const& avatar)
{
    for (DisStoredAccount* const account : qAsConst(m_impl->accounts)) {
        if (account->authToken != token)
            continue;
        bool changed = update(account->userId, userId);
        changed |= update(account->userName, userName);
        changed |= update(account->discriminator, discriminator);
        changed |= update(account->avatarName, avatar);
        if (changed)
            emit account->userInfoChangedBySession();
        setTokenState(account, DisStoredAccount::AuthTokenState::Accepted);
    }
    saveAccounts();
}

// An empty address forgets the cached one, so that the next connection asks the API again.
void DisManager::authTokenAcquiredGatewayUrl(QString const& token, QString const& url)
{
    bool changed = false;
    for (DisStoredAccount* const account : qAsConst(m_impl->accounts))
        if (account->authToken == token)
            changed |= update(account->cachedGatewayUrl, url);
    if (changed)
        saveAccounts();
}
