// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The rights of rights.txt, each in a store of its own rows.

#include "dis_cache.h"
#include "dis_utils.h"
#include "store_fixture.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <map>

namespace {

// What the letters of rights.txt stand for.
constexpr char permissionLetters[] = "VCRXMINASKBLGEW";
constexpr quint32 permissions[] = { 0x400, 0x10,     0x10000000, 0x40000,    0x2000,
                                    0x1,   0x100000, 0x8,        0x800,      0x2,
                                    0x4,   0x80,     0x20,       0x40000000, 0x8000000 };

quint64 id(QString const& name)
{
    static std::map<std::string, quint64> const ids{
        { "e", 10 },     { "a", 30 },
        { "b", 31 },     { "x", 32 },
        { "q", 33 },     { "z", 34 },
        { "own", 2 },    { "ann", 3 },
        { "bob", 4 },    { "cyn", 5 },
        { "out", 6 },    { "dan", 7 },
        { "zed", 8 },    { "zoe", 9 },
        { "ghost", 99 }, { "text", 20 },
        { "voice", 21 }, { "cat", 22 },
        { "other", 24 }, { "priv", 50 },
        { "lost", 98 },  { "nobody", ~quint64(0) },
    };
    return ids.at(name.toStdString());
}

quint32 bits(QString const& letters)
{
    quint32 all = 0;
    for (QChar const letter : letters)
        all |= permissions[QLatin1String(permissionLetters).indexOf(letter)];
    return all;
}

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

QStringList words(QString const& text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

void insertRoles(Store& store, QString const& text)
{
    store.exec("insert into role values (10, 10, 'e', 0, 0, 0, 0, 0, 0), "
               "(30, 10, 'a', 0, 0, 1, 0, 0, 0), (31, 10, 'b', 0, 0, 2, 0, 0, 0), "
               "(32, 11, 'x', 0, 0, 3, 0, 0, 0)");
    for (QString const& word : words(text))
        store.exec(QStringLiteral("update role set permissions = %1 where id = %2")
                       .arg(bits(word.section(QLatin1Char(':'), 1)))
                       .arg(id(word.section(QLatin1Char(':'), 0, 0)))
                       .toStdString());
}

void insertOverwrites(Store& store, QString const& text)
{
    for (QString const& word : words(text)) {
        bool const ofCategory = word.startsWith(QLatin1String("cat."));
        QString const target = word.section(QRegularExpression(QStringLiteral("[+-]")), 0, 0);
        QString const name = target.mid(ofCategory ? 4 : 0);
        QString const allow = word.section(QLatin1Char('+'), 1).section(QLatin1Char('-'), 0, 0);
        store.exec(
            QStringLiteral("insert into guild_channel_permission values (%1, %2, %3, %4, %5)")
                .arg(ofCategory ? 22 : 20)
                .arg(id(name))
                .arg(bits(allow))
                .arg(bits(word.section(QLatin1Char('-'), 1)))
                .arg(name.size() > 1)
                .toStdString());
    }
}

struct Question {
    char letter;
    bool (*ask)(FlakeId user, FlakeId channelOrGuild);
};

constexpr Question channelQuestions[] = {
    { 'V', DisCache::userCanAccessGuildChannel },
    { 'C', DisCache::userCanManageGuildChannel },
    { 'R', DisCache::userCanEditPermissionsOnGuildChannel },
    { 'X', DisCache::userCanUseExternalEmojiInGuildChannel },
    { 'M', DisCache::userCanManageMessagesInGuildChannel },
    { 'I', DisCache::userCanCreateInviteForGuildChannel },
    { 'N', DisCache::userCanConnectVoiceForGuildChannel },
};
constexpr Question guildQuestions[] = {
    { 'C', DisCache::userCanManageGuildChannels },  { 'B', DisCache::userCanUseBansInGuild },
    { 'L', DisCache::userCanViewAuditLogInGuild },  { 'E', DisCache::userCanManageEmojisInGuild },
    { 'G', DisCache::userCanManageInvitesInGuild },
};

template <std::size_t N> QString rights(Question const (&questions)[N], FlakeId user, FlakeId where)
{
    QString letters;
    for (auto const& question : questions) {
        if (question.ask(user, where))
            letters += QLatin1Char(question.letter);
    }
    return letters.isEmpty() ? QStringLiteral("-") : letters;
}

QString channelRights(FlakeId user, FlakeId channel)
{
    quint32 const caps = DisCache::guildMemberChannelCaps_uncached(user, channel);
    EXPECT_EQ(DisCache::guildMemberChannelCaps(user, channel), caps);
    auto const letters = rights(channelQuestions, user, channel);
    EXPECT_EQ(DisCache::userCanIgnoreRateLimitingInGuildChannel(user, channel),
              letters.contains(QLatin1Char('C')) || letters.contains(QLatin1Char('M')));
    return letters == QLatin1String("VCRXMIN") ? QStringLiteral("all") : letters;
}

QString answer(FlakeId user, QString const& question)
{
    FlakeId const guild(10);
    if (question == QLatin1String("guild"))
        return rights(guildQuestions, user, guild);
    QStringList const parts = words(question);
    FlakeId const object(id(parts.last()));
    if (parts.size() == 1)
        return channelRights(user, object);
    std::map<std::string, bool (*)(FlakeId, FlakeId, FlakeId)> const acts{
        { "kick", DisUtils::getUserCanRemoveOtherMemberInGuild },
        { "ban", DisUtils::getUserCanBanOtherMemberInGuild },
        { "nick", DisUtils::getUserCanChangeNickOfGuildMember },
    };
    bool const can = acts.at(parts[0].toStdString())(user, object, guild);
    return can ? QStringLiteral("yes") : QStringLiteral("no");
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
        QStringList const columns = line.split(QLatin1Char('|'));
        ASSERT_EQ(columns.size(), 6) << qPrintable(line);
        store.exec("begin");
        store.exec(world);
        insertRoles(store, columns[0]);
        insertOverwrites(store, columns[1]);
        DisCache::createGlobalData(store.db);
        EXPECT_EQ(answer(FlakeId(id(columns[2].trimmed())), columns[3].trimmed()),
                  columns[4].trimmed())
            << qPrintable(line);
        DisCache::destroyGlobalData();
        store.exec("rollback");
        ++cases;
    }
    EXPECT_EQ(cases, 294);
}
