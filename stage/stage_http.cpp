// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_http.h"

#include <QJsonDocument>
#include <QNetworkProxy>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

namespace stage {

namespace {

constexpr int kMaxConnections = 256;

struct StatusText {
    int status;
    char const* text;
};
constexpr StatusText kStatusTexts[] = {
    { 200, "OK" },
    { 201, "Created" },
    { 204, "No Content" },
    { 302, "Found" },
    { 304, "Not Modified" },
    { 400, "Bad Request" },
    { 401, "Unauthorized" },
    { 403, "Forbidden" },
    { 404, "Not Found" },
    { 405, "Method Not Allowed" },
    { 411, "Length Required" },
    { 413, "Payload Too Large" },
    { 429, "Too Many Requests" },
    { 431, "Request Header Fields Too Large" },
    { 500, "Internal Server Error" },
    { 501, "Not Implemented" },
    { 502, "Bad Gateway" },
    { 503, "Service Unavailable" },
    { 505, "HTTP Version Not Supported" },
};

QByteArray statusText(int status)
{
    for (StatusText const& entry : kStatusTexts) {
        if (entry.status == status)
            return entry.text;
    }
    return QByteArrayLiteral("Unknown");
}

HttpParse failed(int status)
{
    HttpParse out;
    out.error = status;
    return out;
}

bool isToken(QByteArray const& name)
{
    auto const good = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
            || QByteArrayLiteral("!#$%&'*+-.^_`|~").contains(c);
    };
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), good);
}

// 0, or the status of what is wrong.
int parseRequestLine(QByteArray const& line, HttpRequest* out)
{
    QList<QByteArray> const parts = line.split(' ');
    if (parts.size() != 3 || !isToken(parts[0]) || !parts[1].startsWith('/'))
        return 400;
    if (parts[2] != "HTTP/1.1" && parts[2] != "HTTP/1.0")
        return parts[2].startsWith("HTTP/") ? 505 : 400;
    out->method = parts[0];
    out->keepAlive = parts[2] == "HTTP/1.1";
    int const question = parts[1].indexOf('?');
    out->path = QString::fromUtf8(question < 0 ? parts[1] : parts[1].left(question));
    out->query =
        QUrlQuery(question < 0 ? QString() : QString::fromUtf8(parts[1].mid(question + 1)));
    return 0;
}

int parseHeaders(QList<QByteArray> const& lines, HttpRequest* out)
{
    if (lines.size() - 1 > kMaxHeaders)
        return 431;
    for (int n = 1; n < lines.size(); ++n) {
        int const colon = lines[n].indexOf(':');
        if (colon < 0 || !isToken(lines[n].left(colon)))
            return 400;
        out->headers.append({ lines[n].left(colon).toLower(), lines[n].mid(colon + 1).trimmed() });
    }
    QByteArray const connection = out->header("connection").toLower();
    if (connection == "close")
        out->keepAlive = false;
    return 0;
}

// The length of the body, or -1 with the status of what is wrong.
int bodyLength(HttpRequest const& request, int* error)
{
    if (!request.header("transfer-encoding").isEmpty()) {
        *error = 501;
        return -1;
    }
    QByteArray const text = request.header("content-length");
    if (text.isEmpty())
        return 0;
    bool const digits =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    bool ok = false;
    qulonglong const length = text.toULongLong(&ok);
    if (!digits || (!ok && text.size() < 20)) {
        *error = 400;
        return -1;
    }
    if (!ok || length > qulonglong(kMaxBodyBytes)) {
        *error = 413;
        return -1;
    }
    return int(length);
}

} // namespace

QByteArray HttpRequest::header(char const* lowerName) const
{
    for (auto const& entry : headers) {
        if (entry.first == lowerName)
            return entry.second;
    }
    return {};
}

QJsonObject HttpRequest::json() const
{
    return QJsonDocument::fromJson(body).object();
}

HttpParse parseHttpRequest(QByteArray const& buffer, HttpRequest* out)
{
    int const headEnd = buffer.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return buffer.size() > kMaxHeadBytes ? failed(431) : HttpParse();
    if (headEnd > kMaxHeadBytes)
        return failed(431);
    *out = HttpRequest();
    QList<QByteArray> lines = buffer.left(headEnd).split('\n');
    for (QByteArray& line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    if (int const error = parseRequestLine(lines[0], out))
        return failed(error);
    if (int const error = parseHeaders(lines, out))
        return failed(error);
    int error = 0;
    int const length = bodyLength(*out, &error);
    if (length < 0)
        return failed(error);
    HttpParse result;
    int const bodyStart = headEnd + 4;
    if (buffer.size() - bodyStart < length)
        return result;
    out->body = buffer.mid(bodyStart, length);
    result.complete = true;
    result.consumed = bodyStart + length;
    return result;
}

QByteArray encodeHttpReply(HttpReply const& reply, bool keepAlive)
{
    QByteArray out =
        "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + statusText(reply.status) + "\r\n";
    for (auto const& header : reply.headers)
        out += header.first + ": " + header.second + "\r\n";
    if (!keepAlive)
        out += "connection: close\r\n";
    if (reply.status == 204 || reply.status == 304)
        return out + "\r\n";
    out += "content-type: " + reply.contentType + "\r\n";
    out += "content-length: " + QByteArray::number(reply.body.size()) + "\r\n\r\n";
    return out + reply.body;
}

// Child of its socket, so that it goes when the peer goes.
struct HttpServer::Connection : QObject {
    explicit Connection(QTcpSocket* s)
        : QObject(s)
        , socket(s)
    {
    }
    QTcpSocket* socket;
    QByteArray buffer;
    // A delayed reply is due, or the connection is being closed: what is pipelined behind waits.
    bool answering = false;
};

HttpServer::HttpServer(Handler handler, QObject* parent)
    : QObject(parent)
    , m_handler(std::move(handler))
{
    m_server.setProxy(QNetworkProxy::NoProxy);
    connect(&m_server, &QTcpServer::newConnection, this, &HttpServer::accept);
}

HttpServer::~HttpServer()
{
    auto const sockets = m_server.findChildren<QTcpSocket*>();
    for (QTcpSocket* socket : sockets) {
        socket->abort();
        socket->deleteLater();
    }
}

bool HttpServer::listen()
{
    return m_server.listen(QHostAddress::LocalHost, 0);
}

void HttpServer::accept()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        if (m_server.findChildren<QTcpSocket*>().size() > kMaxConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto* connection = new Connection(socket);
        socket->setReadBufferSize(1 << 20);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, connection,
                [this, connection] { readMore(*connection); });
    }
}

void HttpServer::readMore(Connection& connection)
{
    // What waits behind a delayed reply stays in the socket, whose buffer is bounded.
    if (connection.answering)
        return;
    connection.buffer += connection.socket->readAll();
    serve(connection);
}

void HttpServer::serve(Connection& connection)
{
    QPointer<QTcpSocket> const alive(connection.socket);
    while (alive && !connection.answering && !connection.buffer.isEmpty()) {
        HttpRequest request;
        HttpParse const parse = parseHttpRequest(connection.buffer, &request);
        if (parse.error != 0) {
            HttpReply reply;
            reply.status = parse.error;
            reply.body = QByteArrayLiteral("{\"message\": \"Bad request\", \"code\": 0}");
            send(connection, reply, false);
            return;
        }
        if (!parse.complete)
            return;
        connection.buffer.remove(0, parse.consumed);
        HttpReply const reply = m_handler(request);
        if (!alive)
            return;
        if (reply.delayMs <= 0) {
            send(connection, reply, request.keepAlive);
            continue;
        }
        connection.answering = true;
        QTimer::singleShot(reply.delayMs, &connection,
                           [this, &connection, reply, keepAlive = request.keepAlive] {
                               connection.answering = false;
                               send(connection, reply, keepAlive);
                               readMore(connection);
                           });
    }
}

void HttpServer::send(Connection& connection, HttpReply const& reply, bool keepAlive)
{
    if (reply.cut) {
        connection.answering = true;
        connection.socket->abort();
        return;
    }
    if (reply.endlessEveryMs >= 0)
        return sendWithoutEnd(connection, reply);
    connection.socket->write(encodeHttpReply(reply, keepAlive));
    if (!keepAlive) {
        connection.answering = true;
        connection.socket->disconnectFromHost();
    }
}

// Until the peer closes the connection.
void HttpServer::sendWithoutEnd(Connection& connection, HttpReply const& reply)
{
    connection.answering = true;
    QTcpSocket* socket = connection.socket;
    socket->write("HTTP/1.1 200 OK\r\ncontent-type: " + reply.contentType + "\r\n\r\n"
                  + reply.body);
    if (reply.endlessEveryMs == 0) {
        connect(socket, &QTcpSocket::bytesWritten, socket, [socket] {
            if (socket->bytesToWrite() == 0)
                socket->write(QByteArray(1 << 20, '\0'));
        });
        return;
    }
    auto* timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, [socket] { socket->write("\0", 1); });
    timer->start(reply.endlessEveryMs);
}

} // namespace stage
