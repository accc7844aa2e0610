// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Every operation of the REST interface upon what the service really has: the request that reaches
// it, as text, and that it takes it.

#include "dis_rest_params.h"
#include "dis_rest_request.h"
#include "signed_in.h"

#include <QRegularExpression>

namespace {

struct Row {
    char const* name;
    QByteArray verb;
    QByteArray path;
};
QVector<Row> const rows{
#define REST_TABLE_ROW(name, verb, path) { #name, QByteArray(#verb).toUpper(), path },
    DIS_REST_OPS(REST_TABLE_ROW)
#undef REST_TABLE_ROW
};

bool isOf(Row const& row, stage::StageRequest const& request)
{
    QString const address = QRegularExpression::anchoredPattern(
        QRegularExpression::escape(QString::fromLatin1(row.path))
            .replace(QLatin1String("\\{\\}"), QLatin1String("[^/]+")));
    return request.method == row.verb && QRegularExpression(address).match(request.path).hasMatch();
}

QString const odd = QString::fromUtf8("a \"b\" \\ ü\n👍");
std::string const oddJson = R"("a \"b\" \\ ü\n👍")";

class RestTable : public SignedInTest {
    QVector<QPair<QString, QString>> m_words;
    QStringList m_rowsLeft;

protected:
    RestTable()
    {
        for (Row const& row : rows)
            m_rowsLeft << QLatin1String(row.name);
        word(me.value(), "<me>");
        c = word(channel.value(), "<c>");
        stage::World& world = service.world();
        stage::Channel const& busy = *stage::findChannel(world, c.value());
        stage::Guild& guild = world.guilds[static_cast<size_t>(busy.guild)];
        guild.invites.push_back({ QStringLiteral("x/é"), busy.id });
        g = word(guild.id, "<g>");
        u = word(world.users[guild.members[2].user].id, "<u>");
        r = word(guild.roles.back().id, "<r>");
        e = word(guild.emojis.front().id, "<e>");
    }

    FlakeId word(quint64 id, char const* text)
    {
        m_words.append({ QString::number(id), QLatin1String(text) });
        return FlakeId(id);
    }

    // The next request: its line and its body, with words for identifiers.
    std::string sent()
    {
        std::string const whole = nextRequest();
        if (whole.empty())
            return "nothing";
        stage::StageRequest const request = service.requests().at(seen - 1);
        std::string const line = whole.substr(0, whole.find('\n'));
        EXPECT_EQ(whole, wholeRequest(line, request.body.toStdString()));
        EXPECT_EQ(request.status / 100, 2) << line;
        for (Row const& row : rows)
            if (isOf(row, request))
                m_rowsLeft.removeOne(QLatin1String(row.name));
        QString text = QString::fromStdString(line + (request.body.isEmpty() ? "" : " "))
            + QString::fromUtf8(request.body);
        for (auto const& [id, name] : m_words)
            text.replace(id, name);
        return text.toStdString();
    }

    std::string rowsLeft() const { return m_rowsLeft.join(QLatin1Char(' ')).toStdString(); }

    void messages();
    void reactionsAndPins();
    void privateChannelsAndFriends();
    void guildChannels();
    void overwrites();
    void roles();
    void members();
    void emoji();
    void invites();
    void settings();
    void fetches();

    FlakeId c, g, u, r, e, m; // channel, guild, user, role, emoji, message
    QObject owner; // of the handles
};

void RestTable::messages()
{
    word(client.sendMessageAsUser(me, c, odd).value(), "<nonce>");
    EXPECT_EQ(sent(),
              R"(POST /channels/<c>/messages {"d":{"content":)" + oddJson
                  + R"(,"nonce":"<nonce>"},"op":0,"t":"MESSAGE_CREATE"})");
    stage::Channel& busy = *stage::findChannel(service.world(), c.value());
    m = word(stage::postMessage(service.rest(), busy, 0, odd).id, "<m>");
    client.editMessageAsUser(c, m, me, odd);
    EXPECT_EQ(sent(), R"(PATCH /channels/<c>/messages/<m> {"content":)" + oddJson + "}");
    client.sendTyping(me, c);
    EXPECT_EQ(sent(), "POST /channels/<c>/typing {}");
    client.trySendMessageReadAck(me, c, m);
    EXPECT_EQ(sent(), R"(POST /channels/<c>/messages/<m>/ack {"token": null})");
    client.sendGuildReadAck(me, g);
    EXPECT_EQ(sent(), "POST /guilds/<g>/ack");
    client.fetchRecentHistoryForChannel(c);
    EXPECT_EQ(sent(), "GET /channels/<c>/messages?limit=100");
}

void RestTable::reactionsAndPins()
{
    std::string const reactions = "/channels/<c>/messages/<m>/reactions/";
    client.addEmojiReaction(c, m, me, FlakeId(), QString::fromUtf8("👩‍💻"));
    EXPECT_EQ(sent(), "PUT " + reactions + "%F0%9F%91%A9%E2%80%8D%F0%9F%92%BB/@me");
    client.addEmojiReaction(c, m, me, e, odd);
    EXPECT_EQ(sent(), "PUT " + reactions + "a%20%22b%22%20%5C%20%C3%BC%0A%F0%9F%91%8D%3A<e>/@me");
    // A name from a server stays one part of the path.
    client.deleteEmojiReaction(c, m, me, e, QStringLiteral("../a/b?c#d"));
    EXPECT_EQ(sent(), "DELETE " + reactions + "..%2Fa%2Fb%3Fc%23d%3A<e>/@me");
    client.deleteEmojiReaction(c, m, me, FlakeId(), QString::fromUtf8("#️⃣"));
    EXPECT_EQ(sent(), "DELETE " + reactions + "%23%EF%B8%8F%E2%83%A3/@me");
    client.pinMessage(me, c, m);
    EXPECT_EQ(sent(), "PUT /channels/<c>/pins/<m>");
    client.fetchPinnedMessages(me, c);
    EXPECT_EQ(sent(), "GET /channels/<c>/pins");
    client.unpinMessage(me, c, m);
    EXPECT_EQ(sent(), "DELETE /channels/<c>/pins/<m>");
    client.deleteChannelMessage(c, m, me);
    EXPECT_EQ(sent(), "DELETE /channels/<c>/messages/<m>");
}

void RestTable::privateChannelsAndFriends()
{
    client.createDirectMessage(me, u);
    EXPECT_EQ(sent(), R"(POST /users/<me>/channels {"recipient_id":"<u>"})");
    client.addUserToPrivateChannel(me, c, u);
    EXPECT_EQ(sent(), "PUT /channels/<c>/recipients/<u>");
    client.setUserRelationship(me, u, 2);
    EXPECT_EQ(sent(), R"(PUT /users/@me/relationships/<u> {"type":2})");
    client.removeUserRelationship(me, u);
    EXPECT_EQ(sent(), "DELETE /users/@me/relationships/<u>");
}

void RestTable::guildChannels()
{
    DisGuildChannelParams all;
    all.name = odd;
    all.topic = QString();
    all.nsfw = false;
    all.bitrate = 64'000;
    all.userLimit = 0;
    client.createGuildChannel(me, g, DisChannelType::GuildVoice, c, all);
    EXPECT_EQ(sent(),
              R"(POST /guilds/<g>/channels {"bitrate":64000,"name":)" + oddJson
                  + R"(,"nsfw":false,"parent_id":"<c>","topic":"","type":2,"user_limit":0})");
    client.createGuildChannel(me, g, DisChannelType::GuildCategory, FlakeId(), {});
    EXPECT_EQ(sent(), R"(POST /guilds/<g>/channels {"type":4})");
    client.createGuildChannel(me, g, DisChannelType::GuildText, FlakeId(), {});
    EXPECT_EQ(sent(), R"(POST /guilds/<g>/channels {"type":0})");
    DisGuildChannelParams topic;
    topic.topic = odd;
    client.modifyGuildChannel(me, c, topic);
    EXPECT_EQ(sent(), R"(PATCH /channels/<c> {"topic":)" + oddJson + "}");
    client.modifyGuildChannelPositions(
        me, g, { { c, 3, FlakeId(15) }, { FlakeId(13), 0, FlakeId() }, { FlakeId(14), 1, {} } });
    EXPECT_EQ(sent(),
              R"(PATCH /guilds/<g>/channels [{"id":"<c>","parent_id":"15","position":3},)"
              R"({"id":"13","parent_id":null,"position":0},{"id":"14","position":1}])");
}

void RestTable::overwrites()
{
    client.setGuildChannelPermissionOverwrites(
        me, c, { { r, false, 0x400, 0x80000000U }, { u, true, 0, 2'048 } });
    EXPECT_EQ(sent(),
              R"(PATCH /channels/<c> {"permission_overwrites":[)"
              R"({"allow":1024,"deny":2147483648,"id":"<r>","type":"role"},)"
              R"({"allow":0,"deny":2048,"id":"<u>","type":"member"}]})");
    client.modifyGuildChannelPermissionOverwrite(me, c, { u, true, 1, 2 });
    EXPECT_EQ(sent(), R"(PUT /channels/<c>/permissions/<u> {"allow":1,"deny":2,"type":"member"})");
}

void RestTable::roles()
{
    DisGuildRoleParams all;
    all.name = odd;
    all.color = 0xFFFFFF;
    all.permissions = 0xFFFFFFFFU;
    all.hoist = true;
    all.mentionable = false;
    client.createGuildRole(me, g, all);
    EXPECT_EQ(sent(),
              R"(POST /guilds/<g>/roles {"color":16777215,"hoist":true,"mentionable":false,"name":)"
                  + oddJson + R"(,"permissions":4294967295})");
    client.createGuildRole(me, g, {});
    EXPECT_EQ(sent(), "POST /guilds/<g>/roles {}");
    DisGuildRoleParams color;
    color.color = 0;
    client.modifyGuildRole(me, g, r, color);
    EXPECT_EQ(sent(), R"(PATCH /guilds/<g>/roles/<r> {"color":0})");
    client.modifyGuildRolePositions(me, g, { { r, 2, {} }, { FlakeId(16), 1, {} } });
    EXPECT_EQ(sent(),
              R"(PATCH /guilds/<g>/roles [{"id":"<r>","position":2},{"id":"16","position":1}])");
    client.addRoleToGuildMember(me, g, u, r);
    EXPECT_EQ(sent(), "PUT /guilds/<g>/members/<u>/roles/<r>");
    client.removeRoleFromGuildmember(me, g, u, r);
    EXPECT_EQ(sent(), "DELETE /guilds/<g>/members/<u>/roles/<r>");
    client.deleteGuildRole(me, g, r);
    EXPECT_EQ(sent(), "DELETE /guilds/<g>/roles/<r>");
}

void RestTable::members()
{
    client.modifyGuildNickOfUser(me, g, u, odd);
    EXPECT_EQ(sent(), R"(PATCH /guilds/<g>/members/<u> {"nick":)" + oddJson + "}");
    client.modifyGuildNickOfUser(me, g, me, QString());
    EXPECT_EQ(sent(), R"(PATCH /guilds/<g>/members/@me/nick {"nick":""})");
    client.addGuildBan(me, g, u, 7, QString());
    EXPECT_EQ(sent(), "PUT /guilds/<g>/bans/<u>?delete-message-days=7");
    client.addGuildBan(me, g, u, 0, QString::fromUtf8("was \"rüde\" & a=+b%20#\n👍"));
    EXPECT_EQ(sent(),
              "PUT /guilds/<g>/bans/<u>?delete-message-days=0"
              "&reason=was%20%22r%C3%BCde%22%20%26%20a%3D%2Bb%2520%23%0A%F0%9F%91%8D");
    client.fetchGuildBans(me, g);
    EXPECT_EQ(sent(), "GET /guilds/<g>/bans");
    client.removeGuildBan(me, g, u);
    EXPECT_EQ(sent(), "DELETE /guilds/<g>/bans/<u>");
    client.removeMemberFromGuild(me, g, u);
    EXPECT_EQ(sent(), "DELETE /guilds/<g>/members/<u>");
}

void RestTable::emoji()
{
    client.createGuildEmoji(me, g, odd, "\x89PNG\r\n\xff", { r, u });
    EXPECT_EQ(sent(),
              R"(POST /guilds/<g>/emojis {"image":"data:image/png;base64,iVBORw0K/w==","name":)"
                  + oddJson + R"(,"roles":["<r>","<u>"]})");
    client.modifyGuildEmoji(me, g, e, QStringLiteral("w2"), {});
    EXPECT_EQ(sent(), R"(PATCH /guilds/<g>/emojis/<e> {"name":"w2","roles":[]})");
    client.fetchGuildEmoji(me, g, &owner);
    EXPECT_EQ(sent(), "GET /guilds/<g>/emojis");
    client.removeGuildEmoji(me, g, e);
    EXPECT_EQ(sent(), "DELETE /guilds/<g>/emojis/<e>");
}

void RestTable::invites()
{
    QString const code = QStringLiteral("x/é");
    client.requestInviteInfo(me, code, &owner);
    EXPECT_EQ(sent(), "GET /invite/x%2F%C3%A9");
    client.acceptInvite(me, code, &owner);
    EXPECT_EQ(sent(), "POST /invite/x%2F%C3%A9");
    client.createGuildChannelInvite(me, c, QString(), QStringLiteral("86400"), &owner);
    EXPECT_EQ(sent(), R"(POST /channels/<c>/invites {"max_age":"86400","validate":null})");
    client.createGuildChannelInvite(me, c, QStringLiteral("abc"), QStringLiteral("0"), &owner);
    EXPECT_EQ(sent(), R"(POST /channels/<c>/invites {"max_age":"0","validate":"abc"})");
    client.fetchGuildInvites(me, g, &owner);
    EXPECT_EQ(sent(), "GET /guilds/<g>/invites");
    client.removeGuildInvite(me, code);
    EXPECT_EQ(sent(), "DELETE /invite/x%2F%C3%A9");
}

void RestTable::settings()
{
    client.setUserGuildPositions(me, { g });
    EXPECT_EQ(sent(), R"(PATCH /users/@me/settings {"guild_positions":["<g>"]})");
    DisGuildNotificationSettings all;
    all.muted = true;
    all.messageNotifications = 2;
    all.suppressEveryone = false;
    all.mobilePush = false;
    all.channelOverrides = { { FlakeId(12), true, {} }, { FlakeId(13), {}, 1 } };
    client.setGuildNotificationSettings(me, g, all);
    EXPECT_EQ(sent(),
              R"(PATCH /users/@me/guilds/<g>/settings {"channel_overrides":{"12":{"muted":true},)"
              R"("13":{"message_notifications":1}},"message_notifications":2,"mobile_push":false,)"
              R"("muted":true,"suppress_everyone":false})");
    DisGuildNotificationSettings muted;
    muted.muted = false;
    client.setGuildNotificationSettings(me, g, muted);
    EXPECT_EQ(sent(), R"(PATCH /users/@me/guilds/<g>/settings {"muted":false})");
}

void RestTable::fetches()
{
    client.fetchMentions(me, {}, &owner);
    EXPECT_EQ(sent(), "GET /users/@me/mentions?limit=25&roles=true&everyone=true");
    client.fetchMentions(me, { 3, g, false, false, c }, &owner);
    EXPECT_EQ(sent(),
              "GET /users/@me/mentions?limit=3&guild_id=<g>&roles=false&everyone=false&before=<c>");
    client.fetchAuditLog(me, g, {}, &owner);
    EXPECT_EQ(sent(), "GET /guilds/<g>/audit-logs");
    client.fetchAuditLog(me, g, { c, 0, u, 100 }, &owner);
    EXPECT_EQ(sent(), "GET /guilds/<g>/audit-logs?before=<c>&action_type=0&user_id=<u>&limit=100");
}

} // namespace

TEST_F(RestTable, EveryRowIsSentAsToldAndAnswered)
{
    messages();
    reactionsAndPins();
    privateChannelsAndFriends();
    guildChannels();
    overwrites();
    roles();
    members();
    emoji();
    invites();
    settings();
    fetches();
    client.deleteChannels(me, { c, FlakeId() });
    EXPECT_EQ(sent(), "DELETE /channels/<c>");
    EXPECT_EQ(rowsLeft(), "") << "rows that nothing here calls";
    EXPECT_EQ(service.requests().size(), seen);
}

TEST_F(RestTable, WhatHasNoSenderOrNoPathIsNotSent)
{
    using namespace DisRest;
    EXPECT_EQ(request(DisRestOp::Pin, { FlakeId(0), FlakeId(2) }).path, "/channels/0/pins/2");
    EXPECT_EQ(request(DisRestOp::Pin, { FlakeId(), FlakeId(2) }).path, "");
    for (char const* const code : { "", ".", ".." })
        EXPECT_EQ(request(DisRestOp::FetchInvite, { QString::fromLatin1(code) }).path, "") << code;
    EXPECT_EQ(request(DisRestOp::FetchInvite, { QStringLiteral("...") }).path, "/invite/...");
    EXPECT_EQ(withQuery(request(DisRestOp::Pin, { FlakeId(), FlakeId(2) }),
                        { { "a", QStringLiteral("b") } })
                  .path,
              "");
    EXPECT_EQ(withQuery(request(DisRestOp::FetchMentions, {}),
                        { { "a", QString() },
                          { "b", QString::fromUtf8("1&c=2#?%+ü ") },
                          { "d", QStringLiteral("") } })
                  .path,
              "/users/@me/mentions?b=1%26c%3D2%23%3F%25%2B%C3%BC%20&d=");

    for (FlakeId const nobody : { FlakeId(), FlakeId(1) }) {
        EXPECT_FALSE(client.sendMessageAsUser(nobody, c, odd).isValid());
        EXPECT_FALSE(client.trySendMessageReadAck(nobody, c, r));
        client.pinMessage(nobody, c, r);
        client.sendTyping(nobody, c);
        client.fetchPinnedMessages(nobody, c);
        client.sendGuildReadAck(nobody, g);
    }
    client.deleteChannel(me, FlakeId());
    EXPECT_TRUE(client.pendingMessages_hack().isEmpty());
    client.deleteChannel(me, c);
    EXPECT_EQ(sent(), "DELETE /channels/<c>") << "the first that leaves";
}
