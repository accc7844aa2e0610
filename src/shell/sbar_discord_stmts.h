// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The side bar's questions to the Discord store, on the user-interface thread's connection. A
// statement is reset after each use, so that it holds no lock on the store between events.

#include "nak_stmt.h"

#include <array>
#include <memory>

// Name and text. Parameters and columns are bound and read in the order in which they stand.
// clang-format off
#define NAK_SBAR_STATEMENTS(X) \
    X(Begin, "begin transaction") \
    X(End, "end transaction") \
    X(GuildsOfUser, "select guild_id from guild_member where user_id = ?") \
    /* Whole tables, in the order of their rows from one of them on. */ \
    X(Categories, "select id, parent_id, position, guild_id from guild_channel_category where id >= ? and deleted = 0 " \
        "order by id") \
    X(TextChannels, "select id, parent_id, position, guild_id from guild_channel where id >= ? and deleted = 0 " \
        "order by id") \
    X(VoiceChannels, "select id, parent_id, position, guild_id from guild_voice_channel where id >= ? and deleted = 0 " \
        "order by id") \
    X(CategoriesOfGuild, "select id, parent_id, position from guild_channel_category where guild_id = ? and deleted = 0") \
    X(TextChannelsOfGuild, "select id, parent_id, position from guild_channel where guild_id = ? and deleted = 0") \
    X(VoiceChannelsOfGuild, "select id, parent_id, position from guild_voice_channel where guild_id = ? and deleted = 0") \
    X(PrivateChannels, "select channel_id from private_channel_participant where user_id = ?1 and channel_id not in " \
        "(select channel_id from user_private_deleted_channel where user_id = ?1)") \
    X(VoiceUserCount, "select count() from voice_state where channel_id = ?") \
    X(PrivateChannelsByActivity, "select private_channel.id from private_channel_participant, private_channel where " \
        "private_channel_participant.user_id = ? and private_channel.id = private_channel_participant.channel_id " \
        "order by private_channel.last_message_id desc, private_channel.id desc") \
    /* A guild that the user's order does not name yet is a new one and comes first. */ \
    X(GuildsByPosition, "select guild.id from guild left join user_guild_position on user_guild_position.user_id = ? " \
        "and user_guild_position.guild_id = guild.id order by user_guild_position.position, guild.id desc") \
    X(ChannelsWithVoice, "select distinct channel_id from voice_state") \
    X(VoiceChannelsOfUser, "select channel_id from voice_state where user_id = ?")
// clang-format on

namespace NakSbar {

enum class Stmt : quint8 {
#define NAK_SBAR_STATEMENT_NAME(name, sql) name,
    NAK_SBAR_STATEMENTS(NAK_SBAR_STATEMENT_NAME)
#undef NAK_SBAR_STATEMENT_NAME
        Count
};

class DisStmts {
public:
    explicit DisStmts(sqlite3* db); // which must outlive this

    // Calls use(statement) for each row.
    template <typename Use, typename... Values>
    void forEachRow(Stmt which, Use use, Values const&... values)
    {
        auto const useAll = [&use](NakStmt const& row) {
            use(row);
            return true;
        };
        forEachRowWhile(which, useAll, values...);
    }
    // Calls use(statement) until it returns false; gives whether the rows came to their end.
    template <typename Use, typename... Values>
    bool forEachRowWhile(Stmt which, Use use, Values const&... values)
    {
        NakStmt& stmt = *m_stmts[static_cast<size_t>(which)];
        int index = 0;
        (stmt.bind(++index, values), ...);
        bool more = false;
        while ((more = stmt.step()) && use(static_cast<NakStmt const&>(stmt))) { }
        stmt.reset();
        return !more;
    }

private:
    std::array<std::unique_ptr<NakStmt>, static_cast<size_t>(Stmt::Count)> m_stmts;
};

// One read transaction for a scope: each read costs a third then. Nothing for null.
class HeldStore {
public:
    explicit HeldStore(DisStmts* store)
        : m_store(store)
    {
        run(Stmt::Begin);
    }
    ~HeldStore() { run(Stmt::End); }
    HeldStore(HeldStore const&) = delete;
    HeldStore& operator=(HeldStore const&) = delete;

private:
    void run(Stmt stmt)
    {
        if (m_store)
            m_store->forEachRow(stmt, [](NakStmt const&) {});
    }

    DisStmts* m_store;
};

} // namespace NakSbar
