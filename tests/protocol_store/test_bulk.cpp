// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Guilds that are written sorted, table by table, leave the same rows as guilds that are written
// object by object in the order of the document.

#include "dis_store.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"
#include "nak_sql.h"
#include "store_fixture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

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

// A store of each way, given the same guilds.
struct BothWays {
    Store sorted;
    Store oneByOne;

    void write(Dread::Ctx const& ctx, Dread::Val const& guilds)
    {
        QVector<Dread::VMap> maps;
        DisRows::forEachMap(ctx, guilds.list, [&](Dread::VMap const& map) { maps.append(map); });
        DisTransaction const first(sorted.prepared);
        DisTransaction const second(oneByOne.prepared);
        DisClientImpl::updateWithGuildJsons(sorted.prepared, ctx, maps);
        for (auto const& map : maps)
            writeOneByOne(oneByOne.prepared, ctx, map);
        // Which emojis a guild had is known by its roles, and here they change their guilds.
        for (auto* store : { &sorted, &oneByOne })
            store->exec("delete from emoji; delete from emoji_guild; delete from emoji_role");
    }
    std::string difference() const { return lineDifference(oneByOne.dump(), sorted.dump()); }
};

constexpr char schemaSql[] = "select type, name, tbl_name, sql from sqlite_master order by 1, 2";

} // namespace

TEST(DisBulk, SortedGuildsAreTheGuildsOfTheDocument)
{
    BothWays both;
    EventMaker maker(1);
    for (int i = 1; i <= 400; ++i) {
        if (i % 20 == 0) {
            clearDisStore(both.sorted.db);
            clearDisStore(both.oneByOne.db);
        }
        maker.makeList("guild");
        both.write(maker.ctx(), maker.data());
        ASSERT_EQ(both.difference(), "")
            << i << ": " << Dread::prettyPrint(maker.ctx(), maker.data()).toStdString();
    }
}

TEST(DisBulk, ManyRowsComeWhileTheIndexesPause)
{
    BothWays both;
    auto const schema = both.sorted.rows(schemaSql);
    std::unique_ptr<sqlite3, decltype(&NakSql::closeDb)> const reader(
        openDisStore(both.sorted.path), NakSql::closeDb);
    NakStmt members(reader.get(), "select count(*) from guild_member where user_id > 1000");
    ASSERT_TRUE(members.step());
    EXPECT_EQ(members.colInt(0), 0);
    members.reset();
    withJson('[' + largeGuild("9", 2'500, "u") + ',' + largeGuild("8", 2'600, "v") + ']',
             [&](Dread::Ctx const& ctx, Dread::Val const& root) { both.write(ctx, root); });
    EXPECT_EQ(both.difference(), "");
    EXPECT_EQ(both.sorted.rows(schemaSql), schema);
    EXPECT_EQ(both.sorted.rows("pragma integrity_check"), "'ok'\n");
    EXPECT_EQ(both.sorted.rows("select count(*) from user indexed by user_name_idx"
                               " where name >= 'v'"),
              "2600\n");
    // A connection that was there before goes on reading.
    ASSERT_TRUE(members.step());
    EXPECT_EQ(members.colInt(0), 5'100);
}
