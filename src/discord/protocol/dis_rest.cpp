// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// How a session's REST requests leave, and what its state hangs on: read acknowledgements, lists
// that are written into the store, typing notices. For nearly everything the gateway echoes the
// result as an event, and that event changes the store, not the reply.

#include "dis_client.h"
#include "dis_fetch_data.h"
#include "dis_rest_request.h"
#include "dis_session.h"
#include "dis_session_worker.h"
#include "event_log.h"
#include "gateway_protocol.h"
#include "invoke_on_thread.h"

#include <QJsonObject>
#include <QNetworkAccessManager>

namespace {

constexpr int pageSize = 100; // messages in a page of history; a shorter one holds the oldest
constexpr qint64 typingKeyMemory = 3'000; // ms after which a key press no longer counts

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

// How the log calls a list, in the order of DisFetchedList::Kind.
struct ListWords {
    char const* wanted;
    char const* received;
};
constexpr ListWords listWords[] = {
    { "history for channel", "channel history" },
    { "pinned messages of channel", "pinned messages" },
    { "bans of guild", "guild bans" },
};

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

void DisSession::send(DisRestRequest const& request)
{
    if (request.path.isEmpty())
        return;
    QUrl const url = apiUrl(request.path);
    bool const hasBody = !request.json.isNull();
    switch (request.verb) {
    case DisRestVerb::Post:
        return hasBody ? RestHelpers::postJson_andForget(sender(), url, request.json)
                       : RestHelpers::postNothing_andForget(sender(), url);
    case DisRestVerb::Put:
        return hasBody ? RestHelpers::putJson_andForget(sender(), url, request.json)
                       : RestHelpers::putNothing_andForget(sender(), url);
    case DisRestVerb::Patch:
        return RestHelpers::patchJson_crap(sender(), url, request.json);
    case DisRestVerb::Delete:
        return RestHelpers::deleteAtUrl_andForget(sender(), url);
    case DisRestVerb::Get:
        Q_ASSERT_X(false, "DisSession::send", "a GET is for its reply");
    }
}

bool DisSession::send(DisRestRequest const& request, QObject* receiver,
                      RestHelpers::Slot const& slot)
{
    if (request.path.isEmpty())
        return false;
    RestHelpers::sendForReply(sender(), request.verb, { apiUrl(request.path), request.json },
                              receiver, slot);
    return true;
}

// --- read acknowledgements ---

bool DisSession::trySendMessageReadAck(FlakeId channel, FlakeId message)
{
    if (m_ackState != AckState::Idle)
        return false;
    DisRestRequest request = DisRest::request(DisRestOp::AckMessage, { channel, message });
    request.json = m_ackToken.isNull()
        ? QByteArrayLiteral("{\"token\": null}")
        : DisRest::compact({ { QStringLiteral("token"), m_ackToken } });
    if (!send(request, this, [this](QNetworkReply* reply) { receiveAckReply(reply); }))
        return false;
    m_ackState = AckState::InFlight;
    return true;
}

void DisSession::receiveAckReply(QNetworkReply* reply)
{
    RestHelpers::Body const body = RestHelpers::takeBody(reply);
    if (reply->error() != QNetworkReply::NoError) {
        QByteArray const text =
            RestHelpers::inflatedBody(body, m_timings.maxBody).value_or(QByteArray());
        addLog(EvLog::Severity::Error,
               QStringLiteral("Message ack error: %1 --- %2")
                   .arg(reply->error())
                   .arg(DisGateway::loggable(QString::fromUtf8(text), m_authToken)));
        m_ackState = AckState::Idle;
        return;
    }
    auto const token = DisClientOp::textInBody(body, m_timings.maxBody, "token");
    if (!token) {
        addLog(EvLog::Severity::Error,
               QStringLiteral("Failed to get new message ack token from response"));
        m_ackState = AckState::Stopped; // on purpose: no acknowledgement follows in this session
        return;
    }
    m_ackToken = *token;
    m_ackState = AckState::Idle;
    addLog(EvLog::Severity::Info,
           QStringLiteral("Received next message ack token: %1...")
               .arg(DisGateway::loggable(m_ackToken.left(6), m_authToken)));
}

// --- lists for the store ---

void DisSession::fetchList(DisRestRequest const& request, DisFetchedList const& head,
                           std::function<void()> const& failed)
{
    auto const receive = [this, head, failed](QNetworkReply* reply) {
        ListWords const& words = listWords[static_cast<size_t>(head.kind)];
        if (reply->error() != QNetworkReply::NoError) {
            addLog(EvLog::Severity::Warn,
                   QStringLiteral("Failed to fetch %1 %2: %3")
                       .arg(QLatin1String(words.wanted), head.id.toString(),
                            RestHelpers::errorName(reply)));
            return failed();
        }
        DisClientOp::parseReply(reply, m_timings.maxBody, this, [=](auto const& data) {
            if (data && data->root.tag == Dread::Tag::List)
                return postList({ head.kind, head.id, data, data->root.list });
            addLog(EvLog::Severity::Warn,
                   QStringLiteral("Did not get a Dread::List from JSON-to-Dread conversion when "
                                  "receiving %1")
                       .arg(QLatin1String(words.received)));
            failed();
        });
    };
    if (!send(request, this, receive))
        failed();
}

void DisSession::postList(DisFetchedList const& list)
{
    Utils::invokeOnThread(m_worker, [worker = m_worker, list] { worker->writeFetchedList(list); });
}

void DisSession::fetchPinnedMessages(FlakeId channel)
{
    if (m_fetchedPinned.contains(channel))
        return;
    m_fetchedPinned.insert(channel);
    fetchList(DisRest::request(DisRestOp::FetchPins, { channel }),
              { DisFetchedList::Kind::Pins, channel, {}, {} },
              [this, channel] { m_fetchedPinned.remove(channel); });
}

void DisSession::fetchGuildBans(FlakeId guild)
{
    fetchList(DisRest::request(DisRestOp::FetchBans, { guild }),
              { DisFetchedList::Kind::Bans, guild, {}, {} }, [] {});
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
    HistoryRequest const wanted = m_historyQueue.takeFirst();
    QString before;
    if (wanted.message.isValid())
        before = wanted.message.toString();
    else
        m_fetchedHistory.insert(wanted.channel);
    fetchList(DisRest::withQuery(DisRest::request(DisRestOp::FetchHistory, { wanted.channel }),
                                 { { "limit", QString::number(pageSize) }, { "before", before } }),
              { DisFetchedList::Kind::History, wanted.channel, {}, {} },
              [this, wanted] { historyFailed(wanted); });
    m_recentHistoryTimer.start(m_timings.historyPause);
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
    send(DisRest::request(DisRestOp::Typing, { channel }, QJsonObject()));
}

void DisSession::typingTimeout()
{
    if (m_typingChannel.isValid() && m_sinceTypingKey.elapsed() <= typingKeyMemory)
        postTyping(m_typingChannel);
}
