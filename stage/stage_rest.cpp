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

constexpr int kMaxContent = 2000;
constexpr size_t kMaxParts = 16;
constexpr size_t kMaxPins = 50;

HttpReply unknownChannel()
{
    return failure(404, "Unknown Channel", 10003);
}
HttpReply unknownMessage()
{
    return failure(404, "Unknown Message", 10008);
}

bool hasText(Channel const* channel)
{
    return channel && channel->type != ChannelType::Voice && channel->type != ChannelType::Category;
}

// The text channel and the message that the first two identifiers of a path name.
struct Target {
    Channel* channel = nullptr;
    std::optional<Message> message;
};

Target findTarget(RestCall const& call)
{
    Target out;
    Channel* channel = findChannel(call.context.world, call.idArg(0));
    if (!hasText(channel))
        return out;
    out.channel = channel;
    out.message = findMessage(call.context.world, *channel, call.idArg(1));
    return out;
}

HttpReply getGateway(RestCall& call)
{
    return jsonReply(QJsonObject{ { QStringLiteral("url"), call.context.gatewayUrl } });
}

HttpReply getMe(RestCall& call)
{
    return jsonReply(toJson(userTerm(call.context.world.users[0])));
}

HttpReply getMessages(RestCall& call)
{
    Channel const* channel = findChannel(call.context.world, call.idArg(0));
    if (!hasText(channel))
        return unknownChannel();
    QString const limitText = call.request.query.queryItemValue(QStringLiteral("limit"));
    int const limit = limitText.isEmpty() ? 50 : limitText.toInt();
    if (limit < 1 || limit > 100)
        return failure(400, "Invalid Form Body", 50035);
    quint64 const before =
        call.request.query.queryItemValue(QStringLiteral("before")).toULongLong();
    QJsonArray out;
    for (Message const& message : messagesBefore(call.context.world, *channel, before, limit))
        out.append(toJson(messageTerm(call.context.world, message)));
    return jsonReply(out);
}

HttpReply getMessage(RestCall& call)
{
    Target const target = findTarget(call);
    if (!target.message)
        return unknownMessage();
    return jsonReply(toJson(messageTerm(call.context.world, *target.message)));
}

// What the body of a message says, whichever of its three forms it has.
struct Draft {
    bool readable = false;
    QString content;
    QString nonce;
    std::vector<Attachment> attachments;
};

QString nonceText(QJsonValue const& nonce)
{
    return nonce.isDouble() ? QString::number(qint64(nonce.toDouble())) : nonce.toString();
}

void readDraftObject(QJsonObject object, Draft* draft)
{
    // A body may carry the message wrapped like a gateway frame; then "d" is what counts.
    if (object.value(QStringLiteral("d")).isObject())
        object = object.value(QStringLiteral("d")).toObject();
    draft->content = object.value(QStringLiteral("content")).toString();
    draft->nonce = nonceText(object.value(QStringLiteral("nonce")));
}

Draft readMultipartDraft(RestCall& call)
{
    Draft draft;
    auto const parts = parseMultipart(call.request.body, call.request.header("content-type"));
    draft.readable = !parts.empty();
    for (FormPart const& part : parts) {
        if (part.name == "payload_json")
            readDraftObject(QJsonDocument::fromJson(part.body).object(), &draft);
        else if (part.name == "content")
            draft.content = QString::fromUtf8(part.body);
        else if (part.name == "nonce")
            draft.nonce = QString::fromUtf8(part.body);
        else if (!part.filename.isEmpty())
            draft.attachments.push_back({ nextId(call.context.world, call.context.nowMs()),
                                          part.filename, part.body.size() });
    }
    return draft;
}

Draft readDraft(RestCall& call)
{
    if (call.request.header("content-type").startsWith("multipart/form-data"))
        return readMultipartDraft(call);
    Draft draft;
    QJsonDocument const document = QJsonDocument::fromJson(call.request.body);
    draft.readable = document.isObject();
    readDraftObject(document.object(), &draft);
    return draft;
}

HttpReply postMessages(RestCall& call)
{
    Channel* channel = findChannel(call.context.world, call.idArg(0));
    if (!hasText(channel))
        return unknownChannel();
    Draft draft = readDraft(call);
    if (!draft.readable)
        return failure(400, "The request body contains invalid JSON.", 50109);
    if (draft.content.trimmed().isEmpty() && draft.attachments.empty())
        return failure(400, "Cannot send an empty message", 50006);
    if (draft.content.size() > kMaxContent)
        return failure(400, "Invalid Form Body", 50035);
    Message const message = postMessage(call.context, *channel, 0, draft.content, draft.nonce,
                                        std::move(draft.attachments));
    return jsonReply(toJson(messageTerm(call.context.world, message)));
}

HttpReply patchMessage(RestCall& call)
{
    Target const target = findTarget(call);
    if (!target.message)
        return unknownMessage();
    if (target.message->author != 0)
        return failure(403, "Cannot edit a message authored by another user", 50005);
    QString const content = call.request.json().value(QStringLiteral("content")).toString();
    if (content.trimmed().isEmpty())
        return failure(400, "Cannot send an empty message", 50006);
    editMessage(call.context, *target.message, content);
    return jsonReply(
        toJson(messageTerm(call.context.world,
                           *findMessage(call.context.world, *target.channel, target.message->id))));
}

HttpReply removeMessageReply(RestCall& call)
{
    Target const target = findTarget(call);
    if (!target.message)
        return unknownMessage();
    deleteMessage(call.context, *target.message);
    return noContent();
}

HttpReply changeReaction(RestCall& call, bool add)
{
    Target const target = findTarget(call);
    if (!target.message)
        return unknownMessage();
    Reaction emoji;
    emoji.name = call.args[2].section(QLatin1Char(':'), 0, 0);
    emoji.emojiId = call.args[2].section(QLatin1Char(':'), 1, 1).toULongLong();
    if (emoji.name.isEmpty() || emoji.name.size() > 64)
        return failure(400, "Unknown Emoji", 10014);
    react(call.context, *target.message, 0, emoji, add);
    return noContent();
}

HttpReply putReaction(RestCall& call)
{
    return changeReaction(call, true);
}
HttpReply deleteReaction(RestCall& call)
{
    return changeReaction(call, false);
}

HttpReply getPins(RestCall& call)
{
    Channel const* channel = findChannel(call.context.world, call.idArg(0));
    if (!hasText(channel))
        return unknownChannel();
    QJsonArray out;
    for (quint64 pinned : call.context.world.pins.value(channel->id)) {
        std::optional<Message> const message = findMessage(call.context.world, *channel, pinned);
        if (message)
            out.append(toJson(messageTerm(call.context.world, *message)));
    }
    return jsonReply(out);
}

HttpReply changePin(RestCall& call, bool add)
{
    Target const target = findTarget(call);
    if (!target.message)
        return unknownMessage();
    auto& pins = call.context.world.pins[target.channel->id];
    quint64 const messageId = target.message->id;
    pins.erase(std::remove(pins.begin(), pins.end(), messageId), pins.end());
    if (add && pins.size() >= kMaxPins)
        return failure(400, "Maximum number of pins reached (50)", 30003);
    if (add)
        pins.insert(pins.begin(), messageId);
    Message message = *target.message;
    message.pinned = add;
    replaceMessage(call.context.world, message);
    call.context.dispatch("MESSAGE_UPDATE", messageTerm(call.context.world, message));
    call.context.dispatch("CHANNEL_PINS_UPDATE", map().set("channel_id", id(target.channel->id)));
    return noContent();
}

HttpReply putPin(RestCall& call)
{
    return changePin(call, true);
}
HttpReply deletePin(RestCall& call)
{
    return changePin(call, false);
}

HttpReply postTyping(RestCall& call)
{
    Channel const* channel = findChannel(call.context.world, call.idArg(0));
    if (!hasText(channel))
        return unknownChannel();
    startTyping(call.context, *channel, 0);
    return noContent();
}

HttpReply postAck(RestCall& call)
{
    if (!hasText(findChannel(call.context.world, call.idArg(0))))
        return unknownChannel();
    ++call.context.acks;
    call.context.dispatch("MESSAGE_ACK",
                          map()
                              .set("channel_id", id(call.idArg(0)))
                              .set("message_id", id(call.idArg(1)))
                              .set("version", integer(call.context.acks)));
    QString const token = QStringLiteral("ack-%1").arg(call.context.acks, 12, 10, QLatin1Char('0'));
    return jsonReply(QJsonObject{ { QStringLiteral("token"), token } });
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

// A value of a header's parameter, with or without quotes.
QByteArray parameter(QByteArray const& header, QByteArray const& name)
{
    int const at = header.indexOf(name + '=');
    if (at < 0)
        return {};
    QByteArray value = header.mid(at + name.size() + 1);
    if (value.startsWith('"'))
        return value.mid(1, std::max(0, value.indexOf('"', 1) - 1));
    int const end = value.indexOf(';');
    return (end < 0 ? value : value.left(end)).trimmed();
}

FormPart parsePart(QByteArray const& head, QByteArray const& body)
{
    FormPart part;
    part.body = body;
    for (QByteArray const& line : head.split('\n')) {
        if (!line.toLower().startsWith("content-disposition:"))
            continue;
        // With the separator, since "filename=" ends in the other one's name.
        part.name = parameter(line, QByteArrayLiteral(" name"));
        part.filename = QString::fromUtf8(parameter(line, QByteArrayLiteral(" filename")));
    }
    return part;
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

Message postMessage(RestContext& context, Channel& channel, quint32 author, QString const& content,
                    QString const& nonce, std::vector<Attachment> attachments)
{
    Message message = appendMessage(context.world, channel, author, content, context.nowMs());
    if (!attachments.empty()) {
        message.attachments = std::move(attachments);
        replaceMessage(context.world, message);
    }
    Term payload = messageTerm(context.world, message);
    if (!nonce.isEmpty())
        payload.set("nonce", text(nonce));
    context.dispatch("MESSAGE_CREATE", payload);
    return message;
}

void editMessage(RestContext& context, Message message, QString const& content)
{
    message.content = content;
    message.editedMs = context.nowMs();
    replaceMessage(context.world, message);
    context.dispatch("MESSAGE_UPDATE", messageTerm(context.world, message));
}

void deleteMessage(RestContext& context, Message const& message)
{
    removeMessage(context.world, message.id);
    context.dispatch("MESSAGE_DELETE",
                     map().set("id", id(message.id)).set("channel_id", id(message.channel)));
}

bool react(RestContext& context, Message message, quint32 user, Reaction const& emoji, bool add)
{
    auto found =
        std::find_if(message.reactions.begin(), message.reactions.end(), [&](Reaction const& one) {
            return one.name == emoji.name && one.emojiId == emoji.emojiId;
        });
    if (found == message.reactions.end()) {
        if (!add)
            return false;
        message.reactions.push_back({ emoji.name, emoji.emojiId, {} });
        found = message.reactions.end() - 1;
    }
    auto const who = std::find(found->users.begin(), found->users.end(), user);
    if ((who != found->users.end()) == add)
        return false;
    if (add)
        found->users.push_back(user);
    else
        found->users.erase(who);
    if (found->users.empty())
        message.reactions.erase(found);
    replaceMessage(context.world, message);
    context.dispatch(add ? "MESSAGE_REACTION_ADD" : "MESSAGE_REACTION_REMOVE",
                     map()
                         .set("message_id", id(message.id))
                         .set("channel_id", id(message.channel))
                         .set("user_id", id(context.world.users[user].id))
                         .set("emoji", emojiOfReaction(emoji)));
    return true;
}

void startTyping(RestContext& context, Channel const& channel, quint32 user)
{
    context.dispatch("TYPING_START",
                     map()
                         .set("channel_id", id(channel.id))
                         .set("user_id", id(context.world.users[user].id))
                         .set("timestamp", integer(context.nowMs() / 1000)));
}

std::vector<FormPart> parseMultipart(QByteArray const& body, QByteArray const& contentType)
{
    std::vector<FormPart> parts;
    QByteArray const boundary = parameter(contentType, QByteArrayLiteral("boundary"));
    if (boundary.isEmpty())
        return parts;
    QByteArray const mark = "--" + boundary;
    int at = body.startsWith(mark) ? 0 : -1;
    while (at >= 0) {
        at += mark.size();
        if (body.mid(at, 2) == "--")
            return parts;
        int const headEnd = body.indexOf("\r\n\r\n", at);
        int const next = headEnd < 0 ? -1 : body.indexOf("\r\n" + mark, headEnd + 2);
        if (next < 0 || parts.size() >= kMaxParts)
            break;
        int const bodyStart = headEnd + 4;
        parts.push_back(parsePart(body.mid(at, headEnd - at),
                                  body.mid(bodyStart, std::max(0, next - bodyStart))));
        at = next + 2;
    }
    return {};
}

} // namespace stage
