// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Messages of a channel, and what is done to them.

#include "stage_history.h"
#include "stage_multipart.h"
#include "stage_rest_call.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace stage {

namespace {

constexpr int kMaxContent = 2000;
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

} // namespace

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

} // namespace stage
