// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_jump_matcher.h"
#include "dis_manager.h"
#include "model_fixture.h"

#include <gtest/gtest.h>

namespace {

constexpr FlakeId me(9);

class JumpSearch : public testing::Test {
protected:
    JumpSearch()
    {
        m_world.run("insert into guild (id, name, owner_id) values (1, 'Home', 9)");
        m_world.run("insert into guild_channel (id, guild_id, parent_id, position, deleted, name,"
                    " rate_limit_per_user) values (11, 1, 0, 0, 0, 'general', 0),"
                    " (12, 1, 0, 1, 0, 'next-gen', 0), (13, 1, 0, 2, 1, 'gen-gone', 0),"
                    " (14, 1, 0, 3, 0, 'Über-Ärger', 0), (15, 1, 0, 4, 0, '100%_sure''s', 0)");
        m_world.run("insert into user (id, name) values (9, 'Gentle me'), (20, 'Eugenia'),"
                    " (21, 'Bob'), (22, 'ЖЕНЯ')");
        m_world.run("insert into private_channel (id, name, last_message_id) values"
                    " (30, null, 5), (31, null, 6), (32, 'Genealogy', 7), (33, null, 8)");
        // 33 is another account's.
        m_world.run("insert into private_channel_participant (channel_id, user_id) values"
                    " (30, 9), (30, 20), (31, 9), (31, 22), (32, 9), (32, 21), (33, 20), (33, 21)");
        m_world.run("insert into any_channel (id, type) values (11, 1), (12, 1), (13, 1), (14, 1),"
                    " (15, 1), (30, 4), (31, 4), (32, 5), (33, 4)");
    }

    // Channel and relevance of each match, in order.
    std::string search(char const* text, QVector<FlakeId> const& shown, FlakeId user) const
    {
        QStringList found;
        for (auto const& match : DisJumpSearch::search(m_world.client->dbPath(),
                                                       { QString::fromUtf8(text), user, shown }))
            found.append(match.channel.toString() + QLatin1Char(':')
                         + QString::number(match.info.relevance));
        return found.join(QLatin1Char(' ')).toStdString();
    }

    ModelWorld m_world;
};

TEST_F(JumpSearch, FindsChannelsByNameAndConversationsByTheirPeople)
{
    struct Row {
        char const* text;
        QVector<FlakeId> shown;
        FlakeId user;
        char const* found;
    };
    Row const table[] = {
        { "", { FlakeId(11) }, me, "" },
        { "gen", {}, me, "11:500 12:500 30:500 32:500" },
        { "GEN", {}, {}, "11:500 12:500" }, // nobody signed in: no private channels
        { "gen", { FlakeId(30), FlakeId(12) }, me, "30:10 12:11 11:500 32:500" },
        // Kept by position; gone, deleted and foreign ones are not.
        { "gene",
          { FlakeId(77), FlakeId(13), FlakeId(33), FlakeId(12), FlakeId(32) },
          me,
          "32:14 11:500" },
        { "gen", { FlakeId(30) }, {}, "11:500 12:500" },
        { "über", {}, me, "14:500" },
        { "ÄRGER", {}, me, "14:500" },
        { "женя", {}, me, "31:500" },
        { "%_", {}, me, "15:500" },
        { "sure's", {}, me, "15:500" },
        { "#Next", {}, me, "12:500" },
        { "#", {}, me, "" },
        { "gentle", {}, me, "" }, // the user is no find
    };
    for (Row const& row : table)
        EXPECT_EQ(search(row.text, row.shown, row.user), row.found) << row.text;
}

TEST_F(JumpSearch, StopsAtThirtyAndBearsAStoreThatIsNotThere)
{
    m_world.run("with recursive n(i) as (select 100 union all select i + 1 from n where i < 199)"
                " insert into guild_channel (id, guild_id, parent_id, position, name,"
                " rate_limit_per_user) select i, 1, 0, 0, 'room-' || i, 0 from n");
    QString const found = QString::fromStdString(search("room", {}, me));
    EXPECT_EQ(found.count(QLatin1String(":500")), 30);
    EXPECT_TRUE(DisJumpSearch::search(m_world.dir.filePath(QStringLiteral("none")),
                                      { QStringLiteral("a"), me, {} })
                    .isEmpty());
}

TEST_F(JumpSearch, SearchesTheLastTextThatWasTypedMeanwhile)
{
    DisManager manager(m_world.dir.filePath(QStringLiteral("accounts")), nullptr);
    g_disManager = &manager;
    {
        QWidget parent;
        NakJump::Style const style;
        DisJumpMatcher matcher({ &parent, &parent, &style });
        QSet<unsigned int> shown;
        int answers = 0;
        QObject::connect(&matcher, &NakJumpMatcher::matchesUpdated,
                         [&](auto const& removed, auto const& added) {
                             ++answers;
                             for (unsigned int const item : removed)
                                 EXPECT_TRUE(shown.remove(item));
                             for (auto const& [item, info] : added)
                                 shown.insert(item);
                         });
        for (char const* text : { "gen", "sure", "general", "über" })
            matcher.setQueryString(QString::fromUtf8(text));
        EXPECT_TRUE(waitUntil([&] { return answers == 2; }));
        EXPECT_EQ(shown.size(), 1); // "über", found after "gen"
        matcher.setQueryString(QString());
        EXPECT_TRUE(waitUntil([&] { return answers == 3; }));
        EXPECT_TRUE(shown.isEmpty());
    }
    g_disManager = nullptr;
}

} // namespace
