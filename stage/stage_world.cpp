// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_world.h"

#include "stage_words.h"

#include <algorithm>

namespace stage {

namespace {

constexpr qint64 kSecondMs = 1000;
constexpr qint64 kMinuteMs = 60 * kSecondMs;
constexpr qint64 kDayMs = 1440 * kMinuteMs;

constexpr int kEveryonePermissions = 0x1 | 0x400 | 0x800 | 0x40 | 0x4000 | 0x8000 | 0x10000
    | 0x40000 | 0x100000 | 0x200000 | 0x2000000 | 0x4000000;
constexpr int kModeratorPermissions = kEveryonePermissions | 0x2000 | 0x2 | 0x10 | 0x10000000;

// Distinguishes the generators of different things that share a number.
enum Salt : quint64 { SaltUser = 1, SaltGuild, SaltMember, SaltIcon = 8 };

QString pickStatus(Rng& rng)
{
    int const dice = rng.below(100);
    if (dice < 45)
        return QStringLiteral("online");
    if (dice < 60)
        return QStringLiteral("idle");
    return dice < 68 ? QStringLiteral("dnd") : QStringLiteral("offline");
}

// As the service names its pictures.
QString hashText(Rng& rng)
{
    quint64 const high = rng.next();
    return QStringLiteral("%1%2")
        .arg(high, 16, 16, QLatin1Char('0'))
        .arg(rng.next(), 16, 16, QLatin1Char('0'));
}

void addUsers(World& world, int count)
{
    qint64 const bornMs = world.size.endMs - 1400 * kDayMs;
    world.users.reserve(size_t(count));
    for (int n = 0; n < count; ++n) {
        Rng rng(world.seed, SaltUser, quint64(n));
        User user;
        user.id = nextId(world, bornMs + n * kSecondMs / 2);
        user.name = n == 0 ? QStringLiteral("Robin") : personName(rng);
        user.discriminator = QStringLiteral("%1").arg(rng.below(9999) + 1, 4, 10, QLatin1Char('0'));
        if (rng.chance(70))
            user.avatar = hashText(rng);
        user.status = n == 0 ? QStringLiteral("online") : pickStatus(rng);
        if (n > 0 && user.status != QLatin1String("offline") && rng.chance(20))
            user.game = gameName(rng);
        world.userIndex.insert(user.id, quint32(n));
        world.users.push_back(std::move(user));
    }
}

void addRoles(World& world, Guild& guild, qint64 bornMs)
{
    guild.roles.push_back(
        { guild.id, QStringLiteral("@everyone"), 0, 0, kEveryonePermissions, false });
    int const count = world.size.rolesPerGuild;
    for (int n = 0; n < count; ++n) {
        Role role;
        role.id = nextId(world, bornMs);
        role.name = roleName(n);
        role.color = roleColor(n);
        role.position = count - n;
        role.permissions = n < 2 ? kModeratorPermissions : kEveryonePermissions;
        role.hoist = n < 3;
        guild.roles.push_back(role);
    }
}

// The account's own user is in every guild; the others come round the table of users.
void addMembers(World& world, Guild& guild, int guildNumber)
{
    int const others = int(world.users.size()) - 1;
    int const count = std::min(world.size.membersPerGuild, others + 1);
    for (int n = 0; n < count; ++n) {
        Rng rng(world.seed, SaltMember, quint64(guildNumber) << 32 | quint64(n));
        Member member;
        member.user = n == 0 ? 0 : quint32(1 + (guildNumber * (count / 2) + n - 1) % others);
        if (n > 0 && rng.chance(25))
            member.nick = nickName(rng, world.users[member.user].name);
        for (size_t role = 1; role < guild.roles.size(); ++role) {
            if (rng.chance(role < 3 ? 8 : 30))
                member.roles.push_back(guild.roles[role].id);
        }
        guild.members.push_back(std::move(member));
    }
    // The second guild is the account's own.
    bool const ownsIt = guildNumber == 1 || guild.members.size() < 2;
    guild.owner = ownsIt ? 0 : guild.members[1].user;
}

// Some who are in none of the guilds that the account sees.
void addBans(World& world, Guild& guild)
{
    static constexpr char const* kReasons[] = { "Spam", "", "Kept posting the same link",
                                                "Was rude to newcomers" };
    quint32 user = quint32(world.users.size());
    for (char const* reason : kReasons) {
        if (--user > 0)
            guild.bans.push_back({ user, QString::fromLatin1(reason) });
    }
}

quint32 addChannel(World& world, Channel channel, qint64 bornMs)
{
    channel.id = nextId(world, bornMs);
    auto const index = quint32(world.channels.size());
    world.channelIndex.insert(channel.id, index);
    world.channels.push_back(std::move(channel));
    return index;
}

int unreadOf(Rng& rng, int historyCount)
{
    return rng.chance(20) ? std::min(historyCount, 1 + rng.below(12)) : 0;
}

void addTextChannel(World& world, Guild& guild, int guildNumber, int n, quint64 parent, qint64 born)
{
    Rng rng(world.seed, SaltGuild, quint64(guildNumber) << 32 | quint64(n));
    bool const busy = guildNumber == 0 && n == 0;
    Channel channel;
    channel.guild = guildNumber;
    channel.parent = parent;
    channel.name = textChannelName(n);
    channel.topic = textChannelTopic(n);
    channel.position = n;
    channel.hidden = n > 0 && n % 17 == 16;
    channel.muted = n % 8 == 4;
    channel.nsfw = n > 0 && n % 23 == 22;
    channel.historyCount = busy ? world.size.messagesInBusyChannel : world.size.messagesPerChannel;
    channel.unread = busy ? 0 : unreadOf(rng, channel.historyCount);
    guild.channels.push_back(addChannel(world, std::move(channel), born));
}

// A category for every six text channels, each with a voice channel of its own.
void addChannels(World& world, Guild& guild, int guildNumber, qint64 bornMs)
{
    quint64 parent = 0;
    for (int n = 0; n < world.size.channelsPerGuild; ++n) {
        if (n % 6 == 0) {
            Channel category;
            category.guild = guildNumber;
            category.type = ChannelType::Category;
            category.name = categoryName(n / 6);
            category.position = n / 6;
            guild.channels.push_back(addChannel(world, std::move(category), bornMs));
            parent = world.channels[guild.channels.back()].id;
            Channel voice;
            voice.guild = guildNumber;
            voice.type = ChannelType::Voice;
            voice.parent = parent;
            voice.name = voiceChannelName(n / 6);
            voice.position = n / 6;
            guild.channels.push_back(addChannel(world, std::move(voice), bornMs));
        }
        addTextChannel(world, guild, guildNumber, n, parent, bornMs);
    }
}

void addGuild(World& world, int number)
{
    static constexpr char const* kEmojiNames[] = { "party_owl", "nice", "coffeecat", "shipit" };
    qint64 const bornMs = world.size.endMs - 700 * kDayMs + number * kMinuteMs;
    Guild guild;
    guild.id = nextId(world, bornMs);
    guild.name = guildName(number);
    Rng rng(world.seed, SaltIcon, quint64(number));
    if (number % 4 != 3) // some have none
        guild.icon = hashText(rng);
    addRoles(world, guild, bornMs);
    addMembers(world, guild, number);
    addChannels(world, guild, number, bornMs);
    for (char const* name : kEmojiNames)
        guild.emojis.push_back({ nextId(world, bornMs), QString::fromLatin1(name), false });
    guild.settings.messageNotifications = number == 0 ? 0 : 1;
    addBans(world, guild);
    world.guildPositions.push_back(guild.id);
    world.guildIndex.insert(guild.id, quint32(number));
    world.guilds.push_back(std::move(guild));
}

void addPrivateChannels(World& world)
{
    qint64 const bornMs = world.size.endMs - 650 * kDayMs;
    int const others = int(world.users.size()) - 1;
    for (int n = 0; n < world.size.privateChannels && n < others; ++n) {
        Channel channel;
        bool const group = n % 4 == 3 && others > 3;
        channel.type = group ? ChannelType::Group : ChannelType::Direct;
        for (int who = 0; who < (group ? 3 : 1); ++who)
            channel.recipients.push_back(quint32(1 + (n + who) % others));
        channel.name = group ? QStringLiteral("Weekend plans") : QString();
        channel.historyCount = world.size.messagesPerChannel;
        channel.unread = n == 1 ? std::min(2, channel.historyCount) : 0;
        world.privateChannels.push_back(addChannel(world, std::move(channel), bornMs));
    }
}

template <class Map> auto* lookup(Map const& index, quint64 id)
{
    auto const it = index.constFind(id);
    return it == index.constEnd() ? nullptr : &*it;
}

} // namespace

World makeWorld(WorldSize const& size, quint64 seed)
{
    World world;
    world.seed = seed;
    world.size = size;
    world.size.membersPerGuild = std::max(1, size.membersPerGuild);
    // Guilds overlap by half, as circles of people do.
    int const users = 1 + world.size.membersPerGuild * (1 + std::max(0, size.guilds - 1)) / 2
        + world.size.membersPerGuild / 2 + size.privateChannels;
    addUsers(world, users);
    for (int n = 0; n < size.guilds; ++n)
        addGuild(world, n);
    addPrivateChannels(world);
    return world;
}

Channel const* findChannel(World const& world, quint64 id)
{
    quint32 const* index = lookup(world.channelIndex, id);
    return index ? &world.channels[*index] : nullptr;
}

Channel* findChannel(World& world, quint64 id)
{
    quint32 const* index = lookup(world.channelIndex, id);
    return index ? &world.channels[*index] : nullptr;
}

Guild* findGuild(World& world, quint64 id)
{
    quint32 const* index = lookup(world.guildIndex, id);
    return index ? &world.guilds[*index] : nullptr;
}

Guild const* findGuild(World const& world, quint64 id)
{
    quint32 const* index = lookup(world.guildIndex, id);
    return index ? &world.guilds[*index] : nullptr;
}

User const* findUser(World const& world, quint64 id)
{
    quint32 const* index = lookup(world.userIndex, id);
    return index ? &world.users[*index] : nullptr;
}

Member const* findMember(Guild const& guild, quint32 user)
{
    for (Member const& member : guild.members) {
        if (member.user == user)
            return &member;
    }
    return nullptr;
}

quint64 busyChannel(World const& world)
{
    for (Channel const& channel : world.channels) {
        if (channel.type == ChannelType::Text && channel.guild == 0)
            return channel.id;
    }
    return 0;
}

quint64 nextId(World& world, qint64 nowMs)
{
    quint64 const now = quint64(std::max<qint64>(0, nowMs - kDiscordEpochMs)) << 22;
    world.lastId = std::max(world.lastId + 1, now);
    return world.lastId;
}

qint64 idTimeMs(quint64 id)
{
    return qint64(id >> 22) + kDiscordEpochMs;
}

} // namespace stage
