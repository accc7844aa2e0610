// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "store_fixture.h"

#include "dis_cache.h"
#include "dis_store.h"
#include "dread_json.h"
#include "nak_sql.h"

#include <QStringList>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>
#include <sstream>
#include <vector>

Store::Store()
    : path(directory.filePath(QStringLiteral("discord_client.nakdb")))
    , db(createDisStore(path))
{
    initializeDbPrepStmts(prepared, db);
}

Store::Store(QString const& otherPath)
    : path(otherPath)
    , db(openDisStore(path))
{
    initializeDbPrepStmts(prepared, db);
}

Store::~Store()
{
    finalizeDbPrepStmts(prepared);
    NakSql::closeDb(db);
}

CachedStore::CachedStore(char const* sql)
{
    exec(sql);
    DisCache::createGlobalData(db);
}

CachedStore::~CachedStore()
{
    DisCache::destroyGlobalData();
}

void withJson(QByteArray json, std::function<void(Dread::Ctx const&, Dread::Val const&)> function)
{
    Dread::Ctx ctx;
    Dread::init(&ctx, 4096);
    json.detach();
    auto const result = DreadJson::jsonToDread(&ctx, &json);
    ASSERT_FALSE(result.isError) << json.constData();
    function(ctx, result.root);
    Dread::destroy(&ctx);
}

DisClientImpl::DisEventOutcome Store::dispatch(char const* name, QByteArray json)
{
    DisClientImpl::DisEventOutcome outcome;
    withJson(json, [&](Dread::Ctx const& ctx, Dread::Val const& root) {
        Dread::VString const text{ name, static_cast<quint32>(std::strlen(name)) };
        ASSERT_EQ(root.tag, Dread::Tag::Map);
        outcome = dispatch(text, ctx, root.map);
    });
    return outcome;
}

DisClientImpl::DisEventOutcome Store::dispatch(Dread::VString name, Dread::Ctx const& ctx,
                                               Dread::VMap const& data)
{
    return DisClientImpl::processDispatch(state, prepared, ctx, name, data);
}

DisClientImpl::DisEventOutcome Store::dispatch(EventMaker const& maker)
{
    if (maker.data().tag != Dread::Tag::Map)
        return {};
    return dispatch(maker.name(), maker.ctx(), maker.data().map);
}

DisChanges Store::flushStatuses()
{
    return DisClientImpl::flushBatchedStatuses(state, prepared);
}

void Store::exec(std::string const& sql)
{
    ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db);
}

namespace {

std::string columnText(sqlite3_stmt* stmt, int column)
{
    switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_NULL:
        return "null";
    case SQLITE_TEXT:
        return "'" + std::string(reinterpret_cast<char const*>(sqlite3_column_text(stmt, column)))
            + "'";
    default:
        return std::to_string(sqlite3_column_int64(stmt, column));
    }
}

std::vector<std::string> queryLines(sqlite3* db, std::string const& sql)
{
    std::vector<std::string> lines;
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        std::string line;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i)
            line += (i > 0 ? "|" : "") + columnText(stmt, i);
        lines.push_back(line);
    }
    sqlite3_finalize(stmt);
    return lines;
}

} // namespace

std::string Store::rows(std::string const& sql) const
{
    std::string text;
    for (auto const& line : queryLines(db, sql))
        text += line + "\n";
    return text;
}

std::string Store::dump(sqlite3* db)
{
    std::string text;
    for (auto const& quoted :
         queryLines(db, "select name from sqlite_master where type = 'table' order by name")) {
        std::string const table = quoted.substr(1, quoted.size() - 2);
        auto lines = queryLines(db, "select * from \"" + table + "\"");
        std::sort(lines.begin(), lines.end());
        for (auto const& line : lines)
            text += table + ": " + line + "\n";
    }
    return text;
}

QByteArray largeGuild(char const* id, int members, char const* userName)
{
    QByteArrayList list;
    for (int i = 0; i < members; ++i)
        list.append(QByteArray(R"({"user": {"id": ")") + QByteArray::number(10'000 + i)
                    + R"(", "username": ")" + userName + "\"}}");
    return QByteArray(R"({"id": ")") + id + R"(", "name": "G", "members": [)" + list.join(',')
        + "]}";
}

std::string changesText(DisChanges const& changes)
{
    static QStringList const names =
        QStringLiteral(
            "GuildChanged ChannelChanged MessageCreated MessageChanged MessageDeleted "
            "UserPropertiesChanged UserStatusChanged UserVoiceStateChanged UserSettingsChanged "
            "UserGuildSettingsChanged GuildMemberAdded GuildMemberChanged GuildMemberRemoved "
            "GuildBanAdded GuildBanRemoved GuildRoleCreated GuildRoleChanged GuildRoleDeleted "
            "GuildEmojisChanged PrivateRecipientAdded PrivateRecipientRemoved RelationshipAdded "
            "RelationshipRemoved")
            .split(QLatin1Char(' '));
    if (changes.isReload())
        return "reload";
    std::string text;
    for (auto const& item : changes.items) {
        text += (text.empty() ? "" : "; ") + names[static_cast<int>(item.type)].toStdString();
        EXPECT_TRUE(changes.has(item.type));
        for (auto const word : item.words) {
            if (word.isValid())
                text += " " + word.toString().toStdString();
        }
    }
    return text;
}

std::string outcomeText(DisClientImpl::DisEventOutcome const& outcome)
{
    std::string text = changesText(outcome.changes);
    auto const add = [&](std::string const& what, QVector<FlakeId> const& ids) {
        text += (text.empty() ? "" : "; ") + what;
        for (FlakeId const id : ids)
            text += " " + (id.isValid() ? id.toString().toStdString() : "none");
    };
    if (auto const& message = outcome.messageCreated) {
        add("message",
            { message->messageId, message->channelId, message->authorId, message->nonce });
        if (!message->mentions.isEmpty())
            add("mentions", message->mentions);
    }
    if (outcome.ready)
        add("ready", { outcome.ready->ownUserId });
    if (auto const& box = outcome.userMustSee)
        add((box->title + QLatin1Char('|') + box->text).toStdString()
                + (box->fatal ? "|fatal" : ""),
            {});
    if (outcome.segPackage)
        add("list", { outcome.segPackage->guildId });
    if (outcome.ackedChannel.isValid() || outcome.ackedMessage.isValid())
        add("read", { outcome.ackedChannel, outcome.ackedMessage });
    if (outcome.createdPrivateChannel.isValid())
        add("new channel", { outcome.createdPrivateChannel });
    if (outcome.ownVoiceState)
        add("own voice", {});
    if (outcome.voiceServer)
        add("voice server", {});
    if (outcome.statusBatchGrew)
        add("status", {});
    if (outcome.typingBatchGrew)
        add("typing", {});
    return text;
}

std::string lineDifference(std::string const& before, std::string const& after)
{
    using Lines = std::multiset<std::string>;
    auto const split = [](std::string const& text) {
        Lines lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
            lines.insert(line);
        return lines;
    };
    auto const onlyIn = [](char const* mark, Lines const& one, Lines const& other) {
        Lines lines;
        std::set_difference(one.begin(), one.end(), other.begin(), other.end(),
                            std::inserter(lines, lines.end()));
        std::string text;
        for (auto const& line : lines)
            text += mark + line + "\n";
        return text;
    };
    auto const old = split(before);
    auto const now = split(after);
    return onlyIn("-", old, now) + onlyIn("+", now, old);
}
