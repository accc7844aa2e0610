// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a dispatch event does: one event in, rows written in one transaction, a record of what
// changed out. No socket, timer or thread; the session worker calls it with its own connection and
// posts the outcome to the user-interface thread after the commit.

#include "dis_changes.h"
#include "dis_seg.h"
#include "dis_types.h"
#include "dis_voice_line.h"
#include "dread.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVector>

#include <optional>

struct sqlite3;
struct DisDbPrepared;

namespace DisClientImpl {

// Offset and length within DisEventState::batchedStrings.
struct BatchedStringSlice {
    quint32 offset = 0;
    quint32 length = 0;
};

// A presence waiting for the status batch.
struct UserBatchedData {
    bool hasStatus = false;
    bool hasUserInfo = false;
    // A presence may tell only what is new of a user; the rest stays as it is stored.
    bool hasUserName = false;
    bool hasDiscriminator = false;
    bool hasAvatar = false;
    bool hasBot = false;
    bool bot = false;
    DisUserStatusCode status = DisUserStatusCode::Unknown;
    BatchedStringSlice gameName;
    BatchedStringSlice gameUrl;
    BatchedStringSlice userName;
    BatchedStringSlice discriminator;
    BatchedStringSlice avatar;
};

// What the handlers keep between events; owned by the session worker.
struct DisEventState {
    FlakeId ownUserId; // invalid until READY
    QString gatewaySessionId; // empty: none held
    QHash<FlakeId, UserBatchedData> batchedStatuses;
    QByteArray batchedStrings;
    QVector<DisTypingStart> typingStarts;
};

struct DisMessageCreatedOutcome {
    FlakeId messageId;
    FlakeId channelId;
    FlakeId authorId;
    FlakeId nonce; // invalid if the event had none
    QVector<FlakeId> mentions;
};

struct DisReadyOutcome {
    FlakeId ownUserId;
    QString userName;
    QString discriminator;
    QString email;
    QString avatar;
    QVector<FlakeId> tooLargeGuilds; // 4,000 members or more: never synchronized as a whole
    QVector<FlakeId> unreadChannels;
};

// A box that the user must see; fatal ones end the session or the program.
struct DisUserMustSee {
    QString title;
    QString text;
    bool fatal = false;
};

// What the user-interface thread is to be told after the commit.
struct DisEventOutcome {
    DisChanges changes; // empty: nothing to tell
    std::optional<DisMessageCreatedOutcome> messageCreated;
    std::optional<DisReadyOutcome> ready;
    std::optional<DisUserMustSee> userMustSee;
    std::optional<DisSeg::Package> segPackage;
    std::optional<DisOwnVoiceState> ownVoiceState;
    std::optional<DisVoiceServer> voiceServer;
    FlakeId ackedChannel; // with ackedMessage: a MESSAGE_ACK of the own user
    FlakeId ackedMessage;
    FlakeId createdPrivateChannel;
    bool signedIn = false; // the service knows who we are from here on
    bool statusBatchGrew = false; // start the status batch timer
    bool typingBatchGrew = false; // start the typing batch timer
};

// Handles one dispatch: name is "t", data is "d". Unknown names and events without their required
// identifiers give an empty outcome.
[[nodiscard]] DisEventOutcome processDispatch(DisEventState& state, DisDbPrepared& prepared,
                                              Dread::Ctx const& ctx, Dread::VString name,
                                              Dread::VMap const& data);

// The names that processDispatch does something with.
QVector<char const*> handledEventNames();

// Writes the batched presences in one transaction, empties the batch and tells what changed.
[[nodiscard]] DisChanges flushBatchedStatuses(DisEventState& state, DisDbPrepared& prepared);

// Writes a page of history, a list of messages, in one transaction. Returns how many were in it.
int writeHistoryPage(DisDbPrepared& prepared, FlakeId ownUserId, Dread::Ctx const& ctx,
                     Dread::VList const& messages);
// The list is all that the channel has: its old pins go. Of the messages themselves only the marks
// are written: an old message without those that follow it would tear a hole into the history.
[[nodiscard]] DisChanges writePinnedMessages(DisDbPrepared& prepared, FlakeId channelId,
                                             Dread::Ctx const& ctx, Dread::VList const& messages);
// The list is all that the guild has: its old bans go.
[[nodiscard]] DisChanges writeGuildBans(DisDbPrepared& prepared, FlakeId guildId,
                                        Dread::Ctx const& ctx, Dread::VList const& bans);

} // namespace DisClientImpl
