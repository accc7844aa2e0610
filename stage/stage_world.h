// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The data of the stand-in service: who is there, and the places.
//
// Plain data and free functions, one thread at a time. The history of a channel is not kept, see
// stage_history.h; what happens while the stage runs is laid over it.

#include <QHash>
#include <QSet>
#include <QString>

#include <deque>
#include <optional>
#include <vector>

namespace stage {

constexpr qint64 kDiscordEpochMs = 1420070400000;

enum class ChannelType { Text = 0, Direct = 1, Voice = 2, Group = 3, Category = 4 }; // wire values

struct User {
    quint64 id = 0;
    QString name;
    QString discriminator; // four digits
    QString avatar; // hash in hexadecimal, empty if none
    QString status; // "online", "idle", "dnd", "offline"
    QString game; // empty if none
};

struct Role {
    quint64 id = 0;
    QString name;
    int color = 0;
    int position = 0;
    int permissions = 0;
    bool hoist = false;
};

struct Emoji {
    quint64 id = 0;
    QString name;
    bool animated = false;
};

struct Member {
    quint32 user = 0; // index into World::users
    QString nick;
    std::vector<quint64> roles;
};

struct Reaction {
    QString name;
    quint64 emojiId = 0; // 0 for a Unicode emoji
    std::vector<quint32> users;
};

struct Attachment {
    quint64 id = 0;
    QString filename;
    int size = 0;
    int width = 0; // of a picture; 0 for any other file
    int height = 0;
};

struct Message {
    quint64 id = 0;
    quint64 channel = 0;
    quint32 author = 0; // index into World::users
    QString content;
    qint64 editedMs = 0; // 0 if never edited
    bool pinned = false;
    std::vector<Reaction> reactions;
    std::vector<Attachment> attachments;
};

struct Channel {
    quint64 id = 0;
    int guild = -1; // index into World::guilds, -1 for private channels
    quint64 parent = 0; // category, 0 if none
    ChannelType type = ChannelType::Text;
    QString name;
    QString topic;
    int position = 0;
    bool hidden = false; // not readable by @everyone
    bool nsfw = false;
    bool muted = false; // by the account
    std::vector<quint32> recipients; // private channels, without the account's own user
    int historyCount = 0; // generated messages
    std::deque<Message> live; // appended messages, oldest first
    int unread = 0; // how many messages behind the account's read state is at start
};

struct Ban {
    quint32 user = 0; // index into World::users
    QString reason; // empty if none was given
};

struct Invite {
    QString code;
    quint64 channel = 0;
    int maxAge = 0; // seconds; 0: for ever
    qint64 createdMs = 0;
};

// What the account wants to hear of a guild.
struct GuildSettings {
    bool muted = false;
    bool suppressEveryone = false;
    int messageNotifications = 1;
};

struct Guild {
    quint64 id = 0;
    QString name;
    QString icon; // hash in hexadecimal, empty if none
    quint32 owner = 0;
    std::vector<Role> roles; // the first is @everyone, whose id is the guild's
    std::vector<Member> members;
    std::vector<quint32> channels; // indices into World::channels
    std::vector<Emoji> emojis;
    std::vector<Ban> bans;
    std::vector<Invite> invites;
    GuildSettings settings;
    bool left = false; // by the account
};

struct WorldSize {
    int guilds = 3;
    int channelsPerGuild = 12; // text channels; a voice channel and a category for every six more
    int membersPerGuild = 40;
    int rolesPerGuild = 5;
    int privateChannels = 6;
    int messagesPerChannel = 300;
    int messagesInBusyChannel = 100000;
    // The moment at which the generated history ends.
    qint64 endMs = 1560000000000;
};

struct World {
    quint64 seed = 0;
    WorldSize size;
    QString cdnUrl; // where files are, as messages say it
    QString mediaUrl;
    std::vector<User> users; // the first is the account's own user
    std::vector<Guild> guilds;
    std::vector<Channel> channels; // of guilds and private ones
    std::vector<quint32> privateChannels;
    std::vector<quint64> guildPositions; // in the account's order
    QHash<quint64, quint32> channelIndex;
    QHash<quint64, quint32> guildIndex;
    QHash<quint64, quint32> userIndex;
    // What differs from the generated or appended message of that id.
    QHash<quint64, Message> replaced;
    QSet<quint64> deleted;
    QHash<quint64, std::vector<quint64>> pins; // channel to messages
    quint64 lastId = 0;
};

World makeWorld(WorldSize const& size, quint64 seed);

Channel* findChannel(World& world, quint64 id);
Channel const* findChannel(World const& world, quint64 id);
Guild* findGuild(World& world, quint64 id);
Guild const* findGuild(World const& world, quint64 id);
User const* findUser(World const& world, quint64 id);
Member const* findMember(Guild const& guild, quint32 user);
// The first text channel of the first guild, which has the long history.
quint64 busyChannel(World const& world);

// A fresh identifier for that moment; grows from call to call whatever the clock does.
quint64 nextId(World& world, qint64 nowMs);
qint64 idTimeMs(quint64 id);

} // namespace stage
