// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_cache.h"

#include "dis_cache_data.h"
#include "dis_client.h"

#include <QSet>

#include <optional>

namespace DisCacheImpl {

namespace {

constexpr char const* statementTexts[] = {
#define DIS_READ_STATEMENT_TEXT(name, sql) sql,
    DIS_READ_STATEMENTS(DIS_READ_STATEMENT_TEXT)
#undef DIS_READ_STATEMENT_TEXT
};

std::unique_ptr<Data> g_data;

} // namespace

Data& data()
{
    Q_ASSERT(g_data);
    return *g_data;
}

} // namespace DisCacheImpl

namespace DisCache {

using namespace DisCacheImpl;

namespace {

// The cached value, else what load gives as an optional, which is kept if it is there.
template <typename Key, typename Value, typename Load>
Value lookUp(NakKVCache<Key, Value>& cache, Key const& key, Load load)
{
    if (Value const* hit = cache.find(key))
        return *hit;
    std::optional<Value> const value = load();
    if (!value)
        return Value();
    cache.insert(key, *value);
    return *value;
}

// Many lists show name and discriminator together, so one read fills all that a user's row gives.
bool loadUser(FlakeId user)
{
    Query query(ReadStmt::User, user);
    if (!query.next())
        return false;
    data().userNames.insert(user, query->colString(0));
    QString const discrim = query->colString(1);
    data().userDiscrims.insert(user, discrim.isNull() ? discrim : QLatin1Char('#') + discrim);
    data().userBots.insert(user, query->colBool(2));
    return true;
}

bool loadUserStatus(FlakeId user)
{
    Query query(ReadStmt::UserStatus, user);
    if (!query.next())
        return false;
    data().userStatuses.insert(user, static_cast<DisUserStatusCode>(query->colInt(0)));
    data().userGames.insert(user, query->colString(1));
    return true;
}

bool loadGuild(FlakeId guild)
{
    Query query(ReadStmt::Guild, guild);
    if (!query.next())
        return false;
    data().guildNames.insert(guild, query->colString(0));
    data().guildOwners.insert(guild, query->colFlake(1));
    data().guildAfkChannels.insert(guild, query.flake(2));
    return true;
}

bool loadPrivateChannel(FlakeId channel)
{
    Query query(ReadStmt::PrivateChannel, channel);
    if (!query.next())
        return false;
    data().groupNames.insert(channel, query->colString(0));
    data().groupOwners.insert(channel, query.flake(1));
    return true;
}

// For caches that one row fills together.
template <typename Value>
Value lookUpFilled(NakKVCache<FlakeId, Value>& cache, FlakeId key, bool (*load)(FlakeId))
{
    Value const* hit = cache.find(key);
    if (!hit && load(key))
        hit = cache.find(key);
    return hit ? *hit : Value();
}

} // namespace

void createGlobalData()
{
    createGlobalData(g_disClient->db());
}

void createGlobalData(sqlite3* db)
{
    g_data = std::make_unique<Data>();
    for (size_t i = 0; i < g_data->statements.size(); ++i)
        g_data->statements[i] = std::make_unique<NakStmt>(db, statementTexts[i], nullptr);
}

void destroyGlobalData()
{
    g_data.reset();
}

QString userName(FlakeId user)
{
    return lookUpFilled(data().userNames, user, loadUser);
}

QString userDiscrimWithHash(FlakeId user)
{
    return lookUpFilled(data().userDiscrims, user, loadUser);
}

QString userNickInGuild(FlakeId user, FlakeId guild)
{
    return lookUp(data().memberNicks, qMakePair(guild, user), [&]() -> std::optional<QString> {
        Query query(ReadStmt::MemberNick, guild, user);
        if (!query.next())
            return std::nullopt;
        return query->colString(0);
    });
}

QString userNameOrNickInGuild(FlakeId user, FlakeId guild)
{
    QString const nick = guild.isValid() ? userNickInGuild(user, guild) : QString();
    return nick.isEmpty() ? userName(user) : nick;
}

DisUserStatusCode userStatusCode(FlakeId user)
{
    return lookUpFilled(data().userStatuses, user, loadUserStatus);
}

QString userGameStatus(FlakeId user)
{
    return lookUpFilled(data().userGames, user, loadUserStatus);
}

bool userIsBot(FlakeId user)
{
    return lookUpFilled(data().userBots, user, loadUser);
}

QColor userRoleColorInGuild(FlakeId user, FlakeId guild)
{
    int const color = data().roleColors.findOrFill(GuildAndUser(guild, user), [&] {
        Query query(ReadStmt::MemberColor, guild, user);
        return query.next() ? query->colInt(0) : 0;
    });
    return color == 0 ? QColor() : QColor::fromRgb(static_cast<QRgb>(color));
}

int userRelationshipType(FlakeId ownUser, FlakeId otherUser)
{
    Query query(ReadStmt::Relationship, ownUser, otherUser);
    return query.next() ? query->colInt(0) : 0;
}

QString guildName(FlakeId guild)
{
    return lookUpFilled(data().guildNames, guild, loadGuild);
}

FlakeId guildOwner(FlakeId guild)
{
    return lookUpFilled(data().guildOwners, guild, loadGuild);
}

FlakeId guildAfkVoiceChannel(FlakeId guild)
{
    return lookUpFilled(data().guildAfkChannels, guild, loadGuild);
}

QString guildChannelDisplayName(FlakeId channel)
{
    return lookUp(data().channelNames, channel, [&]() -> std::optional<QString> {
        Query query(ReadStmt::ChannelName, channel);
        if (!query.next())
            return std::nullopt;
        QString const name = query->colString(0);
        bool const isText = channelType(channel) == DisChannelType::GuildText;
        return isText ? QLatin1Char('#') + name : name;
    });
}

int guildChannelRateLimitPerUser(FlakeId channel)
{
    return lookUp(data().rateLimits, channel, [&]() -> std::optional<int> {
        Query query(ReadStmt::TextChannel, channel);
        if (!query.next())
            return std::nullopt;
        return query->colInt(2);
    });
}

DisChannelType channelType(FlakeId channel)
{
    return lookUp(data().channelTypes, channel, [&]() -> std::optional<DisChannelType> {
        Query query(ReadStmt::ChannelType, channel);
        if (!query.next())
            return std::nullopt;
        return static_cast<DisChannelType>(query->colInt(0));
    });
}

FlakeId guildIdOfChannel(FlakeId channel)
{
    return lookUp(data().channelGuilds, channel, [&]() -> std::optional<FlakeId> {
        Query query(ReadStmt::ChannelGuild, channel);
        if (!query.next())
            return std::nullopt;
        return query->colFlake(0);
    });
}

QVector<FlakeId> privateChannelParticipants(FlakeId channel)
{
    return lookUp(data().participants, channel, [&]() -> std::optional<QVector<FlakeId>> {
        QVector<FlakeId> users;
        Query query(ReadStmt::Participants, channel);
        while (query.next())
            users.append(query->colFlake(0));
        if (users.isEmpty())
            return std::nullopt;
        return users;
    });
}

QString privateGroupChannelName(FlakeId channel)
{
    return lookUpFilled(data().groupNames, channel, loadPrivateChannel);
}

FlakeId privateGroupChannelOwner(FlakeId channel)
{
    return lookUpFilled(data().groupOwners, channel, loadPrivateChannel);
}

QMap<FlakeId, DisUserVoiceState> userVoiceStateMap(FlakeId channel)
{
    QMap<FlakeId, DisUserVoiceState> states;
    Query query(ReadStmt::VoiceStates, channel);
    while (query.next())
        states.insert(query->colFlake(0),
                      { query.flake(1), query->colBool(2), query->colBool(3), query->colBool(4),
                        query->colBool(5) });
    return states;
}

void fillVoiceStatesModel(DisVoiceStatesModel* model, FlakeId channel)
{
    *model = { channel, userVoiceStateMap(channel) };
}

bool applyChangesToVoiceStatesModel(DisVoiceStatesModel* model, DisChanges const& changes)
{
    using Type = DisChange::ChangeType;
    // A guild that is told as a whole brings those who are in voice there.
    if (!changes.isReload() && !changes.has(Type::UserVoiceStateChanged)
        && !changes.has(Type::GuildChanged))
        return false;
    auto const users = userVoiceStateMap(model->channelId);
    if (users == model->users)
        return false;
    model->users = users;
    return true;
}

QVector<FlakeId> hack_recentlyCachedUsersByName(int count)
{
    return data().userNames.recentKeys(count);
}

namespace {

void forgetUserProperties(FlakeId user)
{
    data().userNames.remove(user);
    data().userDiscrims.remove(user);
    data().userBots.remove(user);
}

void forgetGuildProperties(FlakeId guild)
{
    data().guildNames.remove(guild);
    data().guildOwners.remove(guild);
    data().guildAfkChannels.remove(guild);
}

void forgetChannelProperties(FlakeId channel)
{
    data().channelNames.remove(channel);
    data().rateLimits.remove(channel);
    data().channelTypes.remove(channel);
    data().channelGuilds.remove(channel);
    data().groupNames.remove(channel);
    data().groupOwners.remove(channel);
    data().participants.remove(channel);
}

template <typename Value>
void forgetPair(OrdCache<GuildAndUser, Value>& cache, FlakeId guild, FlakeId user)
{
    GuildAndUser const key(guild, user);
    cache.erase(cache.lowerBound(key), cache.upperBound(key));
}

template <typename Value> void forgetGuildRange(OrdCache<GuildAndUser, Value>& cache, FlakeId guild)
{
    cache.erase(cache.lowerBound({ guild, FlakeId(0) }), cache.upperBound({ guild, FlakeId() }));
}

void forgetMember(FlakeId guild, FlakeId user)
{
    data().memberNicks.remove(qMakePair(guild, user));
    forgetUserProperties(user); // the event tells the user anew as well
    forgetPair(data().roleColors, guild, user);
    forgetPair(data().guildPermissions, guild, user);
    data().channelCaps.removeIf([&](auto const& channelAndUser, ChannelCaps const& caps) {
        return caps.guild == guild && channelAndUser.second == user;
    });
}

void forgetRightsInGuild(FlakeId guild)
{
    forgetGuildRange(data().roleColors, guild);
    forgetGuildRange(data().guildPermissions, guild);
}

void clearAll()
{
    auto& all = data();
    auto statements = std::move(all.statements);
    g_data = std::make_unique<Data>();
    g_data->statements = std::move(statements);
}

// What stays to be done once per guild or channel, however many items name it.
struct Stale {
    QSet<FlakeId> guilds;
    QSet<FlakeId> channels;
};

void applyChange(DisChange const& change, Stale& stale)
{
    using Type = DisChange::ChangeType;
    auto const* words = change.words;
    switch (change.type) {
    case Type::GuildChanged:
        forgetGuildProperties(words[0]);
        stale.guilds.insert(words[0]); // the owner's rights
        break;
    case Type::ChannelChanged:
        forgetChannelProperties(words[0]);
        stale.channels.insert(words[0]);
        break;
    case Type::UserPropertiesChanged:
        forgetUserProperties(words[0]);
        break;
    case Type::UserStatusChanged:
        data().userStatuses.remove(words[0]);
        data().userGames.remove(words[0]);
        break;
    case Type::GuildMemberAdded:
    case Type::GuildMemberChanged:
    case Type::GuildMemberRemoved:
        forgetMember(words[0], words[1]);
        break;
    case Type::GuildRoleCreated:
    case Type::GuildRoleChanged:
    case Type::GuildRoleDeleted:
        stale.guilds.insert(words[0]);
        break;
    case Type::PrivateRecipientAdded:
    case Type::PrivateRecipientRemoved:
        data().participants.remove(words[0]);
        break;
    default:
        break;
    }
}

} // namespace

void applyChanges(DisChanges const& changes)
{
    if (changes.isReload()) {
        clearAll();
        return;
    }
    Stale stale;
    for (auto const& change : changes.items)
        applyChange(change, stale);
    for (FlakeId const guild : stale.guilds)
        forgetRightsInGuild(guild);
    if (!stale.guilds.isEmpty() || !stale.channels.isEmpty())
        data().channelCaps.removeIf([&](auto const& channelAndUser, ChannelCaps const& caps) {
            return stale.guilds.contains(caps.guild)
                || stale.channels.contains(channelAndUser.first);
        });
}

} // namespace DisCache
