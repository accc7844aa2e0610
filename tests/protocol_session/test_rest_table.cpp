// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Every row of the table of requests, called once upon what the service really has: each reaches
// its row's address, and the service answers each.

#include "dis_rest_params.h"
#include "dis_rest_request.h"
#include "signed_in.h"

#include <QRegularExpression>

#include <functional>

namespace {

struct Row {
    char const* name;
    char const* verb;
    char const* path;
};
constexpr Row rows[] = {
#define REST_TABLE_ROW(name, verb, path) { #name, #verb, path },
    DIS_REST_OPS(REST_TABLE_ROW)
#undef REST_TABLE_ROW
};

// What the calls are made upon.
struct Ids {
    explicit Ids(SignedIn& on)
        : me(on.test.userId)
        , channel(on.channel)
    {
        stage::World& world = on.service.world();
        stage::Channel const& busy = *stage::findChannel(world, channel.value());
        stage::Guild& first = world.guilds[static_cast<size_t>(busy.guild)];
        guild = FlakeId(first.id);
        user = FlakeId(world.users[first.members[2].user].id);
        first.invites.push_back({ QStringLiteral("x"), busy.id });
        role = FlakeId(first.roles.back().id);
        emoji = FlakeId(first.emojis.front().id);
        message = FlakeId(stage::postMessage(on.service.rest(),
                                             *stage::findChannel(world, channel.value()), 0,
                                             QStringLiteral("mine"))
                              .id);
    }

    FlakeId me, channel, guild, user, role, emoji, message;
    QObject owner; // of the handles
};

using Call = void (*)(DisClient&, Ids&);
struct Covered {
    char const* name; // of the row
    Call call;
};
QString const text = QStringLiteral("x");

// In an order in which nothing is asked for after it was deleted.
Covered const calls[] = {
    { "CreateMessage", [](DisClient& on, Ids& i) { on.sendMessageAsUser(i.me, i.channel, text); } },
    { "EditMessage",
      [](DisClient& on, Ids& i) { on.editMessageAsUser(i.channel, i.message, i.me, text); } },
    { "FetchHistory", [](DisClient& on, Ids& i) { on.fetchRecentHistoryForChannel(i.channel); } },
    { "AckMessage",
      [](DisClient& on, Ids& i) { on.trySendMessageReadAck(i.me, i.channel, i.message); } },
    { "AckGuild", [](DisClient& on, Ids& i) { on.sendGuildReadAck(i.me, i.guild); } },
    { "AddReaction",
      [](DisClient& on, Ids& i) {
          on.addEmojiReaction(i.channel, i.message, i.me, i.emoji, QString::fromUtf8("ü/?"));
      } },
    { "DeleteReaction",
      [](DisClient& on, Ids& i) {
          on.deleteEmojiReaction(i.channel, i.message, i.me, i.emoji, QString::fromUtf8("ü/?"));
      } },
    { "Pin", [](DisClient& on, Ids& i) { on.pinMessage(i.me, i.channel, i.message); } },
    { "FetchPins", [](DisClient& on, Ids& i) { on.fetchPinnedMessages(i.me, i.channel); } },
    { "Unpin", [](DisClient& on, Ids& i) { on.unpinMessage(i.me, i.channel, i.message); } },
    { "Typing", [](DisClient& on, Ids& i) { on.sendTyping(i.me, i.channel); } },
    { "DeleteMessage",
      [](DisClient& on, Ids& i) { on.deleteChannelMessage(i.channel, i.message, i.me); } },
    { "CreatePrivateChannel", [](DisClient& on, Ids& i) { on.createDirectMessage(i.me, i.user); } },
    { "AddRecipient",
      [](DisClient& on, Ids& i) { on.addUserToPrivateChannel(i.me, i.channel, i.user); } },
    { "CreateGuildChannel",
      [](DisClient& on, Ids& i) {
          on.createGuildChannel(i.me, i.guild, DisChannelType::GuildText, FlakeId(), {});
      } },
    { "ModifyGuildChannels",
      [](DisClient& on, Ids& i) {
          on.modifyGuildChannelPositions(i.me, i.guild, { { i.channel, 1, {} } });
      } },
    { "ModifyChannel", [](DisClient& on, Ids& i) { on.modifyGuildChannel(i.me, i.channel, {}); } },
    { "SetOverwrite",
      [](DisClient& on, Ids& i) {
          on.modifyGuildChannelPermissionOverwrite(i.me, i.channel, { i.role, false, 1, 2 });
      } },
    { "CreateRole", [](DisClient& on, Ids& i) { on.createGuildRole(i.me, i.guild, {}); } },
    { "ModifyRoles",
      [](DisClient& on, Ids& i) {
          on.modifyGuildRolePositions(i.me, i.guild, { { i.role, 1, {} } });
      } },
    { "ModifyRole", [](DisClient& on, Ids& i) { on.modifyGuildRole(i.me, i.guild, i.role, {}); } },
    { "ModifyMember",
      [](DisClient& on, Ids& i) { on.modifyGuildNickOfUser(i.me, i.guild, i.user, text); } },
    { "ModifyOwnNick",
      [](DisClient& on, Ids& i) { on.modifyGuildNickOfUser(i.me, i.guild, i.me, text); } },
    { "AddMemberRole",
      [](DisClient& on, Ids& i) { on.addRoleToGuildMember(i.me, i.guild, i.user, i.role); } },
    { "RemoveMemberRole",
      [](DisClient& on, Ids& i) { on.removeRoleFromGuildmember(i.me, i.guild, i.user, i.role); } },
    { "DeleteRole", [](DisClient& on, Ids& i) { on.deleteGuildRole(i.me, i.guild, i.role); } },
    { "FetchBans", [](DisClient& on, Ids& i) { on.fetchGuildBans(i.me, i.guild); } },
    { "AddBan", [](DisClient& on, Ids& i) { on.addGuildBan(i.me, i.guild, i.user, 1, text); } },
    { "RemoveBan", [](DisClient& on, Ids& i) { on.removeGuildBan(i.me, i.guild, i.user); } },
    { "RemoveMember",
      [](DisClient& on, Ids& i) { on.removeMemberFromGuild(i.me, i.guild, i.user); } },
    { "FetchEmoji", [](DisClient& on, Ids& i) { on.fetchGuildEmoji(i.me, i.guild, &i.owner); } },
    { "CreateEmoji",
      [](DisClient& on, Ids& i) { on.createGuildEmoji(i.me, i.guild, text, "png", {}); } },
    { "ModifyEmoji",
      [](DisClient& on, Ids& i) { on.modifyGuildEmoji(i.me, i.guild, i.emoji, text, {}); } },
    { "RemoveEmoji", [](DisClient& on, Ids& i) { on.removeGuildEmoji(i.me, i.guild, i.emoji); } },
    { "FetchGuildInvites",
      [](DisClient& on, Ids& i) { on.fetchGuildInvites(i.me, i.guild, &i.owner); } },
    { "CreateInvite",
      [](DisClient& on, Ids& i) {
          on.createGuildChannelInvite(i.me, i.channel, QString(), text, &i.owner);
      } },
    { "FetchInvite", [](DisClient& on, Ids& i) { on.requestInviteInfo(i.me, text, &i.owner); } },
    { "AcceptInvite", [](DisClient& on, Ids& i) { on.acceptInvite(i.me, text, &i.owner); } },
    { "RemoveInvite", [](DisClient& on, Ids& i) { on.removeGuildInvite(i.me, text); } },
    { "FetchAuditLog",
      [](DisClient& on, Ids& i) { on.fetchAuditLog(i.me, i.guild, {}, &i.owner); } },
    { "FetchMentions", [](DisClient& on, Ids& i) { on.fetchMentions(i.me, {}, &i.owner); } },
    { "ModifySettings",
      [](DisClient& on, Ids& i) { on.setUserGuildPositions(i.me, { i.guild }); } },
    { "ModifyGuildSettings",
      [](DisClient& on, Ids& i) { on.setGuildNotificationSettings(i.me, i.guild, {}); } },
    { "SetRelationship", [](DisClient& on, Ids& i) { on.setUserRelationship(i.me, i.user, 1); } },
    { "RemoveRelationship",
      [](DisClient& on, Ids& i) { on.removeUserRelationship(i.me, i.user); } },
    { "DeleteChannel", [](DisClient& on, Ids& i) { on.deleteChannel(i.me, i.channel); } },
};

} // namespace

TEST(RestTable, EveryRowIsSentToItsAddressAndAnswered)
{
    SignedIn on;
    ASSERT_NE(on.session, nullptr);
    Ids ids(on);
    QStringList left;
    for (Row const& row : rows)
        left << QString::fromLatin1(row.name);
    for (Covered const& one : calls) {
        SCOPED_TRACE(one.name);
        ASSERT_EQ(left.count(QString::fromLatin1(one.name)), 1) << "twice, or of no row";
        Row const& row = rows[static_cast<size_t>(
            std::find_if(std::begin(rows), std::end(rows),
                         [&](Row const& r) { return qstrcmp(r.name, one.name) == 0; })
            - std::begin(rows))];
        left.removeOne(QString::fromLatin1(one.name));
        int const before = on.service.requests().size();
        one.call(*on.test.client, ids);
        ASSERT_TRUE(waitUntil([&] { return on.service.requests().size() > before; }));
        stage::StageRequest const request = on.service.requests().last();
        EXPECT_EQ(request.method.toStdString(),
                  QString::fromLatin1(row.verb).toUpper().toStdString());
        QString const address = QRegularExpression::anchoredPattern(
            QRegularExpression::escape(QString::fromLatin1(row.path))
                .replace(QLatin1String("\\{\\}"), QLatin1String("[^/]+")));
        EXPECT_TRUE(QRegularExpression(address).match(request.path).hasMatch())
            << qPrintable(request.path);
        EXPECT_EQ(request.status / 100, 2) << request.status;
    }
    EXPECT_EQ(left.join(QLatin1Char(' ')).toStdString(), "") << "rows that nothing here calls";
}
