// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Joining and leaving voice channels and calls, as far as the gateway has a part in it.

#include "dis_client.h"
#include "dis_session.h"
#include "event_log.h"
#include "gateway_protocol.h"
#include "invoke_on_thread.h"
#include "nak_stmt.h"

namespace {

// The line outlives the request to leave, so that what is being said still gets out.
constexpr int lineFarewell = 200; // ms

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

FlakeId guildOfVoiceChannel(sqlite3* db, FlakeId channel)
{
    NakStmt stmt(db, "select guild_id from guild_voice_channel where id = ?");
    stmt.bind(1, channel);
    return stmt.step() ? stmt.colFlake(0) : FlakeId();
}

} // namespace

namespace DisClientImpl {

void updateVoiceLineWithParams(DisVoiceHandOver& voice, DisOwnVoiceState const& state)
{
    // The echo of an earlier leave names no channel, and nothing can be joined by it.
    if (voice.params.sessionId.isEmpty() && state.guildId == voice.params.guildId
        && state.channelId.isValid())
        voice.params.sessionId = state.sessionId;
    bool const isOurs =
        !voice.params.sessionId.isEmpty() && state.sessionId == voice.params.sessionId;
    if (isOurs && state.channelId != voice.params.channelId) {
        voice.params.channelId = state.channelId;
        if (voice.line)
            voice.line->setChannelId(state.channelId);
    }
    checkAndStartVoiceConn(voice);
}

void updateVoiceLineWithEndpointAndToken(DisVoiceHandOver& voice, DisVoiceServer const& server)
{
    if (server.guildId == voice.params.guildId) {
        voice.params.endpoint = server.endpoint;
        voice.params.token = server.token;
    }
    checkAndStartVoiceConn(voice);
}

void checkAndStartVoiceConn(DisVoiceHandOver& voice)
{
    DisVoiceConnParams const& params = voice.params;
    if (voice.started || !voice.line || params.sessionId.isEmpty() || params.token.isEmpty()
        || params.endpoint.isEmpty())
        return;
    voice.started = true;
    voice.line->startConnection(params);
}

} // namespace DisClientImpl

void DisSession::connectToVoiceChannel(FlakeId channel)
{
    if (!channel.isValid() || m_voice)
        return;
    DisVoiceHandOver voice;
    voice.params.userId = m_ownUserId;
    voice.params.guildId = guildOfVoiceChannel(m_client->db(), channel);
    voice.params.channelId = channel;
    voice.line = m_client->makeVoiceLine(voice.params, this);
    if (!voice.line)
        return addLog(EvLog::Severity::Warn,
                      QStringLiteral("Nothing here can speak in a voice channel"));
    addLog(EvLog::Severity::Info,
           QStringLiteral("Requesting voice state change to start voice connection"));
    m_voice = voice;
    sendFrame(DisGateway::voiceJoinFrame(voice.params.guildId, channel));
    Utils::invokeOnThread(this, [this, channel, line = voice.line] {
        if (line)
            emit m_client->voiceLineCreated(m_ownUserId, channel, line);
    });
}

void DisSession::disconnectFromVoiceChannel(FlakeId channel)
{
    if (!m_voice || m_voice->params.channelId != channel)
        return;
    addLog(EvLog::Severity::Info,
           QStringLiteral("Requesting voice state change to stop voice connection"));
    sendFrame(DisGateway::voiceLeaveFrame(m_voice->params.guildId));
    if (m_voice->line)
        QTimer::singleShot(lineFarewell, m_voice->line, &QObject::deleteLater);
    m_voice.reset();
}

IDisVoiceLine* DisSession::voiceLine() const
{
    return m_voice ? m_voice->line.data() : nullptr;
}

void DisSession::receiveVoice(DisClientImpl::DisEventOutcome const& outcome)
{
    if (!m_voice)
        return;
    if (outcome.ownVoiceState)
        DisClientImpl::updateVoiceLineWithParams(*m_voice, *outcome.ownVoiceState);
    if (outcome.voiceServer)
        DisClientImpl::updateVoiceLineWithEndpointAndToken(*m_voice, *outcome.voiceServer);
}
