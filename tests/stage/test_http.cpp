// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_http.h"

#include <QUrl>

#include <gtest/gtest.h>

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

} // namespace

TEST(StageHttp, Requests)
{
    struct Case {
        QByteArray bytes;
        char const* result;
    };
    QByteArray const manyHeaders = "GET / HTTP/1.1\r\n" + QByteArray("a: b\r\n").repeated(101);
    Case const cases[] = {
        { "", "incomplete" },
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
        { "G T /a HTTP/1.1\r\n\r\n", "400" },
        { "GET a HTTP/1.1\r\n\r\n", "400" },
        { "\r\n\r\n", "400" },
        { "GET /a HTTP/1.1\r\nbad name: x\r\n\r\n", "400" },
        { manyHeaders + "\r\n", "431" },
        { "GET /" + QByteArray(70000, 'x'), "431" },
        { "GET /" + QByteArray(70000, 'x') + " HTTP/1.1\r\n\r\n", "431" },
    };
    for (Case const& c : cases)
        EXPECT_EQ(parsed(c.bytes), c.result) << c.bytes.left(60).toStdString();
    QByteArray const whole = "POST /p HTTP/1.1\r\nContent-Length: 4\r\n\r\nbody";
    for (int cut = 0; cut < whole.size(); ++cut)
        EXPECT_EQ(parsed(whole.left(cut)), "incomplete") << cut;
}
