// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Handles of fetches whose result goes to the caller instead of the store. User-interface thread.
// Each finishes exactly once, always after the operation that made it has returned; it belongs to
// the parent that was given, and may be deleted at any time.

#include "dis_fetch_data.h"
#include "dis_rest_params.h"
#include "dis_rest_request.h"

#include <QObject>

#include <memory>

class DisSession;

class DisRequest : public QObject {
    Q_OBJECT
public:
    enum class Error {
        None,
        NoSession, // there is none, or it ended before the reply
        Network, // the request failed
        BadReply, // what came is not what was asked for
    };

    explicit DisRequest(QObject* parent)
        : QObject(parent)
    {
    }

    bool isFinished() const { return m_finished; }
    Error error() const { return m_error; }
    // Why the service refused, in its own words; empty where it gave none. For one who reads it,
    // not for the log.
    QString refusal() const { return m_refusal; }

    // For the function that carries out the request.
    virtual bool wantsReply() const { return true; } // or only that it was taken
    void finish(Error error, QString const& refusal = {});
    void finishWith(std::shared_ptr<DisClientOp::DreadFetchData> const& data);

signals:
    void finished();

private:
    // False if the data are not what was asked for.
    virtual bool receive(std::shared_ptr<DisClientOp::DreadFetchData> const& data) = 0;

    bool m_finished = false;
    Error m_error = Error::None;
    QString m_refusal;
};

// Of a request that changes something: it finishes once the service has taken it. What comes of it
// is told by the gateway.
class DisChangeOp : public DisRequest {
    Q_OBJECT
public:
    using DisRequest::DisRequest;

    bool wantsReply() const override { return false; }

private:
    bool receive(std::shared_ptr<DisClientOp::DreadFetchData> const&) override { return true; }
};

class DisDreadFetchOp : public DisRequest {
    Q_OBJECT
public:
    using DisRequest::DisRequest;

    // Null while there is none.
    std::shared_ptr<DisClientOp::DreadFetchData const> fetchedData() const { return m_data; }

private:
    bool receive(std::shared_ptr<DisClientOp::DreadFetchData> const& data) override;

    std::shared_ptr<DisClientOp::DreadFetchData const> m_data;
};

namespace DisAuditLog {

struct AuditLogFetchData {
    std::shared_ptr<DisClientOp::DreadFetchData const> fetched; // what the lists are part of
    Dread::VList entries; // newest first
    Dread::VList users; // those that the entries name
};

} // namespace DisAuditLog

class DisClientAuditLogFetchOp : public DisRequest {
    Q_OBJECT
public:
    using DisRequest::DisRequest;

    std::shared_ptr<DisAuditLog::AuditLogFetchData const> fetchedData() const { return m_data; }

private:
    bool receive(std::shared_ptr<DisClientOp::DreadFetchData> const& data) override;

    std::shared_ptr<DisAuditLog::AuditLogFetchData const> m_data;
};

// What an invite's request was answered with.
DisInviteInfo readInviteInfo(DisClientOp::DreadFetchData const& data);

namespace DisClientImpl {

// Sends the request and hands the parsed reply to op. Without a session op finishes with an error.
void genericFetchOp(DisSession* session, DisRestRequest const& request, DisRequest* op);
// The same for a path behind the API base, percent-encoded and with its query.
void genericFetchOpByUrlGet(DisSession* session, QByteArray const& url, DisRequest* op);

} // namespace DisClientImpl
