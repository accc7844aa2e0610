// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nav_loc.h"

#include <QJsonObject>

#include <algorithm>
#include <tuple>

namespace {

// A vocabulary: what the stored layout calls each value.
template <typename T> struct Word {
    T value;
    char const* text;
};

constexpr Word<NakNav::Type> navTypeWords[] = {
    { NakNav::Type::None, "none" },
    { NakNav::Type::Builtin, "builtin" },
    { NakNav::Type::Discord, "discord" },
    { NakNav::Type::Slack, "slack" },
};
constexpr Word<NakNav::BuiltinView::Type> builtinViewWords[] = {
    { NakNav::BuiltinView::Type::Notifications, "notifications" },
    { NakNav::BuiltinView::Type::Accounts, "accounts" },
};
constexpr Word<NakNav::DiscordKind> discordKindWords[] = {
    { NakNav::DiscordKind::Channel, "channel" },
    { NakNav::DiscordKind::Friends, "friends" },
    { NakNav::DiscordKind::Mentions, "mentions" },
};
constexpr Word<NakNav::SlackKind> slackKindWords[] = {
    { NakNav::SlackKind::Channel, "channel" },
    { NakNav::SlackKind::Thread, "thread" },
    { NakNav::SlackKind::AllThreads, "all_threads" },
};

template <typename T, std::size_t n> QString textFromValue(Word<T> const (&words)[n], T value)
{
    for (Word<T> const& word : words) {
        if (word.value == value)
            return QLatin1String(word.text);
    }
    return {};
}

template <typename T, std::size_t n>
bool valueFromText(Word<T> const (&words)[n], QString const& text, T* out)
{
    for (Word<T> const& word : words) {
        if (text == QLatin1String(word.text)) {
            *out = word.value;
            return true;
        }
    }
    return false;
}

QString key(char const* name)
{
    return QLatin1String(name);
}

// The service's ids: a capital letter, then at most 14 capitals and digits.
bool isSlackId(QString const& text)
{
    auto const isCapital = [](QChar c) { return c >= u'A' && c <= u'Z'; };
    auto const isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    return !text.isEmpty() && text.size() <= 15 && isCapital(text.at(0))
        && std::all_of(text.begin(), text.end(),
                       [&](QChar c) { return isCapital(c) || isDigit(c); });
}

// Seconds, a point, a fraction; both at most 10 digits.
bool isSlackTime(QString const& text)
{
    auto const isNumber = [](QStringRef const& digits) {
        return !digits.isEmpty() && digits.size() <= 10
            && std::all_of(digits.begin(), digits.end(),
                           [](QChar c) { return c >= u'0' && c <= u'9'; });
    };
    int const point = text.indexOf(u'.');
    return point > 0 && isNumber(text.leftRef(point)) && isNumber(text.midRef(point + 1));
}

QJsonObject builtinData(NakNavLoc const& place)
{
    return { { key("type"), textFromValue(builtinViewWords, place.builtinView()) } };
}

QJsonObject discordData(NakNavLoc const& place)
{
    QJsonObject data{ { key("type"), textFromValue(discordKindWords, place.discordKind()) } };
    if (place.discordKind() == NakNav::DiscordKind::Channel)
        data.insert(key("channel_id"), place.discordChannelId().toString());
    return data;
}

QJsonObject slackData(NakNavLoc const& place)
{
    QJsonObject data{
        { key("type"), textFromValue(slackKindWords, place.slackKind()) },
        { key("world"), QString::number(place.slackWorld()) },
    };
    if (place.slackKind() != NakNav::SlackKind::AllThreads)
        data.insert(key("channel_id"), place.slackChannelId());
    if (place.slackKind() == NakNav::SlackKind::Thread)
        data.insert(key("thread_ts"), place.slackThreadTime());
    return data;
}

NakNavLoc placeFromBuiltinData(QJsonObject const& data)
{
    NakNav::BuiltinView::Type view{};
    if (!NakNav::stringToBuiltinView(data.value(key("type")).toString(), &view))
        return {};
    return NakNavLoc::builtin(view);
}

NakNavLoc placeFromDiscordData(QJsonObject const& data)
{
    NakNav::DiscordKind kind{};
    if (!valueFromText(discordKindWords, data.value(key("type")).toString(), &kind))
        return {};
    switch (kind) {
    case NakNav::DiscordKind::Friends:
        return NakNavLoc::discordFriends();
    case NakNav::DiscordKind::Mentions:
        return NakNavLoc::discordMentions();
    case NakNav::DiscordKind::Channel:
        break;
    }
    auto const channelId = FlakeId::fromJson(data.value(key("channel_id")));
    return channelId.isValid() ? NakNavLoc::discordChannel(channelId) : NakNavLoc();
}

NakNavLoc placeFromSlackData(QJsonObject const& data)
{
    NakNav::SlackKind kind{};
    bool worldOk = false;
    quint64 const world = data.value(key("world")).toString().toULongLong(&worldOk);
    if (!worldOk || !valueFromText(slackKindWords, data.value(key("type")).toString(), &kind))
        return {};
    if (kind == NakNav::SlackKind::AllThreads)
        return NakNavLoc::slackAllThreads(world);
    QString const channelId = data.value(key("channel_id")).toString();
    if (!isSlackId(channelId))
        return {};
    if (kind == NakNav::SlackKind::Channel)
        return NakNavLoc::slackChannel(world, channelId);
    QString const time = data.value(key("thread_ts")).toString();
    return isSlackTime(time) ? NakNavLoc::slackThread(world, channelId, time) : NakNavLoc();
}

} // namespace

NakNavLoc NakNavLoc::builtin(NakNav::BuiltinView::Type view)
{
    NakNavLoc place;
    place.m_type = NakNav::Type::Builtin;
    place.m_kind = static_cast<qint32>(view);
    return place;
}

NakNavLoc NakNavLoc::discordChannel(FlakeId channelId)
{
    NakNavLoc place;
    place.m_type = NakNav::Type::Discord;
    place.m_kind = static_cast<qint32>(NakNav::DiscordKind::Channel);
    place.m_word = channelId.value();
    return place;
}

NakNavLoc NakNavLoc::discordFriends()
{
    NakNavLoc place;
    place.m_type = NakNav::Type::Discord;
    place.m_kind = static_cast<qint32>(NakNav::DiscordKind::Friends);
    return place;
}

NakNavLoc NakNavLoc::discordMentions()
{
    NakNavLoc place;
    place.m_type = NakNav::Type::Discord;
    place.m_kind = static_cast<qint32>(NakNav::DiscordKind::Mentions);
    return place;
}

NakNavLoc NakNavLoc::slackChannel(quint64 world, QString const& channelId)
{
    NakNavLoc place = slackAllThreads(world);
    place.m_kind = static_cast<qint32>(NakNav::SlackKind::Channel);
    place.m_channel = channelId;
    return place;
}

NakNavLoc NakNavLoc::slackThread(quint64 world, QString const& channelId, QString const& threadTime)
{
    NakNavLoc place = slackChannel(world, channelId);
    place.m_kind = static_cast<qint32>(NakNav::SlackKind::Thread);
    place.m_time = threadTime;
    return place;
}

NakNavLoc NakNavLoc::slackAllThreads(quint64 world)
{
    NakNavLoc place;
    place.m_type = NakNav::Type::Slack;
    place.m_kind = static_cast<qint32>(NakNav::SlackKind::AllThreads);
    place.m_word = world;
    return place;
}

NakNav::BuiltinView::Type NakNavLoc::builtinView() const
{
    Q_ASSERT(m_type == NakNav::Type::Builtin);
    return static_cast<NakNav::BuiltinView::Type>(m_kind);
}

NakNav::DiscordKind NakNavLoc::discordKind() const
{
    Q_ASSERT(m_type == NakNav::Type::Discord);
    return static_cast<NakNav::DiscordKind>(m_kind);
}

FlakeId NakNavLoc::discordChannelId() const
{
    return discordKind() == NakNav::DiscordKind::Channel ? FlakeId(m_word) : FlakeId();
}

NakNav::SlackKind NakNavLoc::slackKind() const
{
    Q_ASSERT(m_type == NakNav::Type::Slack);
    return static_cast<NakNav::SlackKind>(m_kind);
}

quint64 NakNavLoc::slackWorld() const
{
    Q_ASSERT(m_type == NakNav::Type::Slack);
    return m_word;
}

QString NakNavLoc::slackChannelId() const
{
    Q_ASSERT(m_type == NakNav::Type::Slack);
    return m_channel;
}

QString NakNavLoc::slackThreadTime() const
{
    Q_ASSERT(m_type == NakNav::Type::Slack);
    return m_time;
}

bool operator==(NakNavLoc const& a, NakNavLoc const& b)
{
    auto const tied = [](NakNavLoc const& place) {
        return std::tie(place.m_type, place.m_kind, place.m_word, place.m_channel, place.m_time);
    };
    return tied(a) == tied(b);
}

QString NakNav::navTypeToString(Type type)
{
    return textFromValue(navTypeWords, type);
}

NakNav::Type NakNav::stringToNavType(QString const& text)
{
    Type type = Type::None;
    valueFromText(navTypeWords, text, &type);
    return type;
}

bool NakNav::stringToBuiltinView(QString const& text, BuiltinView::Type* out)
{
    return valueFromText(builtinViewWords, text, out);
}

QJsonValue NakNav::saveToJson(NakNavLoc const& place)
{
    QJsonObject object{ { key("type"), navTypeToString(place.type()) } };
    switch (place.type()) {
    case Type::None:
        break;
    case Type::Builtin:
        object.insert(key("data"), builtinData(place));
        break;
    case Type::Discord:
        object.insert(key("data"), discordData(place));
        break;
    case Type::Slack:
        object.insert(key("data"), slackData(place));
        break;
    }
    return object;
}

NakNavLoc NakNav::loadFromJson(QJsonValue const& value)
{
    QJsonObject const object = value.toObject();
    QJsonObject const data = object.value(key("data")).toObject();
    switch (stringToNavType(object.value(key("type")).toString())) {
    case Type::None:
        break;
    case Type::Builtin:
        return placeFromBuiltinData(data);
    case Type::Discord:
        return placeFromDiscordData(data);
    case Type::Slack:
        return placeFromSlackData(data);
    }
    return {};
}

NakNavLoc NakNav::loadFromJson_tabs_legacy_v1(QJsonValue const& value)
{
    QString const text = value.toString();
    if (text == QLatin1String("notifications"))
        return NakNavLoc::builtin(BuiltinView::Type::Notifications);
    auto const channelId = FlakeId::fromString(text);
    return channelId.isValid() ? NakNavLoc::discordChannel(channelId) : NakNavLoc();
}
