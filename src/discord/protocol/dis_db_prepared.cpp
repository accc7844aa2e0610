// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_db_prepared.h"

#include "dis_store_rows.h"

namespace {

constexpr char const* statementTexts[] = {
#define DIS_DB_STATEMENT_TEXT(name, sql) sql,
    DIS_DB_STATEMENTS(DIS_DB_STATEMENT_TEXT)
#undef DIS_DB_STATEMENT_TEXT
};

} // namespace

void initializeDbPrepStmts(DisDbPrepared& prepared, sqlite3* db)
{
    prepared.db = db;
    for (size_t i = 0; i < prepared.statements.size(); ++i)
        prepared.statements[i] = std::make_unique<NakStmt>(db, statementTexts[i], nullptr);
}

void finalizeDbPrepStmts(DisDbPrepared& prepared)
{
    for (auto& statement : prepared.statements)
        statement.reset();
    prepared.db = nullptr;
}

DisTransaction::DisTransaction(DisDbPrepared& prepared)
    : m_prepared(prepared)
{
    DisSql::run(m_prepared[DisStmt::Begin]);
}

DisTransaction::~DisTransaction()
{
    DisSql::run(m_prepared[DisStmt::Commit]);
}

void DisDbPrepared::createOrUpdateUser(FlakeId id, Dread::VString name, Dread::VString discrim,
                                       Dread::VString avatar, bool bot)
{
    // Nobody has an empty name: a record without one is a torn one, and costs nothing that is
    // known.
    if (name.length > 0)
        DisSql::run((*this)[DisStmt::UserUpdateIfChanged], id, DisSql::text(name),
                    DisSql::text(discrim), DisSql::text(avatar), bot);
    createUserIfNotExists(id, name, discrim, avatar, bot);
}

void DisDbPrepared::createUserIfNotExists(FlakeId id, Dread::VString name, Dread::VString discrim,
                                          Dread::VString avatar, bool bot)
{
    DisSql::run((*this)[DisStmt::UserInsertOrIgnore], id, DisSql::text(name), DisSql::text(discrim),
                DisSql::text(avatar), bot);
}

void DisDbPrepared::createOrUpdateUser(Dread::Ctx const& ctx, Dread::VMap const& map)
{
    DisRows::User user;
    if (DisRows::parseUser(ctx, map, &user))
        createOrUpdateUser(user.id, user.name, user.discrim, user.avatar, user.bot);
}

void DisDbPrepared::createUserIfNotExists(Dread::Ctx const& ctx, Dread::VMap const& map)
{
    DisRows::User user;
    if (DisRows::parseUser(ctx, map, &user))
        createUserIfNotExists(user.id, user.name, user.discrim, user.avatar, user.bot);
}

void DisDbPrepared::ensureUserExists(FlakeId id)
{
    DisSql::run((*this)[DisStmt::UserEnsureExists], id);
}

void DisDbPrepared::setUserStatus(FlakeId id, DisUserStatusCode code)
{
    DisSql::run((*this)[DisStmt::UserStatus], static_cast<int>(code), id);
}

void DisDbPrepared::setUserStatusWithGame(FlakeId id, DisUserStatusCode code,
                                          Dread::VString gameName, Dread::VString gameUrl)
{
    DisSql::run((*this)[DisStmt::UserStatusWithGame], static_cast<int>(code), gameName, gameUrl,
                id);
}

void DisDbPrepared::maxSetChannelLastMessageId(FlakeId channel, FlakeId message)
{
    DisSql::run((*this)[DisStmt::GuildChannelMaxLastMessage], message, channel);
    DisSql::run((*this)[DisStmt::PrivateChannelMaxLastMessage], message, channel);
}

void DisDbPrepared::setUserAsGuildMemberInChannel(FlakeId user, FlakeId channel)
{
    DisSql::run((*this)[DisStmt::GuildMemberEnsureFromChannel], user, channel);
}
