// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Subscriptions to member lists, over real sockets.

#include "session_fixture.h"
#include "stage.h"

TEST_F(BareSession, MemberListsAreAskedForInTurnAndOnlyWhenSomethingChanged)
{
    becomeReady();
    auto const update = [&](quint64 guild, QVector<DisClientChanSegs> const& channels) {
        test.client->updateChanSegs(test.userId, FlakeId(guild), channels);
    };
    FlakeId const a(5);
    FlakeId const b(3);
    update(1, { { a, { { 0, 50 } } } });
    update(2, { { b, {} } });
    update(1, { { a, { { 210, 250 } } }, { b, { { 0, 10 } } } }); // before the first was sent
    EXPECT_EQ(text(gateway.take()),
              R"({"d":{"activities":true,"channels":{"3":[[0,99]],"5":[[0,99],[200,299]]},)"
              R"("guild_id":"1","typing":true},"op":14})");
    EXPECT_EQ(text(gateway.take()),
              R"({"d":{"activities":true,"channels":{"3":[[0,99]]},"guild_id":"2",)"
              R"("typing":true},"op":14})");
    update(1, { { b, { { 5, 99 } } }, { a, { { 0, 0 }, { 200, 299 } } } }); // the same chunks
    update(1, { { a, { { 100, 150 } } } });
    EXPECT_EQ(text(gateway.take()),
              R"({"d":{"channels":{"5":[[0,99],[100,199]]},"guild_id":"1"},"op":14})");
    update(1, {});
    EXPECT_EQ(text(gateway.take()), R"({"d":{"channels":{},"guild_id":"1"},"op":14})");

    gateway.send(object(R"({"op":9,"d":false})"));
    EXPECT_EQ(gateway.take()[QLatin1String("op")].toInt(), 2);
    ASSERT_TRUE(waitUntil([&] { return test.reloads > 1; }));
    update(2, { { b, {} } }); // a new session of the gateway knows of no subscription
    EXPECT_EQ(text(gateway.take()),
              R"({"d":{"activities":true,"channels":{"3":[[0,99]]},"guild_id":"2",)"
              R"("typing":true},"op":14})");
}

TEST(MemberList, ServiceAnswersWithTheSegment)
{
    stage::StageOptions options;
    options.world.guilds = 1;
    options.world.membersPerGuild = 150;
    stage::Stage service(options);
    TestClient test(service.apiUrl());
    QVector<DisSeg::Package> packages;
    QObject::connect(test.client.get(), &DisClient::segPackage,
                     [&](DisSeg::Package const& package) { packages.append(package); });
    ASSERT_TRUE(test.connectUntilReady(QString()));
    FlakeId const guild(test.value("select id from guild").toULongLong());
    FlakeId const channel(test.value("select min(id) from guild_channel").toULongLong());
    test.client->updateChanSegs(test.userId, guild, { { channel, { { 100, 120 } } } });
    ASSERT_TRUE(waitUntil([&] { return !packages.isEmpty(); }));
    auto const& package = packages.first();
    EXPECT_EQ(package.guildId, guild);
    EXPECT_TRUE(package.isEveryone);
    ASSERT_EQ(package.ops.size(), 2);
    EXPECT_EQ(package.ops[0].last, 99);
    EXPECT_EQ(package.ops[0].items.size(), 100);
    EXPECT_FALSE(package.ops[0].items[0].userId.isValid()) << "a heading";
    EXPECT_EQ(package.ops[1].index, 100);
    int members = 0;
    for (auto const& group : package.groups)
        members += group.count;
    EXPECT_EQ(members, 150);
}
