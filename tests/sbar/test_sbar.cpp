// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The side bar's rows beside what a naive reading of the store says they should be.
#include "notif_manager.h"
#include "sbar_discord.h"
#include "sbar_input.h"
#include "sbar_tree.h"
#include "sbar_vis.h"
#include "sbar_world.h"

#include <QScrollBar>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace NakSbar;
using Type = DisChange::ChangeType;

constexpr quint64 noParent = ~quint64(0);

// What stands in the store and what was collapsed, as rows.
class NaiveModel {
public:
    NaiveModel(SbarWorld& world, QSet<quint64> const& collapsed)
        : m_world(world)
        , m_collapsed(collapsed)
    {
    }

    QStringList rows()
    {
        m_rows = QStringList{
            numbered(QStringLiteral("Notifications"), NakNotif::g_nakNotifManager->count()),
            QStringLiteral("Bookmarks"), QStringLiteral("Favorites"), QStringLiteral("Discord")
        };
        addPrivate();
        for (auto const& guild : m_world.rows(
                 QStringLiteral("select guild.id, guild.name from guild join guild_member on "
                                "guild_member.guild_id = guild.id and guild_member.user_id = %1 "
                                "left join user_guild_position as p on p.guild_id = guild.id and "
                                "p.user_id = %1 order by p.position, guild.id desc")
                     .arg(m_world.me.value())))
            addGuild(guild.first, guild.second);
        return m_rows;
    }

private:
    static QString numbered(QString const& name, int number)
    {
        return number > 0 ? name + QLatin1Char(' ') + QString::number(number) : name;
    }
    QString headed(FlakeId id, QString const& name, int unread) const
    {
        return numbered(m_collapsed.contains(id.value()) ? name + QLatin1String(" +") : name,
                        unread);
    }
    QVector<QPair<FlakeId, QString>> list(char const* table, FlakeId guild, quint64 parent)
    {
        return m_world.rows(QStringLiteral("select id, name from %1 where deleted = 0 and guild_id "
                                           "= %2 and parent_id = %3 order by position, id")
                                .arg(QLatin1String(table))
                                .arg(guild.value())
                                .arg(static_cast<qint64>(parent)));
    }
    int unreadIn(FlakeId guild, quint64 parent)
    {
        int count = 0;
        for (auto const& channel : list("guild_channel", guild, parent))
            count += m_world.manager->channelUnreadCount(channel.first) > 0 ? 1 : 0;
        return count;
    }
    void addPrivate()
    {
        auto const channels = m_world.rows(
            QStringLiteral("select private_channel.id, private_channel.name from private_channel, "
                           "private_channel_participant as p where p.channel_id = "
                           "private_channel.id and p.user_id = %1 and not exists (select null from "
                           "user_private_deleted_channel as d where d.channel_id = "
                           "private_channel.id) order by last_message_id desc, id desc")
                .arg(m_world.me.value()));
        int unread = 0;
        for (auto const& channel : channels)
            unread += m_world.manager->channelUnreadCount(channel.first) > 0 ? 1 : 0;
        m_rows << numbered(QStringLiteral("Direct Messages"), unread);
        for (auto const& channel : channels)
            m_rows << numbered(channel.second, m_world.manager->channelUnreadCount(channel.first));
    }
    void addChannels(FlakeId guild, quint64 parent)
    {
        for (auto const& channel : list("guild_channel", guild, parent))
            m_rows << numbered(QLatin1Char('#') + channel.second,
                               m_world.manager->channelUnreadCount(channel.first));
        for (auto const& channel : list("guild_voice_channel", guild, parent)) {
            auto const people = m_world.rows(
                QStringLiteral("select user_id, 'u' || user_id from voice_state where channel_id = "
                               "%1 order by user_id")
                    .arg(channel.first.value()));
            m_rows << numbered(channel.second, people.size());
            for (auto const& person : people)
                m_rows << person.second;
        }
    }
    void addGuild(FlakeId guild, QString const& name)
    {
        auto const categories = list("guild_channel_category", guild, noParent);
        int unread = unreadIn(guild, noParent);
        for (auto const& category : categories)
            unread += unreadIn(guild, category.first.value());
        m_rows << headed(guild, name, unread);
        if (m_collapsed.contains(guild.value()))
            return;
        addChannels(guild, noParent);
        for (auto const& category : categories) {
            m_rows << headed(category.first, category.second,
                             unreadIn(guild, category.first.value()));
            if (!m_collapsed.contains(category.first.value()))
                addChannels(guild, category.first.value());
        }
    }

    SbarWorld& m_world;
    QSet<quint64> const& m_collapsed;
    QStringList m_rows;
};

// Random events in the store, each told as the session tells it.
class RandomLife {
public:
    RandomLife(SbarWorld& world, unsigned seed)
        : m_world(world)
        , m_random(seed)
    {
    }

    QSet<quint64> collapsed;

    void step()
    {
        static constexpr void (RandomLife::*acts[])() = {
            &RandomLife::addGuild,    &RandomLife::addChannel,   &RandomLife::addChannel,
            &RandomLife::addChannel,  &RandomLife::addCategory,  &RandomLife::removeGuild,
            &RandomLife::removeOne,   &RandomLife::dropCategory, &RandomLife::moveChannel,
            &RandomLife::moveChannel, &RandomLife::rename,       &RandomLife::joinVoice,
            &RandomLife::joinVoice,   &RandomLife::leaveVoice,   &RandomLife::orderGuilds,
            &RandomLife::talk,        &RandomLife::talk,         &RandomLife::talk,
            &RandomLife::openPrivate, &RandomLife::closePrivate, &RandomLife::toggle,
            &RandomLife::toggle,      &RandomLife::read,         &RandomLife::reload,
        };
        (this->*acts[below(std::size(acts))])();
    }

private:
    quint64 below(quint64 bound) { return bound == 0 ? 0 : m_random() % bound; }
    // 0 if there is none.
    quint64 any(QString const& select)
    {
        auto const found = m_world.rows(select);
        return found.isEmpty() ? 0 : found.at(int(below(quint64(found.size())))).first.value();
    }
    quint64 any(char const* table, char const* where = "1")
    {
        return any(QStringLiteral("select id, '' from %1 where %2")
                       .arg(QLatin1String(table), QLatin1String(where)));
    }
    quint64 anyGuild()
    {
        return any(QStringLiteral("select guild_id, '' from guild_member where user_id = %1")
                       .arg(m_world.me.value()));
    }
    quint64 anyParent(quint64 guild)
    {
        quint64 const category =
            any(QStringLiteral("select id, '' from guild_channel_category where deleted = 0 and "
                               "guild_id = %1")
                    .arg(guild));
        return category == 0 || below(3) == 0 ? noParent : category;
    }
    void changed(quint64 channel) { m_world.tell(Type::ChannelChanged, FlakeId(channel)); }

    void addGuild()
    {
        quint64 const id = ++m_lastId;
        m_world.addGuild(id, QStringLiteral("g%1").arg(id));
        m_world.tell(Type::GuildChanged, FlakeId(id));
    }
    void addChannel()
    {
        quint64 const guild = anyGuild();
        if (guild == 0)
            return;
        quint64 const id = ++m_lastId;
        qint64 const parent = qint64(anyParent(guild));
        if (below(3) != 0) {
            m_world.addChannel(id, guild, parent, int(below(4)));
        } else {
            m_world.sql(QStringLiteral("insert into guild_voice_channel values (%1, %2, %3, %4, 0, "
                                       "0, 0, 'v%1'); insert into any_channel values (%1, 2)")
                            .arg(id)
                            .arg(guild)
                            .arg(parent)
                            .arg(below(4)));
        }
        changed(id);
    }
    void addCategory()
    {
        quint64 const guild = anyGuild();
        if (guild == 0)
            return;
        quint64 const id = ++m_lastId;
        m_world.sql(QStringLiteral("insert into guild_channel_category values (%1, %2, -1, %3, 0, "
                                   "'k%1'); insert into any_channel values (%1, 3)")
                        .arg(id)
                        .arg(guild)
                        .arg(below(4)));
        changed(id);
    }
    void removeGuild()
    {
        quint64 const guild = below(3) == 0 ? anyGuild() : 0;
        if (guild == 0)
            return;
        forgetCollapsed(guild);
        m_world.sql(QStringLiteral("delete from guild_member where guild_id = %1").arg(guild));
        m_world.tell(Type::GuildMemberRemoved, FlakeId(guild), m_world.me);
    }
    // Items that come back come back open.
    void forgetCollapsed(quint64 guild)
    {
        collapsed.remove(guild);
        for (auto const& category : m_world.rows(
                 QStringLiteral("select id, '' from guild_channel_category where guild_id = %1")
                     .arg(guild)))
            collapsed.remove(category.first.value());
    }
    void removeOne()
    {
        char const* const table = below(2) == 0 ? "guild_channel" : "guild_voice_channel";
        quint64 const channel = any(table);
        m_world.sql(QStringLiteral("update %1 set deleted = 1 where id = %2; delete from "
                                   "voice_state where channel_id = %2")
                        .arg(QLatin1String(table))
                        .arg(channel));
        changed(channel);
    }
    void dropCategory()
    {
        quint64 const category = any("guild_channel_category", "deleted = 0");
        m_world.sql(QStringLiteral("update guild_channel set parent_id = -1 where parent_id = %1; "
                                   "update guild_voice_channel set parent_id = -1 where parent_id "
                                   "= %1; update guild_channel_category set deleted = 1 where id "
                                   "= %1")
                        .arg(category));
        collapsed.remove(category);
        changed(category);
    }
    void moveChannel()
    {
        char const* const tables[] = { "guild_channel", "guild_voice_channel" };
        char const* const table = tables[below(2)];
        quint64 const channel = any(table, "deleted = 0");
        quint64 const guild = any(QStringLiteral("select guild_id, '' from %1 where id = %2")
                                      .arg(QLatin1String(table))
                                      .arg(channel));
        m_world.sql(QStringLiteral("update %1 set parent_id = %2, position = %3 where id = %4")
                        .arg(QLatin1String(table))
                        .arg(qint64(anyParent(guild)))
                        .arg(below(4))
                        .arg(channel));
        changed(channel);
    }
    void rename()
    {
        quint64 const channel = any("guild_channel");
        m_world.sql(QStringLiteral("update guild_channel set name = 'n%1' where id = %2")
                        .arg(below(1000))
                        .arg(channel));
        changed(channel);
    }
    void joinVoice()
    {
        quint64 const channel = any("guild_voice_channel", "deleted = 0");
        quint64 const user = 9000 + below(4);
        if (channel == 0)
            return;
        m_world.sql(QStringLiteral("insert or replace into user (id, name) values (%1, 'u%1'); "
                                   "replace into voice_state values ('s%1', %1, %2, null, 0, 0, 0, "
                                   "0)")
                        .arg(user)
                        .arg(channel));
        m_world.tell(Type::UserVoiceStateChanged, FlakeId(user));
    }
    void leaveVoice()
    {
        quint64 const user = 9000 + below(4);
        m_world.sql(QStringLiteral("delete from voice_state where user_id = %1").arg(user));
        m_world.tell(Type::UserVoiceStateChanged, FlakeId(user));
    }
    void orderGuilds()
    {
        m_world.sql(QStringLiteral("replace into user_guild_position values (%1, %2, %3)")
                        .arg(m_world.me.value())
                        .arg(anyGuild())
                        .arg(below(5)));
        m_world.tell(Type::UserSettingsChanged, m_world.me);
    }
    void talk()
    {
        quint64 const channel = below(3) == 0 ? any("private_channel") : any("guild_channel");
        m_world.sql(QStringLiteral("update private_channel set last_message_id = %1 where id = %2")
                        .arg(m_world.lastMessage + 1)
                        .arg(channel));
        m_world.say(FlakeId(channel));
    }
    void openPrivate()
    {
        quint64 const id = ++m_lastId;
        m_world.sql(QStringLiteral("insert into private_channel values (%1, %1, 5, 'p%1', null); "
                                   "insert into private_channel_participant values (%1, %2); "
                                   "insert into any_channel values (%1, 5)")
                        .arg(id)
                        .arg(m_world.me.value()));
        changed(id);
    }
    void closePrivate()
    {
        quint64 const channel = any("private_channel");
        m_world.sql(QStringLiteral("insert or ignore into user_private_deleted_channel values (%1, "
                                   "%2)")
                        .arg(m_world.me.value())
                        .arg(channel));
        changed(channel);
    }
    void toggle()
    {
        bool const ofCategory = below(2) == 0;
        auto const& items = ofCategory ? m_world.priv().categories : m_world.priv().guilds;
        if (items.isEmpty())
            return;
        QList<FlakeId> ids = items.keys();
        std::sort(ids.begin(), ids.end());
        quint64 const id = ids.at(int(below(quint64(ids.size())))).value();
        toggleCollapsed(m_world.priv(), items.value(FlakeId(id)));
        if (!collapsed.remove(id))
            collapsed.insert(id);
    }
    void read() { m_world.manager->markChannelsAsRead({ FlakeId(any("guild_channel")) }); }
    void reload() { m_world.model.client->postLocalChanges(DisChanges::reload()); }

    SbarWorld& m_world;
    std::mt19937 m_random;
    quint64 m_lastId = 100;
};

// What is wrong with the records of a view: each must be of a row in view, and say what it would
// say if it were made now. Empty if nothing is.
std::string faultsOfRecords(NakSbarView& view)
{
    ViewPriv& d = view.priv();
    size_t rows = 0;
    QStringList faults;
    for (LitVisibleItem const& visible : view.visibleItems()) {
        auto const fresh = createVisibleData(d, visible.item);
        Vis_Base const* const vis = d.vis.find(visible.item);
        rows += fresh ? 1 : 0;
        if (fresh && (!vis || !(vis->shown == fresh->shown)))
            faults << fresh->shown.text;
    }
    if (d.vis.size() != rows)
        faults << QStringLiteral("%1 records of %2 rows").arg(d.vis.size()).arg(rows);
    return faults.join(QLatin1Char(',')).toStdString();
}

} // namespace

TEST(Sbar, FollowsTheStoreThroughRandomLife)
{
    for (unsigned const seed : { 1U, 2U }) {
        SbarWorld world;
        RandomLife life(world, seed);
        int mostRows = 0;
        NakSbarView small(nullptr); // another window, of which little is in view
        small.resize(180, 150);
        small.show();
        for (int step = 0; step < 300; ++step) {
            life.step();
            small.verticalScrollBar()->setValue(step * 37 % (small.rootLength() + 1));
            // Counts are told a moment after they change.
            waitUntil([&] {
                return shownRows(*world.view) == NaiveModel(world, life.collapsed).rows()
                    && faultsOfRecords(small).empty();
            });
            ASSERT_EQ(
                shownRows(*world.view).join(QLatin1Char('\n')).toStdString(),
                NaiveModel(world, life.collapsed).rows().join(QLatin1Char('\n')).toStdString())
                << "seed " << seed << " step " << step;
            mostRows = std::max(mostRows, shownRows(*world.view).size());
            ASSERT_EQ(faultsOfRecords(small), "") << "seed " << seed << " step " << step;
        }
        EXPECT_GT(mostRows, 20);
    }
}

// All channels at once are read in shares, each of another state of the store.
TEST(Sbar, FollowsAStoreThatChangesWhileItIsRead)
{
    constexpr int guilds = 12; // more than are read first
    constexpr int channelsPerGuild = 1500;
    constexpr quint64 last = 1; // the guild that stands last and is read last
    SbarWorld world;
    world.sql(QStringLiteral("begin"));
    for (quint64 guild = last; guild < last + guilds; ++guild) {
        world.addGuild(guild, QStringLiteral("g%1").arg(guild));
        for (quint64 n = 0; n < channelsPerGuild; ++n)
            world.addChannel(guild * 10000 + n, guild, -1, int(n));
    }
    world.sql(QStringLiteral("commit"));
    world.model.client->postLocalChanges(DisChanges::reload());
    quint64 changes = 0;
    for (; isReading(world.priv()) && changes < channelsPerGuild; ++changes) {
        quint64 const gone = last * 10000 + changes;
        world.sql(QStringLiteral("update guild_channel set deleted = 1 where id = %1").arg(gone));
        world.addChannel(gone + 5000, last, -1, int(changes % 7));
        world.tell(Type::ChannelChanged, FlakeId(gone));
        QCoreApplication::processEvents();
    }
    EXPECT_GT(changes, 0U);
    ASSERT_TRUE(waitUntil([&] { return !isReading(world.priv()); }));
    ViewPriv& d = world.priv();
    for (quint64 guild = last; guild < last + guilds; ++guild) {
        QStringList expected;
        QStringList found;
        for (auto const& channel :
             world.rows(QStringLiteral("select id, '' from guild_channel where guild_id = %1 and "
                                       "deleted = 0 order by position, id")
                            .arg(guild)))
            expected << channel.first.toString();
        GuildDirectory const directory = infoOf(d, d.guilds.value(FlakeId(guild))).directory();
        for (Item item = d.view->firstChild(directory.list(ChanSortType::Text)); item != noItem;
             item = d.view->nextSibling(item))
            found << infoOf(d, item).id().toString();
        EXPECT_EQ(found.join(QLatin1Char(' ')).toStdString(),
                  expected.join(QLatin1Char(' ')).toStdString())
            << guild;
    }
    EXPECT_EQ(d.channels.size(), guilds * channelsPerGuild);
}

TEST(Sbar, CountsChannelsNotMessages)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    for (quint64 id = 101; id <= 103; ++id) {
        world.addChannel(id, 100, -1, int(id));
        for (int n = 0; n < 50; ++n)
            world.say(FlakeId(id));
    }
    world.reload();
    auto const rows = [&] { return shownRows(*world.view).mid(5); };
    QStringList const expected{ QStringLiteral("g 3"), QStringLiteral("#c101 50"),
                                QStringLiteral("#c102 50"), QStringLiteral("#c103 50") };
    EXPECT_TRUE(waitUntil([&] { return rows() == expected; }))
        << rows().join(QLatin1Char('|')).toStdString();
}

// The order of events allows it for a moment.
TEST(Sbar, AChannelWhoseCategoryIsGoneStandsInItsGuild)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    world.addChannel(101, 100, 999, 0);
    world.addChannel(102, 4711, -1, 0); // of a guild that the user is not in
    world.reload();
    EXPECT_EQ(shownRows(*world.view).mid(5).join(QLatin1Char('|')).toStdString(), "g|#c101");
}

TEST(Sbar, WithoutAnAccountThereIsNoDiscordSection)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    world.model.client->postLocalChanges(DisChanges::reload());
    world.model.client->disconnectAllSessions();
    QStringList const expected{ QStringLiteral("Notifications"), QStringLiteral("Bookmarks"),
                                QStringLiteral("Favorites") };
    EXPECT_TRUE(waitUntil([&] { return shownRows(*world.view) == expected; }))
        << shownRows(*world.view).join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(world.priv().guilds.isEmpty());
    EXPECT_TRUE(world.priv().privChannels.isEmpty());
}

TEST(Sbar, OnlyTheFolderOfThatVeryNameHasTheStar)
{
    SbarWorld world;
    world.saved->createPlaylist(QStringLiteral("favorites"));
    ASSERT_TRUE(waitUntil([&] { return shownRows(*world.view).size() == 6; }));
    QStringList glyphs;
    for (LitVisibleItem const& visible : world.view->visibleItems()) {
        Vis_Base const* const vis = world.priv().vis.find(visible.item);
        if (vis && infoOf(world.priv(), visible.item).kind == Kind::Playlist)
            glyphs << QString::number(vis->shown.glyph);
    }
    EXPECT_EQ(glyphs.join(QLatin1Char(' ')).toStdString(), "61445 61563");
}

TEST(Sbar, MouseAndKeysPickAndCollapse)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    world.addChannel(101, 100, -1, 0);
    world.addChannel(102, 100, -1, 1);
    world.reload();
    QStringList picked;
    QObject::connect(&*world.view, &NakSbarView::pickedByClicking, [&](NakNavLoc const& place) {
        picked << QLatin1String("here ") + place.discordChannelId().toString();
    });
    QObject::connect(&*world.view, &NakSbarView::pickedByMiddleClicking,
                     [&](NakNavLoc const& place) {
                         picked << QLatin1String("tab ") + place.discordChannelId().toString();
                     });
    auto const rows = [&] { return shownRows(*world.view).mid(5).join(QLatin1Char('|')); };
    auto const click = [&](Kind kind, quint64 id, Qt::MouseButton button) {
        QTest::mousePress(world.view->viewport(), button, {},
                          world.pointOf(world.itemOf(kind, id)));
    };
    click(Kind::TextChannel, 101, Qt::LeftButton);
    click(Kind::TextChannel, 102, Qt::MiddleButton);
    EXPECT_EQ(picked.join(QLatin1Char('|')).toStdString(), "here 101|tab 102");
    click(Kind::Guild, 100, Qt::MiddleButton);
    EXPECT_EQ(rows().toStdString(), "g|#c101|#c102");
    click(Kind::Guild, 100, Qt::LeftButton);
    EXPECT_EQ(rows().toStdString(), "g +");

    picked.clear();
    struct {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        char const* rows;
    } const steps[] = {
        { Qt::Key_End, {}, "g +" },
        { Qt::Key_Right, {}, "g|#c101|#c102" },
        { Qt::Key_Right, {}, "g|#c101|#c102" },
        { Qt::Key_Return, {}, "g|#c101|#c102" },
        { Qt::Key_Down, {}, "g|#c101|#c102" },
        { Qt::Key_Return, Qt::ControlModifier, "g|#c101|#c102" },
        { Qt::Key_Left, {}, "g|#c101|#c102" },
        { Qt::Key_Left, {}, "g +" },
    };
    for (auto const& step : steps) {
        QTest::keyClick(&*world.view, step.key, step.modifiers);
        EXPECT_EQ(rows().toStdString(), step.rows) << step.key;
    }
    EXPECT_EQ(picked.join(QLatin1Char('|')).toStdString(), "here 101|tab 102");
}

TEST(Sbar, ADoubleClickLeavesASectionAsItWas)
{
    SbarWorld world;
    QPoint const point = world.pointOf(world.priv().bookmarks);
    QStringList const before = shownRows(*world.view);
    QTest::mousePress(world.view->viewport(), Qt::LeftButton, {}, point);
    EXPECT_NE(shownRows(*world.view), before);
    QMouseEvent second(QEvent::MouseButtonDblClick, point, Qt::LeftButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(world.view->viewport(), &second);
    EXPECT_EQ(shownRows(*world.view), before);
}
