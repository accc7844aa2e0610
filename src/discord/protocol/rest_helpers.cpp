// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "rest_helpers.h"

#include "event_log.h"
#include "gateway_protocol.h"

#include <QHttpMultiPart>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QUrlQuery>

#include <zlib.h>

#include <algorithm>
#include <iterator>

namespace RestHelpers {

namespace {

constexpr char const* harmlessQueryKeys[] = { "limit",    "before",
                                              "guild_id", "roles",
                                              "everyone", "action_type",
                                              "user_id",  "delete-message-days" };

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

void logRequest(char const* verb, QUrl const& url)
{
    addLog(EvLog::Severity::Info,
           QStringLiteral("%1 to Discord API at %2").arg(QLatin1String(verb), loggableUrl(url)));
}

QNetworkRequest makeRequest(Sender const& sender, QUrl const& url)
{
    QNetworkRequest request(url);
    if (!sender.token.isEmpty())
        request.setRawHeader("Authorization", sender.token.toUtf8());
    request.setHeader(QNetworkRequest::UserAgentHeader, sender.userAgent);
    // Named by us, so that Qt does not inflate the body by itself, without any bound.
    request.setRawHeader("Accept-Encoding", "gzip");
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(sender.timeout);
    return request;
}

QNetworkRequest makeJsonRequest(Sender const& sender, QUrl const& url)
{
    QNetworkRequest request = makeRequest(sender, url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return request;
}

// Nothing is read before the end, so all that has come so far is what is available.
void boundBody(QNetworkReply* reply, qint64 maxBody)
{
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply, maxBody] {
        if (reply->bytesAvailable() > maxBody)
            reply->abort();
    });
}

constexpr char const* verbWords[] = { "GET", "POST", "PUT", "PATCH", "DELETE" };

QNetworkReply* start(Sender const& sender, DisRestVerb verb, Target const& target)
{
    char const* const word = verbWords[static_cast<size_t>(verb)];
    logRequest(word, target.url);
    // A POST without a body has a type too, for Qt would give it one of its own; the length goes
    // out as 0.
    bool const hasType =
        !target.json.isNull() || verb == DisRestVerb::Get || verb == DisRestVerb::Post;
    QNetworkRequest const request =
        hasType ? makeJsonRequest(sender, target.url) : makeRequest(sender, target.url);
    switch (verb) {
    case DisRestVerb::Get:
        return sender.manager->get(request);
    case DisRestVerb::Post:
        return sender.manager->post(request, target.json);
    case DisRestVerb::Put:
        return sender.manager->put(request, target.json);
    case DisRestVerb::Patch:
        return sender.manager->sendCustomRequest(request, word, target.json);
    case DisRestVerb::Delete:
        break;
    }
    return sender.manager->deleteResource(request);
}

Body bodyOf(QNetworkReply const* reply, QByteArray const& bytes)
{
    return { bytes, reply->rawHeader("Content-Encoding").trimmed().toLower() == "gzip" };
}

// The body stays where it is for who asked.
void logFailedPatch(Sender const& sender, QNetworkReply* reply)
{
    auto const log = [reply, token = sender.token, maxBody = sender.maxBody] {
        if (reply->error() == QNetworkReply::NoError)
            return;
        Body const body = bodyOf(reply, reply->peek(reply->bytesAvailable()));
        QByteArray const text = inflatedBody(body, maxBody).value_or(QByteArray());
        addLog(EvLog::Severity::Error,
               QStringLiteral("PATCH to Discord API failed: %1 -- %2")
                   .arg(reply->error())
                   .arg(DisGateway::loggable(QString::fromUtf8(text), token)));
    };
    QObject::connect(reply, &QNetworkReply::finished, reply, log);
}

void forget(Sender const& sender, QNetworkReply* reply)
{
    boundBody(reply, sender.maxBody);
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

void answer(Sender const& sender, QNetworkReply* reply, QObject* receiver, Slot const& slot)
{
    boundBody(reply, sender.maxBody);
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    QObject::connect(reply, &QNetworkReply::finished, receiver, [reply, slot] { slot(reply); });
}

} // namespace

void sendForReply(Sender const& sender, DisRestVerb verb, Target const& target, QObject* receiver,
                  Slot const& slot)
{
    QNetworkReply* const reply = start(sender, verb, target);
    if (verb == DisRestVerb::Patch)
        logFailedPatch(sender, reply);
    answer(sender, reply, receiver, slot);
}

void getString(Sender const& sender, QUrl const& url, QObject* receiver, Slot const& slot)
{
    sendForReply(sender, DisRestVerb::Get, { url, {} }, receiver, slot);
}

void postForm(Sender const& sender, QUrl const& url, QHttpMultiPart* form, QObject* receiver,
              Slot const& slot)
{
    logRequest("POST", url);
    QNetworkReply* const reply = sender.manager->post(makeRequest(sender, url), form);
    form->setParent(reply);
    answer(sender, reply, receiver, slot);
}

void postJson_andForget(Sender const& sender, QUrl const& url, QByteArray const& json)
{
    forget(sender, start(sender, DisRestVerb::Post, { url, json }));
}

void postNothing_andForget(Sender const& sender, QUrl const& url)
{
    forget(sender, start(sender, DisRestVerb::Post, { url, {} }));
}

void putJson_andForget(Sender const& sender, QUrl const& url, QByteArray const& json)
{
    forget(sender, start(sender, DisRestVerb::Put, { url, json }));
}

void putNothing_andForget(Sender const& sender, QUrl const& url)
{
    forget(sender, start(sender, DisRestVerb::Put, { url, {} }));
}

void deleteAtUrl_andForget(Sender const& sender, QUrl const& url)
{
    forget(sender, start(sender, DisRestVerb::Delete, { url, {} }));
}

void patchJson_crap(Sender const& sender, QUrl const& url, QByteArray const& json)
{
    QNetworkReply* const reply = start(sender, DisRestVerb::Patch, { url, json });
    logFailedPatch(sender, reply);
    forget(sender, reply);
}

Body takeBody(QNetworkReply* reply)
{
    return bodyOf(reply, reply->readAll());
}

std::optional<QByteArray> inflatedBody(Body const& body, qint64 maxBody)
{
    if (!body.gzip)
        return body.bytes;
    z_stream stream = {};
    constexpr int gzipOnly = 16;
    if (inflateInit2(&stream, gzipOnly + MAX_WBITS) != Z_OK)
        return {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(body.bytes.constData()));
    stream.avail_in = static_cast<uInt>(body.bytes.size());
    QByteArray out;
    int code = Z_OK;
    while (code == Z_OK && out.size() < maxBody) {
        int const done = out.size();
        qint64 const step = std::max<qint64>(65'536, done); // the array doubles
        out.resize(static_cast<int>(std::min(done + step, maxBody)));
        stream.next_out = reinterpret_cast<Bytef*>(out.data() + done);
        stream.avail_out = static_cast<uInt>(out.size() - done);
        code = inflate(&stream, Z_NO_FLUSH);
        out.resize(out.size() - static_cast<int>(stream.avail_out));
    }
    inflateEnd(&stream);
    if (code != Z_STREAM_END)
        return {};
    return out;
}

QString errorName(QNetworkReply const* reply)
{
    char const* const key =
        QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(reply->error());
    return QString::fromLatin1(key ? key : "Unknown");
}

QString loggableUrl(QUrl const& url)
{
    auto const items = QUrlQuery(url).queryItems();
    bool const show = std::all_of(items.cbegin(), items.cend(), [](auto const& item) {
        return std::any_of(std::begin(harmlessQueryKeys), std::end(harmlessQueryKeys),
                           [&item](char const* key) { return item.first == QLatin1String(key); });
    });
    QUrl::FormattingOptions options = QUrl::RemoveUserInfo | QUrl::RemoveFragment;
    if (!show)
        options |= QUrl::RemoveQuery;
    return url.toString(options | QUrl::FullyEncoded);
}

} // namespace RestHelpers
