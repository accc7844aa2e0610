// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_event_handlers.h"
#include "dis_store_rows.h"

#include <algorithm>

// What comes too often to be written or told one by one: presences are merged for a while, and a
// user who types is told once.

namespace DisClientImpl {

namespace {

// What a flood may pile up before the batch's timer comes to its turn.
constexpr int maxBatchedBytes = 16 << 20;
constexpr int maxTypingStarts = 1'000;

BatchedStringSlice addBatchedItemString(DisEventState& state, Dread::VString text)
{
    BatchedStringSlice slice;
    slice.offset = static_cast<quint32>(state.batchedStrings.size());
    slice.length = text.length;
    state.batchedStrings.append(text.data, static_cast<int>(text.length));
    return slice;
}

Dread::VString sliceText(DisEventState const& state, BatchedStringSlice slice)
{
    return { state.batchedStrings.constData() + slice.offset, slice.length };
}

// The text under key, if there is one, becomes the slice.
bool takeString(DisEvent& event, Dread::VMap const& map, char const* key, BatchedStringSlice* slice)
{
    Dread::VString text;
    if (!Dread::find(event.ctx, map, key, &text))
        return false;
    *slice = addBatchedItemString(event.state, text);
    return true;
}

void takeUserInfo(DisEvent& event, Dread::VMap const& user, UserBatchedData& item)
{
    item.hasUserName |= takeString(event, user, "username", &item.userName);
    item.hasDiscriminator |= takeString(event, user, "discriminator", &item.discriminator);
    auto const* avatar = Dread::findVal(event.ctx, user, "avatar");
    if (avatar && !takeString(event, user, "avatar", &item.avatar))
        item.avatar = {}; // nil: the user has removed it
    item.hasAvatar |= avatar != nullptr;
    bool bot = false;
    if (Dread::find(event.ctx, user, "bot", &bot)) {
        item.hasBot = true;
        item.bot = bot;
    }
    item.hasUserInfo = item.hasUserName || item.hasDiscriminator || item.hasAvatar || item.hasBot;
}

// What the presence did not tell stays as it is stored.
void writeUserInfo(DisEventState const& state, DisDbPrepared& db, FlakeId id,
                   UserBatchedData const& item)
{
    auto& stored = db[DisStmt::UserProperties];
    DisSql::bindAll(stored, id);
    bool const exists = stored.step();
    auto const choose = [&](bool isTold, BatchedStringSlice slice, int column) {
        if (!isTold)
            return exists ? stored.colTextByteArray(column) : QByteArray();
        auto const text = sliceText(state, slice);
        return QByteArray(text.data, static_cast<int>(text.length));
    };
    QByteArray const name = choose(item.hasUserName, item.userName, 0);
    QByteArray const discrim = choose(item.hasDiscriminator, item.discriminator, 1);
    QByteArray const avatar = choose(item.hasAvatar, item.avatar, 2);
    bool const bot = item.hasBot ? item.bot : exists && stored.colBool(3);
    stored.reset();
    auto const view = [](QByteArray const& bytes) {
        return Dread::VString{ bytes.constData(), static_cast<quint32>(bytes.size()) };
    };
    db.createOrUpdateUser(id, view(name), view(discrim), view(avatar), bot);
}

} // namespace

void Handle::presenceUpdate(DisEvent& event)
{
    DisRows::Status status;
    if (!DisRows::parsePresence(event.ctx, event.data, &status))
        return;
    if (event.state.batchedStrings.size() > maxBatchedBytes)
        event.outcome.changes = flushBatchedStatuses(event.state, event.db);
    UserBatchedData& item = event.state.batchedStatuses[status.userId];
    item.hasStatus = true;
    item.status = status.code;
    item.gameName = addBatchedItemString(event.state, status.gameName);
    item.gameUrl = addBatchedItemString(event.state, status.gameUrl);
    takeUserInfo(event, event.map("user"), item);
    event.outcome.statusBatchGrew = true;
}

DisChanges flushBatchedStatuses(DisEventState& state, DisDbPrepared& prepared)
{
    DisChanges changes;
    if (state.batchedStatuses.isEmpty())
        return changes;
    DisTransaction const transaction(prepared);
    for (auto it = state.batchedStatuses.cbegin(); it != state.batchedStatuses.cend(); ++it) {
        auto const& item = it.value();
        if (item.hasUserInfo) {
            writeUserInfo(state, prepared, it.key(), item);
            changes.add(DisChange::ChangeType::UserPropertiesChanged, it.key());
        }
        if (item.hasStatus) {
            DisRows::writeStatus(prepared,
                                 { it.key(), item.status, sliceText(state, item.gameName),
                                   sliceText(state, item.gameUrl) });
            changes.add(DisChange::ChangeType::UserStatusChanged, it.key());
        }
    }
    state.batchedStatuses.clear();
    state.batchedStrings.clear();
    return changes;
}

void Handle::typingStart(DisEvent& event)
{
    DisTypingStart start;
    start.channelId = event.id("channel_id");
    start.userId = event.id("user_id");
    if (!start.channelId.isValid() || !start.userId.isValid()
        || !DisRows::findInteger(event.ctx, event.data, "timestamp", &start.timestamp)
        || start.timestamp < 0)
        return;
    auto const isSame = [&](DisTypingStart const& other) {
        return other.channelId == start.channelId && other.userId == start.userId;
    };
    auto& starts = event.state.typingStarts;
    if (starts.size() < maxTypingStarts && std::none_of(starts.cbegin(), starts.cend(), isSame))
        starts.append(start);
    event.outcome.typingBatchGrew = true;
}

} // namespace DisClientImpl
