// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Our own stand-in for Discord on loopback: REST and gateway over one deterministic world.
//
// A Stage lives on its creator's thread with all its sockets, which are bound to 127.0.0.1 on ports
// that the system gives. Tests drive it step by step; the program lets a scripted life drive it.
// Bad input from a peer costs the peer its request or connection and nothing else.

#include "stage_gateway.h"
#include "stage_rest.h"
#include "stage_world.h"

#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <QVector>

#include <memory>

namespace stage {

struct StageOptions {
    int helloIntervalMs = 41250;
    WorldSize world;
    quint64 seed = 1;
    bool idsAsIntegers = false; // in the gateway's terms
    bool atomKeys = true; // as the service sends them
    QString token; // the one that is accepted; any but the empty one if this is empty
    bool recordRequests = true;
};

// One REST request as it came in.
struct StageRequest {
    QByteArray method;
    QString path; // behind the API base, still percent-encoded, without the query
    QString query; // as sent, still percent-encoded
    HttpHeaders headers; // names in lower case
    QByteArray body;
    int status = 0; // of the answer; 0: the connection was cut

    QByteArray header(char const* lowerName) const;
    QJsonObject json() const;
};

class Stage : public QObject {
    Q_OBJECT
public:
    explicit Stage(StageOptions const& options = {}, QObject* parent = nullptr);
    ~Stage() override;

    // False if no port could be had.
    bool isListening() const;
    QString apiUrl() const; // "http://127.0.0.1:PORT/api/v6"
    QString cdnUrl() const;
    QString mediaUrl() const; // where attachments can be had in any size
    QString gatewayUrl() const; // "ws://127.0.0.1:PORT"
    quint16 httpPort() const;
    quint16 gatewayPort() const;

    World& world();
    RestContext& rest(); // for what changes the world and tells the gateway
    Gateway& gateway();
    quint64 busyChannelId() const;
    quint64 ownUserId() const;

    // REST. Paths are those behind the API base, without the query.
    QVector<StageRequest> requests() const;
    QVector<StageRequest> requests(QByteArray const& method, QString const& path) const;
    void clearRequests();
    // What that request is answered with, `times` times or, below zero, always.
    void answer(QByteArray const& method, QString const& path, int status, QByteArray const& body,
                HttpHeaders const& headers = {}, int times = -1);
    // Refuses that request as the service does when there were too many: 429, with the time to wait
    // in the body and a header.
    void limitRate(QByteArray const& method, QString const& path, int retryAfterMs, int times = -1);
    // Every reply to that path, of any method, comes so much later; 0 ends it.
    void delay(QString const& path, int ms);
    // The connection of the next requests to that path is cut instead of answering.
    void cut(QString const& path, int times = 1);

    // Gateway. These go to every open connection.
    int connectionCount() const;
    // Frames from clients, oldest first, with "op" and "d".
    QVector<QJsonObject> frames() const;
    // Takes the first recorded frame with that opcode, waiting for it if need be.
    bool expectFrame(int op, QJsonObject* frame = nullptr, int timeoutMs = 5000);
    void sendDispatch(QString const& name, QJsonObject const& d);
    void sendFrame(QJsonObject const& frame);
    // The bytes of a web socket message as they are, past the deflate stream.
    void sendRawMessage(QByteArray const& bytes);
    // A message that inflates well into bytes that are no term.
    void sendGarbage();
    // Any bytes through the deflate stream.
    void sendPayload(QByteArray const& bytes);
    void dropConnection(); // without a close frame
    void closeWith(int code, QString const& reason);
    void requestReconnect(); // op 7
    void invalidateSession(); // op 9; the sessions are forgotten

signals:
    void requestReceived(QByteArray const& method, QString const& path);
    void connectionOpened();
    void connectionClosed();
    void frameReceived(int op, QJsonObject const& frame);
    void identified(QString const& sessionId);
    void resumed(QString const& sessionId);

private:
    struct Priv;
    std::unique_ptr<Priv> m_priv;
};

} // namespace stage
