// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The statements by which events write the Discord store, compiled once per connection, and the
// small writes that several callers share. Owned by whoever owns the connection, used on that
// thread only, and destroyed before the connection is closed.

#include "dis_types.h"
#include "dread.h"
#include "flake_id.h"
#include "nak_stmt.h"

#include <array>
#include <memory>

struct sqlite3;

// Every statement: name and text. Parameters are bound in the order in which they stand.
// clang-format off
#define DIS_DB_STATEMENTS(X) \
    /* Immediate, since a deferred transaction that reads before it writes fails at once, without */ \
    /* waiting, when another connection has written in between. */ \
    X(Begin, "begin immediate transaction") \
    X(Commit, "commit transaction") \
    \
    X(GuildReplace, "replace into guild (id, name, icon, owner_id, afk_channel_id) values (?, ?, ?, ?, ?)") \
    X(GuildMemberAny, "select null from guild_member limit 1") \
    X(GuildMemberReplace, "replace into guild_member (guild_id, user_id, nick) values (?, ?, ?)") \
    X(GuildMemberEnsure, "insert or ignore into guild_member (guild_id, user_id) values (?, ?)") \
    X(GuildMemberEnsureFromChannel, "insert or ignore into guild_member (guild_id, user_id) " \
        "select guild_channel.guild_id, ? from guild_channel where guild_channel.id = ?") \
    X(GuildMemberDelete, "delete from guild_member where guild_id = ? and user_id = ?") \
    X(GuildMemberRoleReplace, "replace into guild_member_role (user_id, role_id) values (?, ?)") \
    X(GuildMemberRolesDelete, "delete from guild_member_role where guild_member_role.user_id = ? and " \
        "guild_member_role.role_id in (select role.id from role where guild_id = ?)") \
    X(GuildBanReplace, "replace into guild_ban (guild_id, user_id) values (?, ?)") \
    X(GuildBanReplaceWithReason, "replace into guild_ban (guild_id, user_id, reason) values (?, ?, ?)") \
    X(GuildBansDeleteOfGuild, "delete from guild_ban where guild_id = ?") \
    X(GuildBanDelete, "delete from guild_ban where guild_id = ? and user_id = ?") \
    X(RoleReplace, "replace into role (id, guild_id, name, color, hoist, position, permissions, managed, " \
        "mentionable) values (?, ?, ?, ?, ?, ?, ?, ?, ?)") \
    X(RoleDelete, "delete from role where id = ?") \
    \
    X(EmojiReplace, "replace into emoji (id, name, managed, require_colons, animated) values (?, ?, ?, ?, ?)") \
    X(EmojiRoleAny, "select null from emoji_role limit 1") \
    X(EmojiRoleReplace, "replace into emoji_role (emoji_id, role_id) values (?, ?)") \
    X(EmojiGuildReplace, "replace into emoji_guild (emoji_id, guild_id) values (?, ?)") \
    X(EmojiGuildAny, "select null from emoji_guild limit 1") \
    X(EmojiDeleteOfGuild, "delete from emoji where id in (select emoji_id from emoji_guild where guild_id = ?1 " \
        "union select emoji_id from emoji_role where role_id in (select id from role where guild_id = ?1))") \
    X(EmojiRoleDeleteOfGuild, "delete from emoji_role where role_id in (select id from role where guild_id = ?)") \
    X(EmojiGuildDeleteOfGuild, "delete from emoji_guild where guild_id = ?") \
    \
    X(AnyChannelReplace, "insert or replace into any_channel (id, type) values (?, ?)") \
    X(GuildChannelReplace, "replace into guild_channel (id, guild_id, parent_id, position, nsfw, name, topic, " \
        "rate_limit_per_user, last_message_id) values (?, ?, ?, ?, ?, ?, ?, ?, ?)") \
    X(GuildVoiceChannelReplace, "replace into guild_voice_channel (id, guild_id, parent_id, position, bitrate, " \
        "user_limit, name) values (?, ?, ?, ?, ?, ?, ?)") \
    X(GuildCategoryReplace, "replace into guild_channel_category (id, guild_id, parent_id, position, name) " \
        "values (?, ?, ?, ?, ?)") \
    X(GuildChannelDelete, "delete from guild_channel where guild_id = ? and id = ?") \
    X(GuildVoiceChannelDelete, "delete from guild_voice_channel where guild_id = ? and id = ?") \
    X(GuildCategoryDelete, "delete from guild_channel_category where guild_id = ? and id = ?") \
    X(ChannelPermissionAny, "select null from guild_channel_permission limit 1") \
    X(ChannelPermissionsDelete, "delete from guild_channel_permission where channel_id = ?") \
    X(ChannelPermissionReplace, "replace into guild_channel_permission (channel_id, target_id, allow, deny, " \
        "type) values (?, ?, ?, ?, ?)") \
    X(GuildChannelMaxLastMessage, "update guild_channel set last_message_id = ?1 where id = ?2 and " \
        "(last_message_id < ?1 or last_message_id is null)") \
    X(PrivateChannelMaxLastMessage, "update private_channel set last_message_id = ?1 where id = ?2 and " \
        "(last_message_id < ?1 or last_message_id is null)") \
    \
    X(PrivateChannelEnsure, "insert or ignore into private_channel (id) values (?)") \
    X(PrivateChannelSetGroup, "update private_channel set name = ?, owner_id = ?, icon = ? where id = ?") \
    X(ParticipantReplace, "replace into private_channel_participant (channel_id, user_id) values (?, ?)") \
    X(ParticipantEnsure, "insert or ignore into private_channel_participant (channel_id, user_id) values (?, ?)") \
    X(ParticipantDelete, "delete from private_channel_participant where channel_id = ? and user_id = ?") \
    X(ClosedChannelEnsure, "insert or ignore into user_private_deleted_channel (user_id, channel_id) values (?, ?)") \
    X(ClosedChannelDelete, "delete from user_private_deleted_channel where user_id = ? and channel_id = ?") \
    \
    X(UserUpdateIfChanged, "update user set id = ?1, name = ?2, discrim = ?3, avatar = ?4, bot = ?5 where id = ?1 " \
        "and (name != ?2 or discrim != ?3 or avatar != ?4)") \
    X(UserInsertOrIgnore, "insert or ignore into user (id, name, discrim, avatar, bot) values (?, ?, ?, ?, ?)") \
    X(UserInsertWhole, "insert or ignore into user (id, name, discrim, avatar, bot, status, game_name, " \
        "game_url) values (?, ?, ?, ?, ?, ?, ?, ?)") \
    X(UserEnsureExists, "insert or ignore into user (id, name, discrim, avatar, bot) values (?, '', '', '', 0)") \
    X(UserProperties, "select name, discrim, avatar, bot from user where id = ?") \
    X(UserStatus, "update user set status = ?, game_name = null, game_url = null where id = ?") \
    X(UserStatusWithGame, "update user set status = ?, game_name = ?, game_url = ? where id = ?") \
    X(UserStatusAndPremium, "update user set status = ?, premium = ? where id = ?") \
    \
    X(MessageReplace, "replace into message (id, channel_id, author_id, type, edited, content) " \
        "values (?, ?, ?, ?, ?, ?)") \
    X(MessageMarkDeleted, "update or ignore message set deleted = 1 where id = ? and channel_id = ?") \
    X(MessageAuthor, "select author_id from message where id = ?") \
    X(MessageAuthorInChannel, "select author_id from message where id = ? and channel_id = ?") \
    X(PinReplace, "replace into channel_pinned_message (channel_id, message_id) values (?, ?)") \
    X(PinsDeleteInChannel, "delete from channel_pinned_message where channel_id = ?") \
    X(PinDelete, "delete from channel_pinned_message where channel_id = ? and message_id = ?") \
    X(ImageEmbedInsert, "insert into message_image_embed (message_id, url, thumbnail, width, height) " \
        "values (?, ?, ?, ?, ?)") \
    X(ImageEmbedsDelete, "delete from message_image_embed where message_id = ?") \
    X(RichEmbedInsert, "insert into message_rich_embed (message_id, content) values (?, ?)") \
    X(RichEmbedsDelete, "delete from message_rich_embed where message_id = ?") \
    X(ImageAttachmentInsert, "insert into message_image_attachment (message_id, url, thumbnail, width, height) " \
        "values (?, ?, ?, ?, ?)") \
    X(ImageAttachmentsDelete, "delete from message_image_attachment where message_id = ?") \
    X(FileAttachmentInsert, "insert into message_file_attachment (message_id, filename, url, proxy_url, filesize) " \
        "values (?, ?, ?, ?, ?)") \
    X(FileAttachmentsDelete, "delete from message_file_attachment where message_id = ?") \
    \
    X(ReactionReplace, "replace into message_emoji_reaction (message_id, user_id, emoji_id, emoji_name) " \
        "values (?, ?, ?, ?)") \
    X(ReactionEnsure, "insert or ignore into message_emoji_reaction (message_id, user_id, emoji_id, emoji_name) " \
        "values (?, ?, ?, ?)") \
    X(ReactionDelete, "delete from message_emoji_reaction where message_id = ? and user_id = ? and emoji_id = ? " \
        "and emoji_name = ?") \
    X(ReactionsDeleteOfMessage, "delete from message_emoji_reaction where message_id = ?") \
    X(ReactionCountReplace, "replace into message_emoji_reaction_count (message_id, count, emoji_id, emoji_name) " \
        "values (?, ?, ?, ?)") \
    X(ReactionCountIncrement, "insert or replace into message_emoji_reaction_count (message_id, count, emoji_id, " \
        "emoji_name) values (?1, coalesce((select count from message_emoji_reaction_count where message_id = ?1 " \
        "and emoji_id = ?2 and emoji_name = ?3), 0) + 1, ?2, ?3)") \
    X(ReactionCountDecrement, "update message_emoji_reaction_count set count = count - 1 where message_id = ? " \
        "and emoji_id = ? and emoji_name = ? and count > 0") \
    X(ReactionCountsDeleteOfMessage, "delete from message_emoji_reaction_count where message_id = ?") \
    \
    X(VoiceStateReplace, "insert or replace into voice_state (session_id, user_id, channel_id, guild_id, deaf, " \
        "mute, self_deaf, self_mute) values (?, ?, ?, ?, ?, ?, ?, ?)") \
    X(VoiceStateDelete, "delete from voice_state where session_id = ?") \
    X(VoiceStateUsersInChannel, "select user_id from voice_state where channel_id = ?") \
    X(VoiceStatesDeleteInChannel, "delete from voice_state where channel_id = ?") \
    \
    X(LocalUserReplace, "replace into local_user (id) values (?)") \
    X(UserGuildPositionsDelete, "delete from user_guild_position where user_id = ?") \
    X(UserGuildPositionReplace, "replace into user_guild_position (user_id, guild_id, position) values (?, ?, ?)") \
    X(UserGuildSettingReplace, "replace into user_guild_setting (user_id, guild_id, message_notifications, " \
        "mobile_push, muted, suppress_everyone) values (?, ?, ?, ?, ?, ?)") \
    X(UserGuildOverridesDelete, "delete from user_guild_setting_channel_override where user_id = ? and guild_id = ?") \
    X(UserGuildOverrideReplace, "replace into user_guild_setting_channel_override (user_id, guild_id, channel_id, " \
        "message_notifications, muted) values (?, ?, ?, ?, ?)") \
    X(ReadStateReplace, "insert or replace into user_channel_read_state (user_id, channel_id, last_message_id, " \
        "mention_count) values (?, ?, ?, ?)") \
    X(ReadStateKeepMentions, "insert or replace into user_channel_read_state (user_id, channel_id, " \
        "last_message_id, mention_count) values (?1, ?2, ?3, coalesce((select mention_count from " \
        "user_channel_read_state where user_id = ?1 and channel_id = ?2), 0))") \
    /* Not written with "not in": that would read all read states of the user for each channel. */ \
    X(UnreadGuildChannels, "select guild_channel.id from guild_channel where guild_channel.last_message_id " \
        "is not null and not exists (select null from user_channel_read_state where user_id = ? and " \
        "channel_id = guild_channel.id and last_message_id = guild_channel.last_message_id)") \
    X(UnreadPrivateChannels, "select private_channel.id from private_channel where " \
        "private_channel.last_message_id is not null and not exists (select null from " \
        "user_channel_read_state where user_id = ? and channel_id = private_channel.id and " \
        "last_message_id = private_channel.last_message_id)") \
    X(RelationshipReplace, "replace into user_relationship (own_user_id, other_user_id, type) values (?, ?, ?)") \
    X(RelationshipDelete, "delete from user_relationship where own_user_id = ? and other_user_id = ?") \
    X(RelationshipsDeleteOfUser, "delete from user_relationship where own_user_id = ?")
// clang-format on

enum class DisStmt : quint8 {
#define DIS_DB_STATEMENT_NAME(name, sql) name,
    DIS_DB_STATEMENTS(DIS_DB_STATEMENT_NAME)
#undef DIS_DB_STATEMENT_NAME
        Count
};

struct DisDbPrepared {
    sqlite3* db = nullptr; // not owned
    std::array<std::unique_ptr<NakStmt>, static_cast<size_t>(DisStmt::Count)> statements;

    NakStmt& operator[](DisStmt which) { return *statements[static_cast<size_t>(which)]; }

    // --- writes of one subject; inside a transaction of the caller if there are several ---
    // Updates the user if name, discriminator or avatar differ (a change of bot alone is not
    // written, on purpose, nor is one to no name), and creates a new one.
    void createOrUpdateUser(FlakeId id, Dread::VString name, Dread::VString discrim,
                            Dread::VString avatar, bool bot);
    void createUserIfNotExists(FlakeId id, Dread::VString name, Dread::VString discrim,
                               Dread::VString avatar, bool bot);
    // From a user object; nothing happens without a valid "id".
    void createOrUpdateUser(Dread::Ctx const& ctx, Dread::VMap const& user);
    void createUserIfNotExists(Dread::Ctx const& ctx, Dread::VMap const& user);
    void ensureUserExists(FlakeId id);

    void setUserStatus(FlakeId id, DisUserStatusCode code); // forgets the game
    void setUserStatusWithGame(FlakeId id, DisUserStatusCode code, Dread::VString gameName,
                               Dread::VString gameUrl);

    // An older message never lowers the channel's mark.
    void maxSetChannelLastMessageId(FlakeId channel, FlakeId message);
    // The author of a message counts as a member of the channel's guild even if none was sent.
    void setUserAsGuildMemberInChannel(FlakeId user, FlakeId channel);
};

// Compiles all statements for db, which must outlive them. A statement that does not compile ends
// the program.
void initializeDbPrepStmts(DisDbPrepared& prepared, sqlite3* db);
// Finalizes them, before the connection is closed.
void finalizeDbPrepStmts(DisDbPrepared& prepared);

// Writes between construction and destruction are one transaction, committed on every way out: a
// handler that stops at a missing field has by then written nothing or what is whole.
class DisTransaction {
public:
    explicit DisTransaction(DisDbPrepared& prepared);
    ~DisTransaction();
    DisTransaction(DisTransaction const&) = delete;
    DisTransaction& operator=(DisTransaction const&) = delete;

private:
    DisDbPrepared& m_prepared;
};

namespace DisSql {

// For columns where the invalid id is stored as null.
struct OrNull {
    FlakeId id;
};

// For columns that are not null or are compared: an absent text is stored as the empty one.
inline Dread::VString text(Dread::VString string)
{
    return string.data ? string : Dread::VString{ "", 0 };
}

inline void bindOne(NakStmt& stmt, int index, OrNull value)
{
    if (value.id.isValid())
        stmt.bind(index, value.id);
    else
        stmt.bindNull(index);
}
template <typename T> void bindOne(NakStmt& stmt, int index, T const& value)
{
    stmt.bind(index, value);
}

// Binds the values to the statement's parameters in order.
template <typename... Values> void bindAll(NakStmt& stmt, Values const&... values)
{
    int index = 0;
    (bindOne(stmt, ++index, values), ...);
}

// One whole execution of a statement that gives no rows.
template <typename... Values> void run(NakStmt& stmt, Values const&... values)
{
    bindAll(stmt, values...);
    stmt.step();
    stmt.reset();
}

} // namespace DisSql
