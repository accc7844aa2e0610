// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A small HTTP/1.1 server on loopback: requests with a length, answered in order on each
// connection.
//
// parseHttpRequest is pure. HttpServer lives on its creator's thread and answers from a handler
// that is called once per request; whatever a peer sends costs it its connection at most.

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QString>
#include <QTcpServer>
#include <QUrlQuery>
#include <QVector>

#include <functional>

class QTcpSocket;

namespace stage {

using HttpHeaders = QVector<QPair<QByteArray, QByteArray>>; // names in lower case

struct HttpRequest {
    QByteArray method;
    QString path; // as sent, still percent-encoded, without the query
    QUrlQuery query;
    HttpHeaders headers;
    QByteArray body;
    bool keepAlive = true;

    QByteArray header(char const* lowerName) const;
    // The body as an object; empty if it is none.
    QJsonObject json() const;
};

constexpr int kMaxHeadBytes = 65536;
constexpr int kMaxHeaders = 100;
constexpr int kMaxBodyBytes = 64 << 20;

struct HttpParse {
    bool complete = false;
    int error = 0; // status to answer with before the connection is closed, 0 if all is well
    int consumed = 0; // bytes of the buffer that the complete request took
};

// Looks for one request at the start of the buffer.
HttpParse parseHttpRequest(QByteArray const& buffer, HttpRequest* out);

struct HttpReply {
    int status = 200;
    QByteArray body;
    QByteArray contentType = QByteArrayLiteral("application/json");
    HttpHeaders headers; // besides those that every reply has
    int delayMs = 0;
    bool cut = false; // drop the connection instead of answering
    // Not below 0: the body never ends. A megabyte goes out whenever the peer has taken the last,
    // or with an interval one byte each time.
    int endlessEveryMs = -1;
};

QByteArray encodeHttpReply(HttpReply const& reply, bool keepAlive);

class HttpServer : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<HttpReply(HttpRequest const&)>;

    explicit HttpServer(Handler handler, QObject* parent = nullptr);
    ~HttpServer() override;

    [[nodiscard]] bool listen();
    quint16 port() const { return m_server.serverPort(); }

private:
    struct Connection;
    void accept();
    void readMore(Connection& connection);
    void serve(Connection& connection);
    void send(Connection& connection, HttpReply const& reply, bool keepAlive);
    void sendWithoutEnd(Connection& connection, HttpReply const& reply);

    QTcpServer m_server;
    Handler m_handler;
};

} // namespace stage
