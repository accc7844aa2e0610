// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_history.h"

#include "stage_words.h"

#include <algorithm>

namespace stage {

namespace {

constexpr int kBlock = 16; // messages of one conversation
constexpr qint64 kMinuteMs = 60'000;
constexpr qint64 kUsualSpacingMs = 40 * kMinuteMs; // from one conversation to the next
constexpr qint64 kLongestPastMs = kMinuteMs * 1440 * 600; // channels are older than that
constexpr size_t kMaxLivePerChannel = 5000;
constexpr int kMaxReplaced = 50000;
constexpr int kPictureFromEnd = 4; // whoever opens a channel sees a picture

// Distinguishes the generators of a channel, which has eight.
enum Salt : quint64 { SaltBlock = 4, SaltText, SaltLive, SaltId };

int blockCount(Channel const& channel)
{
    return (channel.historyCount + kBlock - 1) / kBlock;
}

qint64 spacingMs(Channel const& channel)
{
    return std::min(kUsualSpacingMs, kLongestPastMs / std::max(1, blockCount(channel)));
}

// Somebody who can speak in the channel.
quint32 pickPerson(World const& world, Channel const& channel, Rng& rng)
{
    if (channel.guild >= 0) {
        auto const& members = world.guilds[size_t(channel.guild)].members;
        int const others = int(members.size()) - 1;
        return others <= 0 ? 0 : members[size_t(rng.below(others)) + 1].user;
    }
    int const which = rng.below(int(channel.recipients.size()) + 1);
    return which == 0 ? 0 : channel.recipients[size_t(which - 1)];
}

// One conversation: who says something when, for each of its messages.
struct Block {
    int topic = 0;
    qint64 ms[kBlock] = {};
    quint32 author[kBlock] = {};
};

Block makeBlock(World const& world, Channel const& channel, int number)
{
    Rng rng(world.seed, channel.id * 8 + SaltBlock, quint64(number));
    Block block;
    qint64 const spacing = spacingMs(channel);
    qint64 at =
        world.size.endMs - (blockCount(channel) - number) * spacing + rng.below(int(spacing / 8));
    // All gaps together stay below what is left of the spacing, so blocks never overlap.
    int const longestGap = std::max(2, int(spacing * 3 / 4 / kBlock));
    quint32 people[5];
    for (quint32& person : people)
        person = pickPerson(world, channel, rng);
    int const heads = 3 + rng.below(3);
    block.topic = rng.below(topicCount());
    quint32 speaker = people[0];
    for (int n = 0; n < kBlock; ++n) {
        if (n > 0 && !rng.chance(25))
            speaker = people[rng.below(heads)];
        at += 1 + rng.below(rng.chance(70) ? longestGap / 4 : longestGap);
        block.ms[n] = at;
        block.author[n] = speaker;
    }
    return block;
}

Turn turnOf(Block const& block, int n)
{
    if (n == 0)
        return Turn::Opening;
    return block.author[n] == block.author[n - 1] ? Turn::Continuation : Turn::Answer;
}

TalkContext talkContext(World const& world, Channel const& channel, Rng& rng)
{
    TalkContext context;
    context.people.push_back(world.users[pickPerson(world, channel, rng)].id);
    if (channel.guild < 0)
        return context;
    Guild const& guild = world.guilds[size_t(channel.guild)];
    for (Emoji const& emoji : guild.emojis)
        context.emoji.push_back(QStringLiteral("<:%1:%2>").arg(emoji.name).arg(emoji.id));
    Channel const& other =
        world.channels[guild.channels[size_t(rng.below(int(guild.channels.size())))]];
    if (other.type == ChannelType::Text)
        context.channels.push_back(other.id);
    return context;
}

quint64 idOfBlock(World const& world, Channel const& channel, Block const& block, int index)
{
    Rng rng(world.seed, channel.id * 8 + SaltId, quint64(index));
    return quint64(block.ms[index % kBlock] - kDiscordEpochMs) << 22 | (rng.next() & 0x3fffff);
}

Message messageOfBlock(World const& world, Channel const& channel, Block const& block, int index)
{
    Rng rng(world.seed, channel.id * 8 + SaltText, quint64(index));
    Message message;
    qint64 const ms = block.ms[index % kBlock];
    message.id = idOfBlock(world, channel, block, index);
    message.channel = channel.id;
    message.author = block.author[index % kBlock];
    message.content =
        talk(rng, block.topic, turnOf(block, index % kBlock), talkContext(world, channel, rng));
    if (rng.chance(4))
        message.editedMs = ms + 5000 + rng.below(120000);
    if (rng.chance(5)) {
        Reaction reaction;
        reaction.name = unicodeEmoji(rng);
        for (int n = 1 + rng.below(3); n > 0; --n) {
            quint32 const who = pickPerson(world, channel, rng);
            if (std::find(reaction.users.begin(), reaction.users.end(), who)
                == reaction.users.end())
                reaction.users.push_back(who);
        }
        message.reactions.push_back(reaction);
    }
    if (index == channel.historyCount - kPictureFromEnd)
        message.attachments.push_back(
            { message.id ^ 1, QStringLiteral("hills.jpg"), 91'000, 640, 480 });
    return message;
}

quint64 historyId(World const& world, Channel const& channel, int index)
{
    return idOfBlock(world, channel, makeBlock(world, channel, index / kBlock), index);
}

// The number of generated messages with an identifier below `id`.
int historyBelow(World const& world, Channel const& channel, quint64 id)
{
    int low = 0;
    int high = channel.historyCount;
    while (low < high) {
        int const middle = low + (high - low) / 2;
        if (historyId(world, channel, middle) < id)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

auto liveBelow(Channel const& channel, quint64 id)
{
    return std::lower_bound(channel.live.begin(), channel.live.end(), id,
                            [](Message const& m, quint64 wanted) { return m.id < wanted; });
}

// Lays what happened over the message; false if it is deleted.
bool overlay(World const& world, Message& message)
{
    if (world.deleted.contains(message.id))
        return false;
    auto const it = world.replaced.constFind(message.id);
    if (it != world.replaced.constEnd())
        message = *it;
    return true;
}

} // namespace

Message historyMessage(World const& world, Channel const& channel, int index)
{
    return messageOfBlock(world, channel, makeBlock(world, channel, index / kBlock), index);
}

quint64 lastMessageId(World const& world, Channel const& channel)
{
    if (!channel.live.empty())
        return channel.live.back().id;
    return channel.historyCount > 0 ? historyId(world, channel, channel.historyCount - 1) : 0;
}

quint64 readMessageId(World const& world, Channel const& channel)
{
    int const index = channel.historyCount - 1 - channel.unread;
    return index >= 0 ? historyId(world, channel, index) : 0;
}

std::vector<Message> messagesBefore(World const& world, Channel const& channel, quint64 before,
                                    int limit)
{
    std::vector<Message> out;
    auto const full = [&] { return int(out.size()) >= limit; };
    auto const keep = [&](Message message) {
        if (overlay(world, message))
            out.push_back(std::move(message));
    };
    auto live = before == 0 ? channel.live.end() : liveBelow(channel, before);
    while (live != channel.live.begin() && !full())
        keep(*--live);
    int index = before == 0 ? channel.historyCount : historyBelow(world, channel, before);
    while (index > 0 && !full()) {
        Block const block = makeBlock(world, channel, (index - 1) / kBlock);
        int const first = (index - 1) / kBlock * kBlock;
        for (; index > first && !full(); --index)
            keep(messageOfBlock(world, channel, block, index - 1));
    }
    return out;
}

std::optional<Message> findMessage(World const& world, Channel const& channel, quint64 id)
{
    Message message;
    auto const live = liveBelow(channel, id);
    if (live != channel.live.end() && live->id == id) {
        message = *live;
    } else {
        int const index = historyBelow(world, channel, id);
        if (index == channel.historyCount)
            return std::nullopt;
        message = historyMessage(world, channel, index);
    }
    if (message.id != id || !overlay(world, message))
        return std::nullopt;
    return message;
}

Message appendMessage(World& world, Channel& channel, quint32 author, QString const& content,
                      qint64 nowMs)
{
    Message message;
    message.id = nextId(world, nowMs);
    message.channel = channel.id;
    message.author = author;
    message.content = content;
    channel.live.push_back(message);
    if (channel.live.size() > kMaxLivePerChannel) {
        world.replaced.remove(channel.live.front().id);
        world.deleted.remove(channel.live.front().id);
        channel.live.pop_front();
    }
    return message;
}

void replaceMessage(World& world, Message const& message)
{
    if (world.replaced.size() < kMaxReplaced || world.replaced.contains(message.id))
        world.replaced.insert(message.id, message);
}

void removeMessage(World& world, quint64 id)
{
    world.replaced.remove(id);
    if (world.deleted.size() < kMaxReplaced)
        world.deleted.insert(id);
}

QString talkIn(World const& world, Channel const& channel, quint32 author, quint64 salt)
{
    Rng rng(world.seed, channel.id * 8 + SaltLive, salt);
    int const topic = int((salt / kBlock) % quint64(topicCount()));
    if (salt % kBlock == 0 || channel.live.empty())
        return talk(rng, topic, Turn::Opening, talkContext(world, channel, rng));
    Turn const turn = channel.live.back().author == author ? Turn::Continuation : Turn::Answer;
    return talk(rng, topic, turn, talkContext(world, channel, rng));
}

} // namespace stage
