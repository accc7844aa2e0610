// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The gateway of the stand-in service: a web socket server on loopback, ETF both ways, one deflate
// stream per connection, and sessions that outlive their connection so that they can be resumed.
//
// Lives on its creator's thread, as does the world that it reads.

#include "stage_etf.h"
#include "stage_world.h"

#include <QJsonObject>
#include <QObject>
#include <QWebSocketServer>

#include <deque>
#include <memory>
#include <vector>

namespace stage {

struct GatewayOptions {
    int helloIntervalMs = 41250;
    QString token; // the one that is accepted; any but the empty one if this is empty
    EncodeOptions encode;
};

struct GatewayConnection;
struct GatewaySession;

class Gateway : public QObject {
    Q_OBJECT
public:
    Gateway(World const& world, GatewayOptions const& options, QObject* parent = nullptr);
    ~Gateway() override;

    [[nodiscard]] bool listen();
    quint16 port() const { return m_server.serverPort(); }

    int connectionCount() const { return int(open().size()); }
    int identifiedCount() const;
    // Bytes that the slowest peer has not taken yet.
    qint64 backlog() const;

    // To every session; those without a connection get it when they resume.
    void dispatch(QByteArray const& name, Term const& payload);
    // To every connection, through its deflate stream.
    void sendFrame(Term const& frame);
    void sendPayload(QByteArray const& bytes);
    // To every connection, past its deflate stream.
    void sendRaw(QByteArray const& bytes);

    // Ends every connection, without a close frame or with one.
    void drop();
    void closeAll(int code, QString const& reason);
    // Forgets every session, so that a resume is answered with op 9.
    void forgetSessions();

signals:
    void connectionOpened();
    void connectionClosed();
    void frameReceived(int op, QJsonObject const& frame);
    void identified(QString const& sessionId);
    void resumed(QString const& sessionId);

private:
    struct OpHandler;
    static OpHandler const* findHandler(qint64 op);

    // The connections as they are now; stays valid while something is sent to them.
    std::vector<GatewayConnection*> open() const;
    void accept();
    void ended(GatewayConnection& connection);
    void receive(GatewayConnection& connection, QByteArray const& message);
    void onHeartbeat(GatewayConnection& connection, Term const* d);
    void onIdentify(GatewayConnection& connection, Term const* d);
    void onResume(GatewayConnection& connection, Term const* d);
    void onGuildSync(GatewayConnection& connection, Term const* d);
    void onMemberList(GatewayConnection& connection, Term const* d);
    void onAccepted(GatewayConnection& connection, Term const* d);

    bool maySignIn(GatewayConnection& connection, Term const* d);
    void attach(GatewayConnection& connection, std::shared_ptr<GatewaySession> const& session);
    void dispatchTo(GatewaySession& session, QByteArray const& name, QByteArray const& payload);
    void replay(GatewayConnection& connection, qint64 seq);
    void send(GatewayConnection& connection, Term const& frame);
    void sendDeflated(GatewayConnection& connection, QByteArray const& bytes);

    World const& m_world;
    GatewayOptions m_options;
    QWebSocketServer m_server;
    std::vector<std::unique_ptr<GatewayConnection>> m_connections;
    std::deque<std::shared_ptr<GatewaySession>> m_sessions;
    quint64 m_sessionsMade = 0;
};

} // namespace stage
