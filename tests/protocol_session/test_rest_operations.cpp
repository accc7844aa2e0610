// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Every operation that only sends, as the service receives it.

#include "dis_cache.h"
#include "dis_rest_params.h"
#include "dis_rest_request.h"
#include "signed_in.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    std::function<void(DisClient&, FlakeId)> call; // client, own user
    char const* line; // "{me}" stands for the own user
    char const* body = "";
};

std::string lineFor(Case const& one, FlakeId user)
{
    return QString::fromUtf8(one.line)
        .replace(QLatin1String("{me}"), user.toString())
        .toStdString();
}

void check(QVector<Case> const& cases)
{
    SignedIn on;
    ASSERT_NE(on.session, nullptr);
    for (Case const& one : cases) {
        one.call(*on.test.client, on.test.userId);
        EXPECT_EQ(on.nextRequest(), wholeRequest(lineFor(one, on.test.userId), one.body));
    }
    EXPECT_EQ(on.service.requests().size(), cases.size());
    for (Case const& one : cases)
        one.call(*on.test.client, FlakeId(999)); // no session of theirs
    on.test.client->pinMessage(on.test.userId, FlakeId(1), FlakeId(2));
    EXPECT_EQ(on.nextRequest(), wholeRequest("PUT /channels/1/pins/2"));
}

FlakeId const g(11), c(12), m(13), u(14), r(15), e(16);
QString const odd = QString::fromUtf8("a \"b\" \\ ü\n👍");
#define ODD "\"a \\\"b\\\" \\\\ ü\\n👍\""

} // namespace

TEST(RestOperations, Messages)
{
    check({
        { [](DisClient& on, FlakeId me) { on.pinMessage(me, c, m); }, "PUT /channels/12/pins/13" },
        { [](DisClient& on, FlakeId me) { on.unpinMessage(me, c, m); },
          "DELETE /channels/12/pins/13" },
        { [](DisClient& on, FlakeId me) { on.editMessageAsUser(c, m, me, odd); },
          "PATCH /channels/12/messages/13", "{\"content\":" ODD "}" },
        { [](DisClient& on, FlakeId me) {
             on.addEmojiReaction(c, m, me, FlakeId(), QString::fromUtf8("👩‍💻"));
         },
          "PUT /channels/12/messages/13/reactions/%F0%9F%91%A9%E2%80%8D%F0%9F%92%BB/@me" },
        { [](DisClient& on, FlakeId me) {
             on.deleteEmojiReaction(c, m, me, e, QStringLiteral("a/ü"));
         },
          "DELETE /channels/12/messages/13/reactions/a%2F%C3%BC%3A16/@me" },
        { [](DisClient& on, FlakeId me) { on.addEmojiReaction(c, m, me, e, odd); },
          "PUT /channels/12/messages/13/reactions/a%20%22b%22%20%5C%20%C3%BC%0A%F0%9F%91%8D%3A16"
          "/@me" },
        { [](DisClient& on, FlakeId me) {
             on.deleteEmojiReaction(c, m, me, FlakeId(), QString::fromUtf8("#️⃣"));
         },
          "DELETE /channels/12/messages/13/reactions/%23%EF%B8%8F%E2%83%A3/@me" },
    });
}

TEST(RestOperations, PrivateChannelsAndFriends)
{
    check({
        { [](DisClient& on, FlakeId me) { on.createDirectMessage(me, u); },
          "POST /users/{me}/channels", R"({"recipient_id":"14"})" },
        { [](DisClient& on, FlakeId me) { on.addUserToPrivateChannel(me, c, u); },
          "PUT /channels/12/recipients/14" },
        { [](DisClient& on, FlakeId me) { on.setUserRelationship(me, u, 2); },
          "PUT /users/@me/relationships/14", R"({"type":2})" },
        { [](DisClient& on, FlakeId me) { on.removeUserRelationship(me, u); },
          "DELETE /users/@me/relationships/14" },
    });
}

TEST(RestOperations, GuildChannels)
{
    DisGuildChannelParams all;
    all.name = odd;
    all.topic = QString();
    all.nsfw = false;
    all.bitrate = 64'000;
    all.userLimit = 0;
    DisGuildChannelParams topic;
    topic.topic = odd;
    check({
        { [all](DisClient& on, FlakeId me) {
             on.createGuildChannel(me, g, DisChannelType::GuildVoice, c, all);
         },
          "POST /guilds/11/channels",
          R"({"bitrate":64000,"name":)" ODD
          R"(,"nsfw":false,"parent_id":"12","topic":"","type":2,"user_limit":0})" },
        { [](DisClient& on, FlakeId me) {
             on.createGuildChannel(me, g, DisChannelType::GuildCategory, FlakeId(), {});
         },
          "POST /guilds/11/channels", R"({"type":4})" },
        { [](DisClient& on, FlakeId me) {
             on.createGuildChannel(me, g, DisChannelType::GuildText, FlakeId(), {});
         },
          "POST /guilds/11/channels", R"({"type":0})" },
        { [topic](DisClient& on, FlakeId me) { on.modifyGuildChannel(me, c, topic); },
          "PATCH /channels/12", "{\"topic\":" ODD "}" },
        { [](DisClient& on, FlakeId me) { on.deleteChannel(me, c); }, "DELETE /channels/12" },
        { [](DisClient& on, FlakeId me) {
             on.modifyGuildChannelPositions(
                 me, g, { { c, 3, r }, { m, 0, FlakeId() }, { u, 1, std::nullopt } });
         },
          "PATCH /guilds/11/channels",
          R"([{"id":"12","parent_id":"15","position":3},{"id":"13","parent_id":null,"position":0},)"
          R"({"id":"14","position":1}])" },
        { [](DisClient& on, FlakeId me) {
             on.setGuildChannelPermissionOverwrites(
                 me, c, { { r, false, 0x400, 0x80000000U }, { u, true, 0, 2'048 } });
         },
          "PATCH /channels/12",
          R"({"permission_overwrites":[{"allow":1024,"deny":2147483648,"id":"15","type":"role"},)"
          R"({"allow":0,"deny":2048,"id":"14","type":"member"}]})" },
        { [](DisClient& on, FlakeId me) {
             on.modifyGuildChannelPermissionOverwrite(me, c, { u, true, 1, 2 });
         },
          "PUT /channels/12/permissions/14", R"({"allow":1,"deny":2,"type":"member"})" },
    });
}

TEST(RestOperations, SeveralChannelsAreDeletedOneByOne)
{
    SignedIn on;
    LogLines log;
    on.test.client->deleteChannels(on.test.userId, { c, FlakeId(), m });
    EXPECT_EQ(on.nextRequest(), wholeRequest("DELETE /channels/12"));
    EXPECT_EQ(on.nextRequest(), wholeRequest("DELETE /channels/13"));
    EXPECT_TRUE(log.has("Deleting channel 12\n"));
    on.test.client->createDirectMessage(on.test.userId, u);
    EXPECT_TRUE(log.has("Creating DM channel for user 14\n"));
}

TEST(RestOperations, RolesAndMembers)
{
    DisGuildRoleParams all;
    all.name = odd;
    all.color = 0xFFFFFF;
    all.permissions = 0xFFFFFFFFU;
    all.hoist = true;
    all.mentionable = false;
    DisGuildRoleParams color;
    color.color = 0;
    check({
        { [all](DisClient& on, FlakeId me) { on.createGuildRole(me, g, all); },
          "POST /guilds/11/roles",
          R"({"color":16777215,"hoist":true,"mentionable":false,"name":)" ODD
          R"(,"permissions":4294967295})" },
        { [](DisClient& on, FlakeId me) { on.createGuildRole(me, g, {}); }, "POST /guilds/11/roles",
          "{}" },
        { [color](DisClient& on, FlakeId me) { on.modifyGuildRole(me, g, r, color); },
          "PATCH /guilds/11/roles/15", R"({"color":0})" },
        { [](DisClient& on, FlakeId me) { on.deleteGuildRole(me, g, r); },
          "DELETE /guilds/11/roles/15" },
        { [](DisClient& on, FlakeId me) {
             on.modifyGuildRolePositions(me, g, { { r, 2, {} }, { e, 1, {} } });
         },
          "PATCH /guilds/11/roles", R"([{"id":"15","position":2},{"id":"16","position":1}])" },
        { [](DisClient& on, FlakeId me) { on.addRoleToGuildMember(me, g, u, r); },
          "PUT /guilds/11/members/14/roles/15" },
        { [](DisClient& on, FlakeId me) { on.removeRoleFromGuildmember(me, g, u, r); },
          "DELETE /guilds/11/members/14/roles/15" },
        { [](DisClient& on, FlakeId me) { on.removeMemberFromGuild(me, g, u); },
          "DELETE /guilds/11/members/14" },
        { [](DisClient& on, FlakeId me) { on.modifyGuildNickOfUser(me, g, u, odd); },
          "PATCH /guilds/11/members/14", "{\"nick\":" ODD "}" },
        { [](DisClient& on, FlakeId me) { on.modifyGuildNickOfUser(me, g, me, QString()); },
          "PATCH /guilds/11/members/@me/nick", R"({"nick":""})" },
        { [](DisClient& on, FlakeId me) { on.addGuildBan(me, g, u, 7, QString()); },
          "PUT /guilds/11/bans/14?delete-message-days=7" },
        { [](DisClient& on, FlakeId me) {
             on.addGuildBan(me, g, u, 0, QString::fromUtf8("was \"rüde\" & a=+b%20#\n👍"));
         },
          "PUT /guilds/11/bans/14?delete-message-days=0"
          "&reason=was%20%22r%C3%BCde%22%20%26%20a%3D%2Bb%2520%23%0A%F0%9F%91%8D" },
        { [](DisClient& on, FlakeId me) { on.removeGuildBan(me, g, u); },
          "DELETE /guilds/11/bans/14" },
    });
}

TEST(RestOperations, GuildEmoji)
{
    check({
        { [](DisClient& on, FlakeId me) {
             on.createGuildEmoji(me, g, odd, "\x89PNG\r\n\xff", { r, u });
         },
          "POST /guilds/11/emojis",
          R"({"image":"data:image/png;base64,iVBORw0K/w==","name":)" ODD
          R"(,"roles":["15","14"]})" },
        { [](DisClient& on, FlakeId me) {
             on.modifyGuildEmoji(me, g, e, QStringLiteral("w2"), {});
         },
          "PATCH /guilds/11/emojis/16", R"({"name":"w2","roles":[]})" },
        { [](DisClient& on, FlakeId me) { on.removeGuildEmoji(me, g, e); },
          "DELETE /guilds/11/emojis/16" },
        { [](DisClient& on, FlakeId me) { on.removeGuildInvite(me, QStringLiteral("a/b?ü")); },
          "DELETE /invite/a%2Fb%3F%C3%BC" },
    });
}

TEST(RestOperations, Settings)
{
    DisGuildNotificationSettings settings;
    settings.muted = true;
    settings.messageNotifications = 2;
    settings.suppressEveryone = false;
    settings.mobilePush = false;
    settings.channelOverrides = { { c, true, {} }, { m, {}, 1 } };
    DisGuildNotificationSettings muted;
    muted.muted = false;
    check({
        { [](DisClient& on, FlakeId me) {
             on.setUserGuildPositions(me, { g, c });
         },
          "PATCH /users/@me/settings", R"({"guild_positions":["11","12"]})" },
        { [settings](DisClient& on, FlakeId me) {
             on.setGuildNotificationSettings(me, g, settings);
         },
          "PATCH /users/@me/guilds/11/settings",
          R"({"channel_overrides":{"12":{"muted":true},"13":{"message_notifications":1}},)"
          R"("message_notifications":2,"mobile_push":false,"muted":true,)"
          R"("suppress_everyone":false})" },
        { [muted](DisClient& on, FlakeId me) { on.setGuildNotificationSettings(me, g, muted); },
          "PATCH /users/@me/guilds/11/settings", R"({"muted":false})" },
    });
}

TEST(RestOperations, RequestsWithoutAPathAreNone)
{
    using namespace DisRest;
    EXPECT_EQ(request(DisRestOp::Pin, { FlakeId(0), FlakeId(2) }).path, "/channels/0/pins/2");
    EXPECT_EQ(request(DisRestOp::Pin, { FlakeId(), FlakeId(2) }).path, "");
    EXPECT_EQ(request(DisRestOp::Pin, { FlakeId(1), FlakeId() }).path, "");
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
    SignedIn on;
    on.test.client->deleteChannel(on.test.userId, FlakeId());
    on.test.client->pinMessage(on.test.userId, c, m);
    EXPECT_EQ(on.nextRequest(), wholeRequest("PUT /channels/12/pins/13"));
}

TEST(RestOperations, FailedBanIsLoggedWithoutItsReason)
{
    SignedIn on;
    LogLines log;
    on.service.answer("PUT", QStringLiteral("/guilds/11/bans/14"), 403, "secret reply");
    on.test.client->addGuildBan(on.test.userId, g, u, 0, QStringLiteral("private"));
    EXPECT_TRUE(log.waitFor("Error when attempting to ban user: ContentAccessDenied"));
    EXPECT_FALSE(log.has("private"));
    EXPECT_FALSE(log.has("secret"));
}

TEST(RestOperations, NameIsOverriddenInTheStore)
{
    SignedIn on;
    QVector<DisChange> changes;
    QObject::connect(on.test.client.get(), &DisClient::disChanges, [&](DisChanges const& all) {
        for (DisChange const& one : all.items)
            changes.append(one);
    });
    QByteArray const sql =
        "select name from user where id = " + on.test.userId.toString().toLatin1();
    ASSERT_FALSE(on.test.value(sql.constData()).isEmpty());
    ASSERT_FALSE(DisCache::userName(on.test.userId).isEmpty()) << "the cache holds the old one";
    changes.clear();
    on.test.client->hack_setUserNameOverride(on.test.userId, odd);
    EXPECT_EQ(on.test.value(sql.constData()), odd);
    EXPECT_EQ(DisCache::userName(on.test.userId), odd);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0].type, DisChange::ChangeType::UserPropertiesChanged);
    EXPECT_EQ(changes[0].words[0], on.test.userId);
}
