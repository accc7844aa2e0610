// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One signed-in account connected to the gateway. Lives on the user-interface thread, owned by
// DisClient; owns the worker and its thread, and carries the account's REST requests and the marks
// of what has been fetched. Once Disconnected it never comes back: a later connection is a new one.

#include "dis_events.h"
#include "dis_session_timings.h"
#include "dis_types.h"
#include "rest_helpers.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QSet>
#include <QString>
#include <QThread>
#include <QTimer>
#include <QVector>

#include <memory>

class DisClient;
class DisSessionWorker;
class QNetworkAccessManager;
struct DisHistoryPage;

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

    // Empties the store, which is a cache of this connection, and everything below, and tells all
    // listeners to reload.
    void hack_clearClientState();

    // --- gateway frames ---
    void setOwnUserStatus(DisUserStatusCode code, bool afk, QString const& game);
    // Guilds of 4,000 members or more are skipped: they rely on the member list subscription.
    void includeGuildsForSynchronization(QSet<FlakeId> const& guilds);
    void removeGuildsForSynchronization(QSet<FlakeId> const& guilds);

    // --- REST ---
    FlakeId sendChannelMessage(FlakeId channel, QString const& text); // the nonce
    void editMessage(FlakeId channel, FlakeId message, QString const& text);
    void deleteMessage(FlakeId channel, FlakeId message);
    void addEmojiReaction(FlakeId channel, FlakeId message, FlakeId emojiId, QString const& name);
    void deleteEmojiReaction(FlakeId channel, FlakeId message, FlakeId emojiId,
                             QString const& name);
    // False if an acknowledgement is under way, or the service stopped giving tokens for them.
    bool trySendMessageReadAck(FlakeId channel, FlakeId message);
    void sendGuildReadAck(FlakeId guild);
    void sendTyping(FlakeId channel);
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

    // --- dis_rest.cpp ---
    RestHelpers::Sender sender();
    QUrl apiUrl(QByteArray const& path) const; // percent-encoded
    QUrl reactionUrl(FlakeId channel, FlakeId message, FlakeId emojiId, QString const& name) const;
    void receiveAckReply(QNetworkReply* reply);
    void queueHistory(HistoryRequest const& request);
    void recentHistoryTimeout();
    void receiveHistoryReply(QNetworkReply* reply, HistoryRequest const& request, FlakeId guild);
    // Null: the reply was no list of JSON.
    void receiveHistoryPage(HistoryRequest const& request,
                            std::shared_ptr<DisHistoryPage> const& page);
    void historyFailed(HistoryRequest const& request);
    void postTyping(FlakeId channel);
    void typingTimeout();

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
    QSet<FlakeId> m_syncedGuilds;
    QSet<FlakeId> m_tooLargeGuilds;

    QVector<HistoryRequest> m_historyQueue;
    QTimer m_recentHistoryTimer;

    QTimer m_typingTimer;
    FlakeId m_typingChannel; // where a key was pressed since the last notice
    QElapsedTimer m_sinceTypingKey;

    AckState m_ackState = AckState::Idle;
    QString m_ackToken; // what the service gave with the last acknowledgement
};
