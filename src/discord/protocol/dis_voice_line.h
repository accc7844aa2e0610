// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// How a session hands a voice channel over to whoever speaks there: what the gateway tells of the
// own user's voice is gathered here until a connection can be made of it. The voice room, which
// stands above this one, derives its line from IDisVoiceLine and gives DisClient a maker of them at
// start. User-interface thread.

#include "flake_id.h"

#include <QObject>
#include <QPointer>
#include <QString>

// What a voice connection is made of. What the gateway has not told yet is empty.
struct DisVoiceConnParams {
    FlakeId userId;
    FlakeId guildId; // invalid in a private call
    FlakeId channelId;
    QString sessionId;
    QString token; // never for a log
    QString endpoint; // host, perhaps with a port
};

// One user's connection to one voice channel, waiting for the gateway when it is made.
class IDisVoiceLine : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // All of the parameters are there. Called once at most: a line is never used again.
    virtual void startConnection(DisVoiceConnParams const& params) = 0;
    // The own user was moved; invalid: is in no channel any more.
    virtual void setChannelId(FlakeId channel) = 0;
};

// VOICE_STATE_UPDATE of the own user.
struct DisOwnVoiceState {
    QString sessionId;
    FlakeId guildId;
    FlakeId channelId; // invalid: left
};

// VOICE_SERVER_UPDATE.
struct DisVoiceServer {
    QString endpoint; // empty while the service has none
    QString token;
    FlakeId guildId;
};

// What a session keeps of its line.
struct DisVoiceHandOver {
    DisVoiceConnParams params;
    bool started = false;
    QPointer<IDisVoiceLine> line; // the session's child
};

namespace DisClientImpl {

void updateVoiceLineWithParams(DisVoiceHandOver& voice, DisOwnVoiceState const& state);
void updateVoiceLineWithEndpointAndToken(DisVoiceHandOver& voice, DisVoiceServer const& server);
// Starts the line once all that it needs is there.
void checkAndStartVoiceConn(DisVoiceHandOver& voice);

} // namespace DisClientImpl
