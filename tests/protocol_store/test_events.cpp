// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Each event by itself: the rows that it takes away and brings, what it tells, that ids may come as
// texts or as numbers, and that it does nothing at all when one of its required fields is absent,
// null or of another type.

#include "store_fixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <set>

namespace {

struct EventCase {
    char const* what;
    char const* before; // SQL
    char const* name;
    char const* data; // JSON
    char const* rows; // as lineDifference
    char const* told; // as outcomeText
    char const* required = ""; // paths of required fields, between spaces
};

constexpr char guildWithChannels[] =
    "insert into guild values (10, 'G', null, 2, null);"
    "insert into any_channel values (20, 1), (21, 2), (22, 3);"
    "insert into guild_channel values (20, 10, -1, 0, 0, 0, 'text', 't', 0, 500);"
    "insert into guild_voice_channel values (21, 10, -1, 1, 0, 64000, 0, 'voice');"
    "insert into guild_channel_category values (22, 10, -1, 2, 0, 'cat');"
    "insert into guild_channel_permission values (20, 30, 1, 2, 0);";
constexpr char guildWithRoles[] =
    "insert into role values (10, 10, '@everyone', 0, 0, 0, 0, 0, 0), "
    "(30, 10, 'mods', 255, 1, 1, 8, 0, 1), (31, 11, 'elsewhere', 0, 0, 1, 0, 0, 0);"
    "insert into guild_member (guild_id, user_id, nick) values (10, 3, 'old'), (11, 3, null);"
    "insert into guild_member_role values (3, 30), (3, 31);"
    "insert into user (id, name, discrim, avatar, bot) values (3, 'ann', '0003', 'a', 0);";
constexpr char oneMessage[] =
    "insert into guild_channel values (20, 10, -1, 0, 0, 0, 'text', null, 0, 500);"
    "insert into user (id, name, discrim, avatar, bot) values (3, 'ann', '0003', 'a', 0);"
    "insert into message values (600, 20, 3, 0, 0, 0, 'first');"
    "insert into message_rich_embed values (600, '{}');"
    "insert into message_file_attachment values (600, 'f', 'u', 'p', 1);"
    "insert into message_emoji_reaction values (600, 3, -1, '\xF0\x9F\x98\x80');"
    "insert into message_emoji_reaction_count values (600, 1, -1, '\xF0\x9F\x98\x80');";

EventCase const cases[] = {
    { "a guild with one of everything", "", "GUILD_CREATE",
      R"({"id": "10", "name": "G", "icon": "i", "owner_id": 2, "afk_channel_id": "21",
          "members": [{"user": {"id": "3", "username": "ann", "discriminator": "0003",
                                "avatar": null, "bot": true}, "nick": "An", "roles": ["30", 10]},
                      {"nick": "nobody"}, 7],
          "presences": [{"user": {"id": "3"}, "status": "dnd", "game": {"name": "g", "url": "u"}},
                        {"user": {"id": "99"}, "status": "online"}, {"status": "idle"}],
          "voice_states": [{"session_id": "s", "user_id": "3", "channel_id": "21", "deaf": true,
                            "mute": false, "self_deaf": false, "self_mute": true}],
          "roles": [{"id": "30", "name": "mods", "color": 255, "hoist": true, "position": 1,
                     "permissions": 8, "managed": true, "mentionable": true}, {"name": "no id"}],
          "channels": [
            {"id": "20", "type": 0, "name": "text", "position": 1, "parent_id": "22", "nsfw": true,
             "topic": "t", "rate_limit_per_user": 5, "last_message_id": "500",
             "permission_overwrites": [
               {"id": "30", "type": "role", "allow": 1, "deny": 2},
               {"id": "3", "type": "member", "allow": 4}, {"id": "4", "type": "unknown"},
               {"type": "role"}, null]},
            {"id": "21", "type": 2, "name": "voice", "position": 2, "bitrate": 64000,
             "user_limit": 9},
            {"id": "22", "type": 4, "name": "cat", "position": 0},
            {"id": "23", "type": 5, "name": "news"},
            {"id": "24", "name": "no type"}, {"type": 0}],
          "emojis": [{"id": "40", "name": "e", "managed": true, "require_colons": true,
                      "animated": true, "roles": ["30"]},
                     {"id": "41", "name": "f", "roles": []}]})",
      "+any_channel: 20|1\n"
      "+any_channel: 21|2\n"
      "+any_channel: 22|3\n"
      "+any_channel: 23|1\n"
      "+emoji: 40|'e'|1|1|1\n"
      "+emoji: 41|'f'|0|0|0\n"
      "+emoji_guild: 41|10\n"
      "+emoji_role: 40|30\n"
      "+guild: 10|'G'|'i'|2|21\n"
      "+guild_channel: 20|10|22|1|1|0|'text'|'t'|5|500\n"
      "+guild_channel: 23|10|-1|0|0|0|'news'|null|0|null\n"
      "+guild_channel_category: 22|10|-1|0|0|'cat'\n"
      "+guild_channel_permission: 20|30|1|2|0\n"
      "+guild_channel_permission: 20|3|4|0|1\n"
      "+guild_member: 10|1|null|null|null|null\n"
      "+guild_member: 10|3|'An'|null|null|null\n"
      "+guild_member_role: 3|10\n"
      "+guild_member_role: 3|30\n"
      "+guild_voice_channel: 21|10|-1|2|0|64000|9|'voice'\n"
      "+role: 30|10|'mods'|255|1|1|8|1|1\n"
      "+user: 3|'ann'|'0003'|''|1|0|null|3|'g'|'u'\n"
      "+voice_state: 's'|3|21|10|1|0|0|1\n",
      "GuildChanged 10; GuildMemberAdded 10 1", "id" },
    { "an unavailable guild without a name", "", "GUILD_CREATE",
      R"({"id": "10", "unavailable": true})",
      "+guild: 10|'[Unavailable]'|null|0|null\n"
      "+guild_member: 10|1|null|null|null|null\n",
      "GuildChanged 10; GuildMemberAdded 10 1" },
    { "an unavailable guild with a name", guildWithChannels, "GUILD_UPDATE",
      R"({"id": "10", "name": "G", "unavailable": true, "owner_id": "2"})",
      "-guild: 10|'G'|null|2|null\n"
      "+guild: 10|'G [Unavailable]'|null|2|null\n",
      "GuildChanged 10", "id" },
    { "a deleted guild stays", guildWithChannels, "GUILD_DELETE", R"({"id": "10"})", "", "" },
    { "what is told again replaces what was told", guildWithChannels, "GUILD_UPDATE",
      R"({"id": "10", "name": "H", "owner_id": "2",
          "channels": [{"id": "20", "type": 0, "name": "renamed", "permission_overwrites": [
                        {"id": "31", "type": "role", "allow": 7, "deny": 8}]}]})",
      "-guild: 10|'G'|null|2|null\n"
      "-guild_channel: 20|10|-1|0|0|0|'text'|'t'|0|500\n"
      "-guild_channel_permission: 20|30|1|2|0\n"
      "+guild: 10|'H'|null|2|null\n"
      "+guild_channel: 20|10|-1|0|0|0|'renamed'|null|0|null\n"
      "+guild_channel_permission: 20|31|7|8|0\n",
      "GuildChanged 10" },
    { "a new member", guildWithRoles, "GUILD_MEMBER_ADD",
      R"({"guild_id": "10", "user": {"id": "4", "username": "bob"}, "roles": ["30"]})",
      "+guild_member: 10|4|null|null|null|null\n"
      "+guild_member_role: 4|30\n"
      "+user: 4|'bob'|''|''|0|0|null|1|null|null\n",
      "GuildMemberAdded 10 4", "guild_id user user.id" },
    { "a member without roles loses those of this guild only", guildWithRoles,
      "GUILD_MEMBER_UPDATE",
      R"({"guild_id": "10", "user": {"id": "3", "username": "ann", "discriminator": "0003",
          "avatar": "b"}, "nick": "new", "roles": []})",
      "-guild_member: 10|3|'old'|null|null|null\n"
      "-guild_member_role: 3|30\n"
      "-user: 3|'ann'|'0003'|'a'|0|0|null|1|null|null\n"
      "+guild_member: 10|3|'new'|null|null|null\n"
      "+user: 3|'ann'|'0003'|'b'|0|0|null|1|null|null\n",
      "GuildMemberChanged 10 3", "guild_id user user.id" },
    { "a member who left", guildWithRoles, "GUILD_MEMBER_REMOVE",
      R"({"guild_id": "10", "user": {"id": "3"}})",
      "-guild_member: 10|3|'old'|null|null|null\n"
      "-guild_member_role: 3|30\n",
      "GuildMemberRemoved 10 3", "guild_id user user.id" },
    { "a ban", "", "GUILD_BAN_ADD", R"({"guild_id": "10", "user": {"id": "3", "username": "ann"}})",
      "+guild_ban: 10|3|null\n"
      "+user: 3|'ann'|''|''|0|0|null|1|null|null\n",
      "GuildBanAdded 10 3", "guild_id user user.id" },
    { "a ban taken back",
      "insert into guild_ban values (10, 3, null), (11, 3, null);"
      "insert into user (id, name, discrim, avatar, bot) values (3, 'ann', '', '', 0);",
      "GUILD_BAN_REMOVE", R"({"guild_id": "10", "user": {"id": "3", "username": "ann"}})",
      "-guild_ban: 10|3|null\n", "GuildBanRemoved 10 3", "guild_id user user.id" },
    { "a new role", "", "GUILD_ROLE_CREATE",
      R"({"guild_id": "10", "role": {"id": "30", "name": "mods", "permissions": 2147483647}})",
      "+role: 30|10|'mods'|0|0|0|2147483647|0|0\n", "GuildRoleCreated 10 30",
      "guild_id role role.id" },
    { "a changed role", guildWithRoles, "GUILD_ROLE_UPDATE",
      R"({"guild_id": "10", "role": {"id": "30", "name": "mods", "color": 1, "position": 2,
          "permissions": 2147483648}})",
      "-role: 30|10|'mods'|255|1|1|8|0|1\n"
      "+role: 30|10|'mods'|1|0|2|0|0|0\n",
      "GuildRoleChanged 10 30", "guild_id role role.id" },
    { "a deleted role", guildWithRoles, "GUILD_ROLE_DELETE",
      R"({"guild_id": "10", "role_id": "30"})", "-role: 30|10|'mods'|255|1|1|8|0|1\n",
      "GuildRoleDeleted 10 30", "guild_id role_id" },
    { "the emojis of one guild",
      "insert into role values (30, 10, 'mods', 0, 0, 0, 0, 0, 0), "
      "(31, 11, 'other', 0, 0, 0, 0, 0, 0);"
      "insert into emoji values (40, 'a', 0, 0, 0), (41, 'b', 0, 0, 0), (42, 'c', 0, 0, 0);"
      "insert into emoji_guild values (40, 10), (42, 11); insert into emoji_role values (41, 30);",
      "GUILD_EMOJIS_UPDATE",
      R"({"guild_id": "10", "emojis": [{"id": "43", "name": "d", "roles": ["30", "31"]}, {}]})",
      "-emoji: 40|'a'|0|0|0\n"
      "-emoji: 41|'b'|0|0|0\n"
      "-emoji_guild: 40|10\n"
      "-emoji_role: 41|30\n"
      "+emoji: 43|'d'|0|0|0\n"
      "+emoji_role: 43|30\n"
      "+emoji_role: 43|31\n",
      "GuildEmojisChanged 10", "guild_id emojis" },
    { "members and presences of a guild that is synchronized", guildWithRoles, "GUILD_SYNC",
      R"({"id": "10", "members": [{"user": {"id": "4", "username": "bob"}, "nick": "b"}],
          "presences": [{"user": {"id": "3"}, "status": "idle", "game": {"name": "g"}},
                        {"user": {"id": "4"}, "status": "online", "game": null}]})",
      "-user: 3|'ann'|'0003'|'a'|0|0|null|1|null|null\n"
      "+guild_member: 10|4|'b'|null|null|null\n"
      "+user: 3|'ann'|'0003'|'a'|0|0|null|2|'g'|null\n"
      "+user: 4|'bob'|''|''|0|0|null|4|null|null\n",
      "reload", "id" },

    { "a new text channel", "", "CHANNEL_CREATE",
      R"({"id": "20", "type": 0, "guild_id": "10", "name": "text"})",
      "+any_channel: 20|1\n"
      "+guild_channel: 20|10|-1|0|0|0|'text'|null|0|null\n",
      "ChannelChanged 20", "id type" },
    { "a voice channel without a name", "", "CHANNEL_UPDATE",
      R"({"id": "21", "type": 2, "guild_id": "10"})",
      "+any_channel: 21|2\n"
      "+guild_voice_channel: 21|10|-1|0|0|0|0|''\n",
      "ChannelChanged 21", "id type" },
    { "a pair channel that was closed comes back",
      "insert into user_private_deleted_channel values (1, 50), (1, 51), (2, 50);",
      "CHANNEL_CREATE",
      R"({"id": "50", "type": 1, "last_message_id": "70",
          "recipients": [{"id": "3", "username": "ann"}]})",
      "-user_private_deleted_channel: 1|50\n"
      "+any_channel: 50|4\n"
      "+private_channel: 50|70|null|null|null\n"
      "+private_channel_participant: 50|1\n"
      "+private_channel_participant: 50|3\n"
      "+user: 3|'ann'|''|''|0|0|null|1|null|null\n",
      "ChannelChanged 50; new channel 50", "id type" },
    { "a group channel, with an older last message than is known",
      "insert into any_channel values (50, 5);"
      "insert into private_channel values (50, 80, 3, 'old', 'i');",
      "CHANNEL_UPDATE",
      R"({"id": "50", "type": 3, "name": "new", "owner_id": "4", "last_message_id": "70"})",
      "-private_channel: 50|80|3|'old'|'i'\n"
      "+private_channel: 50|80|4|'new'|''\n"
      "+private_channel_participant: 50|1\n",
      "ChannelChanged 50", "id type" },
    { "a pair channel is only hidden",
      "insert into any_channel values (50, 4); insert into private_channel (id) values (50);",
      "CHANNEL_DELETE", R"({"id": "50", "type": 1})", "+user_private_deleted_channel: 1|50\n",
      "ChannelChanged 50", "id type" },
    { "a group channel is left",
      "insert into private_channel_participant values (50, 1), (50, 3), (51, 1);", "CHANNEL_DELETE",
      R"({"id": "50", "type": 3})", "-private_channel_participant: 50|1\n",
      "PrivateRecipientRemoved 50 1", "id type" },
    { "a text channel is deleted", guildWithChannels, "CHANNEL_DELETE",
      R"({"id": "20", "type": 0, "guild_id": "10"})",
      "-guild_channel: 20|10|-1|0|0|0|'text'|'t'|0|500\n", "ChannelChanged 20",
      "id type guild_id" },
    { "a voice channel is deleted", guildWithChannels, "CHANNEL_DELETE",
      R"({"id": "21", "type": 2, "guild_id": "10"})",
      "-guild_voice_channel: 21|10|-1|1|0|64000|0|'voice'\n", "ChannelChanged 21",
      "id type guild_id" },
    { "a category is deleted", guildWithChannels, "CHANNEL_DELETE",
      R"({"id": "22", "type": 4, "guild_id": "10"})",
      "-guild_channel_category: 22|10|-1|2|0|'cat'\n", "ChannelChanged 22", "id type guild_id" },
    { "a channel of another guild is not deleted", guildWithChannels, "CHANNEL_DELETE",
      R"({"id": "20", "type": 0, "guild_id": "11"})", "", "ChannelChanged 20" },
    { "someone joins a group", "", "CHANNEL_RECIPIENT_ADD",
      R"({"channel_id": "50", "user": {"id": "3", "username": "ann"}})",
      "+private_channel_participant: 50|3\n"
      "+user: 3|'ann'|''|''|0|0|null|1|null|null\n",
      "PrivateRecipientAdded 50 3", "channel_id user user.id" },
    { "someone leaves a group",
      "insert into private_channel_participant values (50, 1), (50, 3);"
      "insert into user (id, name, discrim, avatar, bot) values (3, 'ann', '', '', 0);",
      "CHANNEL_RECIPIENT_REMOVE", R"({"channel_id": "50", "user": {"id": "3", "username": "ann"}})",
      "-private_channel_participant: 50|3\n", "PrivateRecipientRemoved 50 3",
      "channel_id user user.id" },

    { "a message with everything", guildWithChannels, "MESSAGE_CREATE",
      R"({"id": "600", "channel_id": "20", "type": 0, "content": "hi <@4>", "nonce": "77",
          "author": {"id": "3", "username": "ann", "discriminator": "0003", "avatar": "a"},
          "edited_timestamp": null, "pinned": true,
          "mentions": [{"id": "4", "username": "bob"}, {"username": "nobody"}],
          "embeds": [{"type": "image", "url": "u",
                      "thumbnail": {"proxy_url": "p", "width": 3, "height": 4}},
                     {"type": "rich", "title": "t"}, 5],
          "attachments": [{"url": "u", "proxy_url": "p", "width": 5, "height": 6},
                          {"filename": "f", "url": "v", "proxy_url": "q", "size": 7, "width": 1}],
          "reactions": [{"emoji": {"id": null, "name": "x"}, "count": 2, "me": true},
                        {"emoji": {"id": "40", "name": "e"}, "user_id": "4"}]})",
      "-guild_channel: 20|10|-1|0|0|0|'text'|'t'|0|500\n"
      "+channel_pinned_message: 20|600\n"
      "+guild_channel: 20|10|-1|0|0|0|'text'|'t'|0|600\n"
      "+guild_member: 10|3|null|null|null|null\n"
      "+message: 600|20|3|0|0|0|'hi <@4>'\n"
      "+message_emoji_reaction: 600|1|-1|'x'\n"
      "+message_emoji_reaction: 600|4|40|'e'\n"
      "+message_emoji_reaction_count: 600|1|40|'e'\n"
      "+message_emoji_reaction_count: 600|2|-1|'x'\n"
      "+message_file_attachment: 600|'f'|'v'|'q'|7\n"
      "+message_image_attachment: 600|'u'|'p'|5|6\n"
      "+message_image_embed: 600|'u'|'p'|3|4\n"
      "+message_rich_embed: 600|'{\"type\":\"rich\",\"title\":\"t\"}'\n"
      "+user: 3|'ann'|'0003'|'a'|0|0|null|1|null|null\n"
      "+user: 4|'bob'|''|''|0|0|null|1|null|null\n",
      "MessageCreated 600 20 3; message 600 20 3 77; mentions 4", "id channel_id" },
    { "an older message without an author does not lower the mark", guildWithChannels,
      "MESSAGE_CREATE", R"({"id": "400", "channel_id": "20"})", "+message: 400|20|-1|0|0|0|''\n",
      "MessageCreated 400 20; message 400 20 none none" },
    { "a private message", "insert into private_channel (id) values (50);", "MESSAGE_CREATE",
      R"({"id": "600", "channel_id": "50", "content": "psst", "author": {"id": "3"}})",
      "-private_channel: 50|null|null|null|null\n"
      "+message: 600|50|3|0|0|0|'psst'\n"
      "+private_channel: 50|600|null|null|null\n"
      "+user: 3|''|''|''|0|0|null|1|null|null\n",
      "MessageCreated 600 50 3; message 600 50 3 none" },
    { "mentions do not change a known user",
      "insert into user (id, name, discrim, avatar, bot) values (4, 'bob', '4', 'b', 0);",
      "MESSAGE_CREATE",
      R"({"id": "600", "channel_id": "50", "mentions": [{"id": "4", "username": "robert"}]})",
      "+message: 600|50|-1|0|0|0|''\n",
      "MessageCreated 600 50; message 600 50 none none; mentions 4" },
    { "an edit replaces text, embeds and pin", oneMessage, "MESSAGE_UPDATE",
      R"({"id": "600", "channel_id": "20", "type": 0, "content": "second", "pinned": false,
          "author": {"id": "3", "username": "ann", "discriminator": "0003", "avatar": "a"},
          "edited_timestamp": "2019-01-01T00:00:00", "embeds": []})",
      "-guild_channel: 20|10|-1|0|0|0|'text'|null|0|500\n"
      "-message: 600|20|3|0|0|0|'first'\n"
      "-message_rich_embed: 600|'{}'\n"
      "+guild_channel: 20|10|-1|0|0|0|'text'|null|0|600\n"
      "+message: 600|20|3|0|1|0|'second'\n",
      "MessageChanged 600 20 3", "id channel_id" },
    { "a partial update keeps the text and asks the store for the author", oneMessage,
      "MESSAGE_UPDATE",
      R"({"id": "600", "channel_id": "20", "embeds": [{"type": "image", "url": "u"}]})",
      "-message_rich_embed: 600|'{}'\n"
      "+message_image_embed: 600|'u'|null|0|0\n",
      "MessageChanged 600 20 3", "id channel_id" },
    { "a partial update of attachments and reactions", oneMessage, "MESSAGE_UPDATE",
      R"({"id": "600", "channel_id": "20", "attachments": [], "reactions": []})",
      "-message_emoji_reaction: 600|3|-1|'\xF0\x9F\x98\x80'\n"
      "-message_emoji_reaction_count: 600|1|-1|'\xF0\x9F\x98\x80'\n"
      "-message_file_attachment: 600|'f'|'u'|'p'|1\n",
      "MessageChanged 600 20 3" },
    { "a partial update of a message that is not there", "", "MESSAGE_UPDATE",
      R"({"id": "600", "channel_id": "20"})", "", "MessageChanged 600 20" },
    { "a deleted message keeps its row", oneMessage, "MESSAGE_DELETE",
      R"({"id": "600", "channel_id": "20"})",
      "-message: 600|20|3|0|0|0|'first'\n"
      "+message: 600|20|3|0|0|1|'first'\n",
      "MessageDeleted 600 20", "id channel_id" },
    { "a message is not deleted through another channel", oneMessage, "MESSAGE_DELETE",
      R"({"id": "600", "channel_id": "21"})", "", "MessageDeleted 600 21" },
    { "reading keeps the count of mentions",
      "insert into user_channel_read_state values (1, 20, 500, 3), (2, 20, 500, 4);", "MESSAGE_ACK",
      R"({"channel_id": "20", "message_id": "600"})",
      "-user_channel_read_state: 1|20|500|3\n"
      "+user_channel_read_state: 1|20|600|3\n",
      "read 20 600", "channel_id message_id" },
    { "reading a channel for the first time", "", "MESSAGE_ACK",
      R"({"channel_id": "20", "message_id": "600"})", "+user_channel_read_state: 1|20|600|0\n",
      "read 20 600" },
    { "a further Unicode reaction", oneMessage, "MESSAGE_REACTION_ADD",
      "{\"message_id\": \"600\", \"channel_id\": \"20\", \"user_id\": \"4\", "
      "\"emoji\": {\"id\": null, \"name\": \"\xF0\x9F\x98\x80\"}}",
      "-message_emoji_reaction_count: 600|1|-1|'\xF0\x9F\x98\x80'\n"
      "+message_emoji_reaction: 600|4|-1|'\xF0\x9F\x98\x80'\n"
      "+message_emoji_reaction_count: 600|2|-1|'\xF0\x9F\x98\x80'\n",
      "MessageChanged 600 20 3", "message_id channel_id user_id emoji" },
    { "a first reaction with an emoji of a guild", oneMessage, "MESSAGE_REACTION_ADD",
      R"({"message_id": "600", "channel_id": "20", "user_id": "4",
          "emoji": {"id": "40", "name": "e"}})",
      "+message_emoji_reaction: 600|4|40|'e'\n"
      "+message_emoji_reaction_count: 600|1|40|'e'\n",
      "MessageChanged 600 20 3" },
    { "a Unicode reaction taken back is found by its invalid id", oneMessage,
      "MESSAGE_REACTION_REMOVE",
      "{\"message_id\": \"600\", \"channel_id\": \"20\", \"user_id\": \"3\", "
      "\"emoji\": {\"id\": null, \"name\": \"\xF0\x9F\x98\x80\"}}",
      "-message_emoji_reaction: 600|3|-1|'\xF0\x9F\x98\x80'\n"
      "-message_emoji_reaction_count: 600|1|-1|'\xF0\x9F\x98\x80'\n"
      "+message_emoji_reaction_count: 600|0|-1|'\xF0\x9F\x98\x80'\n",
      "MessageChanged 600 20 3", "message_id channel_id user_id emoji" },

    { "someone joins voice", "", "VOICE_STATE_UPDATE",
      R"({"session_id": "s", "user_id": "3", "channel_id": "21", "guild_id": "10", "mute": true})",
      "+voice_state: 's'|3|21|10|0|1|0|0\n", "UserVoiceStateChanged 3", "user_id" },
    { "someone leaves voice", "insert into voice_state values ('s', 3, 21, 10, 0, 0, 0, 0);",
      "VOICE_STATE_UPDATE", R"({"session_id": "s", "user_id": "3", "channel_id": null})",
      "-voice_state: 's'|3|21|10|0|0|0|0\n", "UserVoiceStateChanged 3", "user_id" },
    { "a call begins", "", "CALL_CREATE",
      R"({"channel_id": "50", "voice_states": [
          {"session_id": "s", "user_id": "3", "channel_id": "50"},
          {"session_id": "t", "user_id": "4", "channel_id": "50", "self_deaf": true}]})",
      "+voice_state: 's'|3|50|null|0|0|0|0\n"
      "+voice_state: 't'|4|50|null|0|0|1|0\n",
      "UserVoiceStateChanged 3; UserVoiceStateChanged 4", "channel_id" },
    { "a call ends",
      "insert into voice_state values ('s', 3, 50, null, 0, 0, 0, 0), "
      "('t', 4, 50, null, 0, 0, 0, 0), ('u', 5, 51, null, 0, 0, 0, 0);",
      "CALL_DELETE", R"({"channel_id": "50"})",
      "-voice_state: 's'|3|50|null|0|0|0|0\n"
      "-voice_state: 't'|4|50|null|0|0|0|0\n",
      "UserVoiceStateChanged 3; UserVoiceStateChanged 4", "channel_id" },

    { "the order of guilds",
      "insert into user_guild_position values (1, 10, 0), (1, 12, 1), (2, 10, 0);",
      "USER_SETTINGS_UPDATE", R"({"guild_positions": ["11", "10", "what", 13]})",
      "-user_guild_position: 1|10|0\n"
      "-user_guild_position: 1|12|1\n"
      "+user_guild_position: 1|10|1\n"
      "+user_guild_position: 1|11|0\n"
      "+user_guild_position: 1|13|3\n",
      "UserSettingsChanged 1" },
    { "other settings leave the order alone", "insert into user_guild_position values (1, 10, 0);",
      "USER_SETTINGS_UPDATE", R"({"status": "idle"})", "", "UserSettingsChanged 1" },
    { "settings of a guild",
      "insert into user_guild_setting_channel_override values (1, 10, 20, 1, 1), "
      "(1, 11, 20, 1, 1);",
      "USER_GUILD_SETTINGS_UPDATE",
      R"({"guild_id": "10", "message_notifications": 2, "mobile_push": true, "muted": true,
          "suppress_everyone": true, "channel_overrides": [
            {"channel_id": "21", "message_notifications": 3, "muted": false}, {"muted": true}]})",
      "-user_guild_setting_channel_override: 1|10|20|1|1\n"
      "+user_guild_setting: 1|10|2|1|1|1\n"
      "+user_guild_setting_channel_override: 1|10|21|3|0\n",
      "UserGuildSettingsChanged 1 10", "guild_id" },
    { "a friend request", "", "RELATIONSHIP_ADD",
      R"({"id": "3", "type": 3, "user": {"id": "3", "username": "ann"}})",
      "+user: 3|'ann'|''|''|0|0|null|1|null|null\n"
      "+user_relationship: 1|3|3\n",
      "RelationshipAdded 3 3", "id" },
    { "a friend no more", "insert into user_relationship values (1, 3, 1), (2, 3, 1);",
      "RELATIONSHIP_REMOVE", R"({"id": "3", "type": 1})", "-user_relationship: 1|3|1\n",
      "RelationshipRemoved 3 1", "id" },

    { "a presence waits for the batch", "", "PRESENCE_UPDATE",
      R"({"user": {"id": "3", "username": "ann"}, "status": "idle"})", "", "status",
      "user user.id" },
    { "someone types", "", "TYPING_START",
      R"({"channel_id": "20", "user_id": "3", "timestamp": 100})", "", "typing",
      "channel_id user_id timestamp" },
    { "the member list of a large guild", "", "GUILD_MEMBER_LIST_UPDATE",
      R"({"guild_id": "10", "id": "everyone",
          "ops": [{"op": "INSERT", "index": 0, "item": {"member": {"user": {"id": "3"}}}}]})",
      "+guild_member: 10|3|null|null|null|null\n"
      "+user: 3|''|''|''|0|0|null|1|null|null\n",
      "list 10", "guild_id" },

    { "a user's own update is not kept",
      "insert into user (id, name, discrim, avatar, bot) values (1, 'me', '', '', 0);",
      "USER_UPDATE", R"({"id": "1", "username": "you"})", "", "" },
    { "a call's update is not kept", "", "CALL_UPDATE", R"({"channel_id": "50"})", "", "" },
    { "an event of the future", "", "SOME_FUTURE_EVENT", R"({"id": "1"})", "", "" },
    { "an event without a name", "", "", R"({"id": "1"})", "", "" },
};

// The document with the field at a path of at most two keys replaced, or removed for undefined.
QByteArray withField(char const* json, QString const& path, QJsonValue const& value)
{
    auto const replaced = [](QJsonObject object, QString const& key, QJsonValue const& field) {
        if (field.isUndefined())
            object.remove(key);
        else
            object.insert(key, field);
        return object;
    };
    auto root = QJsonDocument::fromJson(json).object();
    auto const keys = path.split(QLatin1Char('.'));
    if (keys.size() == 1)
        root = replaced(root, keys[0], value);
    else
        root.insert(keys[0], replaced(root.value(keys[0]).toObject(), keys[1], value));
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

// What the event does, in a store of its own.
void expectOutcome(EventCase const& c, QByteArray const& data)
{
    SCOPED_TRACE(data.constData());
    Store store;
    store.state.ownUserId = FlakeId(1);
    store.exec(c.before);
    auto const before = store.dump();
    auto const outcome = store.dispatch(c.name, data);
    EXPECT_EQ(lineDifference(before, store.dump()), c.rows);
    EXPECT_EQ(outcomeText(outcome), c.told);
    EXPECT_EQ(sqlite3_get_autocommit(store.db), 1) << "a transaction was left open";
}

} // namespace

TEST(DisEvents, EachWritesItsRowsAndTellsWhatItDid)
{
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.name) + ": " + c.what);
        expectOutcome(c, c.data);
        static QRegularExpression const textsOfNumbers(QStringLiteral("\"([1-9][0-9]*)\""));
        expectOutcome(
            c, QString::fromUtf8(c.data).replace(textsOfNumbers, QStringLiteral("\\1")).toUtf8());
    }
}

TEST(DisEvents, WithoutARequiredFieldNothingHappens)
{
    QJsonValue const wrong[] = {
        QJsonValue(QJsonValue::Undefined),
        QJsonValue(QJsonValue::Null),
        QJsonValue(true),
        QJsonValue(1.5),
        QJsonValue(QString()),
        QJsonValue(QStringLiteral("12x")),
        QJsonValue(QStringLiteral("123456789012345678901")),
        QJsonValue(QStringLiteral("18446744073709551615")), // the invalid id
        QJsonValue(QJsonObject()),
    };
    // READY has a test of its own; the others that are left do without any field.
    std::set<std::string> untried;
    for (auto const* name : DisClientImpl::handledEventNames())
        untried.insert(name);
    for (auto const& c : cases) {
        Store store;
        store.state.ownUserId = FlakeId(1);
        store.exec(c.before);
        auto const before = store.dump();
        for (auto const& path : QString::fromLatin1(c.required).split(QLatin1Char(' '))) {
            if (path.isEmpty())
                continue;
            untried.erase(c.name);
            for (auto const& value : wrong) {
                auto const data = withField(c.data, path, value);
                EXPECT_EQ(outcomeText(store.dispatch(c.name, data)), "")
                    << c.name << ' ' << data.constData();
                ASSERT_EQ(lineDifference(before, store.dump()), "")
                    << c.name << ' ' << data.constData();
            }
        }
    }
    EXPECT_EQ(untried,
              (std::set<std::string>{ "GUILD_DELETE", "READY", "RESUMED", "USER_SETTINGS_UPDATE",
                                      "VOICE_SERVER_UPDATE" }));
}

TEST(DisEvents, WithoutAnOwnUserNothingIsWrittenForIt)
{
    for (auto const* name : { "MESSAGE_ACK", "USER_SETTINGS_UPDATE", "USER_GUILD_SETTINGS_UPDATE",
                              "RELATIONSHIP_ADD", "RELATIONSHIP_REMOVE", "CHANNEL_DELETE" }) {
        Store store;
        auto const outcome = store.dispatch(
            name, R"({"id": "3", "channel_id": "4", "message_id": "5", "guild_id": "6",
                      "guild_positions": ["7"], "type": 1})");
        EXPECT_EQ(outcomeText(outcome) + store.dump(), "") << name;
    }
}
