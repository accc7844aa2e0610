// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Whole guilds. A session's first event can hold tens of thousands of rows in the order of their
// guilds, which is none for the tables: each row lands on another page. So the rows are first
// collected and then written table by table in the order of their keys. What one by one would have
// written last still is: rows of equal keys keep their order.

#include "dis_db_prepared.h"
#include "dis_index_pause.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"

#include <QSet>

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <tuple>
#include <vector>

namespace DisClientImpl {

namespace {

// What is done to one user, in the order of the document: objects of the same user come with every
// guild and with presences.
struct UserStep {
    FlakeId id;
    bool isStatus = false;
    bool bot = false;
    DisUserStatusCode code = DisUserStatusCode::Offline;
    Dread::VString name; // the game's, of a status
    Dread::VString discrim; // the game's address, of a status
    Dread::VString avatar;
};

// What is written guild by guild: little of it, or each guild's is replaced as a whole.
struct GuildLists {
    FlakeId guildId;
    Dread::VList voiceStates;
    Dread::VList emojis;
};

struct Collection {
    std::vector<DisRows::Guild> guilds;
    std::vector<UserStep> users;
    std::vector<DisRows::Member> members;
    std::vector<DisRows::MemberRole> memberRoles;
    std::vector<DisRows::Role> roles;
    std::vector<DisRows::Channel> channels;
    std::vector<GuildLists> lists;

    size_t memberRows() const { return users.size() + members.size() + memberRoles.size(); }
};

void collectMembers(Collection& all, Dread::Ctx const& ctx, Dread::VMap const& map, FlakeId guildId)
{
    DisRows::forEachMap(ctx, map, "members", [&](Dread::VMap const& member) {
        DisRows::User user;
        DisRows::Member row;
        if (!DisRows::parseMember(ctx, member, guildId, &user, &row))
            return;
        UserStep step;
        step.id = user.id;
        step.bot = user.bot;
        step.name = DisSql::text(user.name);
        step.discrim = DisSql::text(user.discrim);
        step.avatar = DisSql::text(user.avatar);
        all.users.push_back(step);
        all.members.push_back(row);
        DisRows::forEachMemberRole(ctx, member, user.id, [&](DisRows::MemberRole const& role) {
            all.memberRoles.push_back(role);
        });
    });
}

void collectPresences(Collection& all, Dread::Ctx const& ctx, Dread::VMap const& map)
{
    DisRows::forEachMap(ctx, map, "presences", [&](Dread::VMap const& presence) {
        DisRows::Status status;
        if (!DisRows::parsePresence(ctx, presence, &status))
            return;
        UserStep step;
        step.id = status.userId;
        step.isStatus = true;
        step.code = status.code;
        step.name = status.gameName;
        step.discrim = status.gameUrl;
        all.users.push_back(step);
    });
}

void collectGuild(Collection& all, Dread::Ctx const& ctx, Dread::VMap const& map)
{
    DisRows::Guild guild;
    if (!DisRows::parseGuild(ctx, map, &guild))
        return;
    all.guilds.push_back(guild);
    collectMembers(all, ctx, map, guild.id);
    collectPresences(all, ctx, map);
    DisRows::forEachMap(ctx, map, "roles", [&](Dread::VMap const& role) {
        DisRows::Role row;
        if (DisRows::parseRole(ctx, role, guild.id, &row))
            all.roles.push_back(row);
    });
    DisRows::forEachMap(ctx, map, "channels", [&](Dread::VMap const& channel) {
        DisRows::Channel row;
        if (DisRows::parseChannel(ctx, channel, guild.id, &row))
            all.channels.push_back(row);
    });
    GuildLists lists;
    lists.guildId = guild.id;
    Dread::find(ctx, map, "voice_states", &lists.voiceStates);
    Dread::find(ctx, map, "emojis", &lists.emojis);
    all.lists.push_back(lists);
}

// A row's key beside its place, so that sorting moves 24 bytes and no row.
struct SortKey {
    quint64 major;
    quint64 minor;
    quint32 index;

    friend bool operator<(SortKey const& a, SortKey const& b)
    {
        return std::tie(a.major, a.minor, a.index) < std::tie(b.major, b.minor, b.index);
    }
};

template <typename Row, typename Major, typename Minor>
std::vector<SortKey> sortedKeys(std::vector<Row> const& rows, Major major, Minor minor)
{
    std::vector<SortKey> keys;
    keys.reserve(rows.size());
    for (auto const& row : rows)
        keys.push_back({ major(row), minor(row), static_cast<quint32>(keys.size()) });
    std::sort(keys.begin(), keys.end());
    return keys;
}

template <typename Row> std::vector<SortKey> sortedById(std::vector<Row> const& rows)
{
    return sortedKeys(
        rows, [](Row const& row) { return row.id.value(); }, [](Row const&) { return quint64(0); });
}

template <typename Row, typename Write>
void writeInOrder(DisDbPrepared& db, std::vector<Row> const& rows, std::vector<SortKey> const& keys,
                  Write write)
{
    for (auto const& key : keys)
        write(db, rows[key.index]);
}

void applyUserStep(DisDbPrepared& db, UserStep const& step)
{
    if (step.isStatus)
        DisRows::writeStatus(db, { step.id, step.code, step.name, step.discrim });
    else
        db.createOrUpdateUser(step.id, step.name, step.discrim, step.avatar, step.bot);
}

bool sameText(Dread::VString a, Dread::VString b)
{
    return a.length == b.length && std::equal(a.data, a.data + a.length, b.data);
}

// What the row of a user that is new to the store would be after all steps.
struct NewUser {
    bool exists = false;
    UserStep properties;
    UserStep status;

    void apply(UserStep const& step)
    {
        if (step.isStatus) {
            if (exists) // a status does not make a user
                status = step;
            return;
        }
        bool const differs = !sameText(properties.name, step.name)
            || !sameText(properties.discrim, step.discrim)
            || !sameText(properties.avatar, step.avatar);
        // As createOrUpdateUser: a change of bot alone is none, nor is one without a name.
        if (!exists || (differs && step.name.length > 0))
            properties = step;
        exists = true;
    }

    // False when the store has the user already.
    bool insert(DisDbPrepared& db) const
    {
        bool const hasGame = status.name.length > 0;
        DisSql::run(db[DisStmt::UserInsertWhole], properties.id, properties.name,
                    properties.discrim, properties.avatar, properties.bot,
                    static_cast<int>(status.code), hasGame ? status.name : Dread::emptyString,
                    hasGame ? status.discrim : Dread::emptyString);
        return sqlite3_changes(db.db) > 0;
    }
};

void writeUsers(DisDbPrepared& db, std::vector<UserStep> const& steps)
{
    auto const keys = sortedById(steps);
    for (size_t first = 0; first < keys.size();) {
        size_t end = first;
        NewUser user;
        while (end < keys.size() && keys[end].major == keys[first].major)
            user.apply(steps[keys[end++].index]);
        if (!user.exists || !user.insert(db)) {
            for (size_t i = first; i < end; ++i)
                applyUserStep(db, steps[keys[i].index]);
        }
        first = end;
    }
}

// Users, members and their roles.
void writeMembers(DisDbPrepared& db, Collection const& all)
{
    writeUsers(db, all.users);
    auto const members = sortedKeys(
        all.members, [](auto const& row) { return row.guildId.value(); },
        [](auto const& row) { return row.userId.value(); });
    writeInOrder(db, all.members, members, DisRows::writeMember);
    auto const roles = sortedKeys(
        all.memberRoles, [](auto const& row) { return row.userId.value(); },
        [](auto const& row) { return row.roleId.value(); });
    writeInOrder(db, all.memberRoles, roles, DisRows::writeMemberRole);
}

bool isEmpty(DisDbPrepared& db, DisStmt probe)
{
    bool const any = db[probe].step();
    db[probe].reset();
    return !any;
}

void writePermissions(DisDbPrepared& db, Dread::Ctx const& ctx,
                      std::vector<DisRows::Channel> const& channels,
                      std::vector<SortKey> const& keys)
{
    bool const wasEmpty = isEmpty(db, DisStmt::ChannelPermissionAny);
    for (size_t i = 0; i < keys.size(); ++i) {
        auto const& channel = channels[keys[i].index];
        bool const again = i > 0 && keys[i].major == keys[i - 1].major;
        if (!wasEmpty || again)
            DisSql::run(db[DisStmt::ChannelPermissionsDelete], channel.id);
        DisRows::forEachOverwrite(ctx, channel, [&](DisRows::Permission const& permission) {
            DisRows::writePermission(db, permission);
        });
    }
}

void writeChannels(DisDbPrepared& db, Dread::Ctx const& ctx,
                   std::vector<DisRows::Channel> const& channels)
{
    auto const keys = sortedById(channels);
    writePermissions(db, ctx, channels, keys);
    for (auto const& key : keys)
        DisRows::writeAnyChannel(db, channels[key.index].id, channels[key.index].type);
    for (auto const& key : keys)
        DisRows::writeChannel(db, channels[key.index]);
}

void writeVoiceStates(DisDbPrepared& db, Dread::Ctx const& ctx,
                      std::vector<GuildLists> const& guilds)
{
    for (auto const& guild : guilds) {
        DisRows::forEachMap(ctx, guild.voiceStates, [&](Dread::VMap const& map) {
            updateVoiceStateWithMap(db, ctx, map, guild.guildId);
        });
    }
}

// A guild's emojis are found through its id or through its roles. Clearing is dear, so it is left
// out where neither can find any.
void writeEmojis(DisDbPrepared& db, Dread::Ctx const& ctx, std::vector<GuildLists> const& guilds)
{
    bool const wasEmpty = isEmpty(db, DisStmt::EmojiGuildAny);
    QSet<FlakeId> written;
    for (auto const& guild : guilds) {
        bool const isFresh = wasEmpty && !written.contains(guild.guildId);
        if (!isFresh || !isEmpty(db, DisStmt::EmojiRoleAny))
            clearGuildEmojis(db, guild.guildId);
        addGuildEmojis(db, ctx, guild.emojis, guild.guildId);
        written.insert(guild.guildId);
    }
}

// From here on making the indexes anew is cheaper than keeping them up to date, if there is little
// in the tables yet.
constexpr size_t manyMemberRows = 2000;

std::unique_ptr<DisIndexPause> pauseIndexesFor(DisDbPrepared& db, Collection const& all)
{
    if (all.memberRows() < manyMemberRows || !isEmpty(db, DisStmt::GuildMemberAny))
        return nullptr;
    return std::make_unique<DisIndexPause>(db.db);
}

} // namespace

void updateWithGuildJson(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map)
{
    updateWithGuildJsons(db, ctx, { map });
}

void updateWithGuildJsons(DisDbPrepared& db, Dread::Ctx const& ctx,
                          QVector<Dread::VMap> const& guilds)
{
    Collection all;
    for (auto const& guild : guilds)
        collectGuild(all, ctx, guild);
    auto const pause = pauseIndexesFor(db, all);
    writeInOrder(db, all.guilds, sortedById(all.guilds), DisRows::writeGuild);
    writeMembers(db, all);
    writeVoiceStates(db, ctx, all.lists);
    writeInOrder(db, all.roles, sortedById(all.roles), DisRows::writeRole);
    writeChannels(db, ctx, all.channels);
    writeEmojis(db, ctx, all.lists);
}

void updateWithGuildSync(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map)
{
    FlakeId guildId;
    Dread::find(ctx, map, "id", &guildId);
    if (!guildId.isValid())
        return;
    Collection all;
    collectMembers(all, ctx, map, guildId);
    collectPresences(all, ctx, map);
    writeMembers(db, all);
}

void updateReadStates(DisDbPrepared& db, FlakeId userId, Dread::Ctx const& ctx,
                      Dread::VList const& list)
{
    std::vector<DisRows::ReadState> rows;
    DisRows::forEachMap(ctx, list, [&](Dread::VMap const& map) {
        DisRows::ReadState row;
        if (DisRows::parseReadState(ctx, map, userId, &row))
            rows.push_back(row);
    });
    auto const keys = sortedKeys(
        rows, [](auto const& row) { return row.userId.value(); },
        [](auto const& row) { return row.channelId.value(); });
    writeInOrder(db, rows, keys, DisRows::writeReadState);
}

} // namespace DisClientImpl
