// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_jump_search.h"

#include "dis_types.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QSet>

namespace {

using namespace DisJumpSearch;

constexpr qint32 shownRelevance = 10; // of the first that was shown before
constexpr qint32 newRelevance = 500;
constexpr quint32 placeFlag = 1U << 1; // every match is a channel

// The parameters are the text in small letters, the active user, and one channel.
constexpr char guildChannel[] =
    "select null from guild_channel where id = ?3 and deleted = 0 and instr(lower(name), ?1)";
constexpr char guildChannels[] =
    "select id from guild_channel where deleted = 0 and instr(lower(name), ?1)"
    " order by instr(lower(name), ?1), length(name), id limit 30";

// Of a conversation somebody else who is in it, or the name of the group.
#define NAK_JUMP_PRIVATE_MATCH                                                                     \
    " from private_channel_participant as mine, private_channel, any_channel"                      \
    " where mine.user_id = ?2 and private_channel.id = mine.channel_id"                            \
    " and any_channel.id = mine.channel_id"                                                        \
    " and (instr(lower(ifnull(private_channel.name, '')), ?1)"                                     \
    " or exists (select null from private_channel_participant as other, user"                      \
    " where other.channel_id = mine.channel_id and other.user_id <> ?2"                            \
    " and user.id = other.user_id and instr(lower(user.name), ?1)))"
constexpr char privateChannel[] = "select null" NAK_JUMP_PRIVATE_MATCH " and mine.channel_id = ?3";
// People before groups that they are in; then whom the user spoke with last.
constexpr char privateChannels[] =
    "select mine.channel_id" NAK_JUMP_PRIVATE_MATCH
    " order by any_channel.type, private_channel.last_message_id desc limit 30";
#undef NAK_JUMP_PRIVATE_MATCH

// SQLite's own knows the letters of English only.
void lowerOfAllLanguages(sqlite3_context* context, int /*count*/, sqlite3_value** values)
{
    auto const* const text = static_cast<QChar const*>(sqlite3_value_text16(values[0]));
    if (!text)
        return;
    QString const lower =
        QString::fromRawData(text, sqlite3_value_bytes16(values[0]) / 2).toLower();
    sqlite3_result_text16(context, lower.utf16(), lower.size() * 2, SQLITE_TRANSIENT);
}

// A store that is just being made has no tables yet, which is an empty answer.
template <typename Use>
void forEachRow(sqlite3* db, char const* sql, Query const& query, FlakeId channel, Use use)
{
    int code = SQLITE_OK;
    NakStmt stmt(db, sql, &code);
    if (code != SQLITE_OK)
        return;
    stmt.bind(1, query.text);
    stmt.bind(2, query.activeUser);
    stmt.bind(3, channel);
    while (stmt.step())
        use(stmt);
}

bool stillMatches(sqlite3* db, Query const& query, FlakeId channel)
{
    auto type = DisChannelType::Unknown;
    forEachRow(db, "select type from any_channel where id = ?3", query, channel,
               [&](NakStmt const& row) { type = static_cast<DisChannelType>(row.colInt(0)); });
    bool const isPrivate = type == DisChannelType::Private || type == DisChannelType::PrivateGroup;
    if (type != DisChannelType::GuildText && !(isPrivate && query.activeUser.isValid()))
        return false;
    bool found = false;
    forEachRow(db, isPrivate ? privateChannel : guildChannel, query, channel,
               [&](NakStmt const&) { found = true; });
    return found;
}

QVector<Match> searchIn(sqlite3* db, Query const& query)
{
    QVector<Match> matches;
    QSet<FlakeId> found;
    auto const add = [&](FlakeId channel, qint32 relevance) {
        if (found.contains(channel))
            return;
        found.insert(channel);
        matches.append({ channel, { relevance, placeFlag } });
    };
    auto const addNew = [&](NakStmt const& row) { add(row.colFlake(0), newRelevance); };
    for (int i = 0; i < query.shown.size(); ++i) {
        if (stillMatches(db, query, query.shown.at(i)))
            add(query.shown.at(i), shownRelevance + i);
    }
    forEachRow(db, guildChannels, query, {}, addNew);
    if (query.activeUser.isValid())
        forEachRow(db, privateChannels, query, {}, addNew);
    return matches;
}

} // namespace

QVector<DisJumpSearch::Match> DisJumpSearch::search(QString const& dbPath, Query const& query)
{
    Query lowered = query;
    lowered.text = query.text.toLower();
    if (lowered.text.startsWith(u'#')) // channels are shown with it, and none has it in its name
        lowered.text.remove(0, 1);
    if (lowered.text.isEmpty())
        return {};
    sqlite3* const db = NakSql::tryOpenDbReadOnly(dbPath);
    if (!db)
        return {};
    sqlite3_create_function(db, "lower", 1, SQLITE_UTF16, nullptr, lowerOfAllLanguages, nullptr,
                            nullptr);
    QVector<Match> const matches = searchIn(db, lowered);
    NakSql::closeDb(db);
    return matches;
}
