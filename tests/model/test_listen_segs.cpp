// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Member lists: the rows that operations leave, and what listeners get of a service.

#include "dis_listen.h"
#include "dis_seg_list.h"
#include "dis_session.h"
#include "manager_test.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSignalSpy>
#include <QStringList>

namespace {

// "+3 7": insert user 7 at row 3; "=" update, "-3" delete, "*0..9 5 6" sync, with "#" for a
// heading.
DisSeg::Op parseOp(QString const& text)
{
    QStringList words = text.mid(1).split(QLatin1Char(' '));
    DisSeg::Op op;
    op.type = static_cast<DisSeg::OpType>(QStringLiteral("+=-*").indexOf(text[0]));
    QStringList const range = words.takeFirst().split(QStringLiteral(".."));
    op.index = range.first().toInt();
    op.last = op.type == DisSeg::OpType::Sync ? range.last().toInt() : 0;
    for (QString const& word : words) {
        DisSeg::Item item;
        if (word != QLatin1String("#"))
            item.userId = FlakeId(word.toULongLong());
        op.items.append(item);
    }
    return op;
}

std::string rows(DisSegList const& list)
{
    QStringList shown;
    for (DisSegList::Row const& row : list.rows)
        shown << QStringLiteral("%1:%2").arg(row.index).arg(
            row.item.userId.isValid() ? row.item.userId.toString() : QStringLiteral("#"));
    return shown.join(QLatin1Char(' ')).toStdString();
}

} // namespace

TEST(SegList, RowsThatOperationsLeave)
{
    struct {
        char const* ops;
        char const* rows;
    } const cases[] = {
        { "*0..99 # 5 6", "0:# 1:5 2:6" },
        { "*0..99 # 5 6,*0..99 # 7", "0:# 1:7" },
        { "*0..99 # 5,*100..199 8 9,*0..0 #", "0:# 1:5 100:8 101:9" },
        { "*0..99 # 5 6,+1 7", "0:# 1:7 2:5 3:6" },
        { "*0..99 # 5 6,+3 7,+9 8", "0:# 1:5 2:6 3:7 9:8" },
        { "*0..99 # 5 6,-1", "0:# 1:6" },
        { "*0..99 # 5 6,-0,-0,-0,-0", "" },
        { "*0..99 # 5 6,=1 7,=9 8", "0:# 1:7 2:6 9:8" },
        { "*100..199 8 9,+0 5,-50", "0:5 100:8 101:9" },
        { "*100..199 8 9,-0", "99:8 100:9" },
        { "*50..20 8,*5..5 6 7", "5:6 6:7 50:8" },
        { "*0..9 5,+2147483647 7,*2147483600..2147483647 8", "0:5" },
    };
    for (auto const& c : cases) {
        DisSegList list;
        DisSeg::Package package;
        for (QString const& op : QString::fromLatin1(c.ops).split(QLatin1Char(',')))
            package.ops.append(parseOp(op));
        DisSegLists::apply(&list, package);
        EXPECT_EQ(rows(list), c.rows) << c.ops;
    }
    DisSegList list;
    DisSeg::Package package;
    package.ops = { parseOp(QStringLiteral("*98..99 1 2 3 4")),
                    parseOp(QStringLiteral("*300..300 5")) };
    package.groups = { { {}, 7 }, { {}, 0 } };
    DisSegLists::apply(&list, package);
    EXPECT_EQ(DisSegLists::rowCount(list), 9);
    ASSERT_NE(DisSegLists::find(list, 101), nullptr);
    EXPECT_EQ(DisSegLists::find(list, 101)->userId, FlakeId(4));
    EXPECT_EQ(DisSegLists::find(list, 102), nullptr);
    DisSegLists::keepChunks(&list, { 1, 2 });
    EXPECT_EQ(rows(list), "100:3 101:4");
    list.groups.fill({ {}, 2'147'483'647 }, 9);
    EXPECT_EQ(DisSegLists::rowCount(list), 2'147'483'647);
}

namespace {

class SegListener : public ManagerTest {
protected:
    static stage::StageOptions manyMembers()
    {
        stage::StageOptions out;
        out.world.guilds = 1;
        out.world.membersPerGuild = 250;
        out.world.messagesPerChannel = 2;
        out.world.messagesInBusyChannel = 2;
        return out;
    }

    SegListener()
        : ManagerTest(manyMembers())
    {
        g_disListenManager = &listenManager;
        EXPECT_TRUE(signIn(manager->createAccountWithToken(QStringLiteral("token"))));
    }
    ~SegListener() override { g_disListenManager = nullptr; }

    // The rows of the next request, as "CHANNEL 0-99 100-199"; empty for none.
    std::string nextAsked()
    {
        QJsonObject frame;
        if (!service.expectFrame(14, &frame))
            return "nothing";
        QStringList shown;
        QJsonObject const channels =
            frame[QLatin1String("d")].toObject()[QLatin1String("channels")].toObject();
        for (auto one = channels.begin(); one != channels.end(); ++one) {
            shown << one.key();
            for (QJsonValue const& range : one.value().toArray())
                shown << QStringLiteral("%1-%2").arg(range[0].toInt()).arg(range[1].toInt());
        }
        return shown.join(u' ').toStdString();
    }

    DisListenManager listenManager{ nullptr };
    FlakeId const guild{ service.world().guilds[0].id };
    FlakeId const channel{ service.busyChannelId() };
    DisSegListener first;
    DisSegListener second;
};

} // namespace

TEST_F(SegListener, RowsComeFromTheServiceAndGoWithTheLastListener)
{
    DisSegListener& top = first;
    DisSegListener& end = second;
    QSignalSpy const told(&end, &DisSegListener::segChanged);
    std::string const id = channel.toString().toStdString();
    EXPECT_EQ(top.rowCount(), 0);
    top.setParams({ guild, channel, { { 0, 20 } } });
    end.setParams({ guild, channel, { { 205, 230 } } });
    EXPECT_EQ(nextAsked(), id + " 0-99 200-299") << "one request for both";
    ASSERT_TRUE(waitUntil([&] { return !told.isEmpty(); }));
    EXPECT_EQ(top.rowCount(), 250 + top.groups().size());
    ASSERT_NE(top.row(0), nullptr);
    EXPECT_FALSE(top.row(0)->userId.isValid()) << "a heading";
    ASSERT_NE(end.row(205), nullptr);
    EXPECT_TRUE(end.row(205)->userId.isValid());
    EXPECT_EQ(end.row(150), nullptr) << "between what is on screen";

    end.clear();
    EXPECT_EQ(end.row(205), nullptr);
    EXPECT_EQ(nextAsked(), id + " 0-99");
    EXPECT_EQ(top.row(205), nullptr) << "off screen";
    EXPECT_NE(top.row(5), nullptr);
    service.invalidateSession(); // what begins anew is asked for again
    EXPECT_EQ(nextAsked(), id + " 0-99");
    top.clear();
    EXPECT_EQ(nextAsked(), "");
    top.setParams({ guild, channel, { { 0, 20 } } });
    EXPECT_EQ(top.row(5), nullptr) << "what nobody listened to is forgotten";
}

TEST_F(SegListener, OnlyThoseOfTheListAreTold)
{
    FlakeId hidden = channel;
    for (stage::Channel const& one : service.world().channels)
        if (one.guild == 0 && one.type == stage::ChannelType::Text)
            hidden = FlakeId(one.id);
    ASSERT_NE(hidden, channel);
    QByteArray const id = hidden.toString().toLatin1();
    model.run("insert or replace into guild_channel_permission values (" + id + ", "
              + guild.toString().toLatin1() + ", 0, 1024, 0)");
    model.tell(DisChange::ChangeType::ChannelChanged, hidden);
    QSignalSpy const few(&first, &DisSegListener::segChanged);
    QSignalSpy const all(&second, &DisSegListener::segChanged);
    first.setParams({ guild, hidden, { { 0, 20 } } });
    second.setParams({ guild, channel, { { 0, 20 } } });
    ASSERT_TRUE(waitUntil([&] { return all.count() + few.count() > 0; }));
    EXPECT_EQ(few.count(), 0);
    // The role that all have may read it from now on, so it moves to the list of all.
    model.run("delete from guild_channel_permission where channel_id = " + id);
    model.tell(DisChange::ChangeType::ChannelChanged, hidden);
    EXPECT_EQ(few.count(), 1);
    EXPECT_EQ(all.count(), 1);
    EXPECT_NE(first.row(1), nullptr);
}
