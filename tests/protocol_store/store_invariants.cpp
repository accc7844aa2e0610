// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "store_invariants.h"

#include <sqlite3.h>

#include <cstdlib>
#include <set>

namespace {

// Every row of the first has its row in the second.
struct Reference {
    char const* table;
    char const* columns;
    char const* owner;
    char const* ownerColumns;
};

constexpr Reference references[] = {
    { "guild_channel", "id", "any_channel", "id" },
    { "guild_voice_channel", "id", "any_channel", "id" },
    { "guild_channel_category", "id", "any_channel", "id" },
    { "private_channel", "id", "any_channel", "id" },
    { "guild_channel_permission", "channel_id", "any_channel", "id" },
    { "guild_member", "user_id", "user", "id" },
    { "guild_member_role", "user_id", "user", "id" },
    { "guild_ban", "user_id", "user", "id" },
    { "private_channel_participant", "user_id", "user", "id" },
    { "local_user", "id", "user", "id" },
    { "user_guild_position", "user_id", "local_user", "id" },
    { "user_guild_setting", "user_id", "local_user", "id" },
    { "user_channel_read_state", "user_id", "local_user", "id" },
    { "user_private_deleted_channel", "user_id", "local_user", "id" },
    { "user_relationship", "own_user_id", "local_user", "id" },
    { "user_guild_setting_channel_override", "user_id, guild_id", "user_guild_setting",
      "user_id, guild_id" },
};

// What there is no row of.
constexpr char const* never[] = {
    "any_channel where type not between 1 and 5",
    "guild_channel_permission where type not in (0, 1)",
    "user where status not between 0 and 4",
    "user where game_name is null and game_url is not null",
    "user where name is null or discrim is null or avatar is null or game_name = ''",
    "message where content is null or edited not in (0, 1)",
    "message where author_id != -1 and author_id not in (select id from user)",
    "message_rich_embed where not json_valid(content)",
    "message_emoji_reaction where emoji_id = -1 and emoji_name = ''",
    "message_emoji_reaction_count where emoji_id = -1 and emoji_name = ''",
    "message_emoji_reaction_count where count < 0",
    "message_emoji_reaction where emoji_name is null",
    "message_emoji_reaction_count where emoji_name is null",
    "voice_state where session_id = ''",
    "user_guild_position where position < 0",
    "user_guild_position group by user_id, position having count(*) > 1",
    "watched_update",
};

// Where an id may be none and is not null.
std::set<std::string> const maybeNone = {
    "guild_channel.parent_id",
    "guild_voice_channel.parent_id",
    "guild_channel_category.parent_id",
    "message.author_id",
    "message_emoji_reaction.emoji_id",
    "message_emoji_reaction_count.emoji_id",
    "user_channel_read_state.last_message_id",
};

// A mark never falls, and a change of the bot flag alone is not written.
constexpr char watch[] =
    "create temp table watched_update (what text);"
    "create temp trigger watch_guild_mark before update of last_message_id on main.guild_channel "
    "when new.last_message_id <= old.last_message_id "
    "begin insert into watched_update values ('guild mark'); end;"
    "create temp trigger watch_private_mark before update of last_message_id on "
    "main.private_channel when new.last_message_id <= old.last_message_id "
    "begin insert into watched_update values ('private mark'); end;"
    "create temp trigger watch_bot before update of bot on main.user "
    "when new.bot != old.bot and new.name = old.name and new.discrim = old.discrim "
    "and new.avatar = old.avatar begin insert into watched_update values ('bot'); end;";

void require(bool holds, char const* what)
{
    if (!holds) {
        fprintf(stderr, "store_invariants: %s\n", what);
        abort();
    }
}

// The name as a text, and whether there is a row of it.
std::string question(std::string const& rows)
{
    std::string quoted;
    for (char const c : rows)
        quoted += c == '\'' ? std::string("''") : std::string(1, c);
    return "select '" + quoted + "' where exists (select 1 from " + rows + ")";
}

std::string columnQuestion(std::string const& table, std::string const& column,
                           std::string const& type)
{
    auto const isId = [](std::string const& name) {
        return name == "id" || (name.size() > 3 && name.substr(name.size() - 3) == "_id");
    };
    std::string const of = table + " where " + column;
    if (type == "text")
        return question(of + " is not null and typeof(" + column + ") != 'text'");
    if (type == "bool")
        return question(of + " not in (0, 1)");
    if (isId(column) && maybeNone.count(table + "." + column) == 0)
        return question(of + " = -1 or typeof(" + column + ") not in ('integer', 'null')");
    return question(of + " is not null and typeof(" + column + ") != 'integer'");
}

std::string columnQuestions(sqlite3* db)
{
    std::string sql;
    NakStmt columns(
        db,
        "select m.name, c.name, lower(c.type) from sqlite_master m, pragma_table_info(m.name) "
        "c where m.type = 'table'");
    while (columns.step()) {
        sql += " union all "
            + columnQuestion(columns.colString(0).toStdString(), columns.colString(1).toStdString(),
                             columns.colString(2).toStdString());
    }
    return sql;
}

std::string allQuestions(sqlite3* db)
{
    std::string sql = "select '' where 0" + columnQuestions(db);
    for (auto const& reference : references)
        sql += " union all "
            + question(std::string(reference.table) + " where (" + reference.columns
                       + ") not in (select " + reference.ownerColumns + " from " + reference.owner
                       + ")");
    for (auto const* rows : never)
        sql += " union all " + question(rows);
    return sql;
}

std::string texts(NakStmt& stmt)
{
    std::string text;
    while (stmt.step())
        text += stmt.colString(0).toStdString() + "\n";
    stmt.reset();
    return text;
}

std::string schemaText(sqlite3* db)
{
    NakStmt stmt(db, "select name || ': ' || sql from main.sqlite_master order by name");
    return texts(stmt);
}

} // namespace

StoreInvariants::StoreInvariants(sqlite3* db)
    : m_db(db)
    , m_schema(schemaText(db))
{
    require(sqlite3_exec(db, watch, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(db));
    m_questions = std::make_unique<NakStmt>(db, allQuestions(db).c_str());
}

std::string StoreInvariants::broken()
{
    require(sqlite3_get_autocommit(m_db) == 1, "a transaction was left open");
    return texts(*m_questions);
}

std::string StoreInvariants::brokenFile() const
{
    NakStmt stmt(m_db, "pragma integrity_check");
    std::string const order = texts(stmt);
    std::string text = order == "ok\n" ? "" : order;
    if (schemaText(m_db) != m_schema)
        text += "the tables and indexes are not those of the schema\n";
    return text;
}

std::string StoreInvariants::broken(DisChanges const& changes)
{
    // How many of an item's words are always told.
    static constexpr int told[] = {
        1, 1, 2, 2, 2, 1, 1, 1, 1, 2, 1, 2, 2, 2, 2, 2, 2, 2, 1, 2, 2, 1, 1,
    };
    std::string text;
    if (changes.items.size() > DisChanges::maxItems)
        text += "too many changes\n";
    quint32 seen = 0;
    for (auto const& item : changes.items) {
        auto const type = static_cast<quint32>(item.type);
        seen |= 1U << type;
        for (int i = 0; i < told[type]; ++i)
            text +=
                item.words[i].isValid() ? "" : "a change of type " + std::to_string(type) + "\n";
    }
    if (changes.mask != DisChanges::reloadMask && (changes.mask & ~DisChanges::overflowBit) != seen)
        text += "the mask is not that of the changes\n";
    return text;
}

namespace {

bool isItem(DisSeg::Item const& item)
{
    bool const isMember = item.userId.isValid();
    bool const isRole = item.group.kind == DisSeg::GroupKind::Role;
    return isMember != (!isRole || item.group.roleId.isValid());
}

std::string brokenOp(DisSeg::Op const& op)
{
    for (auto const& item : op.items) {
        if (!isItem(item))
            return "an item that is neither member nor heading\n";
    }
    bool const isOne = op.type == DisSeg::OpType::Insert || op.type == DisSeg::OpType::Update;
    bool const isSync = op.type == DisSeg::OpType::Sync;
    int const most = isSync ? DisSeg::chunkSize : 1;
    if (op.index < 0 || op.items.size() > most || (isOne && op.items.size() != 1))
        return "an operation with a wrong index or count\n";
    if (isSync && op.index / DisSeg::chunkSize != op.last / DisSeg::chunkSize)
        return "a range over two chunks\n";
    return {};
}

std::string brokenPackage(DisSeg::Package const& package)
{
    std::string text;
    if (!package.guildId.isValid() || package.listId.isEmpty())
        text += "a member list of no guild or without a name\n";
    for (auto const& group : package.groups) {
        bool const isRole = group.id.kind == DisSeg::GroupKind::Role;
        if (group.count < 0 || isRole != group.id.roleId.isValid())
            text += "a group that is none\n";
    }
    for (auto const& op : package.ops)
        text += brokenOp(op);
    return text;
}

} // namespace

std::string StoreInvariants::broken(DisClientImpl::DisEventOutcome const& outcome)
{
    std::string text = broken(outcome.changes);
    if (outcome.segPackage)
        text += brokenPackage(*outcome.segPackage);
    if (outcome.ackedChannel.isValid() != outcome.ackedMessage.isValid())
        text += "half of an acknowledgement\n";
    if (outcome.ready && !outcome.ready->ownUserId.isValid())
        text += "ready without an own user\n";
    if (auto const& created = outcome.messageCreated) {
        if (!created->messageId.isValid() || !created->channelId.isValid()
            || created->mentions.contains(FlakeId()))
            text += "a message without its ids\n";
    }
    return text;
}
