// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The REST half of the stand-in service: a table from method and path to what the service does.
// What changes something is told to the gateway, as the service does it: the reply carries little.

#include "stage_http.h"
#include "stage_payloads.h"

#include <functional>
#include <vector>

namespace stage {

struct RestContext {
    World& world;
    std::function<void(QByteArray const& name, Term const& payload)> dispatch;
    std::function<qint64()> nowMs;
    QString gatewayUrl;
    QString token; // the one that is accepted; any but the empty one if this is empty
    int acks = 0; // how many read marks were taken, counted into the next ack token
};

// `path` is the request's path behind the API base.
HttpReply answerRest(RestContext& context, QString const& path, HttpRequest const& request);

// What several roads cause; they change the world and tell the gateway.
Message postMessage(RestContext& context, Channel& channel, quint32 author, QString const& content,
                    QString const& nonce = {}, std::vector<Attachment> attachments = {});
void editMessage(RestContext& context, Message message, QString const& content);
void deleteMessage(RestContext& context, Message const& message);
// False if there was nothing to change.
bool react(RestContext& context, Message message, quint32 user, Reaction const& emoji, bool add);
void startTyping(RestContext& context, Channel const& channel, quint32 user);

} // namespace stage
