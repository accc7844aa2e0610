// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "signed_in.h"

namespace {

stage::StageOptions smallStage()
{
    stage::StageOptions options;
    options.world.guilds = 1;
    options.world.membersPerGuild = 5;
    options.world.messagesPerChannel = 30;
    options.world.messagesInBusyChannel = 250;
    options.token = TestClient::defaultToken();
    return options;
}

} // namespace

std::string const commonHeaders = "\nauthorization: mfa.token-of-the-tests"
                                  "\nuser-agent: Nakwire ( https://project.invalid ) 0.4.8";

SignedIn::SignedIn(DisSessionTimings const& timings)
    : service(smallStage())
    , test(service.apiUrl(), timings)
{
    session = test.connectUntilReady(service.gatewayUrl());
    me = test.userId;
    channel = FlakeId(service.busyChannelId());
}

std::string SignedIn::nextRequest()
{
    waitUntil([this] { return service.requests().size() > seen; });
    if (service.requests().size() <= seen)
        return {};
    stage::StageRequest const request = service.requests().at(seen++);
    QByteArray out = request.method + ' ' + request.path.toUtf8();
    if (!request.query.isEmpty())
        out += '?' + request.query.toUtf8();
    QList<QByteArray> names{ "authorization", "user-agent", "content-type", "accept-encoding",
                             "content-length" };
    QList<QByteArray> const left{ "host", "connection", "accept-language" }; // Qt's own
    for (auto const& header : request.headers)
        if (!names.contains(header.first) && !left.contains(header.first))
            names << header.first;
    for (QByteArray const& name : names)
        if (!request.header(name.constData()).isEmpty())
            out += '\n' + name + ": " + request.header(name.constData());
    return (out + '\n' + request.body).toStdString();
}

std::string wholeRequest(std::string const& firstLine, std::string const& body)
{
    std::string const verb = firstLine.substr(0, firstLine.find(' '));
    bool const hasType = !body.empty() || verb == "GET" || verb == "POST";
    bool const hasLength = verb == "POST" || verb == "PUT" || verb == "PATCH";
    return firstLine + commonHeaders + (hasType ? "\ncontent-type: application/json" : "")
        + "\naccept-encoding: gzip"
        + (hasLength ? "\ncontent-length: " + std::to_string(body.size()) : "") + "\n" + body;
}
