// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_life.h"

#include "stage.h"
#include "stage_history.h"
#include "stage_words.h"

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <deque>

namespace stage {

namespace {

constexpr size_t kRecent = 64; // messages that can still be reacted to, edited or deleted
constexpr double kTypingsPerSecond = 5; // above that rate of messages most people just post
constexpr qint64 kMaxBacklog = 8 << 20; // a reader that is slower than this makes people wait
constexpr size_t kFewestMembers = 8;
constexpr quint64 kPictureEvery = 11; // messages

struct Draft {
    qint64 dueMs = 0;
    quint64 channel = 0;
    quint32 author = 0;
};

struct Said {
    quint64 channel = 0;
    quint64 message = 0;
};

} // namespace

struct Life::Priv {
    Stage& stage;
    LifeOptions options;
    Rng rng;
    QTimer timer;
    QElapsedTimer clock;
    std::vector<quint64> channels; // where something can be said
    std::deque<Draft> drafts; // by due time
    std::deque<Said> recent;
    qint64 nowMs = 0; // of the script
    double credit = 0; // messages that are due
    quint64 said = 0;
    quint64 speakerSalt = 0;

    Priv(Stage& s, LifeOptions const& o)
        : stage(s)
        , options(o)
        , rng(o.seed, 0x11fe, 0)
    {
    }

    void findChannels();
    quint64 pickChannel();
    quint32 pickPerson(Channel const& channel);
    void begin();
    std::vector<Attachment> enclosed();
    void say(Draft const& draft);
    void aside();
    void reactToSome();
    void editSome();
    void deleteSome();
    void changePresence();
    void joinOrLeave();
    Said const* pickRecent();
};

void Life::Priv::findChannels()
{
    World const& world = stage.world();
    for (Channel const& channel : world.channels) {
        bool const talk = channel.type != ChannelType::Voice
            && channel.type != ChannelType::Category && !channel.hidden;
        if (talk && (options.channel == 0 || options.channel == channel.id))
            channels.push_back(channel.id);
    }
}

quint64 Life::Priv::pickChannel()
{
    if (options.channel == 0 && rng.chance(options.busyPercent))
        return stage.busyChannelId();
    return channels[size_t(rng.below(int(channels.size())))];
}

// A few people carry on for a while, then others take over. The account's own user stays silent.
quint32 Life::Priv::pickPerson(Channel const& channel)
{
    World const& world = stage.world();
    Rng circle(options.seed, channel.id, said / 24);
    int const who = rng.below(4);
    quint32 person = 0;
    for (int n = 0; n <= who; ++n) {
        if (channel.guild < 0) {
            person = channel.recipients[size_t(circle.below(int(channel.recipients.size())))];
            continue;
        }
        auto const& members = world.guilds[size_t(channel.guild)].members;
        if (members.size() > 1)
            person = members[size_t(circle.below(int(members.size()) - 1)) + 1].user;
    }
    return person;
}

// Somebody has something to say: mostly the others see the typing first.
void Life::Priv::begin()
{
    Channel const* channel = findChannel(stage.world(), pickChannel());
    if (!channel)
        return;
    Draft draft{ nowMs, channel->id, pickPerson(*channel) };
    bool const types = options.messagesPerSecond <= kTypingsPerSecond
        || rng.below(int(options.messagesPerSecond / kTypingsPerSecond)) == 0;
    if (!types)
        return say(draft);
    startTyping(stage.rest(), *channel, draft.author);
    draft.dueMs = nowMs + 800 + rng.below(2400);
    auto const at =
        std::upper_bound(drafts.begin(), drafts.end(), draft,
                         [](Draft const& a, Draft const& b) { return a.dueMs < b.dueMs; });
    drafts.insert(at, draft);
}

// Now and then somebody has a picture to show.
std::vector<Attachment> Life::Priv::enclosed()
{
    static constexpr char const* kNames[] = { "hills.jpg", "morning.webp", "screenshot.png",
                                              "look.gif" };
    if (said % kPictureEvery != kPictureEvery - 1)
        return {};
    QString const name = QString::fromLatin1(kNames[said / kPictureEvery % std::size(kNames)]);
    World& world = stage.world();
    quint64 const id = nextId(world, stage.rest().nowMs());
    return { { id, name, 48'000 + rng.below(90'000), 640, 480 } };
}

void Life::Priv::say(Draft const& draft)
{
    Channel* channel = findChannel(stage.world(), draft.channel);
    if (!channel)
        return;
    QString const content = talkIn(stage.world(), *channel, draft.author, said);
    Message const message =
        postMessage(stage.rest(), *channel, draft.author, content, {}, enclosed());
    ++said;
    recent.push_back({ draft.channel, message.id });
    if (recent.size() > kRecent)
        recent.pop_front();
    aside();
}

// What happens beside the talk, in percent of messages.
void Life::Priv::aside()
{
    int const dice = rng.below(100);
    if (dice < 8)
        reactToSome();
    else if (dice < 11)
        editSome();
    else if (dice < 12)
        deleteSome();
    else if (dice < 16)
        changePresence();
    else if (dice < 17)
        joinOrLeave();
}

Said const* Life::Priv::pickRecent()
{
    return recent.empty() ? nullptr : &recent[size_t(rng.below(int(recent.size())))];
}

void Life::Priv::reactToSome()
{
    Said const* one = pickRecent();
    Channel const* channel = one ? findChannel(stage.world(), one->channel) : nullptr;
    auto const message =
        channel ? findMessage(stage.world(), *channel, one->message) : std::nullopt;
    if (!message)
        return;
    Reaction emoji;
    emoji.name = unicodeEmoji(rng);
    bool const again = !message->reactions.empty() && rng.chance(60);
    if (again)
        emoji = message->reactions.front();
    react(stage.rest(), *message, pickPerson(*channel), { emoji.name, emoji.emojiId, {} }, true);
}

void Life::Priv::editSome()
{
    Said const* one = pickRecent();
    Channel const* channel = one ? findChannel(stage.world(), one->channel) : nullptr;
    auto const message =
        channel ? findMessage(stage.world(), *channel, one->message) : std::nullopt;
    if (message && message->content.size() < 1500)
        editMessage(stage.rest(), *message, message->content + QStringLiteral(" (typo fixed)"));
}

void Life::Priv::deleteSome()
{
    if (recent.empty())
        return;
    size_t const at = size_t(rng.below(int(recent.size())));
    Said const one = recent[at];
    recent.erase(recent.begin() + std::ptrdiff_t(at));
    Channel const* channel = findChannel(stage.world(), one.channel);
    auto const message = channel ? findMessage(stage.world(), *channel, one.message) : std::nullopt;
    if (message)
        deleteMessage(stage.rest(), *message);
}

void Life::Priv::changePresence()
{
    World& world = stage.world();
    if (world.users.size() < 2 || world.guilds.empty())
        return;
    User& user = world.users[size_t(rng.below(int(world.users.size()) - 1)) + 1];
    static constexpr char const* kStatuses[] = { "online", "online", "idle", "dnd", "offline" };
    user.status = QString::fromLatin1(kStatuses[rng.below(5)]);
    user.game =
        user.status != QLatin1String("offline") && rng.chance(30) ? gameName(rng) : QString();
    quint32 const index = world.userIndex.value(user.id);
    for (Guild const& guild : world.guilds) {
        if (!findMember(guild, index))
            continue;
        stage.gateway().dispatch(
            "PRESENCE_UPDATE",
            presenceTerm(user).set("guild_id", id(guild.id)).set("roles", list()));
        return;
    }
}

void Life::Priv::joinOrLeave()
{
    World& world = stage.world();
    if (world.guilds.empty() || world.users.size() < 2)
        return;
    Guild& guild = world.guilds[size_t(rng.below(int(world.guilds.size())))];
    auto const user = quint32(1 + rng.below(int(world.users.size()) - 1));
    Term payload = map().set("guild_id", id(guild.id));
    if (!findMember(guild, user)) {
        guild.members.push_back({ user, {}, {} });
        Term member = memberTerm(world, guild.members.back());
        member.set("guild_id", id(guild.id));
        stage.gateway().dispatch("GUILD_MEMBER_ADD", member);
    } else if (user != guild.owner && guild.members.size() > kFewestMembers) {
        guild.members.erase(
            std::remove_if(guild.members.begin(), guild.members.end(),
                           [user](Member const& member) { return member.user == user; }),
            guild.members.end());
        payload.set("user", userTerm(world.users[user]));
        stage.gateway().dispatch("GUILD_MEMBER_REMOVE", payload);
    }
}

Life::Life(Stage& stage, LifeOptions const& options, QObject* parent)
    : QObject(parent)
    , m_priv(std::make_unique<Priv>(stage, options))
{
    m_priv->findChannels();
    connect(&m_priv->timer, &QTimer::timeout, this, [this] { advance(m_priv->clock.restart()); });
}

Life::~Life() = default;

void Life::start()
{
    m_priv->clock.start();
    // One wake-up serves a batch, so that a high rate costs messages and not timers.
    m_priv->timer.start(m_priv->options.messagesPerSecond > 20 ? 25 : 100);
}

void Life::stop()
{
    m_priv->timer.stop();
}

void Life::advance(qint64 ms)
{
    Priv& p = *m_priv;
    // After a pause nobody catches up.
    qint64 const step = std::min<qint64>(ms, 1000);
    p.nowMs += step;
    if (p.channels.empty() || p.stage.gateway().backlog() > kMaxBacklog)
        return;
    while (!p.drafts.empty() && p.drafts.front().dueMs <= p.nowMs) {
        Draft const draft = p.drafts.front();
        p.drafts.pop_front();
        p.say(draft);
    }
    p.credit += double(step) * p.options.messagesPerSecond / 1000;
    for (; p.credit >= 1; p.credit -= 1)
        p.begin();
}

quint64 Life::said() const
{
    return m_priv->said;
}

bool parseFault(QString const& text, Fault* out)
{
    struct Name {
        char const* text;
        Fault fault;
    };
    static constexpr Name kNames[] = {
        { "drop", Fault::Drop },      { "close", Fault::Close },     { "op7", Fault::Reconnect },
        { "op9", Fault::Invalidate }, { "garbage", Fault::Garbage },
    };
    for (Name const& name : kNames) {
        if (text == QLatin1String(name.text)) {
            *out = name.fault;
            return true;
        }
    }
    return false;
}

void applyFault(Stage& stage, Fault fault)
{
    switch (fault) {
    case Fault::Drop:
        return stage.dropConnection();
    case Fault::Close:
        return stage.closeWith(1001, QStringLiteral("Going away."));
    case Fault::Reconnect:
        return stage.requestReconnect();
    case Fault::Invalidate:
        return stage.invalidateSession();
    case Fault::Garbage:
        return stage.sendGarbage();
    }
}

} // namespace stage
