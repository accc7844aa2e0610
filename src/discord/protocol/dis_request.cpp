// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_request.h"

#include "dis_session.h"
#include "run_on_pool.h"

#include <QNetworkReply>

namespace {

constexpr int maxRefusal = 200; // code units

} // namespace

void DisRequest::finish(Error error, QString const& refusal)
{
    if (m_finished)
        return;
    m_finished = true;
    m_error = error;
    m_refusal = refusal.left(maxRefusal);
    emit finished();
}

void DisRequest::finishWith(std::shared_ptr<DisClientOp::DreadFetchData> const& data)
{
    if (!m_finished)
        finish(data && receive(data) ? Error::None : Error::BadReply);
}

bool DisDreadFetchOp::receive(std::shared_ptr<DisClientOp::DreadFetchData> const& data)
{
    m_data = data;
    return true;
}

bool DisClientAuditLogFetchOp::receive(std::shared_ptr<DisClientOp::DreadFetchData> const& data)
{
    if (data->root.tag != Dread::Tag::Map)
        return false;
    auto log = std::make_shared<DisAuditLog::AuditLogFetchData>();
    log->fetched = data;
    if (!Dread::find(data->ctx, data->root.map, "audit_log_entries", &log->entries))
        return false;
    Dread::find(data->ctx, data->root.map, "users", &log->users);
    m_data = log;
    return true;
}

namespace {

QString toText(Dread::VString string)
{
    return QString::fromUtf8(string.data, static_cast<int>(string.length));
}

void readIdAndName(DisClientOp::DreadFetchData const& data, char const* key, FlakeId* id,
                   QString* name)
{
    Dread::VMap map;
    Dread::VString text;
    if (!Dread::find(data.ctx, data.root.map, key, &map))
        return;
    Dread::find(data.ctx, map, "id", id);
    Dread::find(data.ctx, map, "name", &text);
    *name = toText(text);
}

// A refusal's body says why.
void finishFailed(DisRequest* op, QNetworkReply* reply, qint64 maxBody)
{
    Utils::runOnPool(
        op, [op, body = RestHelpers::takeBody(reply), maxBody]() -> std::function<void()> {
            auto const why = DisClientOp::textInBody(body, maxBody, "message");
            return [op, why] { op->finish(DisRequest::Error::Network, why.value_or(QString())); };
        });
}

} // namespace

DisInviteInfo readInviteInfo(DisClientOp::DreadFetchData const& data)
{
    DisInviteInfo info;
    if (data.root.tag != Dread::Tag::Map)
        return info;
    Dread::VString code;
    Dread::find(data.ctx, data.root.map, "code", &code);
    info.code = toText(code);
    readIdAndName(data, "guild", &info.guildId, &info.guildName);
    readIdAndName(data, "channel", &info.channelId, &info.channelName);
    return info;
}

namespace DisClientImpl {

void genericFetchOp(DisSession* session, DisRestRequest const& request, DisRequest* op)
{
    auto const end = [op](DisRequest::Error error) { return [op, error] { op->finish(error); }; };
    if (!session) {
        QMetaObject::invokeMethod(op, end(DisRequest::Error::NoSession), Qt::QueuedConnection);
        return;
    }
    QObject::connect(session, &QObject::destroyed, op, end(DisRequest::Error::NoSession));
    qint64 const maxBody = session->maxBody();
    bool const sent = session->send(request, op, [op, maxBody](QNetworkReply* reply) {
        if (reply->error() != QNetworkReply::NoError)
            return finishFailed(op, reply, maxBody);
        if (!op->wantsReply())
            return op->finish(DisRequest::Error::None);
        DisClientOp::parseReply(reply, maxBody, op,
                                [op](auto const& data) { op->finishWith(data); });
    });
    if (!sent)
        QMetaObject::invokeMethod(op, end(DisRequest::Error::BadReply), Qt::QueuedConnection);
}

void genericFetchOpByUrlGet(DisSession* session, QByteArray const& url, DisRequest* op)
{
    genericFetchOp(session, { DisRestVerb::Get, url, {} }, op);
}

} // namespace DisClientImpl
