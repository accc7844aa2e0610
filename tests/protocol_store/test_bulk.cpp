// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Guilds that are written sorted, table by table, leave the same rows as guilds that are written
// object by object in the order of the document; and events leave the same rows whether ids come as
// texts or as numbers.

#include "dis_store_rows.h"
#include "dis_store_updates.h"
#include "store_fixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <random>

namespace {

// Ids from small ranges, so that objects come again with other contents.
class Maker {
public:
    explicit Maker(quint32 seed)
        : m_random(seed)
    {
    }

    int below(int n) { return static_cast<int>(m_random() % static_cast<quint32>(n)); }
    bool oneIn(int n) { return below(n) == 0; }
    QJsonValue id(int from, int count) { return QString::number(from + below(count)); }
    QJsonValue name() { return QString(QLatin1Char(static_cast<char>('a' + below(4)))); }
    QJsonValue maybe(QJsonValue const& value, int oneOf = 3)
    {
        return oneIn(oneOf) ? QJsonValue(QJsonValue::Null) : value;
    }
    template <typename Make> QJsonArray list(int count, Make make)
    {
        QJsonArray array;
        for (int i = 0; i < count; ++i)
            array.append(make());
        return array;
    }
    QJsonObject object(std::initializer_list<QPair<QString, QJsonValue>> fields)
    {
        QJsonObject result(fields);
        if (oneIn(12) && !result.isEmpty())
            result.remove(result.keys().at(below(result.size())));
        return result;
    }

    QJsonObject user(int count)
    {
        return object({ { QStringLiteral("id"), id(1000, count) },
                        { QStringLiteral("username"), name() },
                        { QStringLiteral("discriminator"), name() },
                        { QStringLiteral("avatar"), maybe(name()) },
                        { QStringLiteral("bot"), oneIn(3) } });
    }
    QJsonObject member(int count)
    {
        return object({ { QStringLiteral("user"), user(count) },
                        { QStringLiteral("nick"), maybe(name()) },
                        { QStringLiteral("roles"), list(below(4), [&] { return id(300, 20); }) } });
    }
    QJsonObject presence(int count)
    {
        static QString const statuses[] = { QStringLiteral("online"), QStringLiteral("idle"),
                                            QStringLiteral("dnd"), QStringLiteral("offline") };
        return object({ { QStringLiteral("user"), user(count) },
                        { QStringLiteral("status"), statuses[below(4)] },
                        { QStringLiteral("game"),
                          maybe(object({ { QStringLiteral("name"), name() },
                                         { QStringLiteral("url"), maybe(name()) } })) } });
    }
    QJsonObject channel()
    {
        auto const overwrite = [&] {
            return object({ { QStringLiteral("id"), id(300, 20) },
                            { QStringLiteral("type"),
                              oneIn(2) ? QStringLiteral("role") : QStringLiteral("member") },
                            { QStringLiteral("allow"), below(100) },
                            { QStringLiteral("deny"), below(100) } });
        };
        return object({ { QStringLiteral("id"), id(100, 30) },
                        { QStringLiteral("type"), below(6) },
                        { QStringLiteral("name"), name() },
                        { QStringLiteral("position"), below(9) },
                        { QStringLiteral("parent_id"), maybe(id(100, 30)) },
                        { QStringLiteral("last_message_id"), maybe(id(5000, 100)) },
                        { QStringLiteral("permission_overwrites"), list(below(4), overwrite) } });
    }
    QJsonObject guild(int users)
    {
        // A role belongs to one guild.
        int const number = below(5);
        auto const ownRole = [&] { return id(300 + 4 * number, 4); };
        auto const role = [&] {
            return object({ { QStringLiteral("id"), ownRole() },
                            { QStringLiteral("name"), name() },
                            { QStringLiteral("position"), below(9) },
                            { QStringLiteral("permissions"), below(999) } });
        };
        auto const voice = [&] {
            return object({ { QStringLiteral("session_id"), name() },
                            { QStringLiteral("user_id"), id(1000, users) },
                            { QStringLiteral("channel_id"), maybe(id(100, 30)) } });
        };
        auto const emoji = [&] {
            return object({ { QStringLiteral("id"), id(400, 20) },
                            { QStringLiteral("name"), name() },
                            { QStringLiteral("roles"), list(below(3), ownRole) } });
        };
        return object(
            { { QStringLiteral("id"), id(10 + number, 1) },
              { QStringLiteral("name"), name() },
              { QStringLiteral("owner_id"), id(1000, users) },
              { QStringLiteral("unavailable"), oneIn(5) },
              { QStringLiteral("members"), list(users, [&] { return member(users); }) },
              { QStringLiteral("presences"), list(users / 2, [&] { return presence(users); }) },
              { QStringLiteral("voice_states"), list(below(4), voice) },
              { QStringLiteral("roles"), list(below(6), role) },
              { QStringLiteral("channels"), list(below(12), [&] { return channel(); }) },
              { QStringLiteral("emojis"), list(below(5), emoji) } });
    }

private:
    std::mt19937 m_random;
};

// The order in which the service's documents are defined to be taken.
void writeOneByOne(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map)
{
    using namespace DisClientImpl;
    DisRows::Guild guild;
    if (!DisRows::parseGuild(ctx, map, &guild))
        return;
    DisRows::writeGuild(db, guild);
    DisRows::forEachMap(ctx, map, "members", [&](Dread::VMap const& member) {
        updateWithGuildMember(db, guild.id, ctx, member);
    });
    DisRows::forEachMap(ctx, map, "presences", [&](Dread::VMap const& presence) {
        DisRows::Status status;
        if (DisRows::parsePresence(ctx, presence, &status))
            DisRows::writeStatus(db, status);
    });
    DisRows::forEachMap(ctx, map, "voice_states", [&](Dread::VMap const& state) {
        updateVoiceStateWithMap(db, ctx, state, guild.id);
    });
    DisRows::forEachMap(ctx, map, "roles", [&](Dread::VMap const& role) {
        updateWithGuildRole(db, guild.id, ctx, role);
    });
    DisRows::forEachMap(ctx, map, "channels", [&](Dread::VMap const& channel) {
        updateAddGuildChannelJson(db, ctx, channel, guild.id);
    });
    Dread::VList emojis;
    Dread::find(ctx, map, "emojis", &emojis);
    updateWithGuildEmojis(db, ctx, emojis, guild.id);
}

void writeGuilds(Store& sorted, Store& oneByOne, QJsonArray const& guilds)
{
    withJson(QJsonDocument(guilds).toJson(), [&](Dread::Ctx const& ctx, Dread::Val const& root) {
        QVector<Dread::VMap> maps;
        DisRows::forEachMap(ctx, root.list, [&](Dread::VMap const& map) { maps.append(map); });
        DisTransaction const first(sorted.prepared);
        DisTransaction const second(oneByOne.prepared);
        DisClientImpl::updateWithGuildJsons(sorted.prepared, ctx, maps);
        for (auto const& map : maps)
            writeOneByOne(oneByOne.prepared, ctx, map);
    });
}

constexpr char schemaSql[] = "select type, name, tbl_name, sql from sqlite_master order by 1, 2";

// All texts of digits only become numbers.
QJsonValue withNumbers(QJsonValue const& value)
{
    if (value.isArray()) {
        QJsonArray array;
        for (auto const& element : value.toArray())
            array.append(withNumbers(element));
        return array;
    }
    if (value.isObject()) {
        auto object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            it.value() = withNumbers(it.value());
        return object;
    }
    bool isNumber = false;
    int const number = value.toString().toInt(&isNumber);
    return isNumber ? QJsonValue(number) : value;
}

struct RandomEvent {
    char const* name;
    QJsonObject data;
};

RandomEvent randomEvent(Maker& make)
{
    auto const common = [&](QJsonObject data) {
        data.insert(QStringLiteral("guild_id"), make.id(10, 5));
        data.insert(QStringLiteral("channel_id"), make.id(100, 30));
        data.insert(QStringLiteral("message_id"), make.id(5000, 60));
        data.insert(QStringLiteral("user_id"), make.id(1000, 12));
        data.insert(QStringLiteral("role_id"), make.id(300, 20));
        data.insert(QStringLiteral("user"), make.user(12));
        data.insert(QStringLiteral("emoji"),
                    make.object({ { QStringLiteral("id"), make.maybe(make.id(400, 20)) },
                                  { QStringLiteral("name"), make.name() } }));
        return data;
    };
    auto const message = [&] {
        return make.object({ { QStringLiteral("id"), make.id(5000, 60) },
                             { QStringLiteral("author"), make.user(12) },
                             { QStringLiteral("content"), make.name() },
                             { QStringLiteral("pinned"), make.oneIn(2) },
                             { QStringLiteral("mentions"),
                               make.list(make.below(3), [&] { return make.user(20); }) } });
    };
    switch (make.below(14)) {
    case 0:
        return { "GUILD_CREATE", make.guild(6) };
    case 1:
        return { "GUILD_MEMBER_UPDATE", common(make.member(12)) };
    case 2:
        return { "GUILD_MEMBER_REMOVE", common({}) };
    case 3:
        return { "CHANNEL_UPDATE", common(make.channel()) };
    case 4:
        return { "CHANNEL_DELETE", common(make.channel()) };
    case 5:
        return { "PRESENCE_UPDATE", make.presence(12) };
    case 6:
        return { "MESSAGE_UPDATE", common(message()) };
    case 7:
        return { "MESSAGE_DELETE", common(message()) };
    case 8:
        return { "MESSAGE_REACTION_ADD", common({}) };
    case 9:
        return { "MESSAGE_REACTION_REMOVE", common({}) };
    case 10:
        return { "MESSAGE_ACK", common({}) };
    case 11:
        return { "GUILD_ROLE_DELETE", common({}) };
    default:
        return { "MESSAGE_CREATE", common(message()) };
    }
}

} // namespace

TEST(DisBulk, SortedGuildsAreTheGuildsOfTheDocument)
{
    Store sorted;
    Store oneByOne;
    for (quint32 seed = 1; seed <= 40; ++seed) {
        if (seed % 8 == 1) {
            sorted.exec("delete from user; delete from guild_member; delete from emoji;"
                        "delete from emoji_guild; delete from emoji_role;"
                        "delete from guild_channel_permission;");
            oneByOne.exec("delete from user; delete from guild_member; delete from emoji;"
                          "delete from emoji_guild; delete from emoji_role;"
                          "delete from guild_channel_permission;");
        }
        Maker make(seed);
        writeGuilds(sorted, oneByOne, make.list(1 + make.below(5), [&] { return make.guild(9); }));
        ASSERT_EQ(lineDifference(oneByOne.dump(), sorted.dump()), "") << "seed " << seed;
    }
}

TEST(DisBulk, ManyRowsComeWhileTheIndexesPause)
{
    Store sorted;
    Store oneByOne;
    auto const schema = sorted.rows(schemaSql);
    Maker make(99);
    writeGuilds(sorted, oneByOne, make.list(3, [&] { return make.guild(600); }));
    EXPECT_EQ(lineDifference(oneByOne.dump(), sorted.dump()), "");
    EXPECT_EQ(sorted.rows(schemaSql), schema);
    EXPECT_EQ(sorted.rows("pragma integrity_check"), "'ok'\n");
    EXPECT_EQ(sorted.rows("select count(*) > 500 from user indexed by user_name_idx"
                          " where name >= ''"),
              "1\n");
}

TEST(DisBulk, AnotherConnectionGoesOnReading)
{
    Store store;
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(store.path.toUtf8().constData(), &other), SQLITE_OK);
    {
        NakStmt members(other, "select count(*) > 0 from guild_member where user_id > 1000");
        ASSERT_TRUE(members.step());
        EXPECT_EQ(members.colInt(0), 0);
        members.reset();
        Maker make(7);
        store.dispatch("GUILD_CREATE", QJsonDocument(make.guild(1200)).toJson());
        ASSERT_TRUE(members.step());
        EXPECT_EQ(members.colInt(0), 1);
    }
    sqlite3_close(other);
}

TEST(DisEvents, RandomSequencesLeaveTheSameRowsWithIdsAsTextsAndAsNumbers)
{
    for (quint32 seed = 1; seed <= 6; ++seed) {
        Store texts;
        Store numbers;
        texts.state.ownUserId = numbers.state.ownUserId = FlakeId(1000);
        Maker make(seed);
        for (int i = 0; i < 150; ++i) {
            auto const event = randomEvent(make);
            auto const asNumbers = withNumbers(event.data).toObject();
            auto const one = texts.dispatch(event.name, QJsonDocument(event.data).toJson());
            auto const two = numbers.dispatch(event.name, QJsonDocument(asNumbers).toJson());
            ASSERT_EQ(changesText(one.changes), changesText(two.changes)) << event.name;
            if (i % 10 == 9) {
                (void)DisClientImpl::flushBatchedStatuses(texts.state, texts.prepared);
                (void)DisClientImpl::flushBatchedStatuses(numbers.state, numbers.prepared);
            }
        }
        EXPECT_EQ(lineDifference(texts.dump(), numbers.dump()), "") << "seed " << seed;
        EXPECT_NE(texts.rows("select null from message limit 1"), "");
    }
}
