// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_store.h"

#include "nak_sql.h"
#include "nak_stmt.h"

#include <QFile>
#include <QStringList>

#include <fcntl.h>
#include <malloc.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Ids are 64-bit integers. A table whose key is all of its identity and never null has no row
// number beside it: one tree to write and to search instead of two.
constexpr char schema[] = R"sql(
PRAGMA journal_mode=WAL;
PRAGMA encoding="UTF-8";

create table guild (
    id integer primary key, name text, icon text, owner_id int not null, afk_channel_id int);

create table guild_channel (
    id integer primary key, guild_id int not null, parent_id int not null, position int not null,
    nsfw bool default 0, deleted bool default 0, name text, topic text,
    rate_limit_per_user int not null, last_message_id int);
create index guild_channel_guild_id_parent_id_position_idx
    on guild_channel (guild_id, parent_id, position);

create table guild_voice_channel (
    id integer primary key, guild_id int not null, parent_id int not null, position int not null,
    deleted bool default 0, bitrate int not null, user_limit int not null, name text not null);
create index guild_voice_channel_guild_id_parent_id_position_idx
    on guild_voice_channel (guild_id, parent_id, position);

create table guild_channel_category (
    id integer primary key, guild_id int not null, parent_id int not null, position int not null,
    deleted bool default 0, name text not null);
create index guild_channel_category_guild_id_parent_id_position_idx
    on guild_channel_category (guild_id, parent_id, position);

create table guild_channel_permission (
    channel_id int not null, target_id int not null, allow int not null, deny int not null,
    type int not null, primary key (channel_id, target_id)) without rowid;

create table guild_member (
    guild_id int not null, user_id int not null, nick text, joined_at text, deaf bool, mute bool,
    primary key (guild_id, user_id)) without rowid;
create index guild_member_user_id_idx on guild_member (user_id);

create table role (
    id integer primary key, guild_id int not null, name text, color int, hoist bool,
    position int not null, permissions int, managed bool, mentionable bool);
create index role_guild_id_position_idx on role (guild_id, position);

create table guild_member_role (
    user_id int not null, role_id int not null, primary key (user_id, role_id)) without rowid;
create index guild_member_role_role_id_user_id_idx on guild_member_role (role_id, user_id);

create table guild_ban (
    guild_id int not null, user_id int not null, reason text,
    primary key (guild_id, user_id)) without rowid;

create table user (
    id integer primary key, name text, discrim text, avatar text, bot bool,
    premium bool default 0, email text, status int default 1, game_name text, game_url text);
create index user_name_idx on user (name);

create table private_channel (
    id integer primary key, last_message_id int, owner_id int, name text, icon text);

create table private_channel_participant (
    channel_id int not null, user_id int not null, primary key (channel_id, user_id)) without rowid;
create index private_channel_participant_user_id_channel_id_idx
    on private_channel_participant (user_id, channel_id);

create table any_channel (id integer primary key, type int not null);

create table message (
    id integer primary key, channel_id int, author_id int, type int not null, edited int,
    deleted bool default 0, content text);
create index message_author_id_idx on message (author_id);
create index message_channel_id_id_idx on message (channel_id, id);

create table message_image_embed (
    message_id int, url text, thumbnail text, width int, height int);
create index message_image_embed_message_id_idx on message_image_embed (message_id);

create table message_rich_embed (message_id int, content text);
create index message_rich_embed_message_id_idx on message_rich_embed (message_id);

create table message_image_attachment (
    message_id int, url text, thumbnail text, width int, height int);
create index message_image_attachment_message_id_idx on message_image_attachment (message_id);

create table message_file_attachment (
    message_id int, filename text, url text, proxy_url text, filesize int);
create index message_file_attachment_message_id_idx on message_file_attachment (message_id);

create table channel_pinned_message (
    channel_id int not null, message_id int not null,
    primary key (channel_id, message_id)) without rowid;

create table message_emoji_reaction (
    message_id int not null, user_id int not null, emoji_id int not null, emoji_name text,
    primary key (message_id, emoji_id, emoji_name, user_id));

create table message_emoji_reaction_count (
    message_id int not null, count int not null, emoji_id int not null, emoji_name text,
    primary key (message_id, emoji_id, emoji_name));

create table emoji (
    id integer primary key, name text, managed bool, require_colons bool, animated bool);

create table emoji_role (
    emoji_id int not null, role_id int not null, primary key (emoji_id, role_id)) without rowid;

create table emoji_guild (
    emoji_id int not null, guild_id int not null, primary key (emoji_id, guild_id)) without rowid;

create table voice_state (
    session_id text primary key, user_id int not null, channel_id int not null, guild_id int,
    deaf bool not null, mute bool not null, self_deaf bool not null, self_mute bool not null);
create index voice_state_channel_id_user_id_idx on voice_state (channel_id, user_id);
create index voice_state_user_id_channel_id_idx on voice_state (user_id, channel_id);

create table private_call (
    channel_id int not null, message_id int not null, region text not null, ended_timestamp int,
    primary key (channel_id, message_id)) without rowid;

create table local_user (id integer primary key);

create table user_guild_position (
    user_id int not null, guild_id int not null, position int not null,
    primary key (user_id, guild_id)) without rowid;

create table user_channel_read_state (
    user_id int not null, channel_id int not null, last_message_id int not null,
    mention_count int not null, primary key (user_id, channel_id)) without rowid;

create table user_private_deleted_channel (
    user_id int not null, channel_id int not null, primary key (user_id, channel_id)) without rowid;

create table user_guild_setting (
    user_id int not null, guild_id int not null, message_notifications int not null,
    mobile_push bool not null, muted bool not null, suppress_everyone bool not null,
    primary key (user_id, guild_id)) without rowid;

create table user_guild_setting_channel_override (
    user_id int not null, guild_id int not null, channel_id int not null,
    message_notifications int not null, muted bool not null,
    primary key (user_id, guild_id, channel_id)) without rowid;

create table user_relationship (
    own_user_id int not null, other_user_id int not null, type int not null,
    primary key (own_user_id, other_user_id)) without rowid;
)sql";

// For each connection; the file may be lost at any time, at no cost. A page cache of 1 MiB, half of
// the default, is full within the first minute of talk and holds what is written again and again;
// the system caches the file once for all connections.
// The limit is what a log that grew in a flood is cut down to when it is begun anew.
constexpr char connectionPragmas[] = "PRAGMA synchronous=OFF; PRAGMA cache_size=-1024; "
                                     "PRAGMA journal_size_limit=4194304";

void exec(sqlite3* db, char const* sql)
{
    int const code = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        NakSql::exitWithFatalDatabaseError(db, code);
}

// Without locks, which would cost more than the reading of a column: each connection is of one
// thread.
sqlite3* open(QString const& path)
{
    sqlite3* const db = NakSql::openDbNoMutex(QFile::encodeName(path).constData());
    if (!db)
        NakSql::exitWithGenericDbError(SQLITE_CANTOPEN);
    return db;
}

// Empty, for the user alone; SQLite gives its other files the rights of this one.
void makeFile(QString const& path)
{
    int const file = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC,
                            S_IRUSR | S_IWUSR);
    if (file < 0)
        NakSql::exitWithGenericDbError(SQLITE_CANTOPEN);
    ::close(file);
}

void removeOldStore(QString const& path)
{
    for (auto const& suffix : { QString(), QStringLiteral("-wal"), QStringLiteral("-shm") }) {
        QString const file = path + suffix;
        if (QFile::exists(file) && !QFile::remove(file))
            NakSql::exitWithGenericDbError(SQLITE_CANTOPEN);
    }
}

QStringList tableNames(sqlite3* db)
{
    QStringList names;
    NakStmt stmt(db,
                 "select name from sqlite_master where type = 'table' and name not like 'sqlite_%'",
                 nullptr);
    while (stmt.step())
        names.append(stmt.colString(0));
    return names;
}

} // namespace

sqlite3* createDisStore(QString const& path)
{
    removeOldStore(path);
    makeFile(path);
    sqlite3* db = open(path);
    exec(db, connectionPragmas);
    exec(db, schema);
    return db;
}

sqlite3* openDisStore(QString const& path)
{
    sqlite3* db = open(path);
    exec(db, connectionPragmas);
    return db;
}

void clearDisStore(sqlite3* db)
{
    auto const tables = tableNames(db);
    exec(db, "begin immediate transaction");
    for (auto const& table : tables)
        exec(db, QByteArray("delete from " + table.toUtf8()).constData());
    exec(db, "commit transaction");
}

void giveBackDisStoreMemory(sqlite3* db)
{
    sqlite3_db_release_memory(db);
    malloc_trim(0);
}
