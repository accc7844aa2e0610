// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One signed-in account connected to the gateway. Lives on the user-interface thread, owned by
// DisClient; owns the worker and its thread, and carries the account's REST requests and the marks
// of what has been fetched. Once Disconnected it never comes back: a later connection is a new one.

#include "dis_events.h"
#include "dis_rest_request.h"
#include "dis_seg.h"
#include "dis_session_timings.h"
#include "dis_types.h"
#include "dis_voice_line.h"
#include "rest_helpers.h"

#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QPair>
#include <QSet>
#include <QString>
#include <QThread>
#include <QTimer>
#include <QVector>

#include <functional>
#include <memory>
#include <optional>

class DisClient;
class DisSessionWorker;
class QIODevice;
class QNetworkAccessManager;
class QPixmap;
struct DisEmbedCreation;
struct DisFetchedList;

class DisSession : public QObject {
    Q_OBJECT
public:
    // Does not connect. gatewayUrl may be empty: then the API is asked for it.
    DisSession(QString const& token, QString const& gatewayUrl, DisSessionTimings const& timings,
               DisClient* client);
    // Waits for the worker's thread.
    ~DisSession() override;

    void startConnection();
    void closeConnection();

    QString logName() const { return m_logName; } // short and random, for the event log
    QString authToken() const { return m_authToken; } // never for a log
    DisSessionStateType stateType() const { return m_stateType; }
    FlakeId ownUserId() const { return m_ownUserId; } // invalid until READY

    QSet<FlakeId> const& channelsWithFetchedHistory() const { return m_fetchedHistory; }
    QSet<FlakeId> const& channelsWithOldestMessageFetched() const { return m_oldestFetched; }
    QSet<FlakeId> const& channelsWithFetchedPinnedMessages() const { return m_fetchedPinned; }

    // Empties the store, which is a cache of this connection, and everything below, and tells all
    // listeners to reload.
    void hack_clearClientState();

    // --- gateway frames ---
    void setOwnUserStatus(DisUserStatusCode code, bool afk, QString const& game);
    // Guilds of 4,000 members or more are skipped: they rely on the member list subscription.
    void includeGuildsForSynchronization(QSet<FlakeId> const& guilds);
    void removeGuildsForSynchronization(QSet<FlakeId> const& guilds);
    // A private channel's call as well. One line at a time: the next waits for the leave.
    void connectToVoiceChannel(FlakeId channel);
    void disconnectFromVoiceChannel(FlakeId channel); // the line's; any other is ignored
    IDisVoiceLine* voiceLine() const; // null if none
    void synchronizePrivateChannelCalls(FlakeId channel);
    // The rows of member lists in the guild that are on screen: all of them, each time.
    void updateChanSegs(FlakeId guild, QVector<DisClientChanSegs> const& channels);

    // --- REST; a request without a path is not sent ---
    void send(DisRestRequest const& request);
    // False if nothing was sent, and then the slot is never called.
    bool send(DisRestRequest const& request, QObject* receiver, RestHelpers::Slot const& slot);
    qint64 maxBody() const { return m_timings.maxBody; } // of a reply, bytes
    // These give the nonce, or the invalid id if a file cannot be read.
    FlakeId sendChannelMessage(FlakeId channel, QString const& text);
    FlakeId sendChannelMessageAndFile(FlakeId channel, QString const& text, QString const& path);
    FlakeId sendChannelMessageAndImage(FlakeId channel, QString const& text, QPixmap const& pixmap,
                                       QString const& name);
    FlakeId sendEmbedMessage(FlakeId channel, QString const& text, DisEmbedCreation const& embed);
    // False if an acknowledgement is under way, or the service stopped giving tokens for them.
    bool trySendMessageReadAck(FlakeId channel, FlakeId message);
    void sendTyping(FlakeId channel);
    void fetchPinnedMessages(FlakeId channel); // once, unless that fails
    void fetchGuildBans(FlakeId guild);
    void postList(DisFetchedList const& list); // which was fetched, for the worker to write
    // Served one a second. What is queued or fetched already is not queued again.
    void queueFetchRecentChannelHistory(FlakeId channel);
    void queueFetchChannelHistoryEarlierThanMessage(FlakeId channel, FlakeId message);

    // --- posted by the worker ---
    void receiveStateType(DisSessionStateType type);
    void receiveOutcome(DisClientImpl::DisEventOutcome const& outcome);
    void forgetWhatWasFetched(); // the markers only, then all listeners reload
    void historyPageWritten(FlakeId channel, int count);

signals:
    void stateTypeChanged(DisSessionStateType type);

private:
    struct HistoryRequest {
        FlakeId channel;
        FlakeId message; // invalid for the most recent page

        friend bool operator==(HistoryRequest const& a, HistoryRequest const& b)
        {
            return a.channel == b.channel && a.message == b.message;
        }
    };
    enum class AckState { Idle, InFlight, Stopped };

    void setUpTimers();
    void startThread();
    void queryGatewayUrl();
    void receiveGatewayUrlReply(QNetworkReply* reply);
    void receiveReady(DisClientImpl::DisReadyOutcome const& ready);
    void postToWorker(void (DisSessionWorker::*operation)());
    void sendFrame(QJsonObject const& json);
    void sendGuildSync();
    void clearMarkers();

    // --- dis_session_segs.cpp ---
    void tryUpdateDirtySegs();
    void clearChanSegs();
    void receiveSegPackage(DisSeg::Package const& package);

    // --- dis_session_voice.cpp ---
    void receiveVoice(DisClientImpl::DisEventOutcome const& outcome);

    // --- dis_rest.cpp ---
    RestHelpers::Sender sender();
    QUrl apiUrl(QByteArray const& path) const; // percent-encoded
    void receiveAckReply(QNetworkReply* reply);
    void queueHistory(HistoryRequest const& request);
    void recentHistoryTimeout();
    // head tells what is asked for; its items are those of the reply.
    void fetchList(DisRestRequest const& request, DisFetchedList const& head,
                   std::function<void()> const& failed);
    void historyFailed(HistoryRequest const& request);
    void postTyping(FlakeId channel);
    void typingTimeout();

    // --- dis_rest_messages.cpp ---
    using FormFields = QVector<QPair<char const*, QByteArray>>;
    FlakeId beginMessage(); // the nonce
    FlakeId addPending(FlakeId nonce, FlakeId channel, QString const& text);
    static FormFields messageFields(FlakeId nonce, QString const& text);
    void postForm(FlakeId channel, FormFields const& fields, QString const& fileName,
                  std::unique_ptr<QIODevice> content);
    void postPng(FlakeId channel, FormFields const& fields, QString const& fileName,
                 QByteArray const& png);
    void receiveFormReply(QNetworkReply* reply);

    DisClient* m_client;
    QString m_authToken;
    QString m_gatewayUrl;
    QString m_logName;
    DisSessionTimings m_timings;
    DisSessionStateType m_stateType = DisSessionStateType::Disconnected;
    FlakeId m_ownUserId;

    DisSessionWorker* m_worker; // ours until its thread ends
    QThread m_thread;
    QNetworkAccessManager* m_network = nullptr; // made for the first request

    QSet<FlakeId> m_fetchedHistory;
    QSet<FlakeId> m_oldestFetched;
    QSet<FlakeId> m_fetchedPinned;
    QSet<FlakeId> m_syncedGuilds;
    QSet<FlakeId> m_tooLargeGuilds;

    QHash<FlakeId, QVector<DisSegsNormalized>> m_chanSegs; // by guild, as last asked for
    QVector<FlakeId> m_dirtySegs; // guilds whose request has not been sent
    QSet<FlakeId> m_subscribedGuilds; // those that a request has been sent for
    QTimer m_dirtySegsTimer;

    std::optional<DisVoiceHandOver> m_voice; // from the request to join until the one to leave

    QVector<HistoryRequest> m_historyQueue;
    QTimer m_recentHistoryTimer;

    QTimer m_typingTimer;
    FlakeId m_typingChannel; // where a key was pressed since the last notice
    QElapsedTimer m_sinceTypingKey;

    AckState m_ackState = AckState::Idle;
    QString m_ackToken; // what the service gave with the last acknowledgement
};
