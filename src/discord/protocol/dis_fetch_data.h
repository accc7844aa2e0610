// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A JSON body that was received, as a Dread tree, and the road from the HTTP reply to it: taken on
// the user-interface thread, inflated and parsed on the thread pool.

#include "dread.h"
#include "flake_id.h"
#include "rest_helpers.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace DisClientOp {

// One thread at a time until it is parsed, then read only.
struct DreadFetchData {
    QByteArray body; // what the tree's strings point into
    Dread::Ctx ctx;
    Dread::Val root;

    DreadFetchData() = default;
    ~DreadFetchData() { Dread::destroy(&ctx); }
    DreadFetchData(DreadFetchData const&) = delete;
    DreadFetchData& operator=(DreadFetchData const&) = delete;
};

// Any thread. Null if the body is no JSON.
std::shared_ptr<DreadFetchData> parseBody(RestHelpers::Body const& body, qint64 maxBody);

// Any thread. The text under a key of a JSON object; nothing if the body is none, or there is no
// text under the key. Not by QJsonDocument, which leaks over some damaged bodies.
[[nodiscard]] std::optional<QString> textInBody(RestHelpers::Body const& body, qint64 maxBody,
                                                char const* key);

// parseBody on the thread pool. The function is called on the receiver's thread, unless that is
// gone by then.
using ParsedSlot = std::function<void(std::shared_ptr<DreadFetchData> const&)>;
void parseReply(QNetworkReply* reply, qint64 maxBody, QObject* receiver,
                ParsedSlot const& function);

} // namespace DisClientOp

// A list that was asked for in order to be written by the session's worker.
struct DisFetchedList {
    enum class Kind { History, Pins, Bans };

    Kind kind = Kind::History;
    FlakeId id; // the channel, or the guild whose bans they are
    std::shared_ptr<DisClientOp::DreadFetchData const> data;
    Dread::VList items;
};
