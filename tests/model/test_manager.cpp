// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_manager.h"
#include "dis_session.h"
#include "model_fixture.h"
#include "nak_event_log.h"
#include "stage.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using TokenState = DisStoredAccount::AuthTokenState;

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

struct ManagerWorld : ModelWorld {
    explicit ManagerWorld(QString const& apiUrl = QStringLiteral("http://127.0.0.1:1/api/v6"))
        : ModelWorld(apiUrl)
    {
        restart();
        QObject::connect(client.get(), &DisClient::userMustSee,
                         [this](QString const& title, QString const& text, bool) {
                             boxes << title + QLatin1Char('|') + text;
                         });
        QObject::connect(&events, &NakGlobalEvents::connStatusChanged,
                         [this](NakGenericConnStatus const& status) {
                             statuses << QString::number(static_cast<int>(status));
                         });
    }
    ~ManagerWorld() { g_disManager = nullptr; }

    void restart()
    {
        manager.reset();
        manager = std::make_unique<DisManager>(path, nullptr);
        g_disManager = manager.get();
    }
    // True once its token is accepted.
    bool signIn(DisStoredAccount* account)
    {
        manager->connectWithAccount(account);
        return waitUntil([=] { return account->authTokenState == TokenState::Accepted; });
    }
    bool waitForNoSession()
    {
        return waitUntil([this] { return client->sessions().isEmpty(); });
    }

    QString path = dir.filePath(QStringLiteral("nakwire_accounts.bin"));
    std::unique_ptr<DisManager> manager;
    QStringList boxes;
    QStringList statuses; // of the frame
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

TEST(Manager, AccountsAreAddedKeptAndRemoved)
{
    ManagerWorld world;
    int changed = 0;
    QObject::connect(world.manager.get(), &DisManager::accountsChanged, [&] { ++changed; });
    DisStoredAccount* const first = world.manager->createAccountWithToken(marker);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(world.manager->createAccountWithToken(marker), nullptr);
    for (int i = 0; i < 2; ++i) // an empty one is no token
        EXPECT_NE(world.manager->createAccountWithToken(QString()), nullptr);
    EXPECT_EQ(changed, 3);
    world.manager->setAutoConnectForAccount(first, true);

    world.restart();
    std::string kept;
    for (DisStoredAccount const* account : world.manager->accounts())
        kept += account->authToken.toStdString() + (account->autoConnect ? " auto " : " ")
            + std::to_string(static_cast<int>(account->authTokenState)) + ';';
    EXPECT_EQ(kept, "mfa.MARKED-token-0123456789 auto 1; 0; 0;");
    while (!world.manager->accounts().isEmpty())
        world.manager->removeAccount(world.manager->accounts().first());
    EXPECT_FALSE(QFile::exists(world.path)) << "the last one takes the file along";
}

TEST(Manager, BotTokensNeverConnect)
{
    ManagerWorld world;
    world.manager->connectWithAccount(
        world.manager->createAccountWithToken(QStringLiteral("Bot x")));
    world.manager->connectWithAccount(world.manager->createAccountWithToken(QString()));
    EXPECT_TRUE(world.client->sessions().isEmpty());
    EXPECT_EQ(world.boxes.join(QLatin1Char('/')).toStdString(),
              "No Bot Accounts|Connecting with bot accounts using the GUI is not allowed");
    world.manager->connectWithAccount(
        world.manager->createAccountWithToken(QStringLiteral("bot x")));
    EXPECT_EQ(world.client->sessions().size(), 1) << "by case";
}

TEST(Manager, ConnectingFollowsTheSession)
{
    stage::Stage service(smallStage());
    ManagerWorld world(service.apiUrl());
    DisStoredAccount* const account = world.manager->createAccountWithToken(marker);
    DisStoredAccount* const second = world.manager->createAccountWithToken(QStringLiteral("other"));
    int userInfo = 0;
    QObject::connect(account, &DisStoredAccount::userInfoChangedBySession, [&] { ++userInfo; });
    world.manager->connectWithAccount(account);
    world.manager->connectWithAccount(second);
    EXPECT_EQ(world.client->sessions().size(), 1) << "one session at a time";
    ASSERT_TRUE(waitUntil([&] { return account->authTokenState == TokenState::Accepted; }));
    EXPECT_EQ(account->connectionState, DisSessionStateType::Connected);
    EXPECT_EQ(second->connectionState, DisSessionStateType::Disconnected);
    EXPECT_EQ(account->userId.value(), service.ownUserId());
    EXPECT_EQ(userInfo, 1);
    EXPECT_EQ(account->cachedGatewayUrl, service.gatewayUrl());
    EXPECT_EQ(world.manager->activeUserId().value(), service.ownUserId());
    EXPECT_TRUE(world.manager->anyAccountsConnected());
    EXPECT_TRUE(world.events.hack_anyServicesConnected());

    service.closeWith(1001, QString());
    ASSERT_TRUE(waitUntil([&] { return world.statuses.size() == 4; })) << "reconnecting is shown";
    world.manager->disconnectAccount(account);
    ASSERT_TRUE(
        waitUntil([&] { return account->connectionState == DisSessionStateType::Disconnected; }));
    EXPECT_FALSE(world.manager->anyAccountsConnected());
    EXPECT_FALSE(world.events.hack_anyServicesConnected());
    EXPECT_FALSE(world.manager->activeUserId().isValid());
    EXPECT_EQ(world.statuses.join(QLatin1Char(' ')).toStdString(), "2 3 4 3 5 1");

    world.restart();
    DisStoredAccount const* const kept = world.manager->accounts().first();
    EXPECT_EQ(kept->cachedGatewayUrl, service.gatewayUrl());
    EXPECT_EQ(kept->authTokenState, TokenState::Accepted);
    EXPECT_EQ(kept->userId.value(), service.ownUserId());
    EXPECT_FALSE(kept->userName.isEmpty());
}

TEST(Manager, RejectedTokenIsKeptAsSuchAndMayTryAgain)
{
    stage::Stage service(smallStage());
    ManagerWorld world(service.apiUrl());
    DisStoredAccount* const account =
        world.manager->createAccountWithToken(QStringLiteral("wrong"));
    for (int round = 0; round < 2; ++round) {
        account->authTokenState = TokenState::Unverified;
        world.manager->connectWithAccount(account);
        ASSERT_TRUE(waitUntil([&] { return account->authTokenState == TokenState::Rejected; }));
        ASSERT_TRUE(world.waitForNoSession());
    }
    world.restart();
    EXPECT_EQ(world.manager->accounts().first()->authTokenState, TokenState::Rejected);
}

TEST(Manager, DeadGatewayUrlIsForgotten)
{
    stage::Stage service(smallStage());
    ManagerWorld world(service.apiUrl());
    DisStoredAccount* const account = world.manager->createAccountWithToken(marker);
    account->cachedGatewayUrl = QStringLiteral("ws://127.0.0.1:1");
    world.manager->connectWithAccount(account);
    ASSERT_TRUE(waitUntil([&] { return account->cachedGatewayUrl.isEmpty(); }));
    ASSERT_TRUE(world.waitForNoSession());
    EXPECT_TRUE(world.signIn(account)) << "the next one asks the API";
}

TEST(Manager, AutoConnectWaitsForItsMoment)
{
    stage::Stage service(smallStage());
    ManagerWorld world(service.apiUrl());
    world.manager->createAccountWithToken(QStringLiteral("first"));
    DisStoredAccount* const account = world.manager->createAccountWithToken(marker);
    world.manager->setAutoConnectForAccount(account, true);
    world.restart();
    QCoreApplication::processEvents();
    EXPECT_TRUE(world.client->sessions().isEmpty());
    emit world.events.accountAutoOnlineBecameOk();
    ASSERT_EQ(world.client->sessions().size(), 1);
    EXPECT_EQ(world.client->sessions().first()->authToken(), marker);
    emit world.events.accountAutoOnlineBecameOk();
    EXPECT_EQ(world.client->sessions().size(), 1);
    emit world.events.disconnectAllAccounts();
    EXPECT_TRUE(world.waitForNoSession());
}

TEST(Manager, ForegroundChannelsAreGatheredAndTheirGuildsSynchronized)
{
    stage::Stage service(smallStage());
    ManagerWorld world(service.apiUrl());
    FlakeId const channel(service.busyChannelId());
    int asked = 0;
    DisForegroundChannels onScreen{ { channel }, {} };
    world.manager->setForegroundChannelsProvider([&] {
        ++asked;
        return onScreen;
    });
    for (int i = 0; i < 5; ++i)
        world.manager->hack_foregroundChannelsMayHaveChanged();
    EXPECT_EQ(asked, 0);
    ASSERT_TRUE(waitUntil([&] { return asked > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(world.manager->foregroundChannels(), onScreen.shown);

    // A tab restored before the connection: its guild is asked for once that is up.
    world.manager->connectWithAccount(world.manager->createAccountWithToken(marker));
    QJsonObject frame;
    ASSERT_TRUE(service.expectFrame(12, &frame));
    EXPECT_EQ(frame[QLatin1String("d")].toArray().size(), 1);
    onScreen = {};
    world.manager->hack_foregroundChannelsMayHaveChanged();
    ASSERT_TRUE(waitUntil([&] { return world.manager->foregroundChannels().isEmpty(); }));
}

TEST(Manager, RecentChannelsAndMutedUsers)
{
    ManagerWorld world;
    for (quint64 const id : { 1, 2, 3, 2 })
        world.manager->markChannelAsRecentlyUsed(FlakeId(id));
    EXPECT_EQ(world.manager->recentlyUsedChannels(),
              (QVector<FlakeId>{ FlakeId(2), FlakeId(3), FlakeId(1) }));
    int told = 0;
    QObject::connect(world.manager.get(), &DisManager::mutedUsersChanged, [&] { ++told; });
    world.manager->addMutedUser(FlakeId(5));
    world.manager->addMutedUser(FlakeId(5));
    EXPECT_TRUE(world.manager->isUserMuted(FlakeId(5)));
    world.manager->removeMutedUser(FlakeId(5));
    world.manager->removeMutedUser(FlakeId(5));
    EXPECT_FALSE(world.manager->isUserMuted(FlakeId(5)));
    EXPECT_EQ(told, 2);
}

// Peers that send the token back in every text that is logged or stored.
TEST(Manager, TokenIsInTheAccountsFileAndNowhereElse)
{
    stage::Stage service(smallStage());
    ManagerWorld world(service.apiUrl());
    QByteArray const echo = "you said " + marker.toUtf8();
    service.answer("GET", QStringLiteral("/gateway"), 500, echo, {}, 1);
    DisStoredAccount* const account = world.manager->createAccountWithToken(marker);
    world.manager->connectWithAccount(account);
    ASSERT_TRUE(world.waitForNoSession());
    QString tellingUrl = service.gatewayUrl();
    tellingUrl.insert(5, marker + QLatin1Char('@')); // behind "ws://"
    service.answer("GET", QStringLiteral("/gateway"), 200,
                   QStringLiteral("{\"url\":\"%1\"}").arg(tellingUrl).toUtf8(), {}, 1);
    ASSERT_TRUE(world.signIn(account));
    EXPECT_EQ(account->cachedGatewayUrl, tellingUrl);
    service.closeWith(4000, QString::fromUtf8(echo));
    ASSERT_TRUE(world.waitForNoSession());

    account->cachedGatewayUrl.clear();
    account->authTokenState = TokenState::Unverified;
    ASSERT_TRUE(world.signIn(account));
    FlakeId const me = world.manager->activeUserId();
    FlakeId const channel(service.busyChannelId());
    service.answer("PATCH", QStringLiteral("/channels/1/messages/2"), 400, echo);
    service.answer("POST", QStringLiteral("/channels/1/messages/2/ack"), 400, echo);
    world.client->sendMessageAsUser(me, channel, QStringLiteral("hello"));
    world.client->editMessageAsUser(FlakeId(1), FlakeId(2), me, QStringLiteral("hello again"));
    world.client->trySendMessageReadAck(me, FlakeId(1), FlakeId(2));
    world.client->setOwnUserStatus(me, DisUserStatusCode::Online, false, marker);
    world.client->fetchRecentHistoryForChannel(channel);
    ASSERT_TRUE(waitUntil([&] { return world.client->pendingMessages_hack().isEmpty(); }));
    service.requestReconnect();
    ASSERT_TRUE(service.expectFrame(6));
    service.closeWith(4004, QStringLiteral("Authentication failed. ") + marker);
    ASSERT_TRUE(world.waitForNoSession());

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
    EXPECT_EQ(filesHolding(world.dir.path(), marker).join(QLatin1Char(' ')).toStdString(),
              "nakwire_accounts.bin");
}
