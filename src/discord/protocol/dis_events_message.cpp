// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_event_handlers.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"

#include <algorithm>

namespace DisClientImpl {

using ChangeType = DisChange::ChangeType;

namespace {

// The author by the store; invalid if the message is not in it.
FlakeId selectAuthor(DisDbPrepared& db, FlakeId messageId)
{
    auto& stmt = db[DisStmt::MessageAuthor];
    DisSql::bindAll(stmt, messageId);
    FlakeId const author = stmt.step() ? stmt.colFlake(0) : FlakeId();
    stmt.reset();
    return author;
}

FlakeId selectAuthorInChannel(DisDbPrepared& db, FlakeId messageId, FlakeId channelId)
{
    auto& stmt = db[DisStmt::MessageAuthorInChannel];
    DisSql::bindAll(stmt, messageId, channelId);
    FlakeId const author = stmt.step() ? stmt.colFlake(0) : FlakeId();
    stmt.reset();
    return author;
}

// Whoever has sent the message types no longer.
void forgetTyping(DisEventState& state, FlakeId channelId, FlakeId userId)
{
    auto const isTheirs = [&](DisTypingStart const& start) {
        return start.channelId == channelId && start.userId == userId;
    };
    auto& starts = state.typingStarts;
    starts.erase(std::remove_if(starts.begin(), starts.end(), isTheirs), starts.end());
}

struct ReactionEvent {
    FlakeId messageId;
    FlakeId channelId;
    FlakeId userId;
    FlakeId emojiId; // invalid for a Unicode emoji, and stored so
    Dread::VString emojiName;
};

bool parseReactionEvent(DisEvent const& event, ReactionEvent* reaction)
{
    Dread::VMap const emoji = event.map("emoji");
    reaction->messageId = event.id("message_id");
    reaction->channelId = event.id("channel_id");
    reaction->userId = event.id("user_id");
    reaction->emojiId = event.id(emoji, "id");
    Dread::find(event.ctx, emoji, "name", &reaction->emojiName);
    reaction->emojiName = DisSql::text(reaction->emojiName);
    bool const hasEmoji = reaction->emojiId.isValid() || reaction->emojiName.length > 0;
    return reaction->messageId.isValid() && reaction->channelId.isValid()
        && reaction->userId.isValid() && hasEmoji;
}

void changeReaction(DisEvent& event, DisStmt writeRow, DisStmt writeCount)
{
    ReactionEvent reaction;
    if (!parseReactionEvent(event, &reaction))
        return;
    DisTransaction const transaction(event.db);
    DisSql::run(event.db[writeRow], reaction.messageId, reaction.userId, reaction.emojiId,
                reaction.emojiName);
    DisSql::run(event.db[writeCount], reaction.messageId, reaction.emojiId, reaction.emojiName);
    event.changed(ChangeType::MessageChanged, reaction.messageId, reaction.channelId,
                  selectAuthor(event.db, reaction.messageId));
}

} // namespace

void Handle::messageCreate(DisEvent& event)
{
    DisMessageCreatedOutcome created;
    created.messageId = event.id("id");
    created.channelId = event.id("channel_id");
    created.authorId = event.id(event.map("author"), "id");
    created.nonce = event.id("nonce");
    if (!created.messageId.isValid() || !created.channelId.isValid())
        return;

    DisTransaction const transaction(event.db);
    updateAllChannelMessageStuff(event.db, event.state.ownUserId, event.ctx, event.data);
    if (created.authorId.isValid())
        event.db.setUserAsGuildMemberInChannel(created.authorId, created.channelId);
    DisRows::forEachMap(event.ctx, event.data, "mentions", [&](Dread::VMap const& user) {
        FlakeId const id = event.id(user, "id");
        if (id.isValid())
            created.mentions.append(id);
    });
    forgetTyping(event.state, created.channelId, created.authorId);
    event.changed(ChangeType::MessageCreated, created.messageId, created.channelId,
                  created.authorId);
    event.outcome.messageCreated = created;
}

void Handle::messageUpdate(DisEvent& event)
{
    FlakeId const id = event.id("id");
    FlakeId const channelId = event.id("channel_id");
    if (!id.isValid() || !channelId.isValid())
        return;
    DisTransaction const transaction(event.db);
    Dread::VMap author;
    FlakeId const authorId = Dread::find(event.ctx, event.data, "author", &author)
        ? event.id(author, "id")
        : selectAuthorInChannel(event.db, id, channelId);
    // The gateway also sends partial updates, such as embeds that were made later.
    if (Dread::findVal(event.ctx, event.data, "content"))
        updateWithChannelMessage(event.db, event.ctx, event.data);
    clearAndUpdateAttachedMessageStuff(event.db, event.state.ownUserId, id, event.ctx, event.data);
    event.changed(ChangeType::MessageChanged, id, channelId, authorId);
}

void Handle::messageDelete(DisEvent& event)
{
    FlakeId const id = event.id("id");
    FlakeId const channelId = event.id("channel_id");
    if (!id.isValid() || !channelId.isValid())
        return;
    DisSql::run(event.db[DisStmt::MessageMarkDeleted], id, channelId);
    event.changed(ChangeType::MessageDeleted, id, channelId);
}

void Handle::messageAck(DisEvent& event)
{
    FlakeId const channelId = event.id("channel_id");
    FlakeId const messageId = event.id("message_id");
    FlakeId const ownUserId = event.state.ownUserId;
    if (!channelId.isValid() || !messageId.isValid() || !ownUserId.isValid())
        return;
    DisSql::run(event.db[DisStmt::ReadStateKeepMentions], ownUserId, channelId, messageId);
    event.outcome.ackedChannel = channelId;
    event.outcome.ackedMessage = messageId;
}

void Handle::messageReactionAdd(DisEvent& event)
{
    changeReaction(event, DisStmt::ReactionEnsure, DisStmt::ReactionCountIncrement);
}

void Handle::messageReactionRemove(DisEvent& event)
{
    changeReaction(event, DisStmt::ReactionDelete, DisStmt::ReactionCountDecrement);
}

} // namespace DisClientImpl
