// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_rest.h"

#include "stage_rest_call.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>
#include <QUrl>

#include <algorithm>

namespace stage {

HttpReply jsonReply(QJsonValue const& value, int status)
{
    HttpReply reply;
    reply.status = status;
    reply.body = value.isArray() ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                                 : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
    return reply;
}

HttpReply noContent()
{
    HttpReply reply;
    reply.status = 204;
    return reply;
}

HttpReply failure(int status, char const* message, int code)
{
    return jsonReply(QJsonObject{ { QStringLiteral("message"), QString::fromLatin1(message) },
                                  { QStringLiteral("code"), code } },
                     status);
}

namespace {

HttpReply getGateway(RestCall& call)
{
    return jsonReply(QJsonObject{ { QStringLiteral("url"), call.context.gatewayUrl } });
}

HttpReply getMe(RestCall& call)
{
    return jsonReply(toJson(userTerm(call.context.world.users[0])));
}

// The private channel with that one recipient; made if there is none yet.
HttpReply postPrivateChannel(RestCall& call)
{
    World& world = call.context.world;
    quint64 const wanted =
        call.request.json().value(QStringLiteral("recipient_id")).toString().toULongLong();
    auto const user = world.userIndex.constFind(wanted);
    if (user == world.userIndex.constEnd() || *user == 0)
        return failure(400, "Cannot send messages to this user", 50007);
    auto const found = std::find_if(
        world.privateChannels.begin(), world.privateChannels.end(), [&](quint32 index) {
            Channel const& channel = world.channels[index];
            return channel.type == ChannelType::Direct && channel.recipients[0] == *user;
        });
    Term channel;
    if (found != world.privateChannels.end()) {
        channel = privateChannelTerm(world, world.channels[*found]);
    } else {
        Channel fresh;
        fresh.id = nextId(world, call.context.nowMs());
        fresh.type = ChannelType::Direct;
        fresh.recipients.push_back(*user);
        channel = privateChannelTerm(world, fresh);
        world.channelIndex.insert(fresh.id, quint32(world.channels.size()));
        world.privateChannels.push_back(quint32(world.channels.size()));
        world.channels.push_back(std::move(fresh));
    }
    call.context.dispatch("CHANNEL_CREATE", channel);
    return jsonReply(toJson(channel));
}

// What is taken and recorded but changes nothing here.
HttpReply acceptEmpty(RestCall&)
{
    return noContent();
}
HttpReply acceptObject(RestCall&)
{
    return jsonReply(QJsonObject());
}
HttpReply acceptList(RestCall&)
{
    return jsonReply(QJsonArray());
}

struct Route {
    char const* method;
    char const* pattern; // a star stands for one segment
    HttpReply (*handle)(RestCall&);
};

constexpr Route kRoutes[] = {
    { "GET", "gateway", getGateway },
    { "GET", "users/@me", getMe },
    { "GET", "channels/*/messages", getMessages },
    { "POST", "channels/*/messages", postMessages },
    { "GET", "channels/*/messages/*", getMessage },
    { "PATCH", "channels/*/messages/*", patchMessage },
    { "DELETE", "channels/*/messages/*", removeMessageReply },
    { "PUT", "channels/*/messages/*/reactions/*/@me", putReaction },
    { "DELETE", "channels/*/messages/*/reactions/*/@me", deleteReaction },
    { "POST", "channels/*/messages/*/ack", postAck },
    { "GET", "channels/*/pins", getPins },
    { "PUT", "channels/*/pins/*", putPin },
    { "DELETE", "channels/*/pins/*", deletePin },
    { "POST", "channels/*/typing", postTyping },
    { "POST", "users/*/channels", postPrivateChannel },
    { "PUT", "channels/*/recipients/*", acceptEmpty },
    { "PATCH", "channels/*", acceptObject },
    { "DELETE", "channels/*", deleteChannel },
    { "PUT", "channels/*/permissions/*", acceptEmpty },
    { "POST", "channels/*/invites", postInvite },
    { "POST", "guilds/*/ack", acceptEmpty },
    { "POST", "guilds/*/channels", acceptObject },
    { "PATCH", "guilds/*/channels", acceptEmpty },
    { "POST", "guilds/*/roles", acceptObject },
    { "PATCH", "guilds/*/roles", acceptList },
    { "PATCH", "guilds/*/roles/*", acceptObject },
    { "DELETE", "guilds/*/roles/*", acceptEmpty },
    { "PUT", "guilds/*/members/*/roles/*", acceptEmpty },
    { "DELETE", "guilds/*/members/*/roles/*", acceptEmpty },
    { "PATCH", "guilds/*/members/@me/nick", acceptObject },
    { "PATCH", "guilds/*/members/*", acceptEmpty },
    { "DELETE", "guilds/*/members/*", deleteMember },
    { "GET", "guilds/*/bans", getBans },
    { "PUT", "guilds/*/bans/*", putBan },
    { "DELETE", "guilds/*/bans/*", deleteBan },
    { "GET", "guilds/*/emojis", acceptList },
    { "POST", "guilds/*/emojis", acceptObject },
    { "PATCH", "guilds/*/emojis/*", acceptObject },
    { "DELETE", "guilds/*/emojis/*", acceptEmpty },
    { "GET", "guilds/*/invites", getInvites },
    { "GET", "guilds/*/audit-logs", getAuditLog },
    { "PATCH", "users/@me/settings", patchSettings },
    { "PATCH", "users/@me/guilds/*/settings", patchGuildSettings },
    { "PUT", "users/@me/relationships/*", acceptEmpty },
    { "DELETE", "users/@me/relationships/*", acceptEmpty },
    { "GET", "users/@me/mentions", acceptList },
    { "GET", "invite/*", getInvite },
    { "POST", "invite/*", getInvite },
    { "DELETE", "invite/*", deleteInvite },
};

bool matches(char const* pattern, QStringList const& segments, std::vector<QString>* args)
{
    QStringList const parts = QString::fromLatin1(pattern).split(QLatin1Char('/'));
    args->clear();
    if (parts.size() != segments.size())
        return false;
    for (int n = 0; n < parts.size(); ++n) {
        QString const segment = QUrl::fromPercentEncoding(segments[n].toUtf8());
        if (parts[n] == QLatin1String("*"))
            args->push_back(segment);
        else if (parts[n] != segment)
            return false;
    }
    return true;
}

template <typename List> bool hasId(List const& list, quint64 id)
{
    return std::any_of(list.begin(), list.end(), [id](auto const& one) { return one.id == id; });
}

// What a path names by a segment and the identifier behind it, and how the service refuses one that
// it does not know. The guild is the one that the path names before, if any.
struct Named {
    char const* segment;
    bool (*isKnown)(World const& world, Guild const* guild, quint64 id);
    char const* refusal;
    int code;
};
constexpr Named kNamed[] = {
    { "channels", [](World const& w, Guild const*, quint64 id) { return !!findChannel(w, id); },
      "Unknown Channel", 10003 },
    { "guilds", [](World const& w, Guild const*, quint64 id) { return !!findGuild(w, id); },
      "Unknown Guild", 10004 },
    { "roles", [](World const&, Guild const* g, quint64 id) { return g && hasId(g->roles, id); },
      "Unknown Role", 10011 },
    { "emojis", [](World const&, Guild const* g, quint64 id) { return g && hasId(g->emojis, id); },
      "Unknown Emoji", 10014 },
    { "members",
      [](World const& w, Guild const* g, quint64 id) {
          auto const user = w.userIndex.constFind(id);
          return g && user != w.userIndex.constEnd() && findMember(*g, *user);
      },
      "Unknown Member", 10007 },
    { "bans", [](World const& w, Guild const*, quint64 id) { return !!findUser(w, id); },
      "Unknown User", 10013 },
    { "recipients", [](World const& w, Guild const*, quint64 id) { return !!findUser(w, id); },
      "Unknown User", 10013 },
    { "relationships", [](World const& w, Guild const*, quint64 id) { return !!findUser(w, id); },
      "Unknown User", 10013 },
};

// The refusal of the first identifier in the path that names nothing; a status of 0 if all do.
HttpReply refuseUnknown(World const& world, QStringList const& segments)
{
    Guild const* guild = nullptr;
    for (int n = 0; n + 1 < segments.size(); ++n) {
        quint64 const id = segments[n + 1].toULongLong();
        for (Named const& named : kNamed) {
            bool const isIt = segments[n] == QLatin1String(named.segment)
                && segments[n + 1] != QLatin1String("@me");
            if (isIt && !named.isKnown(world, guild, id))
                return failure(404, named.refusal, named.code);
        }
        if (segments[n] == QLatin1String("guilds"))
            guild = findGuild(world, id);
    }
    HttpReply none;
    none.status = 0;
    return none;
}

bool tokenIsRight(RestContext const& context, HttpRequest const& request)
{
    QByteArray const token = request.header("authorization");
    return !token.isEmpty() && (context.token.isEmpty() || token == context.token.toUtf8());
}

} // namespace

HttpReply answerRest(RestContext& context, QString const& path, HttpRequest const& request)
{
    QStringList const segments = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    bool pathKnown = false;
    std::vector<QString> args;
    for (Route const& route : kRoutes) {
        if (!matches(route.pattern, segments, &args))
            continue;
        pathKnown = true;
        if (request.method != route.method)
            continue;
        // Where the gateway is, anybody may ask.
        if (route.handle != getGateway && !tokenIsRight(context, request))
            return failure(401, "401: Unauthorized", 0);
        HttpReply refusal = refuseUnknown(context.world, segments);
        if (refusal.status != 0)
            return refusal;
        RestCall call{ context, request, args };
        return route.handle(call);
    }
    return pathKnown ? failure(405, "405: Method Not Allowed", 0)
                     : failure(404, "404: Not Found", 0);
}

} // namespace stage
