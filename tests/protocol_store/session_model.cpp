// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "session_model.h"

#include <QJsonDocument>
#include <QString>

#include <algorithm>

namespace {

std::string quoted(QJsonValue const& value)
{
    return value.isString() ? "'" + value.toString().toStdString() + "'" : "null";
}

std::string quotedOrEmpty(QJsonValue const& value)
{
    return "'" + value.toString().toStdString() + "'";
}

std::string id(QJsonValue const& value, char const* absent)
{
    return value.isString() ? value.toString().toStdString() : absent;
}

std::string number(QJsonValue const& value, int absent = 0)
{
    return std::to_string(value.toInt(absent));
}

std::string flag(QJsonValue const& value)
{
    return value.toBool() ? "1" : "0";
}

} // namespace

void SessionModel::put(char const* table, size_t keys, Cells cells)
{
    Cells const key(cells.begin(), cells.begin() + static_cast<std::ptrdiff_t>(keys));
    m_tables[table][keys ? key : Cells{ std::to_string(m_serial++) }] = std::move(cells);
}

void SessionModel::remove(char const* table, Cells const& key)
{
    m_tables[table].erase(key);
}

SessionModel::Cells* SessionModel::find(char const* table, Cells const& key)
{
    auto const it = m_tables[table].find(key);
    return it == m_tables[table].end() ? nullptr : &it->second;
}

void SessionModel::insertUser(QJsonObject const& user)
{
    User row;
    row.name = quotedOrEmpty(user[QLatin1String("username")]);
    row.discrim = quotedOrEmpty(user[QLatin1String("discriminator")]);
    row.avatar = quotedOrEmpty(user[QLatin1String("avatar")]);
    row.bot = user[QLatin1String("bot")].toBool();
    m_users.emplace(id(user[QLatin1String("id")], "?"), row);
}

void SessionModel::upsertUser(QJsonObject const& user)
{
    insertUser(user);
    auto& row = m_users[id(user[QLatin1String("id")], "?")];
    auto const name = quotedOrEmpty(user[QLatin1String("username")]);
    auto const discrim = quotedOrEmpty(user[QLatin1String("discriminator")]);
    auto const avatar = quotedOrEmpty(user[QLatin1String("avatar")]);
    if (row.name == name && row.discrim == discrim && row.avatar == avatar)
        return;
    row.name = name;
    row.discrim = discrim;
    row.avatar = avatar;
    row.bot = user[QLatin1String("bot")].toBool();
}

void SessionModel::setStatus(QJsonObject const& presence)
{
    std::map<QString, int> const codes = { { QStringLiteral("online"), 4 },
                                           { QStringLiteral("dnd"), 3 },
                                           { QStringLiteral("idle"), 2 },
                                           { QStringLiteral("offline"), 1 } };
    auto const it =
        m_users.find(id(presence[QLatin1String("user")].toObject()[QLatin1String("id")], "?"));
    if (it == m_users.end())
        return;
    auto const game = presence[QLatin1String("game")].toObject();
    it->second.status = codes.at(presence[QLatin1String("status")].toString());
    it->second.game = quoted(game[QLatin1String("name")]);
    it->second.gameUrl = game.isEmpty() ? "null" : quoted(game[QLatin1String("url")]);
}

void SessionModel::member(std::string const& guild, QJsonObject const& member)
{
    auto const user = member[QLatin1String("user")].toObject();
    upsertUser(user);
    put("guild_member", 2,
        { guild, id(user[QLatin1String("id")], "?"), quoted(member[QLatin1String("nick")]), "null",
          "null", "null" });
    for (auto const& role : member[QLatin1String("roles")].toArray())
        put("guild_member_role", 2, { id(user[QLatin1String("id")], "?"), id(role, "?") });
}

void SessionModel::channel(std::string const& guild, QJsonObject const& channel)
{
    auto const own = id(channel[QLatin1String("id")], "?");
    auto const parent = id(channel[QLatin1String("parent_id")], "-1");
    auto const position = number(channel[QLatin1String("position")]);
    for (auto const& value : channel[QLatin1String("permission_overwrites")].toArray()) {
        auto const overwrite = value.toObject();
        bool const isRole = overwrite[QLatin1String("type")].toString() == QLatin1String("role");
        put("guild_channel_permission", 2,
            { own, id(overwrite[QLatin1String("id")], "?"),
              number(overwrite[QLatin1String("allow")]), number(overwrite[QLatin1String("deny")]),
              isRole ? "0" : "1" });
    }
    switch (channel[QLatin1String("type")].toInt()) {
    case 4:
        put("any_channel", 1, { own, "3" });
        put("guild_channel_category", 1,
            { own, guild, parent, position, "0", quoted(channel[QLatin1String("name")]) });
        break;
    case 2:
        put("any_channel", 1, { own, "2" });
        put("guild_voice_channel", 1,
            { own, guild, parent, position, "0", number(channel[QLatin1String("bitrate")]),
              number(channel[QLatin1String("user_limit")]),
              quoted(channel[QLatin1String("name")]) });
        break;
    default:
        put("any_channel", 1, { own, "1" });
        put("guild_channel", 1,
            { own, guild, parent, position, flag(channel[QLatin1String("nsfw")]), "0",
              quoted(channel[QLatin1String("name")]), quoted(channel[QLatin1String("topic")]),
              number(channel[QLatin1String("rate_limit_per_user")]),
              id(channel[QLatin1String("last_message_id")], "null") });
    }
}

void SessionModel::guild(QJsonObject const& guild)
{
    auto const own = id(guild[QLatin1String("id")], "?");
    put("guild", 1,
        { own, quoted(guild[QLatin1String("name")]), quoted(guild[QLatin1String("icon")]),
          id(guild[QLatin1String("owner_id")], "0"),
          id(guild[QLatin1String("afk_channel_id")], "null") });
    for (auto const& value : guild[QLatin1String("members")].toArray())
        member(own, value.toObject());
    for (auto const& value : guild[QLatin1String("presences")].toArray())
        setStatus(value.toObject());
    for (auto const& value : guild[QLatin1String("voice_states")].toArray()) {
        auto const state = value.toObject();
        put("voice_state", 1,
            { quoted(state[QLatin1String("session_id")]), id(state[QLatin1String("user_id")], "?"),
              id(state[QLatin1String("channel_id")], "?"), own, flag(state[QLatin1String("deaf")]),
              flag(state[QLatin1String("mute")]), flag(state[QLatin1String("self_deaf")]),
              flag(state[QLatin1String("self_mute")]) });
    }
    for (auto const& value : guild[QLatin1String("roles")].toArray()) {
        auto const role = value.toObject();
        put("role", 1,
            { id(role[QLatin1String("id")], "?"), own, quoted(role[QLatin1String("name")]),
              number(role[QLatin1String("color")]), flag(role[QLatin1String("hoist")]),
              number(role[QLatin1String("position")]), number(role[QLatin1String("permissions")]),
              flag(role[QLatin1String("managed")]), flag(role[QLatin1String("mentionable")]) });
    }
    for (auto const& value : guild[QLatin1String("channels")].toArray())
        channel(own, value.toObject());
    for (auto const& value : guild[QLatin1String("emojis")].toArray()) {
        auto const emoji = value.toObject();
        put("emoji", 1,
            { id(emoji[QLatin1String("id")], "?"), quoted(emoji[QLatin1String("name")]),
              flag(emoji[QLatin1String("managed")]), flag(emoji[QLatin1String("require_colons")]),
              flag(emoji[QLatin1String("animated")]) });
        put("emoji_guild", 2, { id(emoji[QLatin1String("id")], "?"), own });
    }
}

void SessionModel::privateChannel(QJsonObject const& channel)
{
    auto const own = id(channel[QLatin1String("id")], "?");
    bool const isGroup = channel[QLatin1String("type")].toInt() == 3;
    put("any_channel", 1, { own, isGroup ? "5" : "4" });
    put("private_channel", 1,
        { own, id(channel[QLatin1String("last_message_id")], "null"),
          isGroup ? id(channel[QLatin1String("owner_id")], "null") : "null",
          isGroup ? quotedOrEmpty(channel[QLatin1String("name")]) : "null",
          isGroup ? quotedOrEmpty(channel[QLatin1String("icon")]) : "null" });
    for (auto const& value : channel[QLatin1String("recipients")].toArray()) {
        upsertUser(value.toObject());
        put("private_channel_participant", 2,
            { own, id(value.toObject()[QLatin1String("id")], "?") });
    }
    put("private_channel_participant", 2, { own, m_own });
}

void SessionModel::settings(QJsonObject const& data)
{
    int position = 0;
    for (auto const& guild : data[QLatin1String("user_settings")]
                                 .toObject()[QLatin1String("guild_positions")]
                                 .toArray())
        put("user_guild_position", 2, { m_own, id(guild, "?"), std::to_string(position++) });
    for (auto const& value : data[QLatin1String("user_guild_settings")].toArray()) {
        auto const setting = value.toObject();
        auto const guild = id(setting[QLatin1String("guild_id")], "?");
        put("user_guild_setting", 2,
            { m_own, guild, number(setting[QLatin1String("message_notifications")]),
              flag(setting[QLatin1String("mobile_push")]), flag(setting[QLatin1String("muted")]),
              flag(setting[QLatin1String("suppress_everyone")]) });
        for (auto const& entry : setting[QLatin1String("channel_overrides")].toArray()) {
            auto const override = entry.toObject();
            put("user_guild_setting_channel_override", 3,
                { m_own, guild, id(override[QLatin1String("channel_id")], "?"),
                  number(override[QLatin1String("message_notifications")]),
                  flag(override[QLatin1String("muted")]) });
        }
    }
}

void SessionModel::ready(QJsonObject const& data)
{
    auto const user = data[QLatin1String("user")].toObject();
    m_own = id(user[QLatin1String("id")], "?");
    put("local_user", 1, { m_own });
    insertUser(user);
    m_users[m_own].status = 4;
    m_users[m_own].premium = user[QLatin1String("premium")].toBool();
    for (auto const& value : data[QLatin1String("guilds")].toArray())
        guild(value.toObject());
    for (auto const& value : data[QLatin1String("private_channels")].toArray())
        privateChannel(value.toObject());
    for (auto const& value : data[QLatin1String("read_state")].toArray()) {
        auto const state = value.toObject();
        put("user_channel_read_state", 2,
            { m_own, id(state[QLatin1String("id")], "?"),
              id(state[QLatin1String("last_message_id")], "-1"),
              number(state[QLatin1String("mention_count")]) });
    }
    for (auto const& value : data[QLatin1String("relationships")].toArray()) {
        auto const relationship = value.toObject();
        upsertUser(relationship[QLatin1String("user")].toObject());
        put("user_relationship", 2,
            { m_own, id(relationship[QLatin1String("id")], "?"),
              number(relationship[QLatin1String("type")]) });
    }
    settings(data);
    upsertUser(user);
}

void SessionModel::raiseMark(std::string const& channel, std::string const& message)
{
    auto const raise = [&](std::string& mark) {
        bool const isNewer = mark == "null" || mark.size() < message.size()
            || (mark.size() == message.size() && mark < message);
        if (isNewer)
            mark = message;
    };
    if (auto* row = find("guild_channel", { channel }))
        raise((*row)[9]);
    if (auto* row = find("private_channel", { channel }))
        raise((*row)[1]);
}

void SessionModel::message(QJsonObject const& message)
{
    auto const own = id(message[QLatin1String("id")], "?");
    auto const channelId = id(message[QLatin1String("channel_id")], "?");
    auto const author = message[QLatin1String("author")].toObject();
    upsertUser(author);
    raiseMark(channelId, own);
    put("message", 1,
        { own, channelId, id(author[QLatin1String("id")], "-1"),
          number(message[QLatin1String("type")]),
          message[QLatin1String("edited_timestamp")].isString() ? "1" : "0", "0",
          quotedOrEmpty(message[QLatin1String("content")]) });
    if (message[QLatin1String("pinned")].toBool())
        put("channel_pinned_message", 2, { channelId, own });
    else
        remove("channel_pinned_message", { channelId, own });
    for (auto const& value : message[QLatin1String("mentions")].toArray())
        insertUser(value.toObject());
}

// The session's lists of embeds are of the image and rich kinds, and no message has any twice.
void SessionModel::attached(QJsonObject const& message)
{
    auto const own = id(message[QLatin1String("id")], "?");
    for (auto const& value : message[QLatin1String("attachments")].toArray()) {
        auto const file = value.toObject();
        if (file[QLatin1String("width")].isDouble() && file[QLatin1String("height")].isDouble())
            put("message_image_attachment", 0,
                { own, quoted(file[QLatin1String("url")]), quoted(file[QLatin1String("proxy_url")]),
                  number(file[QLatin1String("width")]), number(file[QLatin1String("height")]) });
        else
            put("message_file_attachment", 0,
                { own, quoted(file[QLatin1String("filename")]), quoted(file[QLatin1String("url")]),
                  quoted(file[QLatin1String("proxy_url")]), number(file[QLatin1String("size")]) });
    }
    for (auto const& value : message[QLatin1String("embeds")].toArray()) {
        auto const embed = value.toObject();
        auto const thumbnail = embed[QLatin1String("thumbnail")].toObject();
        if (embed[QLatin1String("type")].toString() == QLatin1String("image"))
            put("message_image_embed", 0,
                { own, quoted(embed[QLatin1String("url")]),
                  quoted(thumbnail[QLatin1String("proxy_url")]),
                  number(thumbnail[QLatin1String("width")]),
                  number(thumbnail[QLatin1String("height")]) });
        else
            put("message_rich_embed", 0,
                { own,
                  "'" + QJsonDocument(embed).toJson(QJsonDocument::Compact).toStdString() + "'" });
    }
}

void SessionModel::dispatch(QString const& name, QJsonObject const& data)
{
    auto const channelId = id(data[QLatin1String("channel_id")], "?");
    if (name == QLatin1String("READY")) {
        ready(data);
    } else if (name == QLatin1String("GUILD_CREATE")) {
        guild(data);
        if (!find("guild_member", { id(data[QLatin1String("id")], "?"), m_own }))
            put("guild_member", 2,
                { id(data[QLatin1String("id")], "?"), m_own, "null", "null", "null", "null" });
    } else if (name == QLatin1String("MESSAGE_CREATE")) {
        message(data);
        attached(data);
        auto const author = id(data[QLatin1String("author")].toObject()[QLatin1String("id")], "?");
        auto const* in = find("guild_channel", { channelId });
        if (in && !find("guild_member", { (*in)[1], author }))
            put("guild_member", 2, { (*in)[1], author, "null", "null", "null", "null" });
    } else if (name == QLatin1String("MESSAGE_UPDATE")) {
        if (data.contains(QStringLiteral("content")))
            message(data);
        attached(data);
    } else if (name == QLatin1String("MESSAGE_DELETE")) {
        auto* row = find("message", { id(data[QLatin1String("id")], "?") });
        if (row && (*row)[1] == channelId)
            (*row)[5] = "1";
    } else if (name == QLatin1String("MESSAGE_REACTION_ADD")) {
        auto const emoji = data[QLatin1String("emoji")].toObject();
        auto const messageId = id(data[QLatin1String("message_id")], "?");
        auto const emojiId = id(emoji[QLatin1String("id")], "-1");
        auto const emojiName = quotedOrEmpty(emoji[QLatin1String("name")]);
        auto& count = m_tables["message_emoji_reaction_count"][{ messageId, emojiId, emojiName }];
        int const before = count.empty() ? 0 : std::stoi(count[1]);
        count = { messageId, std::to_string(before + 1), emojiId, emojiName };
        m_tables["message_emoji_reaction"]
                [{ messageId, id(data[QLatin1String("user_id")], "?"), emojiId, emojiName }] = {
                    messageId, id(data[QLatin1String("user_id")], "?"), emojiId, emojiName
                };
    } else if (name == QLatin1String("PRESENCE_UPDATE")) {
        setStatus(data);
    } else if (name == QLatin1String("MESSAGE_ACK")) {
        auto const* row = find("user_channel_read_state", { m_own, channelId });
        put("user_channel_read_state", 2,
            { m_own, channelId, id(data[QLatin1String("message_id")], "?"),
              row ? (*row)[3] : "0" });
    }
}

std::string SessionModel::dump() const
{
    auto tables = m_tables;
    for (auto const& [userId, user] : m_users) {
        tables["user"][{ userId }] = { userId,
                                       user.name,
                                       user.discrim,
                                       user.avatar,
                                       user.bot ? "1" : "0",
                                       user.premium ? "1" : "0",
                                       "null",
                                       std::to_string(user.status),
                                       user.game,
                                       user.gameUrl };
    }
    std::string text;
    for (auto const& [table, rows] : tables) {
        std::vector<std::string> lines;
        for (auto const& [key, cells] : rows) {
            std::string line = table + ": ";
            for (size_t i = 0; i < cells.size(); ++i)
                line += (i > 0 ? "|" : "") + cells[i];
            lines.push_back(line);
        }
        std::sort(lines.begin(), lines.end());
        for (auto const& line : lines)
            text += line + "\n";
    }
    return text;
}
