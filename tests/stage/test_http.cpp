// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_http.h"
#include "wire_client.h"

#include <QTcpSocket>
#include <QUrl>

namespace {

// "incomplete", the error, or what was read and how much of the buffer it took.
std::string parsed(QByteArray const& bytes)
{
    stage::HttpRequest request;
    stage::HttpParse const parse = stage::parseHttpRequest(bytes, &request);
    if (parse.error != 0)
        return std::to_string(parse.error);
    if (!parse.complete)
        return "incomplete";
    QByteArray out = request.method + ' ' + request.path.toUtf8() + '?'
        + request.query.toString(QUrl::FullyEncoded).toUtf8() + " [" + request.body + ']'
        + (request.keepAlive ? "" : " close") + " of " + QByteArray::number(parse.consumed);
    return out.toStdString();
}

TEST(StageHttp, Requests)
{
    struct Case {
        QByteArray bytes;
        char const* result;
    };
    QByteArray const manyHeaders = "GET / HTTP/1.1\r\n" + QByteArray("a: b\r\n").repeated(101);
    Case const cases[] = {
        { "", "incomplete" },
        { "GET /a HTTP/1.1\r\n\r\n", "GET /a? [] of 19" },
        { "GET /a HTTP/1.0\r\n\r\n", "GET /a? [] close of 19" },
        { "GET /a HTTP/1.1\r\nConnection: Close\r\n\r\n", "GET /a? [] close of 38" },
        { "GET /a?b=1&c=%20 HTTP/1.1\r\nHost: x\r\n\r\nNEXT", "GET /a?b=1&c=%20 [] of 38" },
        { "POST /a HTTP/1.1\r\nContent-Length: 3\r\n\r\nxyzGET", "POST /a? [xyz] of 42" },
        { "POST /a HTTP/1.1\r\nContent-Length: 3\r\n\r\nxy", "incomplete" },
        { "POST /a HTTP/1.1\r\nContent-Length: -3\r\n\r\n", "400" },
        { "POST /a HTTP/1.1\r\nContent-Length: 3x\r\n\r\n", "400" },
        { "POST /a HTTP/1.1\r\nContent-Length: 67108864\r\n\r\n", "incomplete" },
        { "POST /a HTTP/1.1\r\nContent-Length: 67108865\r\n\r\n", "413" },
        { "POST /a HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n", "413" },
        { "POST /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n", "501" },
        { "GET /a HTTP/2.0\r\n\r\n", "505" },
        { "GET /a\r\n\r\n", "400" },
        { "GET  /a HTTP/1.1\r\n\r\n", "400" },
        { "G T /a HTTP/1.1\r\n\r\n", "400" },
        { "GET a HTTP/1.1\r\n\r\n", "400" },
        { "\r\n\r\n", "400" },
        { "GET /a HTTP/1.1\r\nno colon\r\n\r\n", "400" },
        { "GET /a HTTP/1.1\r\nbad name: x\r\n\r\n", "400" },
        { manyHeaders + "\r\n", "431" },
        { "GET /" + QByteArray(70000, 'x'), "431" },
        { "GET /" + QByteArray(70000, 'x') + " HTTP/1.1\r\n\r\n", "431" },
    };
    for (Case const& c : cases)
        EXPECT_EQ(parsed(c.bytes), c.result) << c.bytes.left(60).toStdString();
}

// A server that says what it was asked, on a plain socket.
struct Talk {
    stage::HttpServer server;
    QTcpSocket socket;
    QByteArray got;
    int delayMs = 0;
    bool cut = false;

    Talk()
        : server([this](stage::HttpRequest const& request) {
            stage::HttpReply reply;
            reply.contentType = "text/plain";
            reply.body = request.path.toUtf8() + ':' + QByteArray::number(request.body.size());
            reply.delayMs = delayMs;
            reply.cut = cut;
            delayMs = 0;
            return reply;
        })
    {
        EXPECT_TRUE(server.listen());
        QObject::connect(&socket, &QTcpSocket::readyRead, &socket,
                         [this] { got += socket.readAll(); });
        socket.connectToHost(QStringLiteral("127.0.0.1"), server.port());
        EXPECT_TRUE(
            waitUntil([this] { return socket.state() == QAbstractSocket::ConnectedState; }));
    }
    ~Talk() { socket.disconnect(&socket); }

    // Waits until that many replies have come and gives their bodies.
    std::string bodies(int count)
    {
        waitUntil([&] { return got.count("HTTP/1.1 ") >= count && got.count(':') >= count * 2; });
        QByteArray out;
        for (QByteArray const& part : got.replace("HTTP/1.1 ", "\x01").split('\x01'))
            out += part.mid(part.indexOf("\r\n\r\n") + 4) + ' ';
        return out.trimmed().toStdString();
    }
};

TEST(StageHttp, EveryPacketBoundary)
{
    QByteArray const request = "POST /p HTTP/1.1\r\nContent-Length: 4\r\n\r\nbody";
    Talk talk;
    for (int cut = 1; cut < request.size(); ++cut) {
        talk.got.clear();
        talk.socket.write(request.left(cut));
        talk.socket.flush();
        // The first half has arrived once the event loop has turned with nothing left to write.
        EXPECT_TRUE(waitUntil([&] { return talk.socket.bytesToWrite() == 0; }));
        talk.socket.write(request.mid(cut));
        EXPECT_EQ(talk.bodies(1), "/p:4") << "cut at " << cut;
    }
}

TEST(StageHttp, PipelinedRequestsAreAnsweredInOrder)
{
    Talk talk;
    talk.delayMs = 30; // of the first reply; the others wait behind it
    talk.socket.write("GET /1 HTTP/1.1\r\n\r\nGET /2 HTTP/1.1\r\n\r\nGET /3 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(talk.bodies(3), "/1:0 /2:0 /3:0");
}

TEST(StageHttp, BadRequestsEndTheirConnectionOnly)
{
    Talk talk;
    talk.socket.write("NONSENSE\r\n\r\nGET /2 HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(
        waitUntil([&] { return talk.socket.state() == QAbstractSocket::UnconnectedState; }));
    EXPECT_TRUE(talk.got.startsWith("HTTP/1.1 400 Bad Request\r\n"));
    EXPECT_EQ(talk.got.count("HTTP/1.1"), 1);
    talk.got.clear();
    talk.socket.connectToHost(QStringLiteral("127.0.0.1"), talk.server.port());
    talk.socket.write("GET /3 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(talk.bodies(1), "/3:0");
    talk.cut = true;
    talk.got.clear();
    talk.socket.write("GET /4 HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(
        waitUntil([&] { return talk.socket.state() == QAbstractSocket::UnconnectedState; }));
    EXPECT_EQ(talk.got.toStdString(), "");
}

TEST(StageHttp, BigBodiesPassUpToTheBound)
{
    Talk talk;
    talk.socket.write("POST /big HTTP/1.1\r\nContent-Length: 8388608\r\n\r\n");
    talk.socket.write(QByteArray(8388608, 'x'));
    EXPECT_EQ(talk.bodies(1), "/big:8388608");
}

} // namespace
