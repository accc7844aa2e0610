// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What concerns whole guilds: leaving, invites, bans, the audit log, and the account's settings.

#include "stage_rest_call.h"
#include "stage_words.h"

#include <QDateTime>
#include <QJsonArray>
#include <QSet>

#include <algorithm>

namespace stage {

namespace {

constexpr size_t kMaxInvites = 1000;
constexpr int kAuditEntries = 130;
constexpr qint64 kAuditSpacingMs = 37 * 60 * 1000;
constexpr quint64 kAuditSalt = 0x617564; // apart from the world's own generators

Guild& guildOf(RestCall& call)
{
    return *findGuild(call.context.world, call.idArg(0)); // the path was looked at before
}

QJsonObject named(quint64 id, QString const& name)
{
    return { { QStringLiteral("id"), QString::number(id) }, { QStringLiteral("name"), name } };
}

QJsonObject userJson(World const& world, quint32 user)
{
    return toJson(userTerm(world.users[user])).toObject();
}

QJsonObject inviteJson(World const& world, QString const& code, Channel const& channel)
{
    Guild const& guild = world.guilds[size_t(channel.guild)];
    return { { QStringLiteral("code"), code },
             { QStringLiteral("guild"), named(guild.id, guild.name) },
             { QStringLiteral("channel"), named(channel.id, channel.name) } };
}

QJsonObject inviteJson(World const& world, Invite const& invite)
{
    QJsonObject json = inviteJson(world, invite.code, *findChannel(world, invite.channel));
    json.insert(QStringLiteral("inviter"), userJson(world, 0));
    json.insert(QStringLiteral("uses"), 0);
    json.insert(QStringLiteral("max_uses"), 0);
    json.insert(QStringLiteral("max_age"), invite.maxAge);
    json.insert(QStringLiteral("temporary"), false);
    json.insert(QStringLiteral("created_at"),
                QDateTime::fromMSecsSinceEpoch(invite.createdMs, Qt::UTC).toString(Qt::ISODate));
    return json;
}

struct FoundInvite {
    Guild* guild = nullptr;
    size_t index = 0;
};

FoundInvite findInvite(World& world, QString const& code)
{
    for (Guild& guild : world.guilds) {
        for (size_t n = 0; n < guild.invites.size(); ++n) {
            if (guild.invites[n].code == code)
                return { &guild, n };
        }
    }
    return {};
}

QString newCode(RestCall& call)
{
    static constexpr char kLetters[] = "abcdefghijkmnopqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789";
    World& world = call.context.world;
    Rng rng(world.seed, nextId(world, call.context.nowMs()), 0);
    QString code;
    for (int n = 0; n < 8; ++n)
        code += QLatin1Char(kLetters[rng.below(int(sizeof kLetters) - 1)]);
    return code;
}

HttpReply unknownInvite()
{
    return failure(404, "Unknown Invite", 10006);
}

std::vector<Ban>::iterator findBan(RestCall& call)
{
    auto& bans = guildOf(call).bans;
    quint32 const user = call.context.world.userIndex.value(call.idArg(1));
    return std::find_if(bans.begin(), bans.end(), [user](Ban const& b) { return b.user == user; });
}

void tellBan(RestCall& call, char const* event)
{
    call.context.dispatch(event,
                          map()
                              .set("guild_id", id(call.idArg(0)))
                              .set("user", userTerm(*findUser(call.context.world, call.idArg(1)))));
}

struct AuditEntry {
    quint64 id = 0;
    int action = 0;
    quint32 user = 0;
    quint64 target = 0;
    QString reason;
};

// The n-th newest.
AuditEntry auditEntry(World const& world, Guild const& guild, int n)
{
    static constexpr int kActions[] = { 1,  10, 11, 12, 13, 20, 22, 23, 24, 25,
                                        30, 31, 40, 42, 50, 60, 61, 72, 255 };
    Rng rng(world.seed ^ guild.id, kAuditSalt, quint64(n));
    AuditEntry entry;
    qint64 const ms = world.size.endMs - n * kAuditSpacingMs;
    entry.id = quint64(ms - kDiscordEpochMs) << 22 | quint64(n);
    entry.action = kActions[rng.below(int(std::size(kActions)))];
    entry.user = guild.members[size_t(rng.below(std::min(4, int(guild.members.size()))))].user;
    quint32 const who = guild.members[size_t(rng.below(int(guild.members.size())))].user;
    int const kind = entry.action / 10;
    if (kind == 1)
        entry.target = world.channels[guild.channels[size_t(n) % guild.channels.size()]].id;
    else if (kind == 2 || kind == 7)
        entry.target = world.users[who].id;
    else if (kind == 3)
        entry.target = guild.roles[size_t(n) % guild.roles.size()].id;
    if (entry.action == 20 || entry.action == 22)
        entry.reason = rng.chance(50) ? QStringLiteral("Spam") : QString();
    return entry;
}

QJsonObject auditJson(AuditEntry const& entry, World const& world)
{
    QJsonObject json{ { QStringLiteral("id"), QString::number(entry.id) },
                      { QStringLiteral("action_type"), entry.action },
                      { QStringLiteral("user_id"), QString::number(world.users[entry.user].id) },
                      { QStringLiteral("target_id"),
                        entry.target == 0 ? QJsonValue() : QString::number(entry.target) } };
    if (!entry.reason.isEmpty())
        json.insert(QStringLiteral("reason"), entry.reason);
    return json;
}

} // namespace

// A private channel is closed; one of a guild stays.
HttpReply deleteChannel(RestCall& call)
{
    World& world = call.context.world;
    Channel const& channel = *findChannel(world, call.idArg(0));
    if (channel.guild >= 0)
        return jsonReply(QJsonObject());
    Term const term = privateChannelTerm(world, channel);
    auto& list = world.privateChannels;
    list.erase(std::remove(list.begin(), list.end(), world.channelIndex.value(channel.id)),
               list.end());
    call.context.dispatch("CHANNEL_DELETE", term);
    return jsonReply(toJson(term));
}

// The account leaves; anybody else stays, so that who talks does not change.
HttpReply deleteMember(RestCall& call)
{
    World& world = call.context.world;
    if (call.idArg(1) != world.users[0].id)
        return noContent();
    Guild& guild = guildOf(call);
    if (guild.owner == 0)
        return failure(400, "Invalid Guild", 50055);
    guild.left = true;
    call.context.dispatch(
        "GUILD_MEMBER_REMOVE",
        map().set("guild_id", id(guild.id)).set("user", userTerm(world.users[0])));
    call.context.dispatch("GUILD_DELETE", map().set("id", id(guild.id)));
    return noContent();
}

HttpReply postInvite(RestCall& call)
{
    World& world = call.context.world;
    Channel const& channel = *findChannel(world, call.idArg(0));
    if (channel.guild < 0)
        return failure(403, "Missing Permissions", 50013);
    auto& invites = world.guilds[size_t(channel.guild)].invites;
    if (invites.size() >= kMaxInvites)
        return failure(400, "Maximum number of invites reached (1000)", 30016);
    QJsonValue const age = call.request.json().value(QStringLiteral("max_age"));
    int const maxAge = age.isString() ? age.toString().toInt() : age.toInt(86400);
    invites.push_back({ newCode(call), channel.id, maxAge, call.context.nowMs() });
    return jsonReply(inviteJson(world, invites.back()));
}

// A code that was not made here is an invite to the first guild.
HttpReply getInvite(RestCall& call)
{
    World& world = call.context.world;
    FoundInvite const found = findInvite(world, call.args[0]);
    if (!found.guild && world.guilds.empty())
        return unknownInvite();
    Channel const& channel = *findChannel(
        world, found.guild ? found.guild->invites[found.index].channel : busyChannel(world));
    Guild& guild = world.guilds[size_t(channel.guild)];
    if (call.request.method == "POST" && guild.left) {
        guild.left = false;
        call.context.dispatch("GUILD_CREATE", guildTerm(world, guild));
    }
    return jsonReply(inviteJson(world, call.args[0], channel));
}

HttpReply deleteInvite(RestCall& call)
{
    FoundInvite const found = findInvite(call.context.world, call.args[0]);
    if (!found.guild)
        return unknownInvite();
    QJsonObject const json = inviteJson(call.context.world, found.guild->invites[found.index]);
    found.guild->invites.erase(found.guild->invites.begin() + std::ptrdiff_t(found.index));
    return jsonReply(json);
}

HttpReply getInvites(RestCall& call)
{
    QJsonArray out;
    for (Invite const& invite : guildOf(call).invites)
        out.append(inviteJson(call.context.world, invite));
    return jsonReply(out);
}

HttpReply getBans(RestCall& call)
{
    QJsonArray out;
    for (Ban const& ban : guildOf(call).bans)
        out.append(QJsonObject{
            { QStringLiteral("user"), userJson(call.context.world, ban.user) },
            { QStringLiteral("reason"), ban.reason.isEmpty() ? QJsonValue() : ban.reason } });
    return jsonReply(out);
}

HttpReply putBan(RestCall& call)
{
    if (findBan(call) == guildOf(call).bans.end())
        guildOf(call).bans.push_back(
            { call.context.world.userIndex.value(call.idArg(1)),
              call.request.query.queryItemValue(QStringLiteral("reason"), QUrl::FullyDecoded) });
    tellBan(call, "GUILD_BAN_ADD");
    return noContent();
}

HttpReply deleteBan(RestCall& call)
{
    auto const ban = findBan(call);
    if (ban == guildOf(call).bans.end())
        return failure(404, "Unknown Ban", 10026);
    guildOf(call).bans.erase(ban);
    tellBan(call, "GUILD_BAN_REMOVE");
    return noContent();
}

HttpReply getAuditLog(RestCall& call)
{
    World const& world = call.context.world;
    auto const number = [&call](char const* key) {
        return call.request.query.queryItemValue(QString::fromLatin1(key)).toULongLong();
    };
    quint64 const before = number("before");
    int const limit = number("limit") == 0 ? 50 : int(std::min<quint64>(number("limit"), 100));
    QJsonArray entries;
    QJsonArray users;
    QSet<quint32> known;
    auto const addUser = [&](quint32 user) {
        if (!known.contains(user))
            users.append(userJson(world, user));
        known.insert(user);
    };
    for (int n = 0; n < kAuditEntries && entries.size() < limit; ++n) {
        AuditEntry const entry = auditEntry(world, guildOf(call), n);
        if (before != 0 && entry.id >= before)
            continue;
        entries.append(auditJson(entry, world));
        addUser(entry.user);
        if (world.userIndex.contains(entry.target))
            addUser(world.userIndex.value(entry.target));
    }
    return jsonReply(QJsonObject{ { QStringLiteral("audit_log_entries"), entries },
                                  { QStringLiteral("users"), users } });
}

HttpReply patchSettings(RestCall& call)
{
    World& world = call.context.world;
    QJsonValue const wanted = call.request.json().value(QStringLiteral("guild_positions"));
    if (!wanted.isArray())
        return jsonReply(QJsonObject());
    std::vector<quint64> positions;
    Term list = stage::list();
    for (QJsonValue const& one : wanted.toArray()) {
        quint64 const guild = one.toString().toULongLong();
        if (!findGuild(world, guild))
            return failure(400, "Invalid Form Body", 50035);
        positions.push_back(guild);
        list.add(id(guild));
    }
    world.guildPositions = positions;
    call.context.dispatch("USER_SETTINGS_UPDATE", map().set("guild_positions", std::move(list)));
    return jsonReply(QJsonObject());
}

HttpReply patchGuildSettings(RestCall& call)
{
    World& world = call.context.world;
    Guild& guild = guildOf(call);
    QJsonObject const json = call.request.json();
    GuildSettings& settings = guild.settings;
    settings.muted = json.value(QStringLiteral("muted")).toBool(settings.muted);
    settings.suppressEveryone =
        json.value(QStringLiteral("suppress_everyone")).toBool(settings.suppressEveryone);
    settings.messageNotifications =
        json.value(QStringLiteral("message_notifications")).toInt(settings.messageNotifications);
    QJsonObject const overrides = json.value(QStringLiteral("channel_overrides")).toObject();
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        if (Channel* const channel = findChannel(world, it.key().toULongLong()))
            channel->muted =
                it.value().toObject().value(QStringLiteral("muted")).toBool(channel->muted);
    }
    Term const term = guildSettingsTerm(world, guild);
    call.context.dispatch("USER_GUILD_SETTINGS_UPDATE", term);
    return jsonReply(toJson(term));
}

} // namespace stage
