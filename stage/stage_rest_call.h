// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One REST request on its way through the table, and what its handlers share. For the files of the
// REST half alone.

#include "stage_rest.h"

#include <QJsonObject>
#include <QJsonValue>

namespace stage {

struct RestCall {
    RestContext& context;
    HttpRequest const& request;
    std::vector<QString> args; // what stood at the stars of the pattern, decoded

    quint64 idArg(size_t n) const { return args[n].toULongLong(); }
};

HttpReply jsonReply(QJsonValue const& value, int status = 200);
HttpReply noContent();
HttpReply failure(int status, char const* message, int code);

// --- stage_rest_messages.cpp: messages of a channel, and what is done to them ---
HttpReply getMessages(RestCall& call);
HttpReply getMessage(RestCall& call);
HttpReply postMessages(RestCall& call);
HttpReply patchMessage(RestCall& call);
HttpReply removeMessageReply(RestCall& call);
HttpReply putReaction(RestCall& call);
HttpReply deleteReaction(RestCall& call);
HttpReply getPins(RestCall& call);
HttpReply putPin(RestCall& call);
HttpReply deletePin(RestCall& call);
HttpReply postTyping(RestCall& call);
HttpReply postAck(RestCall& call);

// --- stage_rest_admin.cpp: what concerns whole guilds, and the account's settings of them ---
HttpReply deleteChannel(RestCall& call);
HttpReply deleteMember(RestCall& call);
HttpReply postInvite(RestCall& call);
HttpReply getInvite(RestCall& call);
HttpReply deleteInvite(RestCall& call);
HttpReply getInvites(RestCall& call);
HttpReply getBans(RestCall& call);
HttpReply putBan(RestCall& call);
HttpReply deleteBan(RestCall& call);
HttpReply getAuditLog(RestCall& call);
HttpReply patchSettings(RestCall& call);
HttpReply patchGuildSettings(RestCall& call);

} // namespace stage
