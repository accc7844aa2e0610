// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_listen.h"
#include "model_fixture.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace {

using Type = DisChange::ChangeType;
using namespace DisListen;

// A store with a guild, three users, a channel of each kind, and the listeners' manager.
struct ListenWorld : ModelWorld {
    ListenWorld()
        : manager(nullptr)
    {
        g_disListenManager = &manager;
        manager.setClock([this] { return now; });
        run("insert into guild (id, name, owner_id) values (1, 'garden', 10)");
        run("insert into user (id, name, discrim, status) values"
            " (10, 'ada', '0001', 4), (11, 'bob', '0002', 1), (12, 'cyn', '0003', 2)");
        run("insert into guild_member (guild_id, user_id, nick) values (1, 10, 'countess')");
        run("insert into role (id, guild_id, name, color, position) values (5, 1, 'red', 16711680, "
            "1)");
        run("insert into any_channel (id, type) values (20, 1), (21, 4)");
        run("insert into guild_channel (id, guild_id, parent_id, position, name, "
            "rate_limit_per_user)"
            " values (20, 1, 0, 0, 'roses', 0)");
        run("insert into private_channel (id) values (21)");
        run("insert into private_channel_participant (channel_id, user_id) values (21, 10), (21, "
            "11)");
    }
    ~ListenWorld() { g_disListenManager = nullptr; }

    DisListenManager manager;
    qint64 now = 1'000;
};

// What a listener emitted, one word per emission.
template <typename Listener> struct Heard {
    explicit Heard(Listener& listener)
    {
        QObject::connect(&listener, &Listener::propertiesChanged,
                         [this](quint32 props) { words << QString::number(props); });
    }
    std::string take()
    {
        std::string const all = words.join(QLatin1Char(' ')).toStdString();
        words.clear();
        return all;
    }
    QStringList words;
};

QVector<DisTypingStart> typing(std::initializer_list<quint64> users, quint64 channel = 20)
{
    QVector<DisTypingStart> starts;
    for (quint64 const user : users)
        starts.append({ FlakeId(channel), FlakeId(user), 0 });
    return starts;
}

std::string users(DisTypingUsersListener const& listener)
{
    QStringList ids;
    for (FlakeId const user : listener.typingUsers())
        ids << user.toString();
    return ids.join(QLatin1Char(' ')).toStdString();
}

} // namespace

TEST(UserListener, FirstFillIsSilent)
{
    ListenWorld world;
    DisUserListener listener;
    Heard<DisUserListener> heard(listener);
    listener.setParams({ FlakeId(10), FlakeId(1), -1 });
    EXPECT_EQ(heard.take(), "");
    EXPECT_EQ(listener.userName().toStdString(), "ada");
    EXPECT_EQ(listener.userDiscrim().toStdString(), "#0001");
    EXPECT_EQ(listener.userNick().toStdString(), "countess");
    EXPECT_EQ(listener.userStatusCode(), DisUserStatusCode::Online);
    EXPECT_FALSE(listener.userRoleColor().isValid());
    listener.clear();
    EXPECT_TRUE(listener.isNull());
    EXPECT_TRUE(listener.userName().isNull());
}

TEST(UserListener, EmitsWhatReallyChanged)
{
    ListenWorld world;
    DisUserListener inGuild;
    inGuild.setParams({ FlakeId(10), FlakeId(1), -1 });
    DisUserListener alone;
    alone.setParams({ FlakeId(10), FlakeId(), -1 });
    DisUserListener other;
    other.setParams({ FlakeId(11), FlakeId(1), -1 });
    Heard<DisUserListener> heardInGuild(inGuild);
    Heard<DisUserListener> heardAlone(alone);
    Heard<DisUserListener> heardOther(other);
    auto const heard = [&] {
        return heardInGuild.take() + "/" + heardAlone.take() + "/" + heardOther.take();
    };

    world.tell(Type::UserStatusChanged, FlakeId(10));
    EXPECT_EQ(heard(), "//") << "the same status";
    world.run("update user set status = 3 where id = 10");
    world.tell(Type::UserStatusChanged, FlakeId(10));
    EXPECT_EQ(heard(), "32/32/");
    EXPECT_EQ(inGuild.userStatusCode(), DisUserStatusCode::DoNotDisturb);
    world.run("update user set name = 'lady', discrim = '9' where id = 10");
    world.tell(Type::UserStatusChanged, FlakeId(10));
    EXPECT_EQ(heard(), "//") << "that change does not tell of names";
    world.tell(Type::UserPropertiesChanged, FlakeId(10));
    EXPECT_EQ(heard(), "3/3/");
    world.run("update guild_member set nick = 'c' where user_id = 10");
    world.tell(Type::GuildMemberChanged, FlakeId(1), FlakeId(10));
    EXPECT_EQ(heard(), "4//");
    world.run("insert into guild_member_role (user_id, role_id) values (10, 5)");
    world.tell(Type::GuildMemberChanged, FlakeId(2), FlakeId(10));
    EXPECT_EQ(heard(), "//") << "another guild";
    world.tell(Type::GuildMemberChanged, FlakeId(1), FlakeId(10));
    EXPECT_EQ(heard(), "16//");
    EXPECT_EQ(inGuild.userRoleColor().name().toStdString(), "#ff0000");
    world.run("update role set color = 255 where id = 5");
    world.tell(Type::GuildRoleChanged, FlakeId(1), FlakeId(5));
    EXPECT_EQ(heard(), "16//");
}

TEST(UserListener, SeveralChangesGiveOneEmission)
{
    ListenWorld world;
    DisUserListener listener;
    listener.setParams({ FlakeId(10), FlakeId(1), -1 });
    Heard<DisUserListener> heard(listener);
    world.run("update user set name = 'x', status = 1 where id = 10");
    DisChanges changes;
    changes.add(Type::UserStatusChanged, FlakeId(10));
    changes.add(Type::UserPropertiesChanged, FlakeId(10));
    changes.add(Type::UserStatusChanged, FlakeId(10));
    world.client->postLocalChanges(changes);
    EXPECT_EQ(heard.take(), "33");
}

TEST(UserListener, OverflowChecksEveryoneOnce)
{
    ListenWorld world;
    DisUserListener first;
    DisUserListener second;
    DisChannelListener channel;
    first.setParams({ FlakeId(10), FlakeId(1), -1 });
    second.setParams({ FlakeId(11), FlakeId(), -1 });
    channel.setParams({ FlakeId(20), FlakeId(10) });
    Heard<DisUserListener> heardFirst(first);
    Heard<DisUserListener> heardSecond(second);
    Heard<DisChannelListener> heardChannel(channel);
    world.client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(heardFirst.take() + heardSecond.take() + heardChannel.take(), "");
    world.run("update user set name = 'x', status = 3");
    world.run("update guild_member set nick = null");
    world.run("update guild_channel set name = 'tulips'");
    world.client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(heardFirst.take(), "37");
    EXPECT_EQ(heardSecond.take(), "33");
    EXPECT_EQ(heardChannel.take(), "1");
}

TEST(UserListener, ListenersMayDieWhileOthersAreTold)
{
    ListenWorld world;
    for (int survivor = 0; survivor < 3; ++survivor) {
        std::vector<std::unique_ptr<DisUserListener>> listeners(3);
        int emissions = 0;
        for (auto& listener : listeners) {
            listener = std::make_unique<DisUserListener>();
            listener->setParams({ FlakeId(11), FlakeId(), -1 });
            QObject::connect(listener.get(), &DisUserListener::propertiesChanged, [&, survivor] {
                ++emissions;
                for (int i = 0; i < 3; ++i)
                    if (i != survivor && listeners[i].get() != listener.get())
                        listeners[i].reset();
            });
        }
        world.run(
            ("update user set name = 'n" + std::to_string(survivor) + "' where id = 11").c_str());
        world.tell(Type::UserPropertiesChanged, FlakeId(11));
        EXPECT_GE(emissions, 1);
        EXPECT_LE(emissions, 2);
    }
}

TEST(UserListener, MovedAndClearedListenersHearNothingOfBefore)
{
    ListenWorld world;
    DisUserListener listener;
    listener.setParams({ FlakeId(10), FlakeId(1), -1 });
    listener.setParams({ FlakeId(11), FlakeId(), -1 });
    Heard<DisUserListener> heard(listener);
    world.run("update user set name = name || '!'");
    world.tell(Type::UserPropertiesChanged, FlakeId(10));
    EXPECT_EQ(heard.take(), "");
    world.tell(Type::UserPropertiesChanged, FlakeId(11));
    EXPECT_EQ(heard.take(), "1");
    listener.clear();
    world.run("update user set name = name || '!'");
    world.tell(Type::UserPropertiesChanged, FlakeId(11));
    world.client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(heard.take(), "");
}

TEST(ChannelListener, Routes)
{
    ListenWorld world;
    DisChannelListener text;
    DisChannelListener pair;
    text.setParams({ FlakeId(20), FlakeId(10) });
    pair.setParams({ FlakeId(21), FlakeId(10) });
    Heard<DisChannelListener> heardText(text);
    Heard<DisChannelListener> heardPair(pair);
    EXPECT_EQ(text.channelName().toStdString(), "#roses");
    EXPECT_EQ(text.channelType(), DisChannelType::GuildText);
    EXPECT_EQ(text.guildId(), FlakeId(1));
    EXPECT_EQ(pair.channelName().toStdString(), "bob");
    EXPECT_EQ(pair.otherUserId(), FlakeId(11));

    world.run("update guild_channel set name = 'tulips'");
    world.tell(Type::ChannelChanged, FlakeId(21));
    EXPECT_EQ(heardText.take() + "/" + heardPair.take(), "/");
    world.tell(Type::ChannelChanged, FlakeId(20));
    EXPECT_EQ(heardText.take() + "/" + heardPair.take(), "1/");
    world.run("update user set name = 'robert' where id = 11");
    world.tell(Type::UserPropertiesChanged, FlakeId(11));
    EXPECT_EQ(heardText.take() + "/" + heardPair.take(), "/1");
    EXPECT_EQ(pair.channelName().toStdString(), "robert");
    world.run("update user set name = 'x' where id = 12");
    world.tell(Type::UserPropertiesChanged, FlakeId(12));
    EXPECT_EQ(heardText.take() + "/" + heardPair.take(), "/");
}

TEST(GuildListener, FollowsTheName)
{
    ListenWorld world;
    DisGuildListener listener;
    listener.setParams({ FlakeId(1) });
    EXPECT_EQ(listener.guildName().toStdString(), "garden");
    Heard<DisGuildListener> heard(listener);
    world.tell(Type::GuildChanged, FlakeId(1));
    EXPECT_EQ(heard.take(), "") << "the same name";
    world.run("update guild set name = 'park'");
    world.tell(Type::GuildChanged, FlakeId(2));
    EXPECT_EQ(heard.take(), "");
    world.tell(Type::GuildChanged, FlakeId(1));
    EXPECT_EQ(heard.take(), "1");
    world.run("update guild set name = 'wood'");
    world.client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(heard.take(), "1");
    EXPECT_EQ(listener.guildName().toStdString(), "wood");
    listener.clear();
    EXPECT_TRUE(listener.isNull() && listener.guildName().isNull());
    world.client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(heard.take(), "");
}

// A tab restored at start listens before the store knows the channel.
TEST(ChannelListener, ChannelThatBecomesKnownLater)
{
    ListenWorld world;
    DisChannelListener listener;
    listener.setParams({ FlakeId(30), FlakeId(10) });
    EXPECT_EQ(listener.channelType(), DisChannelType::Unknown);
    Heard<DisChannelListener> heard(listener);
    world.run("insert into any_channel (id, type) values (30, 4)");
    world.run("insert into private_channel (id) values (30)");
    world.run(
        "insert into private_channel_participant (channel_id, user_id) values (30, 10), (30, 12)");
    world.client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(heard.take(), "1");
    EXPECT_EQ(listener.channelName().toStdString(), "cyn");
    world.run("update user set name = 'cynthia' where id = 12");
    world.tell(Type::UserPropertiesChanged, FlakeId(12));
    EXPECT_EQ(heard.take(), "1") << "and its other user is known too";
}

TEST(TypingListener, TracksTenInTheOrderInWhichTheyBegan)
{
    ListenWorld world;
    DisTypingUsersListener listener;
    int told = 0;
    QObject::connect(&listener, &DisTypingUsersListener::typingUsersChanged, [&] { ++told; });
    emit world.client->typingStarts(typing({ 50 })); // nobody listens yet
    listener.setChannelId(FlakeId(20));
    EXPECT_EQ(users(listener), "");
    emit world.client->typingStarts(typing({ 9, 3, 5 }));
    emit world.client->typingStarts(typing({ 3, 4 }, 21)); // another channel
    EXPECT_EQ(users(listener), "9 3 5");
    EXPECT_EQ(told, 1);
    emit world.client->typingStarts(typing({ 3, 9 }));
    EXPECT_EQ(users(listener), "9 3 5");
    emit world.client->typingStarts(typing({ 1, 2, 4, 6, 7, 8, 10, 11 }));
    EXPECT_EQ(users(listener), "9 3 5 1 2 4 6 7 8 10") << "the eleventh is not tracked";
    EXPECT_EQ(told, 2);
}

TEST(TypingListener, EndsAfterTenSecondsOrWithAMessage)
{
    ListenWorld world;
    DisTypingUsersListener listener;
    listener.setChannelId(FlakeId(20));
    int told = 0;
    QObject::connect(&listener, &DisTypingUsersListener::typingUsersChanged, [&] { ++told; });
    emit world.client->typingStarts(typing({ 1, 2, 3 }));
    world.now += 5'000;
    emit world.client->typingStarts(typing({ 2 })); // renewed
    world.now += 4'999;
    world.manager.typingTimeout();
    EXPECT_EQ(users(listener), "1 2 3");
    world.now += 1;
    world.manager.typingTimeout();
    EXPECT_EQ(users(listener), "2");
    EXPECT_EQ(told, 2);
    emit world.client->typingStarts(typing({ 4 }));
    world.tell(Type::MessageCreated, FlakeId(100), FlakeId(20), FlakeId(2));
    EXPECT_EQ(users(listener), "4");
    world.tell(Type::MessageCreated, FlakeId(101), FlakeId(21), FlakeId(4));
    EXPECT_EQ(users(listener), "4") << "a message elsewhere";
    EXPECT_EQ(told, 4);
    world.now += 10'000;
    world.manager.typingTimeout();
    EXPECT_EQ(users(listener), "");
}

TEST(TypingListener, ListenersOfOneChannelShareWhatIsKnown)
{
    ListenWorld world;
    DisTypingUsersListener first;
    first.setChannelId(FlakeId(20));
    emit world.client->typingStarts(typing({ 1 }));
    auto second = std::make_unique<DisTypingUsersListener>();
    second->setChannelId(FlakeId(20));
    EXPECT_EQ(users(*second), "1");
    first.setChannelId(FlakeId(21));
    EXPECT_EQ(users(first), "");
    EXPECT_EQ(users(*second), "1");
    second.reset();
    first.setChannelId(FlakeId(20));
    EXPECT_EQ(users(first), "") << "what nobody listened to is forgotten";
}
