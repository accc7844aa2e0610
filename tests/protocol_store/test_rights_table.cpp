// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The rights of rights.txt, each in a store of its own rows.

#include "dis_cache.h"
#include "dis_utils.h"
#include "store_fixture.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

QMap<QString, quint64> const ids{
    { QStringLiteral("e"), 10 },     { QStringLiteral("a"), 30 },
    { QStringLiteral("b"), 31 },     { QStringLiteral("x"), 32 },
    { QStringLiteral("q"), 33 },     { QStringLiteral("z"), 34 },
    { QStringLiteral("own"), 2 },    { QStringLiteral("ann"), 3 },
    { QStringLiteral("bob"), 4 },    { QStringLiteral("cyn"), 5 },
    { QStringLiteral("out"), 6 },    { QStringLiteral("dan"), 7 },
    { QStringLiteral("zed"), 8 },    { QStringLiteral("zoe"), 9 },
    { QStringLiteral("ghost"), 99 }, { QStringLiteral("text"), 20 },
    { QStringLiteral("voice"), 21 }, { QStringLiteral("cat"), 22 },
    { QStringLiteral("other"), 24 }, { QStringLiteral("priv"), 50 },
    { QStringLiteral("lost"), 98 },
};

QMap<QChar, quint32> const permissions{
    { QLatin1Char('V'), 0x400 },      { QLatin1Char('C'), 0x10 },
    { QLatin1Char('R'), 0x10000000 }, { QLatin1Char('X'), 0x40000 },
    { QLatin1Char('M'), 0x2000 },     { QLatin1Char('I'), 0x1 },
    { QLatin1Char('N'), 0x100000 },   { QLatin1Char('A'), 0x8 },
    { QLatin1Char('S'), 0x800 },      { QLatin1Char('K'), 0x2 },
    { QLatin1Char('B'), 0x4 },        { QLatin1Char('L'), 0x80 },
    { QLatin1Char('G'), 0x20 },       { QLatin1Char('E'), 0x40000000 },
    { QLatin1Char('W'), 0x8000000 },
};

constexpr char world[] =
    "insert into guild values (10, 'G', null, 2, null), (11, 'H', null, 6, null);"
    "insert into any_channel values (20, 1), (21, 2), (22, 3), (24, 1), (50, 4);"
    "insert into guild_channel values (20, 10, 22, 0, 0, 0, 't', null, 5, 500), "
    "(24, 11, -1, 0, 0, 0, 'o', null, 0, null);"
    "insert into guild_voice_channel values (21, 10, -1, 1, 0, 64000, 0, 'voice');"
    "insert into guild_channel_category values (22, 10, -1, 2, 0, 'cat');"
    "insert into private_channel (id) values (50);"
    "insert into guild_member (guild_id, user_id) values (10, 2), (10, 3), (10, 4), (10, 5), "
    "(10, 7), (10, 8), (10, 9), (11, 6);"
    "insert into guild_member_role values (3, 30), (4, 30), (4, 31), (6, 32), (7, 30), (9, 33);";

quint64 id(QString const& name)
{
    EXPECT_TRUE(name == QLatin1String("nobody") || ids.contains(name)) << qPrintable(name);
    return ids.value(name, ~quint64(0));
}

quint32 bits(QString const& letters)
{
    quint32 all = 0;
    for (QChar const letter : letters) {
        EXPECT_TRUE(permissions.contains(letter)) << qPrintable(letters);
        all |= permissions.value(letter);
    }
    return all;
}

QStringList words(QString const& text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

void insertRoles(Store& store, QString const& text)
{
    QMap<QString, quint32> roles{ { QStringLiteral("e"), 0 },
                                  { QStringLiteral("a"), 0 },
                                  { QStringLiteral("b"), 0 },
                                  { QStringLiteral("x"), 0 } };
    for (QString const& word : words(text))
        roles[word.section(QLatin1Char(':'), 0, 0)] = bits(word.section(QLatin1Char(':'), 1));
    for (auto role = roles.cbegin(); role != roles.cend(); ++role)
        store.exec(QStringLiteral("insert into role values (%1, %2, 'r', 0, 0, %3, %4, 0, 0)")
                       .arg(id(role.key()))
                       .arg(role.key() == QLatin1String("x") ? 11 : 10)
                       .arg(QStringLiteral("eab").indexOf(role.key()))
                       .arg(*role)
                       .toLatin1());
}

// A leading c is the category's, where a name stands behind it.
void insertOverwrites(Store& store, QString const& text)
{
    for (QString const& word : words(text)) {
        int const end = word.indexOf(QRegularExpression(QStringLiteral("[+-]")));
        QString name = word.left(end);
        bool const ofCategory = name.startsWith(QLatin1Char('c')) && !ids.contains(name);
        if (ofCategory)
            name.remove(0, 1);
        QString const allow = word.section(QLatin1Char('+'), 1).section(QLatin1Char('-'), 0, 0);
        store.exec(
            QStringLiteral("insert into guild_channel_permission values (%1, %2, %3, %4, %5)")
                .arg(ofCategory ? 22 : 20)
                .arg(id(name))
                .arg(bits(allow))
                .arg(bits(word.section(QLatin1Char('-'), 1)))
                .arg(name.size() > 1)
                .toLatin1());
    }
}

QString letters(char const* order, quint32 set)
{
    QString shown;
    for (int i = 0; order[i]; ++i)
        if (set >> i & 1U)
            shown += QLatin1Char(order[i]);
    return shown.isEmpty() ? QStringLiteral("-") : shown;
}

QString channelRights(FlakeId user, FlakeId channel)
{
    quint32 const caps = DisCache::guildMemberChannelCaps_uncached(user, channel);
    EXPECT_EQ(DisCache::guildMemberChannelCaps(user, channel), caps);
    EXPECT_EQ(DisCache::guildMemberChannelCaps(user, channel), caps) << "from the cache";
    return caps == 127 ? QStringLiteral("all") : letters("VCRXMIN", caps);
}

QString guildRights(FlakeId user, FlakeId guild)
{
    quint32 set = 0;
    set |= DisCache::userCanManageGuildChannels(user, guild) ? 1 : 0;
    set |= DisCache::userCanUseBansInGuild(user, guild) ? 2 : 0;
    set |= DisCache::userCanViewAuditLogInGuild(user, guild) ? 4 : 0;
    set |= DisCache::userCanManageEmojisInGuild(user, guild) ? 8 : 0;
    set |= DisCache::userCanManageInvitesInGuild(user, guild) ? 16 : 0;
    return letters("CBLEG", set);
}

QString answer(FlakeId user, QString const& question)
{
    FlakeId const guild(10);
    if (question == QLatin1String("guild"))
        return guildRights(user, guild);
    QStringList const parts = words(question);
    FlakeId const object(id(parts.last()));
    if (parts.size() == 1)
        return channelRights(user, object);
    QMap<QString, bool (*)(FlakeId, FlakeId, FlakeId)> const acts{
        { QStringLiteral("kick"), DisUtils::getUserCanRemoveOtherMemberInGuild },
        { QStringLiteral("ban"), DisUtils::getUserCanBanOtherMemberInGuild },
        { QStringLiteral("nick"), DisUtils::getUserCanChangeNickOfGuildMember },
    };
    return acts[parts[0]](user, object, guild) ? QStringLiteral("yes") : QStringLiteral("no");
}

} // namespace

TEST(DisRights, AsWorkedOutByHand)
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/rights.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    Store store;
    int cases = 0;
    for (QString const& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList columns = line.split(QLatin1Char('|'));
        ASSERT_EQ(columns.size(), 6) << qPrintable(line);
        for (QString& column : columns)
            column = column.trimmed();
        store.exec("begin");
        store.exec(world);
        insertRoles(store, columns[0]);
        insertOverwrites(store, columns[1]);
        DisCache::createGlobalData(store.db);
        EXPECT_EQ(answer(FlakeId(id(columns[2])), columns[3]).toStdString(),
                  columns[4].toStdString())
            << qPrintable(line);
        DisCache::destroyGlobalData();
        store.exec("rollback");
        ++cases;
    }
    EXPECT_GE(cases, 200);
}
