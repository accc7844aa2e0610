// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The side bar's rows beside what a naive reading of the store says they should be.
#include "notif_manager.h"
#include "sbar_discord.h"
#include "sbar_input.h"
#include "sbar_tree.h"
#include "sbar_vis.h"
#include "sbar_world.h"
#include "widget_acts.h"

#include <QScrollBar>

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace NakSbar;
using Type = DisChange::ChangeType;

using Rows = QVector<QPair<FlakeId, QString>>;

// What stands in the store and what was collapsed, as rows.
class NaiveModel {
public:
    NaiveModel(SbarWorld& world, QSet<quint64>& collapsed)
        : m_world(world)
        , m_collapsed(collapsed)
    {
    }

    std::string rows()
    {
        m_rows = QStringList{
            numbered(QStringLiteral("Notifications"), NakNotif::g_nakNotifManager->count()),
            QStringLiteral("Bookmarks"), QStringLiteral("Favorites"), QStringLiteral("Discord")
        };
        Rows const channels =
            select("select private_channel.id, private_channel.name from private_channel, "
                   "private_channel_participant as p where p.channel_id = private_channel.id and "
                   "p.user_id = %1 and not exists (select null from user_private_deleted_channel "
                   "as d where d.channel_id = private_channel.id) order by last_message_id desc, "
                   "id desc");
        m_rows << numbered(QStringLiteral("Direct Messages"), unreadAmong(channels));
        for (auto const& [id, name] : channels)
            m_rows << numbered(name, unread(id));
        for (auto const& [id, name] :
             select("select guild.id, guild.name from guild join guild_member on "
                    "guild_member.guild_id = guild.id and guild_member.user_id = %1 left join "
                    "user_guild_position as p on p.guild_id = guild.id and p.user_id = %1 order by "
                    "p.position, guild.id desc"))
            addGuild(id, name);
        m_collapsed.intersect(m_seen); // what comes back comes back open
        return m_rows.join(QLatin1Char('\n')).toStdString();
    }

private:
    Rows select(char const* sql)
    {
        return m_world.rows(QString::fromLatin1(sql).arg(m_world.me.value()));
    }
    Rows list(char const* table, FlakeId guild, FlakeId parent)
    {
        return m_world.rows(QStringLiteral("select id, name from %1 where deleted = 0 and guild_id "
                                           "= %2 and parent_id = %3 order by position, id")
                                .arg(QLatin1String(table))
                                .arg(guild.value())
                                .arg(static_cast<qint64>(parent.value())));
    }
    static QString numbered(QString const& name, int number)
    {
        return number > 0 ? name + QLatin1Char(' ') + QString::number(number) : name;
    }
    int unread(FlakeId channel) const { return m_world.manager->channelUnreadCount(channel); }
    int unreadAmong(Rows const& channels) const
    {
        return static_cast<int>(
            std::count_if(channels.begin(), channels.end(),
                          [this](auto const& channel) { return unread(channel.first) > 0; }));
    }
    bool addHeader(FlakeId id, QString const& name, int number)
    {
        bool const isCollapsed = m_collapsed.contains(id.value());
        m_rows << numbered(isCollapsed ? name + QLatin1String(" +") : name, number);
        return !isCollapsed;
    }
    void addChannels(FlakeId guild, FlakeId parent)
    {
        for (auto const& [id, name] : list("guild_channel", guild, parent))
            m_rows << numbered(QLatin1Char('#') + name, unread(id));
        for (auto const& [id, name] : list("guild_voice_channel", guild, parent)) {
            auto const people = m_world.rows(
                QStringLiteral("select user_id, 'u' || user_id from voice_state where channel_id = "
                               "%1 order by user_id")
                    .arg(id.value()));
            m_rows << numbered(name, people.size());
            for (auto const& person : people)
                m_rows << person.second;
        }
    }
    void addGuild(FlakeId guild, QString const& name)
    {
        constexpr FlakeId noParent{ ~quint64(0) };
        auto const categories = list("guild_channel_category", guild, noParent);
        int number = unreadAmong(list("guild_channel", guild, noParent));
        m_seen.insert(guild.value());
        for (auto const& category : categories) {
            m_seen.insert(category.first.value());
            number += unreadAmong(list("guild_channel", guild, category.first));
        }
        if (!addHeader(guild, name, number))
            return;
        addChannels(guild, noParent);
        for (auto const& [id, text] : categories) {
            if (addHeader(id, text, unreadAmong(list("guild_channel", guild, id))))
                addChannels(guild, id);
        }
    }

    SbarWorld& m_world;
    QSet<quint64>& m_collapsed;
    QSet<quint64> m_seen;
    QStringList m_rows;
};

// Random events in the store, each told as the session tells it.
class RandomLife {
public:
    RandomLife(SbarWorld& world, unsigned seed)
        : m_world(world)
        , m_random(seed)
    {
        for (Act const& act : acts)
            m_lot.insert(m_lot.end(), size_t(act.weight), &act);
    }

    QSet<quint64> collapsed;

    void step()
    {
        Act const& act = *m_lot[below(m_lot.size())];
        QString sql = QString::fromLatin1(act.sql);
        quint64 subject = 0;
        for (auto const& [name, choices] : placeholders()) {
            bool const isSubject = QLatin1String(act.subject) == name;
            if (!isSubject && !sql.contains(name))
                continue;
            if (choices.isEmpty())
                return;
            quint64 const chosen = choices.at(int(below(quint64(choices.size()))));
            subject = isSubject ? chosen : subject;
            sql.replace(name, QString::number(chosen));
        }
        m_world.sql(sql);
        act.then ? act.then(m_world, FlakeId(subject)) : toggle(subject);
    }

private:
    struct Act {
        int weight;
        char const* subject; // what the event is about
        char const* sql;
        void (*then)(SbarWorld&, FlakeId); // null: the subject's rows are collapsed or not
    };

    template <Type type> static void tell(SbarWorld& world, FlakeId id) { world.tell(type, id); }
    static constexpr auto changed = &tell<Type::ChannelChanged>;
    static constexpr auto spoke = &tell<Type::UserVoiceStateChanged>;
    static void say(SbarWorld& world, FlakeId id) { world.say(id); }

    // Channels go into one of the guild's categories or none.
    static constexpr Act acts[] = {
        { 3, "{new}", "",
          [](SbarWorld& world, FlakeId id) {
              world.addGuild(id.value(), QLatin1Char('g') + id.toString());
              world.tell(Type::GuildChanged, id);
          } },
        { 1, "{guild}", "delete from guild_member where guild_id = {guild}",
          [](SbarWorld& world, FlakeId id) {
              world.tell(Type::GuildMemberRemoved, id, world.me);
          } },
        { 9, "{new}",
          "insert into any_channel values ({new}, 1); insert into guild_channel select {new}, "
          "{guild}, coalesce((select id from guild_channel_category where guild_id = {guild} and "
          "deleted = 0 limit 1 offset {n}), -1), {m}, 0, 0, 'c{new}', '', 0, 0",
          changed },
        { 3, "{new}",
          "insert into any_channel values ({new}, 2); insert into guild_voice_channel select "
          "{new}, "
          "{guild}, coalesce((select id from guild_channel_category where guild_id = {guild} and "
          "deleted = 0 limit 1 offset {n}), -1), {m}, 0, 0, 0, 'v{new}'",
          changed },
        { 3, "{new}",
          "insert into any_channel values ({new}, 3); insert into guild_channel_category values "
          "({new}, {guild}, -1, {n}, 0, 'k{new}')",
          changed },
        { 1, "{text}", "update guild_channel set deleted = 1 where id = {text}", changed },
        { 1, "{voice}",
          "update guild_voice_channel set deleted = 1 where id = {voice}; delete from voice_state "
          "where channel_id = {voice}",
          changed },
        { 1, "{category}",
          "update guild_channel set parent_id = -1 where parent_id = {category}; update "
          "guild_voice_channel set parent_id = -1 where parent_id = {category}; update "
          "guild_channel_category set deleted = 1 where id = {category}",
          changed },
        { 3, "{text}",
          "update guild_channel set position = {m}, parent_id = coalesce((select id from "
          "guild_channel_category as k where k.guild_id = guild_channel.guild_id and deleted = 0 "
          "limit 1 offset {n}), -1) where id = {text}",
          changed },
        { 3, "{voice}",
          "update guild_voice_channel set position = {m}, parent_id = coalesce((select id from "
          "guild_channel_category as k where k.guild_id = guild_voice_channel.guild_id and deleted "
          "= 0 limit 1 offset {n}), -1) where id = {voice}",
          changed },
        { 3, "{text}", "update guild_channel set name = 'n{m}{n}' where id = {text}", changed },
        { 6, "{user}",
          "insert or replace into user (id, name) values ({user}, 'u{user}'); replace into "
          "voice_state values ('s{user}', {user}, {voice}, null, 0, 0, 0, 0)",
          spoke },
        { 3, "{user}", "delete from voice_state where user_id = {user}", spoke },
        { 3, "{me}", "replace into user_guild_position values ({me}, {guild}, {n})",
          &tell<Type::UserSettingsChanged> },
        { 3, "{private}",
          "update private_channel set last_message_id = {message} where id = {private}", &say },
        { 6, "{text}", "", &say },
        { 3, "{new}",
          "insert into private_channel values ({new}, {new}, 5, 'p{new}', null); insert into "
          "private_channel_participant values ({new}, {me}); insert into any_channel values "
          "({new}, "
          "5)",
          changed },
        { 3, "{private}",
          "insert or ignore into user_private_deleted_channel values ({me}, {private})", changed },
        { 3, "{anyGuild}", "", nullptr },
        { 3, "{anyCategory}", "", nullptr },
        { 3, "{text}", "",
          [](SbarWorld& world, FlakeId id) { world.manager->markChannelsAsRead({ id }); } },
        { 3, "{me}", "",
          [](SbarWorld& world, FlakeId) {
              world.model.client->postLocalChanges(DisChanges::reload());
          } },
    };

    quint64 below(quint64 bound) { return m_random() % bound; }

    QVector<quint64> ids(char const* select)
    {
        QVector<quint64> all;
        for (auto const& row : m_world.rows(
                 QString::fromLatin1(select).replace(QLatin1String("{me}"), m_world.me.toString())))
            all << row.first.value();
        return all;
    }
    QVector<QPair<QLatin1String, QVector<quint64>>> placeholders()
    {
        auto const shown = [](QHash<FlakeId, Item> const& items) {
            QVector<quint64> all;
            for (FlakeId const id : items.keys())
                all << id.value();
            std::sort(all.begin(), all.end());
            return all;
        };
        using Name = QLatin1String;
        return {
            { Name("{new}"), { ++m_lastId } },
            { Name("{me}"), { m_world.me.value() } },
            { Name("{message}"), { m_world.lastMessage + 1 } },
            { Name("{n}"), { 0, 1, 2, 3 } },
            { Name("{m}"), { 0, 1, 2, 3 } },
            { Name("{user}"), { 9000, 9001, 9002, 9003 } },
            { Name("{guild}"), ids("select guild_id, '' from guild_member where user_id = {me}") },
            { Name("{text}"), ids("select id, '' from guild_channel where deleted = 0") },
            { Name("{voice}"), ids("select id, '' from guild_voice_channel where deleted = 0") },
            { Name("{category}"),
              ids("select id, '' from guild_channel_category where deleted = 0") },
            { Name("{private}"), ids("select id, '' from private_channel") },
            { Name("{anyGuild}"), shown(m_world.priv().guilds) },
            { Name("{anyCategory}"), shown(m_world.priv().categories) },
        };
    }
    void toggle(quint64 id)
    {
        auto& d = m_world.priv();
        toggleCollapsed(d, d.guilds.value(FlakeId(id), d.categories.value(FlakeId(id))));
        if (!collapsed.remove(id))
            collapsed.insert(id);
    }

    SbarWorld& m_world;
    std::mt19937 m_random;
    std::vector<Act const*> m_lot;
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

std::string lines(NakSbarView& view, int from = 0)
{
    return shownRows(view).mid(from).join(QLatin1Char('\n')).toStdString();
}

} // namespace

TEST(Sbar, FollowsTheStoreThroughRandomLife)
{
    for (unsigned const seed : { 1U, 2U }) {
        SbarWorld world;
        RandomLife life(world, seed);
        auto const expected = [&] { return NaiveModel(world, life.collapsed).rows(); };
        int mostRows = 0;
        NakSbarView small(nullptr); // another window, of which little is in view
        small.resize(180, 150);
        small.show();
        for (int step = 0; step < 300; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
            life.step();
            small.verticalScrollBar()->setValue(step * 37 % (small.rootLength() + 1));
            // Counts are told a moment after they change.
            waitUntil(
                [&] { return lines(*world.view) == expected() && faultsOfRecords(small).empty(); });
            ASSERT_EQ(lines(*world.view), expected());
            ASSERT_EQ(faultsOfRecords(small), "");
            mostRows = std::max(mostRows, shownRows(*world.view).size());
        }
        EXPECT_GT(mostRows, 30);
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
        Rows const expected =
            world.rows(QStringLiteral("select id, '' from guild_channel where guild_id = %1 and "
                                      "deleted = 0 order by position, id")
                           .arg(guild));
        Rows found;
        GuildDirectory const directory = infoOf(d, d.guilds.value(FlakeId(guild))).directory();
        for (Item item = d.view->firstChild(directory.list(ChanSortType::Text)); item != noItem;
             item = d.view->nextSibling(item))
            found.append({ infoOf(d, item).id(), QStringLiteral("") });
        EXPECT_TRUE(found == expected) << guild;
    }
    EXPECT_EQ(d.channels.size(), guilds * channelsPerGuild);
}

// The order of events allows it for a moment.
TEST(Sbar, AChannelWhoseCategoryIsGoneStandsInItsGuild)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    world.addChannel(101, 100, 999, 0);
    world.addChannel(102, 4711, -1, 0); // of a guild that the user is not in
    world.reload();
    EXPECT_EQ(lines(*world.view, 5), "g\n#c101");
}

TEST(Sbar, WithoutAnAccountThereIsNoDiscordSection)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    world.model.client->postLocalChanges(DisChanges::reload());
    world.model.client->disconnectAllSessions();
    EXPECT_TRUE(waitUntil([&] {
        return lines(*world.view) == "Notifications\nBookmarks\nFavorites";
    })) << lines(*world.view);
    EXPECT_TRUE(world.priv().guilds.isEmpty());
    EXPECT_TRUE(world.priv().privChannels.isEmpty());
}

TEST(Sbar, MouseAndKeysPickAndCollapse)
{
    SbarWorld world;
    world.addGuild(100, QStringLiteral("g"));
    world.addChannel(101, 100, -1, 0);
    world.addChannel(102, 100, -1, 1);
    world.reload();
    std::string picked;
    auto const notes = [&picked](char const* how) {
        return [&picked, how](NakNavLoc const& place) {
            picked += how + place.discordChannelId().toString().toStdString();
        };
    };
    QObject::connect(&*world.view, &NakSbarView::pickedByClicking, notes(" here "));
    QObject::connect(&*world.view, &NakSbarView::pickedByMiddleClicking, notes(" tab "));
    auto const click = [&](Item item, Qt::MouseButton button) {
        QTest::mousePress(world.view->viewport(), button, {}, world.pointOf(item));
        return lines(*world.view, 5);
    };
    click(world.itemOf(Kind::TextChannel, 101), Qt::LeftButton);
    click(world.itemOf(Kind::TextChannel, 102), Qt::MiddleButton);
    EXPECT_EQ(picked, " here 101 tab 102");
    Item const guild = world.itemOf(Kind::Guild, 100);
    EXPECT_EQ(click(guild, Qt::MiddleButton), "g\n#c101\n#c102");
    EXPECT_EQ(click(guild, Qt::LeftButton), "g +");

    picked.clear();
    struct {
        char const* keys;
        char const* rows;
    } const steps[] = {
        { "End", "g +" },
        { "Right", "g\n#c101\n#c102" },
        { "Right", "g\n#c101\n#c102" },
        { "Return, Down, Ctrl+Return", "g\n#c101\n#c102" },
        { "Left", "g\n#c101\n#c102" },
        { "Left", "g +" },
    };
    for (auto const& step : steps) {
        pressKeys(&*world.view, step.keys);
        EXPECT_EQ(lines(*world.view, 5), step.rows) << step.keys;
    }
    EXPECT_EQ(picked, " here 101 tab 102");

    std::string const before = lines(*world.view);
    EXPECT_NE(click(world.priv().bookmarks, Qt::LeftButton), before.substr(5));
    QMouseEvent second(QEvent::MouseButtonDblClick, world.pointOf(world.priv().bookmarks),
                       Qt::LeftButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(world.view->viewport(), &second);
    EXPECT_EQ(lines(*world.view), before) << "a double click leaves a section as it was";
}
