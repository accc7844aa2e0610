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
class Listeners : public testing::Test, protected ModelWorld {
protected:
    Listeners()
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
    ~Listeners() override { g_disListenManager = nullptr; }

    DisListenManager manager{ nullptr };
    qint64 now = 1'000;
};

DisChanges of(Type type, quint64 a, quint64 b = 0)
{
    DisChanges changes;
    changes.add(type, FlakeId(a), FlakeId(b));
    return changes;
}

QStringList sorted(std::string const& heard)
{
    QStringList words = QString::fromStdString(heard).split(u';');
    words.sort();
    return words;
}

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

TEST_F(Listeners, EmitWhatReallyChanged)
{
    DisUserListener inGuild;
    DisUserListener alone;
    DisUserListener other;
    DisChannelListener text;
    DisChannelListener pair; // with the user 11
    DisGuildListener guild;
    std::string heard;
    auto const listen = [&heard](auto& listener, char const* name) {
        using Listener = std::decay_t<decltype(listener)>;
        QObject::connect(&listener, &Listener::propertiesChanged, [&heard, name](quint32 props) {
            heard += name + (' ' + std::to_string(props)) + ';';
        });
    };
    listen(inGuild, "inGuild");
    listen(alone, "alone");
    listen(other, "other");
    listen(text, "text");
    listen(pair, "pair");
    listen(guild, "guild");
    inGuild.setParams({ FlakeId(10), FlakeId(1), -1 });
    alone.setParams({ FlakeId(11), FlakeId(), -1 });
    alone.setParams({ FlakeId(10), FlakeId(), -1 }); // hears nothing of the one before
    other.setParams({ FlakeId(11), FlakeId(1), -1 });
    text.setParams({ FlakeId(20), FlakeId(10) });
    pair.setParams({ FlakeId(21), FlakeId(10) });
    guild.setParams({ FlakeId(1) });
    EXPECT_EQ(heard, "") << "the first fill is silent";
    auto const values = [&] {
        return QStringLiteral("%1 %2 %3 %4 %5 %6 %7")
            .arg(inGuild.userName(), inGuild.userDiscrim(), inGuild.userNick(), text.channelName(),
                 pair.channelName(), guild.guildName(), inGuild.userRoleColor().name())
            .toStdString();
    };
    EXPECT_EQ(values(), "ada #0001 countess #roses bob garden #000000");
    EXPECT_EQ(inGuild.userStatusCode(), DisUserStatusCode::Online);
    EXPECT_FALSE(inGuild.userRoleColor().isValid());
    EXPECT_EQ(text.channelType(), DisChannelType::GuildText);
    EXPECT_EQ(text.guildId(), FlakeId(1));
    EXPECT_EQ(pair.otherUserId(), FlakeId(11));

    DisChanges several = of(Type::UserStatusChanged, 10);
    several.add(Type::UserPropertiesChanged, FlakeId(10));
    several.add(Type::UserStatusChanged, FlakeId(10));
    struct {
        char const* what;
        char const* sql;
        DisChanges changes;
        char const* heard;
    } const steps[] = {
        { "the same status", "", of(Type::UserStatusChanged, 10), "" },
        { "status", "update user set status = 3 where id = 10", of(Type::UserStatusChanged, 10),
          "inGuild 32;alone 32;" },
        { "a change that does not tell of names",
          "update user set name = 'lady', discrim = '9' where id = 10",
          of(Type::UserStatusChanged, 10), "" },
        { "names", "", of(Type::UserPropertiesChanged, 10), "inGuild 3;alone 3;" },
        { "nick", "update guild_member set nick = 'c' where user_id = 10",
          of(Type::GuildMemberChanged, 1, 10), "inGuild 4;" },
        { "of another guild", "insert into guild_member_role (user_id, role_id) values (10, 5)",
          of(Type::GuildMemberChanged, 2, 10), "" },
        { "role", "", of(Type::GuildMemberChanged, 1, 10), "inGuild 16;" },
        { "its colour", "update role set color = 255 where id = 5",
          of(Type::GuildRoleChanged, 1, 5), "inGuild 16;" },
        { "another channel", "update guild_channel set name = 'tulips'",
          of(Type::ChannelChanged, 21), "" },
        { "channel", "", of(Type::ChannelChanged, 20), "text 1;" },
        { "the user of a pair", "update user set name = 'robert' where id = 11",
          of(Type::UserPropertiesChanged, 11), "other 1;pair 1;" },
        { "a user of none", "update user set name = 'x' where id = 12",
          of(Type::UserPropertiesChanged, 12), "" },
        { "the same guild", "", of(Type::GuildChanged, 1), "" },
        { "another guild", "update guild set name = 'park'", of(Type::GuildChanged, 2), "" },
        { "guild", "", of(Type::GuildChanged, 1), "guild 1;" },
        { "several at once", "update user set name = 'x', status = 1 where id = 10", several,
          "inGuild 33;alone 33;" },
        { "nothing on a reload", "", DisChanges::reload(), "" },
        { "all on a reload",
          "update user set name = 'y', status = 2; update guild_member set nick = null;"
          "update guild_channel set name = 'z'; update guild set name = 'wood'",
          DisChanges::reload(), "inGuild 37;alone 33;other 33;text 1;pair 1;guild 1;" },
    };
    for (auto const& step : steps) {
        heard.clear();
        run(step.sql);
        client->postLocalChanges(step.changes);
        EXPECT_EQ(sorted(heard), sorted(step.heard)) << step.what;
    }
    EXPECT_EQ(values(), "y #9  #z y wood #0000ff");

    inGuild.clear();
    guild.clear();
    EXPECT_TRUE(inGuild.isNull() && inGuild.userName().isNull());
    EXPECT_TRUE(guild.isNull() && guild.guildName().isNull());
    heard.clear();
    run("update user set name = 'w'; update guild set name = 'w'");
    client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(sorted(heard), sorted("alone 1;other 1;pair 1;"));
}

TEST_F(Listeners, MayDieWhileOthersAreTold)
{
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
        run(("update user set name = 'n" + std::to_string(survivor) + "' where id = 11").c_str());
        tell(Type::UserPropertiesChanged, FlakeId(11));
        EXPECT_GE(emissions, 1);
        EXPECT_LE(emissions, 2);
    }
}

// A tab restored at start listens before the store knows the channel.
TEST_F(Listeners, ChannelThatBecomesKnownLater)
{
    DisChannelListener listener;
    listener.setParams({ FlakeId(30), FlakeId(10) });
    EXPECT_EQ(listener.channelType(), DisChannelType::Unknown);
    int told = 0;
    QObject::connect(&listener, &DisChannelListener::propertiesChanged, [&] { ++told; });
    run("insert into any_channel (id, type) values (30, 4)");
    run("insert into private_channel (id) values (30)");
    run("insert into private_channel_participant (channel_id, user_id) values (30, 10), (30, 12)");
    client->postLocalChanges(DisChanges::reload());
    EXPECT_EQ(told, 1);
    EXPECT_EQ(listener.channelName().toStdString(), "cyn");
    run("update user set name = 'cynthia' where id = 12");
    tell(Type::UserPropertiesChanged, FlakeId(12));
    EXPECT_EQ(told, 2) << "and its other user is known too";
}

TEST_F(Listeners, TrackTenWhoTypeInTheOrderInWhichTheyBegan)
{
    DisTypingUsersListener listener;
    int told = 0;
    QObject::connect(&listener, &DisTypingUsersListener::typingUsersChanged, [&] { ++told; });
    emit client->typingStarts(typing({ 50 })); // nobody listens yet
    listener.setChannelId(FlakeId(20));
    EXPECT_EQ(users(listener), "");
    emit client->typingStarts(typing({ 9, 3, 5 }));
    emit client->typingStarts(typing({ 3, 4 }, 21)); // another channel
    emit client->typingStarts(typing({ 3, 9 }));
    EXPECT_EQ(users(listener), "9 3 5");
    EXPECT_EQ(told, 1);
    emit client->typingStarts(typing({ 1, 2, 4, 6, 7, 8, 10, 11 }));
    EXPECT_EQ(users(listener), "9 3 5 1 2 4 6 7 8 10") << "the eleventh is not tracked";
    EXPECT_EQ(told, 2);
    auto second = std::make_unique<DisTypingUsersListener>(); // shares what is known
    second->setChannelId(FlakeId(20));
    listener.setChannelId(FlakeId(21));
    EXPECT_EQ(users(listener), "");
    EXPECT_EQ(users(*second), "9 3 5 1 2 4 6 7 8 10");
    second.reset();
    listener.setChannelId(FlakeId(20));
    EXPECT_EQ(users(listener), "") << "what nobody listened to is forgotten";
}

TEST_F(Listeners, TypingEndsAfterTenSecondsOrWithAMessage)
{
    DisTypingUsersListener listener;
    listener.setChannelId(FlakeId(20));
    int told = 0;
    QObject::connect(&listener, &DisTypingUsersListener::typingUsersChanged, [&] { ++told; });
    emit client->typingStarts(typing({ 1, 2, 3 }));
    now += 5'000;
    emit client->typingStarts(typing({ 2 })); // renewed
    now += 4'999;
    manager.typingTimeout();
    EXPECT_EQ(users(listener), "1 2 3");
    now += 1;
    manager.typingTimeout();
    EXPECT_EQ(users(listener), "2");
    emit client->typingStarts(typing({ 4 }));
    tell(Type::MessageCreated, FlakeId(100), FlakeId(20), FlakeId(2));
    tell(Type::MessageCreated, FlakeId(101), FlakeId(21), FlakeId(4)); // elsewhere
    EXPECT_EQ(users(listener), "4");
    EXPECT_EQ(told, 4);
}
