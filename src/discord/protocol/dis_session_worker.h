// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The half of a session that lives on its own thread: the socket, the timers, the zlib stream, the
// connection to the store by which events are written, and the batches. Made by DisSession on the
// user-interface thread, moved to the session's thread before that starts, destroyed on it.
//
// Frames are inflated, parsed and handled inside the socket's signal, strictly one at a time in the
// order of their arrival.

#include "dis_db_prepared.h"
#include "dis_events.h"
#include "dis_session_timings.h"
#include "dis_types.h"
#include "gateway_inflater.h"
#include "gateway_protocol.h"

#include <QJsonObject>
#include <QObject>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>

class DisClient;
class DisSession;
class QWebSocket;
struct DisFetchedList;

struct DisSessionWorkerParams {
    QString token;
    QString logName;
    QString dbPath;
    QString appName;
    DisSessionTimings timings;
};

class DisSessionWorker : public QObject {
    Q_OBJECT
public:
    // Both outlive the worker's thread, so the worker may post to them at any time.
    DisSessionWorker(DisClient* client, DisSession* session, DisSessionWorkerParams const& params);
    ~DisSessionWorker() override;

    QString logName() const { return m_params.logName; } // any thread

    // --- posted by the session ---
    void startConnection(QString const& url);
    void gatewayQueryStarted();
    void gatewayQueryFailed();
    void closeConnection();
    // Nothing is sent while there is no open socket.
    void sendJson(QJsonObject const& json);
    // The own status. It waits until the service knows who we are, which closes the connection on
    // whoever speaks before that, and is told again after each interruption.
    void setStatusFrame(QJsonObject const& json);
    // Writes the list and tells the user-interface thread.
    void writeFetchedList(DisFetchedList const& list);

    // --- for DisClientImpl::processGatewayMessage ---
    void apply(DisGateway::Event const& event);
    void finishDispatch(DisClientImpl::DisEventOutcome const& outcome);

    DisClientImpl::DisEventState events;
    DisDbPrepared prepared;
    qint32 lastSeq = -1; // of the last dispatch that was counted

private slots:
    void gatewaySocketConnected();
    void gatewaySocketDisconnected();
    void gatewaySocketError(int code);
    void webSocketBinaryMessageReceived(QByteArray const& bytes);
    void heartbeatTimeout();
    void reconnectTimeout();
    void statusBatchTimeout();
    void typingStartBatchTimeout();

private:
    struct ActionTable;

    void setUpTimers();
    void makeSocket();
    void fullMessageReceived(char const* bytes, quint32 size);
    void setStateType(DisSessionStateType type);
    void dropBatches();
    void tellChanges(DisChanges const& changes);
    void tellSession(std::function<void(DisSession&)> const& function);
    void tellOutcome(DisClientImpl::DisEventOutcome const& outcome);
    DisGateway::State gatewayState() const;

    DisClient* m_client;
    DisSession* m_session;
    DisSessionWorkerParams m_params;
    DisSessionStateType m_stateType = DisSessionStateType::Disconnected;
    QString m_gatewayUrl; // as received, without the query
    // Outcomes that were posted and not yet received. They may still be received, or dropped, when
    // the worker is gone.
    std::shared_ptr<std::atomic<int>> m_underway = std::make_shared<std::atomic<int>>(0);
    DisGatewayInflater m_inflater;
    QJsonObject m_statusFrame; // empty until a status is set
    bool m_signedIn = false;
    QWebSocket* m_socket = nullptr; // ours; made for the first connection
    QTimer m_heartbeatTimer;
    QTimer m_reconnectTimer;
    QTimer m_statusBatchTimer;
    QTimer m_typingStartBatchTimer;
};
