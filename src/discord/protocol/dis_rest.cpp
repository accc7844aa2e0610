// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// The REST requests of a session. For nearly everything the gateway echoes the result as an event,
// and that event changes the store, not the reply.

#include "dis_client.h"
#include "dis_history_page.h"
#include "dis_session.h"
#include "dis_session_worker.h"
#include "dread_json.h"
#include "event_log.h"
#include "gateway_protocol.h"
#include "invoke_on_thread.h"
#include "nak_stmt.h"
#include "run_on_pool.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QNetworkAccessManager>

#include <memory>

namespace {

constexpr int pageSize = 100; // messages in a page of history; a shorter one holds the oldest
constexpr quint32 pageArena = 524'288; // bytes; 100 messages are large
constexpr qint64 typingKeyMemory = 3'000; // ms after which a key press no longer counts

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

QByteArray idPart(FlakeId id)
{
    return QByteArray::number(id.value());
}

QByteArray messagePath(FlakeId channel, FlakeId message)
{
    return "/channels/" + idPart(channel) + "/messages/" + idPart(message);
}

FlakeId guildOfChannel(sqlite3* db, FlakeId channel)
{
    NakStmt stmt(db, "select guild_id from guild_channel where id = ?");
    stmt.bind(1, channel);
    return stmt.step() ? stmt.colFlake(0) : FlakeId();
}

using PagePtr = std::shared_ptr<DisHistoryPage>;

// On the thread pool. Null if the body is no list of JSON.
PagePtr parsePage(PagePtr const& page, RestHelpers::Body const& body, qint64 maxBody)
{
    auto bytes = RestHelpers::inflatedBody(body, maxBody);
    if (!bytes)
        return {};
    page->body = std::move(*bytes);
    page->body.detach();
    Dread::init(&page->ctx, pageArena);
    DreadJson::Result const result = DreadJson::jsonToDread(&page->ctx, &page->body);
    if (result.isError || result.root.tag != Dread::Tag::List)
        return {};
    page->messages = result.root.list;
    return page;
}

} // namespace

// Made at the first request: Qt's network manager and its TLS are slow to start.
RestHelpers::Sender DisSession::sender()
{
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    return { m_network, m_authToken, m_client->constants().userAgent, m_timings.restTimeout,
             m_timings.maxBody };
}

QUrl DisSession::apiUrl(QByteArray const& path) const
{
    return QUrl::fromEncoded(m_client->constants().baseUrl.toUtf8() + path);
}

// --- messages ---

// The body is an event with the message as its "d", which is where the server reads it from; this
// wrapping is kept deliberately. There is no retry: a message that fails stays pending on screen.
FlakeId DisSession::sendChannelMessage(FlakeId channel, QString const& text)
{
    m_typingTimer.stop();
    m_typingChannel = FlakeId();
    FlakeId const nonce = m_client->makeNonce();
    QJsonObject const message{
        { QStringLiteral("nonce"), nonce.toString() },
        { QStringLiteral("content"), text },
    };
    RestHelpers::postJson_andForget(sender(), apiUrl("/channels/" + idPart(channel) + "/messages"),
                                    QJsonObject{
                                        { QStringLiteral("op"), 0 },
                                        { QStringLiteral("t"), QStringLiteral("MESSAGE_CREATE") },
                                        { QStringLiteral("d"), message },
                                    });
    m_client->addPendingMessage(
        nonce, { channel, m_ownUserId, text, QDateTime::currentMSecsSinceEpoch() });
    return nonce;
}

void DisSession::editMessage(FlakeId channel, FlakeId message, QString const& text)
{
    RestHelpers::patchJson_crap(sender(), apiUrl(messagePath(channel, message)),
                                { { QStringLiteral("content"), text } });
}

void DisSession::deleteMessage(FlakeId channel, FlakeId message)
{
    RestHelpers::deleteAtUrl_andForget(sender(), apiUrl(messagePath(channel, message)));
}

// --- reactions ---

QUrl DisSession::reactionUrl(FlakeId channel, FlakeId message, FlakeId emojiId,
                             QString const& name) const
{
    QByteArray emoji = RestHelpers::pathPart(name);
    if (emojiId.isValid())
        emoji += "%3A" + idPart(emojiId);
    return apiUrl(messagePath(channel, message) + "/reactions/" + emoji + "/@me");
}

void DisSession::addEmojiReaction(FlakeId channel, FlakeId message, FlakeId emojiId,
                                  QString const& name)
{
    RestHelpers::putNothing_andForget(sender(), reactionUrl(channel, message, emojiId, name));
}

void DisSession::deleteEmojiReaction(FlakeId channel, FlakeId message, FlakeId emojiId,
                                     QString const& name)
{
    RestHelpers::deleteAtUrl_andForget(sender(), reactionUrl(channel, message, emojiId, name));
}

// --- read acknowledgements ---

bool DisSession::trySendMessageReadAck(FlakeId channel, FlakeId message)
{
    if (m_ackState != AckState::Idle)
        return false;
    m_ackState = AckState::InFlight;
    QByteArray body = QByteArrayLiteral("{\"token\": null}");
    if (!m_ackToken.isNull())
        body = QJsonDocument(QJsonObject{ { QStringLiteral("token"), m_ackToken } })
                   .toJson(QJsonDocument::Compact);
    RestHelpers::postString(sender(), apiUrl(messagePath(channel, message) + "/ack"), body, this,
                            [this](QNetworkReply* reply) { receiveAckReply(reply); });
    return true;
}

void DisSession::receiveAckReply(QNetworkReply* reply)
{
    RestHelpers::Body const raw = RestHelpers::takeBody(reply);
    QByteArray const body =
        RestHelpers::inflatedBody(raw, m_timings.maxBody).value_or(QByteArray());
    if (reply->error() != QNetworkReply::NoError) {
        addLog(EvLog::Severity::Error,
               QStringLiteral("Message ack error: %1 --- %2")
                   .arg(reply->error())
                   .arg(DisGateway::loggable(QString::fromUtf8(body), m_authToken)));
        m_ackState = AckState::Idle;
        return;
    }
    QJsonValue const token = QJsonDocument::fromJson(body).object().value(QLatin1String("token"));
    if (!token.isString()) {
        addLog(EvLog::Severity::Error,
               QStringLiteral("Failed to get new message ack token from response"));
        m_ackState = AckState::Stopped; // on purpose: no acknowledgement follows in this session
        return;
    }
    m_ackToken = token.toString();
    m_ackState = AckState::Idle;
    addLog(EvLog::Severity::Info,
           QStringLiteral("Received next message ack token: %1...")
               .arg(DisGateway::loggable(m_ackToken.left(6), m_authToken)));
}

void DisSession::sendGuildReadAck(FlakeId guild)
{
    RestHelpers::postNothing_andForget(sender(), apiUrl("/guilds/" + idPart(guild) + "/ack"));
}

// --- history ---

void DisSession::queueFetchRecentChannelHistory(FlakeId channel)
{
    if (!m_fetchedHistory.contains(channel))
        queueHistory({ channel, FlakeId() });
}

void DisSession::queueFetchChannelHistoryEarlierThanMessage(FlakeId channel, FlakeId message)
{
    if (message.isValid())
        queueHistory({ channel, message });
}

void DisSession::queueHistory(HistoryRequest const& request)
{
    if (m_historyQueue.contains(request))
        return;
    m_historyQueue.append(request);
    if (!m_recentHistoryTimer.isActive())
        m_recentHistoryTimer.start(0);
}

// The pause follows every request, the last of a queue too, so that it holds between any two. This
// is the client's whole rate limiting.
void DisSession::recentHistoryTimeout()
{
    if (m_historyQueue.isEmpty())
        return;
    HistoryRequest const request = m_historyQueue.takeFirst();
    QByteArray path =
        "/channels/" + idPart(request.channel) + "/messages?limit=" + QByteArray::number(pageSize);
    if (request.message.isValid())
        path += "&before=" + idPart(request.message);
    else
        m_fetchedHistory.insert(request.channel);
    FlakeId const guild = guildOfChannel(m_client->db(), request.channel);
    RestHelpers::getString(sender(), apiUrl(path), this,
                           [this, request, guild](QNetworkReply* reply) {
                               receiveHistoryReply(reply, request, guild);
                           });
    m_recentHistoryTimer.start(m_timings.historyPause);
}

void DisSession::receiveHistoryReply(QNetworkReply* reply, HistoryRequest const& request,
                                     FlakeId guild)
{
    if (reply->error() != QNetworkReply::NoError) {
        addLog(EvLog::Severity::Warn,
               QStringLiteral("Failed to fetch history for channel %1: %2")
                   .arg(request.channel.toString(), RestHelpers::errorName(reply)));
        historyFailed(request);
        return;
    }
    auto page = std::make_shared<DisHistoryPage>();
    page->channelId = request.channel;
    page->guildId = guild;
    Utils::runOnPool(this,
                     [this, request, page, body = RestHelpers::takeBody(reply),
                      maxBody = m_timings.maxBody]() -> std::function<void()> {
                         return [this, request, parsed = parsePage(page, body, maxBody)] {
                             receiveHistoryPage(request, parsed);
                         };
                     });
}

void DisSession::receiveHistoryPage(HistoryRequest const& request,
                                    std::shared_ptr<DisHistoryPage> const& page)
{
    if (!page) {
        addLog(EvLog::Severity::Warn,
               QStringLiteral("Did not get a Dread::List from JSON-to-Dread conversion when "
                              "receiving channel history"));
        historyFailed(request);
        return;
    }
    Utils::invokeOnThread(m_worker, [worker = m_worker, page] { worker->writeHistoryPage(page); });
}

// The channel counts as not asked for, so that whoever shows it again asks again. Nothing does so
// by itself. A failed page of earlier messages is not told at all: the buffer would take that for
// news and ask for the page at once, without end.
void DisSession::historyFailed(HistoryRequest const& request)
{
    if (request.message.isValid())
        return;
    m_fetchedHistory.remove(request.channel);
    emit m_client->channelHistoryFetched(request.channel);
}

void DisSession::historyPageWritten(FlakeId channel, int count)
{
    if (count < pageSize) {
        addLog(EvLog::Severity::Info,
               QStringLiteral("Fetched oldest message for channel %1").arg(channel.toString()));
        m_oldestFetched.insert(channel);
    }
    emit m_client->channelHistoryFetched(channel);
}

// --- typing ---

void DisSession::sendTyping(FlakeId channel)
{
    if (!m_typingTimer.isActive()) {
        postTyping(channel);
        return;
    }
    m_typingChannel = channel;
    m_sinceTypingKey.start();
}

void DisSession::postTyping(FlakeId channel)
{
    m_typingChannel = FlakeId();
    m_typingTimer.start(m_timings.typingPause);
    RestHelpers::postJson_andForget(sender(), apiUrl("/channels/" + idPart(channel) + "/typing"),
                                    QJsonObject());
}

void DisSession::typingTimeout()
{
    if (m_typingChannel.isValid() && m_sinceTypingKey.elapsed() <= typingKeyMemory)
        postTyping(m_typingChannel);
}
