// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_session.h"
#include "manager_test.h"
#include "nak_event_log.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QSignalSpy>

namespace {

QString const marker = QStringLiteral("mfa.MARKED-token-0123456789");

stage::StageOptions smallStage()
{
    stage::StageOptions options;
    options.world.guilds = 2;
    options.world.membersPerGuild = 5;
    options.world.messagesPerChannel = 30;
    options.world.messagesInBusyChannel = 250;
    options.token = marker;
    return options;
}

// There before the sessions and after them: their threads write to it.
struct EventLogScope {
    EventLogScope() { NakEvLog::init(); }
    ~EventLogScope() { NakEvLog::deinit(); }
};

class Manager : EventLogScope, public ManagerTest {
protected:
    Manager()
        : ManagerTest(smallStage())
    {
    }
    DisStoredAccount* create(QString const& token = marker)
    {
        return manager->createAccountWithToken(token);
    }
};

// Every file below the directory that holds the bytes, in either of the encodings that Qt writes.
QStringList filesHolding(QString const& directory, QString const& text)
{
    QStringList found;
    QByteArray const utf16(reinterpret_cast<char const*>(text.utf16()), text.size() * 2);
    QDirIterator it(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        QByteArray const bytes = file.readAll();
        // The offset by one finds the other byte order too.
        if (bytes.contains(text.toUtf8()) || bytes.contains(utf16.mid(1, utf16.size() - 2)))
            found << it.fileName();
    }
    return found;
}

} // namespace

TEST_F(Manager, AccountsAreAddedKeptAndRemoved)
{
    QSignalSpy const changed(manager.get(), &DisManager::accountsChanged);
    DisStoredAccount* const first = create();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(create(), nullptr);
    for (int i = 0; i < 2; ++i) // an empty one is no token
        EXPECT_NE(create(QString()), nullptr);
    EXPECT_EQ(changed.count(), 3);
    manager->setAutoConnectForAccount(first, true);

    restart();
    std::string kept;
    for (DisStoredAccount const* account : manager->accounts())
        kept += account->authToken.toStdString() + (account->autoConnect ? " auto " : " ")
            + std::to_string(static_cast<int>(account->authTokenState)) + ';';
    EXPECT_EQ(kept, "mfa.MARKED-token-0123456789 auto 1; 0; 0;");
    while (!manager->accounts().isEmpty())
        manager->removeAccount(manager->accounts().first());
    EXPECT_FALSE(QFile::exists(path)) << "the last one takes the file along";
}

TEST_F(Manager, BotTokensNeverConnect)
{
    std::string boxes;
    QObject::connect(&client, &DisClient::userMustSee,
                     [&](QString const& title, QString const& text, bool) {
                         boxes += (title + u'|' + text).toStdString();
                     });
    manager->connectWithAccount(create(QStringLiteral("Bot x")));
    manager->connectWithAccount(create(QString()));
    EXPECT_TRUE(client.sessions().isEmpty());
    EXPECT_EQ(boxes, "No Bot Accounts|Connecting with bot accounts using the GUI is not allowed");
    manager->connectWithAccount(create(QStringLiteral("bot x")));
    EXPECT_EQ(client.sessions().size(), 1) << "by case";
}

TEST_F(Manager, ConnectingFollowsTheSession)
{
    DisStoredAccount* const account = create();
    DisStoredAccount* const second = create(QStringLiteral("other"));
    QSignalSpy const userInfo(account, &DisStoredAccount::userInfoChangedBySession);
    std::string statuses;
    QObject::connect(&model.events, &NakGlobalEvents::connStatusChanged,
                     [&](NakGenericConnStatus const& status) {
                         statuses += std::to_string(static_cast<int>(status));
                     });
    manager->connectWithAccount(account);
    manager->connectWithAccount(second);
    EXPECT_EQ(client.sessions().size(), 1) << "one session at a time";
    ASSERT_TRUE(waitUntil([&] { return account->authTokenState == TokenState::Accepted; }));
    EXPECT_EQ(account->connectionState, DisSessionStateType::Connected);
    EXPECT_EQ(second->connectionState, DisSessionStateType::Disconnected);
    EXPECT_EQ(account->userId.value(), service.ownUserId());
    EXPECT_EQ(userInfo.count(), 1);
    EXPECT_EQ(account->cachedGatewayUrl, service.gatewayUrl());
    EXPECT_EQ(manager->activeUserId().value(), service.ownUserId());
    EXPECT_TRUE(manager->anyAccountsConnected());
    EXPECT_TRUE(model.events.hack_anyServicesConnected());

    service.closeWith(1001, QString());
    ASSERT_TRUE(waitUntil([&] { return statuses.size() == 4; })) << "reconnecting is shown";
    manager->disconnectAccount(account);
    ASSERT_TRUE(
        waitUntil([&] { return account->connectionState == DisSessionStateType::Disconnected; }));
    EXPECT_FALSE(manager->anyAccountsConnected());
    EXPECT_FALSE(model.events.hack_anyServicesConnected());
    EXPECT_FALSE(manager->activeUserId().isValid());
    EXPECT_EQ(statuses, "234351");

    restart();
    DisStoredAccount const* const kept = manager->accounts().first();
    EXPECT_EQ(kept->cachedGatewayUrl, service.gatewayUrl());
    EXPECT_EQ(kept->authTokenState, TokenState::Accepted);
    EXPECT_EQ(kept->userId.value(), service.ownUserId());
    EXPECT_FALSE(kept->userName.isEmpty());
}

TEST_F(Manager, RejectedTokenIsKeptAsSuchAndMayTryAgain)
{
    DisStoredAccount* const account = create(QStringLiteral("wrong"));
    for (int round = 0; round < 2; ++round) {
        account->authTokenState = TokenState::Unverified;
        manager->connectWithAccount(account);
        ASSERT_TRUE(waitUntil([&] { return account->authTokenState == TokenState::Rejected; }));
        ASSERT_TRUE(waitForNoSession());
    }
    restart();
    EXPECT_EQ(manager->accounts().first()->authTokenState, TokenState::Rejected);
}

TEST_F(Manager, DeadGatewayUrlIsForgotten)
{
    DisStoredAccount* const account = create();
    account->cachedGatewayUrl = QStringLiteral("ws://127.0.0.1:1");
    manager->connectWithAccount(account);
    ASSERT_TRUE(waitUntil([&] { return account->cachedGatewayUrl.isEmpty(); }));
    ASSERT_TRUE(waitForNoSession());
    EXPECT_TRUE(signIn(account)) << "the next one asks the API";
}

TEST_F(Manager, AutoConnectWaitsForItsMoment)
{
    create(QStringLiteral("first"));
    DisStoredAccount* const account = create();
    manager->setAutoConnectForAccount(account, true);
    restart();
    QCoreApplication::processEvents();
    EXPECT_TRUE(client.sessions().isEmpty());
    emit model.events.accountAutoOnlineBecameOk();
    ASSERT_EQ(client.sessions().size(), 1);
    EXPECT_EQ(client.sessions().first()->authToken(), marker);
    emit model.events.accountAutoOnlineBecameOk();
    EXPECT_EQ(client.sessions().size(), 1);
    emit model.events.disconnectAllAccounts();
    EXPECT_TRUE(waitForNoSession());
}

TEST_F(Manager, ForegroundChannelsAreGatheredAndTheirGuildsSynchronized)
{
    FlakeId const channel(service.busyChannelId());
    int asked = 0;
    DisForegroundChannels onScreen{ { channel }, {} };
    manager->setForegroundChannelsProvider([&] {
        ++asked;
        return onScreen;
    });
    for (int i = 0; i < 5; ++i)
        manager->hack_foregroundChannelsMayHaveChanged();
    EXPECT_EQ(asked, 0);
    ASSERT_TRUE(waitUntil([&] { return asked > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(manager->foregroundChannels(), onScreen.shown);

    // A tab restored before the connection: its guild is asked for once that is up.
    manager->connectWithAccount(create());
    QJsonObject frame;
    ASSERT_TRUE(service.expectFrame(12, &frame));
    EXPECT_EQ(frame[QLatin1String("d")].toArray().size(), 1);
    onScreen = {};
    manager->hack_foregroundChannelsMayHaveChanged();
    ASSERT_TRUE(waitUntil([&] { return manager->foregroundChannels().isEmpty(); }));
}

TEST_F(Manager, RecentChannelsComeFirst)
{
    for (quint64 const id : { 1, 2, 3, 2 })
        manager->markChannelAsRecentlyUsed(FlakeId(id));
    EXPECT_EQ(manager->recentlyUsedChannels(),
              (QVector<FlakeId>{ FlakeId(2), FlakeId(3), FlakeId(1) }));
}

// Peers that send the token back in every text that is logged or stored.
TEST_F(Manager, TokenIsInTheAccountsFileAndNowhereElse)
{
    QByteArray const echo = "you said " + marker.toUtf8();
    service.answer("GET", QStringLiteral("/gateway"), 500, echo, {}, 1);
    DisStoredAccount* const account = create();
    manager->connectWithAccount(account);
    ASSERT_TRUE(waitForNoSession());
    QString tellingUrl = service.gatewayUrl();
    tellingUrl.insert(5, marker + QLatin1Char('@')); // behind "ws://"
    service.answer("GET", QStringLiteral("/gateway"), 200,
                   QStringLiteral("{\"url\":\"%1\"}").arg(tellingUrl).toUtf8(), {}, 1);
    ASSERT_TRUE(signIn(account));
    EXPECT_EQ(account->cachedGatewayUrl, tellingUrl);
    service.closeWith(4000, QString::fromUtf8(echo));
    ASSERT_TRUE(waitForNoSession());

    account->cachedGatewayUrl.clear();
    account->authTokenState = TokenState::Unverified;
    ASSERT_TRUE(signIn(account));
    FlakeId const me = manager->activeUserId();
    FlakeId const channel(service.busyChannelId());
    service.answer("PATCH", QStringLiteral("/channels/1/messages/2"), 400, echo);
    service.answer("POST", QStringLiteral("/channels/1/messages/2/ack"), 400, echo);
    client.sendMessageAsUser(me, channel, QStringLiteral("hello"));
    client.editMessageAsUser(FlakeId(1), FlakeId(2), me, QStringLiteral("hello again"));
    client.trySendMessageReadAck(me, FlakeId(1), FlakeId(2));
    client.setOwnUserStatus(me, DisUserStatusCode::Online, false, marker);
    client.fetchRecentHistoryForChannel(channel);
    ASSERT_TRUE(waitUntil([&] { return client.pendingMessages_hack().isEmpty(); }));
    service.requestReconnect();
    ASSERT_TRUE(service.expectFrame(6));
    service.closeWith(4004, QStringLiteral("Authentication failed. ") + marker);
    ASSERT_TRUE(waitForNoSession());

    QFile log(NakEvLog::logFileName());
    QByteArray lines;
    ASSERT_TRUE(waitUntil([&] {
        log.close();
        lines = log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
        return lines.contains("after authentication failed");
    }));
    EXPECT_TRUE(lines.contains("PATCH to Discord API failed: 302 -- you said [...]"));
    EXPECT_TRUE(lines.contains("Message ack error: 302 --- you said [...]"));
    EXPECT_TRUE(lines.contains("with reason you said [...] (code 4000)"));
    EXPECT_FALSE(lines.contains(marker.toUtf8()));
    EXPECT_FALSE(lines.contains("hello again")) << "nor does a message get into the log";
    EXPECT_EQ(filesHolding(model.dir.path(), marker).join(QLatin1Char(' ')).toStdString(),
              "nakwire_accounts.bin");
}
