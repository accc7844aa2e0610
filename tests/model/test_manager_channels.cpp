// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What the manager makes of messages, read states, settings and people, told by the service.
#include "dis_manager_impl.h"
#include "manager_test.h"
#include "notif_manager.h"
#include "stage_world.h"
#include "text_notif.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>

namespace {

stage::StageOptions quietStage()
{
    stage::StageOptions options;
    options.world.guilds = 2;
    options.world.channelsPerGuild = 6;
    options.world.membersPerGuild = 5;
    options.world.messagesPerChannel = 30;
    options.world.messagesInBusyChannel = 60;
    return options;
}

// A connected manager. Channels have short names: a, b, c are readable text channels of the first
// guild, dm is a private one.
class ManagerChannels : public ManagerTest {
protected:
    ManagerChannels()
        : ManagerTest(quietStage())
    {
        manager->setForegroundChannelsProvider([this] { return foreground; });
        manager->setReadableTextProvider([](FlakeId) { return QStringLiteral("hello"); });
        QObject::connect(manager.get(), &DisManager::unreadsChanged,
                         [this](QHash<FlakeId, int> const& counts) { note(counts); });
        nameChannels();
    }

    void nameChannels()
    {
        stage::World const& world = service.world();
        for (quint32 const index : world.guilds[0].channels) {
            stage::Channel const& channel = world.channels[index];
            if (channel.type == stage::ChannelType::Text && !channel.hidden && names.size() < 3)
                names.insert(FlakeId(channel.id), QString(QLatin1Char(char('a' + names.size()))));
        }
        names.insert(FlakeId(world.channels[world.privateChannels[0]].id), QStringLiteral("dm"));
    }
    FlakeId id(char const* name) const { return names.key(QLatin1String(name)); }
    FlakeId me() { return FlakeId(service.world().users[0].id); }
    FlakeId user(int index) { return FlakeId(service.world().users[quint32(index)].id); }
    FlakeId guild() { return FlakeId(service.world().guilds[0].id); }

    bool connectAccount()
    {
        return signIn(manager->createAccountWithToken(QStringLiteral("token")));
    }
    // Connected, everything read, nothing told yet.
    void begin()
    {
        ASSERT_TRUE(connectAccount());
        manager->hack_localClearAllUnreads();
        NakNotif::g_nakNotifManager->dismissAll();
        waitUntil([this] { return manager->unreadCounts().isEmpty(); });
        flush();
        told.clear();
    }
    void flush() // the 1 ms in which changes are gathered
    {
        bool later = false;
        QTimer::singleShot(3, manager.get(), [&later] { later = true; });
        waitUntil([&later] { return later; });
    }
    void note(QHash<FlakeId, int> const& counts)
    {
        for (auto it = counts.cbegin(); it != counts.cend(); ++it)
            if (names.contains(it.key()))
                told << names.value(it.key()) + QLatin1Char('=') + QString::number(it.value());
        told.sort(); // on a slow machine one change can be told in two signals
    }
    void dispatch(char const* event, QString const& json)
    {
        service.sendDispatch(QLatin1String(event), QJsonDocument::fromJson(json.toUtf8()).object());
    }
    // Of somebody in the channel; true once the manager has seen it.
    bool say(char const* channel, int author, bool mention = false)
    {
        QSignalSpy seen(&client, &DisClient::disChanges);
        dispatch(
            "MESSAGE_CREATE",
            QStringLiteral(R"({"id":"%1","channel_id":"%2","content":"hello","mentions":[%3],)"
                           R"("author":{"id":"%4","username":"ada"}})")
                .arg(QString::number(++lastMessage), id(channel).toString(),
                     mention ? QStringLiteral(R"({"id":"%1"})").arg(me().toString()) : QString(),
                     user(author).toString()));
        return waitUntil([&seen] { return !seen.isEmpty(); });
    }
    void setForeground(std::initializer_list<char const*> shown, char const* attended)
    {
        foreground = {};
        for (char const* const name : shown)
            foreground.shown.insert(id(name));
        foreground.attended = { id(attended) };
        manager->hack_foregroundChannelsMayHaveChanged();
        flush();
    }
    QStringList acks() const // in the order of their text
    {
        QStringList out;
        for (stage::StageRequest const& request : service.requests())
            if (request.path.endsWith(QLatin1String("/ack")))
                out << request.path.section(QLatin1Char('/'), 1);
        out.sort();
        return out;
    }
    std::string toldText() const { return told.join(QLatin1Char(' ')).toStdString(); }

    QHash<FlakeId, QString> names;
    DisForegroundChannels foreground;
    QStringList told; // of the named channels
    quint64 lastMessage = quint64(1) << 62;
};

} // namespace

TEST_F(ManagerChannels, MessagesCountWhereNobodyLooks)
{
    begin();
    setForeground({ "b", "c" }, "c");
    say("a", 1);
    say("a", 2);
    flush();
    say("b", 1); // on screen, in a window that does not have the attention
    say("c", 1);
    say("a", 0); // one's own
    flush();
    EXPECT_EQ(manager->channelUnreadCount(id("a")), 2);
    EXPECT_EQ(manager->channelUnreadCount(id("b")), 1);
    EXPECT_EQ(manager->channelUnreadCount(id("c")), 0);

    told.clear();
    setForeground({ "b", "c" }, "b");
    EXPECT_EQ(toldText(), "b=0");
    // One a round: the one that was opened, and the one that was read as it came.
    ASSERT_TRUE(waitUntil([&] { return acks().size() == 2; }));
    QString const ack = QStringLiteral("channels/%1/messages/%2/ack");
    QStringList expected{ ack.arg(id("b").toString()).arg(lastMessage - 2),
                          ack.arg(id("c").toString()).arg(lastMessage - 1) };
    expected.sort(); // of those that wait any may be the first
    EXPECT_EQ(acks().join(u' ').toStdString(), expected.join(u' ').toStdString());
}

TEST_F(ManagerChannels, ReadElsewhereAndForgotten)
{
    begin();
    for (char const* const channel : { "a", "b", "c" })
        say(channel, 1);
    flush();
    told.clear();
    dispatch("MESSAGE_ACK",
             QStringLiteral(R"({"channel_id":"%1","message_id":"%2"})")
                 .arg(id("a").toString())
                 .arg(lastMessage - 2));
    ASSERT_TRUE(waitUntil([&] { return !told.isEmpty(); }));
    dispatch("CHANNEL_DELETE",
             QStringLiteral(R"({"type":0,"id":"%1","guild_id":"%2"})")
                 .arg(id("b").toString(), guild().toString()));
    ASSERT_TRUE(waitUntil([&] { return !manager->unreadCounts().contains(id("b")); }));
    flush();
    manager->markGuildAsRead(guild());
    flush();
    EXPECT_EQ(toldText(), "a=0 b=0 c=0");
    ASSERT_TRUE(waitUntil([&] { return !acks().isEmpty(); }));
    EXPECT_EQ(acks().join(QLatin1Char(' ')),
              QStringLiteral("guilds/%1/ack").arg(guild().toString()));
}

// READY tells what is unread; one that tells of nothing means that nothing is.
TEST_F(ManagerChannels, CountersStartAnewWithEachReady)
{
    stage::Channel& dm = *stage::findChannel(service.world(), id("dm").value());
    dm.unread = 3;
    ASSERT_TRUE(connectAccount());
    EXPECT_EQ(manager->channelUnreadCount(id("dm")), 1);
    NakNotif::g_nakNotifManager->dismissAll();
    say("dm", 1);
    EXPECT_EQ(NakNotif::g_nakNotifManager->count(), 1);
    for (stage::Channel& channel : service.world().channels)
        channel.unread = 0;
    service.invalidateSession();
    EXPECT_TRUE(waitUntil([&] { return manager->unreadCounts().isEmpty(); }));
    EXPECT_EQ(NakNotif::g_nakNotifManager->count(), 0) << "no request that was dismissed, either";
}

TEST_F(ManagerChannels, MutedChannelsKeepQuiet)
{
    begin();
    say("a", 1);
    say("b", 1);
    flush();
    QString const guildId = guild().toString();
    QString const muteA =
        QStringLiteral(R"({"channel_id":"%1","muted":true})").arg(id("a").toString());
    auto const setSettings = [&](bool guildMuted, QString const& overrides) {
        QSignalSpy changed(manager.get(), &DisManager::mutedChannelsChanged);
        told.clear();
        dispatch("USER_GUILD_SETTINGS_UPDATE",
                 QStringLiteral(R"({"guild_id":"%1","muted":%2,"channel_overrides":[%3]})")
                     .arg(guildId, QVariant(guildMuted).toString(), overrides));
        EXPECT_TRUE(waitUntil([&] { return !changed.isEmpty(); }));
        flush();
    };
    setSettings(false, muteA);
    EXPECT_EQ(toldText(), "a=0");
    EXPECT_TRUE(manager->mutedChannels().contains(id("a")));
    setSettings(true, {});
    EXPECT_EQ(toldText(), "b=0 c=0") << "the whole guild";
    setSettings(false, {});
    EXPECT_EQ(toldText(), "a=1 b=1 c=0") << "what was unread still is";

    manager->setChannelMuted(id("a"), true);
    EXPECT_TRUE(
        waitForRequest("PATCH", QStringLiteral("/users/@me/guilds/%1/settings").arg(guildId)));
}

TEST_F(ManagerChannels, NotificationsFollowTheConversation)
{
    begin();
    auto const shown = [&] {
        QStringList texts;
        for (NakNotifItem* const item : NakNotif::g_nakNotifManager->items())
            if (auto* const text = qobject_cast<NakTextNotifItem*>(item))
                texts << text->text();
        return texts.join(QLatin1Char('|')).toStdString();
    };
    say("a", 1);
    EXPECT_EQ(shown(), "") << "in a guild only mentions are told";
    say("dm", 1);
    say("dm", 1, true);
    EXPECT_EQ(shown(), "ada: hello") << "one a conversation";
    manager->addMutedUser(user(1));
    say("a", 1, true);
    EXPECT_EQ(shown(), "ada: hello");
    manager->removeMutedUser(user(1));
    say("a", 1, true);
    EXPECT_EQ(NakNotif::g_nakNotifManager->count(), 2);
    setForeground({ "dm" }, "dm");
    EXPECT_EQ(NakNotif::g_nakNotifManager->count(), 1) << "reading takes it away";
    NakNotif::g_nakNotifManager->dismissAll();
    EXPECT_EQ(NakNotif::g_nakNotifManager->count(), 0);
}

TEST_F(ManagerChannels, FriendRequestsComeAndGo)
{
    ASSERT_TRUE(connectAccount());
    NakNotif::g_nakNotifManager->dismissAll();
    QString const request =
        QStringLiteral(R"({"id":"77","type":3,"user":{"id":"77","username":"bo"}})");
    int const before = manager->pendingFriendRequests().size();
    dispatch("RELATIONSHIP_ADD", request);
    ASSERT_TRUE(waitUntil([&] { return manager->pendingFriendRequests().contains(FlakeId(77)); }));
    ASSERT_EQ(NakNotif::g_nakNotifManager->count(), 1);
    emit NakNotif::g_nakNotifManager->items().first()->actionTriggered(0, nullptr);
    ASSERT_TRUE(waitForRequest("PUT", QStringLiteral("/users/@me/relationships/77")));
    for (bool const wanted : { false, true, false }) { // is in force at once
        g_preferences->notifyOnFriendRequests = wanted;
        emit g_globalEvents->preferencesChanged();
        EXPECT_EQ(NakNotif::g_nakNotifManager->count(), wanted ? before + 1 : 0);
    }
    dispatch("RELATIONSHIP_REMOVE", request);
    EXPECT_TRUE(waitUntil([&] { return manager->pendingFriendRequests().size() == before; }));
    EXPECT_EQ(NakNotif::g_nakNotifManager->count(), 0);
}

TEST_F(ManagerChannels, IdleTimeShowsAsIdle)
{
    ASSERT_TRUE(connectAccount());
    auto const sent = [this] {
        QJsonObject frame;
        if (!service.expectFrame(3, &frame))
            return std::string("nothing");
        QJsonObject const d = frame[QLatin1String("d")].toObject();
        return d[QLatin1String("status")].toString().toStdString()
            + (d[QLatin1String("afk")].toBool() ? " afk" : "");
    };
    struct {
        int thresholdMinutes;
        unsigned int idleMs;
        char const* status; // then
        bool changes;
    } const steps[] = {
        { 5, 299999, "online", false },
        { 5, 300001, "idle afk", true },
        { 5, 400000, "idle afk", false },
        { 5, 4000, "online", true },
        { 1, 179999, "online", false }, // three minutes at least, and 240 at most
        { 1, 180001, "idle afk", true },
        { 500, 10, "online", true },
        { 500, 240U * 60000U, "online", false },
        { 500, 240U * 60000U + 1, "idle afk", true },
        { 5, 10, "online", true },
    };
    for (auto const& step : steps) {
        model.preferences.inactivityThresholdMinutes = step.thresholdMinutes;
        manager->idleTimeUpdated(step.idleMs);
        if (step.changes) {
            EXPECT_EQ(sent(), step.status) << step.idleMs;
        }
        // A choice is always sent, so that the next frame tells whether there was one before it.
        manager->setPreferredUserStatus(me(), DisUserStatusCode::Online);
        EXPECT_EQ(sent(), step.status) << step.idleMs;
    }
    manager->setPreferredUserStatus(me(), DisUserStatusCode::DoNotDisturb);
    EXPECT_EQ(sent(), "dnd");
    manager->idleTimeUpdated(300001);
    EXPECT_EQ(sent(), "dnd afk");
}

TEST_F(ManagerChannels, MutedUsersAreToldOnceAndKept)
{
    QSignalSpy const changed(manager.get(), &DisManager::mutedUsersChanged);
    for (int i = 0; i < 2; ++i)
        manager->addMutedUser(FlakeId(5));
    EXPECT_TRUE(manager->isUserMuted(FlakeId(5)));
    for (int i = 0; i < 2; ++i)
        manager->removeMutedUser(FlakeId(5));
    EXPECT_FALSE(manager->isUserMuted(FlakeId(5)));
    EXPECT_EQ(changed.count(), 2);
    QSet<FlakeId> const users{ FlakeId(5), FlakeId(1), FlakeId() };
    QByteArray const blob = DisManagerImpl::serializeMutedUsers(users);
    EXPECT_EQ(DisManagerImpl::deserializeMutedUsers(blob), users);
    for (int cut = 0; cut < blob.size(); ++cut)
        EXPECT_EQ(DisManagerImpl::deserializeMutedUsers(blob.left(cut)).size(), cut / 8);
}
