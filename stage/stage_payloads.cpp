// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_payloads.h"

#include "stage_history.h"

#include <QDateTime>
#include <QRegularExpression>

#include <algorithm>

namespace stage {

namespace {

Term textOrNil(QString const& value)
{
    return value.isEmpty() ? nil() : text(value);
}
Term idOrNil(quint64 value)
{
    return value == 0 ? nil() : id(value);
}

Term timestamp(qint64 ms)
{
    QDateTime const when = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
    return text(when.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz'000+00:00'")));
}

Term idList(std::vector<quint64> const& ids)
{
    Term out = list();
    out.items.reserve(ids.size());
    for (quint64 one : ids)
        out.add(id(one));
    return out;
}

Term gameTerm(User const& user)
{
    if (user.game.isEmpty())
        return nil();
    return map().set("name", text(user.game)).set("type", integer(0));
}

Term roleTerm(Role const& role)
{
    return map()
        .set("id", id(role.id))
        .set("name", text(role.name))
        .set("color", integer(role.color))
        .set("hoist", boolean(role.hoist))
        .set("position", integer(role.position))
        .set("permissions", integer(role.permissions))
        .set("managed", boolean(false))
        .set("mentionable", boolean(role.hoist));
}

Term emojiTerm(Emoji const& emoji)
{
    return map()
        .set("id", id(emoji.id))
        .set("name", text(emoji.name))
        .set("managed", boolean(false))
        .set("require_colons", boolean(true))
        .set("animated", boolean(emoji.animated))
        .set("roles", list());
}

Term overwritesTerm(World const& world, Channel const& channel)
{
    Term out = list();
    if (!channel.hidden)
        return out;
    Guild const& guild = world.guilds[size_t(channel.guild)];
    auto const overwrite = [&out](quint64 role, int allow, int deny) {
        out.add(map()
                    .set("id", id(role))
                    .set("type", text(QStringLiteral("role")))
                    .set("allow", integer(allow))
                    .set("deny", integer(deny)));
    };
    overwrite(guild.id, 0, 0x400);
    if (guild.roles.size() > 1)
        overwrite(guild.roles[1].id, 0x400, 0);
    return out;
}

// The people whom the text points at.
Term mentionsTerm(World const& world, QString const& content)
{
    static QRegularExpression const mention(QStringLiteral("<@!?(\\d{1,20})>"));
    Term out = list();
    if (!content.contains(QLatin1String("<@")))
        return out;
    auto it = mention.globalMatch(content);
    while (it.hasNext()) {
        User const* user = findUser(world, it.next().captured(1).toULongLong());
        if (user && out.items.size() < 100)
            out.add(userTerm(*user));
    }
    return out;
}

Term attachmentsTerm(World const& world, Message const& message)
{
    Term out = list();
    for (Attachment const& file : message.attachments) {
        QString const path = QStringLiteral("/attachments/%1/%2/%3")
                                 .arg(message.channel)
                                 .arg(file.id)
                                 .arg(file.filename);
        Term term = map()
                        .set("id", id(file.id))
                        .set("filename", text(file.filename))
                        .set("size", integer(file.size))
                        .set("url", text(world.cdnUrl + path))
                        .set("proxy_url", text(world.mediaUrl + path));
        if (file.width > 0)
            term.set("width", integer(file.width)).set("height", integer(file.height));
        out.add(std::move(term));
    }
    return out;
}

Term reactionsTerm(Message const& message)
{
    Term out = list();
    for (Reaction const& reaction : message.reactions) {
        bool const me =
            std::find(reaction.users.begin(), reaction.users.end(), 0u) != reaction.users.end();
        out.add(map()
                    .set("emoji", emojiOfReaction(reaction))
                    .set("count", integer(qint64(reaction.users.size())))
                    .set("me", boolean(me)));
    }
    return out;
}

Term readStateTerm(World const& world)
{
    Term out = list();
    for (Channel const& channel : world.channels) {
        quint64 const read =
            channel.type == ChannelType::Voice || channel.type == ChannelType::Category
            ? 0
            : readMessageId(world, channel);
        // What was said while the stage ran counts as read when the account signs in again.
        quint64 const seen = channel.live.empty() ? read : channel.live.back().id;
        if (seen != 0)
            out.add(map()
                        .set("id", id(channel.id))
                        .set("last_message_id", id(seen))
                        .set("mention_count", integer(channel.guild < 0 ? channel.unread : 0)));
    }
    return out;
}

// A few friends, a request and somebody blocked, taken from the front of the table of users.
Term relationshipsTerm(World const& world)
{
    static constexpr int kTypes[] = { 1, 1, 1, 1, 3, 2 };
    Term out = list();
    for (size_t n = 0; n < std::size(kTypes) && n + 1 < world.users.size(); ++n) {
        User const& user = world.users[n + 1];
        out.add(map()
                    .set("id", id(user.id))
                    .set("type", integer(kTypes[n]))
                    .set("user", userTerm(user)));
    }
    return out;
}

Term channelOverridesTerm(World const& world, Guild const& guild)
{
    Term out = list();
    for (quint32 index : guild.channels) {
        Channel const& channel = world.channels[index];
        if (channel.muted)
            out.add(map()
                        .set("channel_id", id(channel.id))
                        .set("message_notifications", integer(3)) // as the guild's
                        .set("muted", boolean(true)));
    }
    return out;
}

Term userSettingsTerm(World const& world)
{
    return map()
        .set("guild_positions", idList(world.guildPositions))
        .set("status", text(world.users[0].status));
}

Term voiceStatesTerm(World const& world, Guild const& guild)
{
    Term out = list();
    for (quint32 index : guild.channels) {
        Channel const& channel = world.channels[index];
        if (channel.type != ChannelType::Voice || guild.members.size() < 4)
            continue;
        for (size_t n = 2; n < 4; ++n)
            out.add(map()
                        .set("session_id", text(QString::number(channel.id + n, 16)))
                        .set("user_id", id(world.users[guild.members[n].user].id))
                        .set("channel_id", id(channel.id))
                        .set("deaf", boolean(false))
                        .set("mute", boolean(false))
                        .set("self_deaf", boolean(false))
                        .set("self_mute", boolean(n == 3)));
        break;
    }
    return out;
}

Term membersTerm(World const& world, Guild const& guild)
{
    Term out = list();
    out.items.reserve(guild.members.size());
    for (Member const& member : guild.members)
        out.add(memberTerm(world, member));
    return out;
}

Term presencesTerm(World const& world, Guild const& guild)
{
    Term out = list();
    for (Member const& member : guild.members) {
        User const& user = world.users[member.user];
        if (user.status != QLatin1String("offline"))
            out.add(presenceTerm(user));
    }
    return out;
}

// The member list as the service groups it: hoisted roles from the top, then online, then offline.
struct ListGroup {
    QString name; // role identifier, "online" or "offline"
    std::vector<Member const*> members;
};

std::vector<ListGroup> memberGroups(World const& world, Guild const& guild)
{
    std::vector<ListGroup> groups;
    for (Role const& role : guild.roles) {
        if (role.hoist)
            groups.push_back({ QString::number(role.id), {} });
    }
    size_t const online = groups.size();
    groups.push_back({ QStringLiteral("online"), {} });
    groups.push_back({ QStringLiteral("offline"), {} });
    for (Member const& member : guild.members) {
        size_t at = online;
        if (world.users[member.user].status == QLatin1String("offline")) {
            at = online + 1;
        } else {
            for (size_t n = 0; n < online && at == online; ++n) {
                quint64 const role = groups[n].name.toULongLong();
                if (std::find(member.roles.begin(), member.roles.end(), role) != member.roles.end())
                    at = n;
            }
        }
        groups[at].members.push_back(&member);
    }
    auto const shownName = [&world](Member const* member) {
        QString const& name =
            member->nick.isEmpty() ? world.users[member->user].name : member->nick;
        return name.toCaseFolded();
    };
    for (ListGroup& group : groups)
        std::stable_sort(
            group.members.begin(), group.members.end(),
            [&](Member const* a, Member const* b) { return shownName(a) < shownName(b); });
    groups.erase(std::remove_if(groups.begin(), groups.end(),
                                [](ListGroup const& g) { return g.members.empty(); }),
                 groups.end());
    return groups;
}

Term groupTerm(ListGroup const& group)
{
    return map().set("id", text(group.name)).set("count", integer(qint64(group.members.size())));
}

// Rows `first` to `last` of the list, headings included.
Term listRows(World const& world, std::vector<ListGroup> const& groups, int first, int last)
{
    Term out = list();
    int row = 0;
    for (ListGroup const& group : groups) {
        if (row >= first && row <= last)
            out.add(map().set("group", groupTerm(group)));
        ++row;
        int const size = int(group.members.size());
        for (int n = std::max(0, first - row); n < size && row + n <= last; ++n) {
            Member const& member = *group.members[size_t(n)];
            Term entry = memberTerm(world, member);
            entry.set("presence", presenceTerm(world.users[member.user]));
            out.add(map().set("member", std::move(entry)));
        }
        row += size;
    }
    return out;
}

} // namespace

Term userTerm(User const& user)
{
    return map()
        .set("id", id(user.id))
        .set("username", text(user.name))
        .set("discriminator", text(user.discriminator))
        .set("avatar", textOrNil(user.avatar));
}

Term memberTerm(World const& world, Member const& member)
{
    return map()
        .set("user", userTerm(world.users[member.user]))
        .set("nick", textOrNil(member.nick))
        .set("roles", idList(member.roles))
        .set("deaf", boolean(false))
        .set("mute", boolean(false))
        .set("joined_at", text(QStringLiteral("2018-05-01T12:00:00.000000+00:00")));
}

Term presenceTerm(User const& user)
{
    return map()
        .set("user", map().set("id", id(user.id)))
        .set("status", text(user.status))
        .set("game", gameTerm(user));
}

Term channelTerm(World const& world, Channel const& channel)
{
    Term out = map()
                   .set("id", id(channel.id))
                   .set("guild_id", id(world.guilds[size_t(channel.guild)].id))
                   .set("type", integer(int(channel.type)))
                   .set("name", text(channel.name))
                   .set("position", integer(channel.position))
                   .set("parent_id", idOrNil(channel.parent))
                   .set("permission_overwrites", overwritesTerm(world, channel));
    if (channel.type == ChannelType::Voice)
        out.set("bitrate", integer(64000)).set("user_limit", integer(0));
    if (channel.type == ChannelType::Text)
        out.set("topic", textOrNil(channel.topic))
            .set("nsfw", boolean(channel.nsfw))
            .set("rate_limit_per_user", integer(0))
            .set("last_message_id", idOrNil(lastMessageId(world, channel)));
    return out;
}

Term privateChannelTerm(World const& world, Channel const& channel)
{
    Term recipients = list();
    for (quint32 user : channel.recipients)
        recipients.add(userTerm(world.users[user]));
    Term out = map()
                   .set("id", id(channel.id))
                   .set("type", integer(int(channel.type)))
                   .set("last_message_id", idOrNil(lastMessageId(world, channel)))
                   .set("recipients", std::move(recipients));
    if (channel.type == ChannelType::Group)
        out.set("name", textOrNil(channel.name))
            .set("icon", nil())
            .set("owner_id", id(world.users[channel.recipients[0]].id));
    return out;
}

Term guildTerm(World const& world, Guild const& guild)
{
    Term roles = list();
    for (Role const& role : guild.roles)
        roles.add(roleTerm(role));
    Term channels = list();
    for (quint32 channel : guild.channels)
        channels.add(channelTerm(world, world.channels[channel]));
    Term emojis = list();
    for (Emoji const& emoji : guild.emojis)
        emojis.add(emojiTerm(emoji));
    return map()
        .set("id", id(guild.id))
        .set("name", text(guild.name))
        .set("icon", textOrNil(guild.icon))
        .set("owner_id", id(world.users[guild.owner].id))
        .set("afk_channel_id", nil())
        .set("unavailable", boolean(false))
        .set("member_count", integer(qint64(guild.members.size())))
        .set("members", membersTerm(world, guild))
        .set("presences", presencesTerm(world, guild))
        .set("voice_states", voiceStatesTerm(world, guild))
        .set("roles", std::move(roles))
        .set("channels", std::move(channels))
        .set("emojis", std::move(emojis));
}

Term emojiOfReaction(Reaction const& reaction)
{
    return map().set("id", idOrNil(reaction.emojiId)).set("name", text(reaction.name));
}

Term messageTerm(World const& world, Message const& message)
{
    Channel const* channel = findChannel(world, message.channel);
    Term out =
        map()
            .set("id", id(message.id))
            .set("channel_id", id(message.channel))
            .set("type", integer(0))
            .set("author", userTerm(world.users[message.author]))
            .set("content", text(message.content))
            .set("timestamp", timestamp(idTimeMs(message.id)))
            .set("edited_timestamp", message.editedMs == 0 ? nil() : timestamp(message.editedMs))
            .set("tts", boolean(false))
            .set("pinned", boolean(message.pinned))
            .set("mention_everyone", boolean(false))
            .set("mentions", mentionsTerm(world, message.content))
            .set("mention_roles", list())
            .set("embeds", list())
            .set("attachments", attachmentsTerm(world, message));
    if (channel && channel->guild >= 0)
        out.set("guild_id", id(world.guilds[size_t(channel->guild)].id));
    if (!message.reactions.empty())
        out.set("reactions", reactionsTerm(message));
    return out;
}

Term guildSettingsTerm(World const& world, Guild const& guild)
{
    return map()
        .set("guild_id", id(guild.id))
        .set("message_notifications", integer(guild.settings.messageNotifications))
        .set("mobile_push", boolean(true))
        .set("muted", boolean(guild.settings.muted))
        .set("suppress_everyone", boolean(guild.settings.suppressEveryone))
        .set("channel_overrides", channelOverridesTerm(world, guild));
}

Term readyTerm(World const& world, QByteArray const& sessionId, EncodeOptions const& options)
{
    Term guilds = list();
    Term guildSettings = list();
    for (Guild const& guild : world.guilds) {
        if (guild.left)
            continue;
        guildSettings.add(guildSettingsTerm(world, guild));
        QByteArray bytes;
        appendTerm(bytes, guildTerm(world, guild), options);
        guilds.add(encoded(bytes));
    }
    Term privates = list();
    for (quint32 index : world.privateChannels)
        privates.add(privateChannelTerm(world, world.channels[index]));
    Term own = userTerm(world.users[0]);
    own.set("email", text(QStringLiteral("robin@example.invalid"))).set("premium", boolean(true));
    return map()
        .set("v", integer(6))
        .set("user", std::move(own))
        .set("session_id", binary(sessionId))
        .set("guilds", std::move(guilds))
        .set("private_channels", std::move(privates))
        .set("read_state", readStateTerm(world))
        .set("relationships", relationshipsTerm(world))
        .set("user_settings", userSettingsTerm(world))
        .set("user_guild_settings", std::move(guildSettings));
}

Term guildSyncTerm(World const& world, Guild const& guild)
{
    return map()
        .set("id", id(guild.id))
        .set("large", boolean(guild.members.size() > 250))
        .set("members", membersTerm(world, guild))
        .set("presences", presencesTerm(world, guild));
}

Term memberListTerm(World const& world, Guild const& guild, QVector<QPair<int, int>> const& ranges)
{
    std::vector<ListGroup> const groups = memberGroups(world, guild);
    Term groupList = list();
    for (ListGroup const& group : groups)
        groupList.add(groupTerm(group));
    Term ops = list();
    for (auto const& range : ranges)
        ops.add(map()
                    .set("op", text(QStringLiteral("SYNC")))
                    .set("range", list({ integer(range.first), integer(range.second) }))
                    .set("items", listRows(world, groups, range.first, range.second)));
    return map()
        .set("guild_id", id(guild.id))
        .set("id", text(QStringLiteral("everyone")))
        .set("groups", std::move(groupList))
        .set("ops", std::move(ops));
}

} // namespace stage
