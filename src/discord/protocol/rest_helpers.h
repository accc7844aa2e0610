// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The few shapes that requests to the Discord API take. User-interface thread. Each request is
// logged before it leaves. A body that passes the bound, as received or inflated, is cut off.

#include "dis_rest_request.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QHttpMultiPart;
class QNetworkAccessManager;
class QNetworkRequest;

namespace RestHelpers {

// On whose behalf a request goes out.
struct Sender {
    QNetworkAccessManager* manager = nullptr;
    QString token; // empty: no Authorization header
    QString userAgent;
    int timeout = 0; // milliseconds without any progress
    qint64 maxBody = 0; // bytes
};

// The slot gets every finished reply, failed ones too, which is deleted after it returns. It is not
// called once the receiver is gone.
using Slot = std::function<void(QNetworkReply*)>;

// Where a request goes and what it carries: JSON text, or a null array for no body.
struct Target {
    QUrl url;
    QByteArray json;
};
void sendForReply(Sender const& sender, DisRestVerb verb, Target const& target, QObject* receiver,
                  Slot const& slot);
void getString(Sender const& sender, QUrl const& url, QObject* receiver, Slot const& slot);
// The form goes with the request.
void postForm(Sender const& sender, QUrl const& url, QHttpMultiPart* form, QObject* receiver,
              Slot const& slot);
void postJson_andForget(Sender const& sender, QUrl const& url, QByteArray const& json);
void postNothing_andForget(Sender const& sender, QUrl const& url);
void putJson_andForget(Sender const& sender, QUrl const& url, QByteArray const& json);
void putNothing_andForget(Sender const& sender, QUrl const& url);
void deleteAtUrl_andForget(Sender const& sender, QUrl const& url);
// Through the custom verb, since QNetworkAccessManager has no PATCH. A failure is logged.
void patchJson_crap(Sender const& sender, QUrl const& url, QByteArray const& json);

// --- replies ---
// A body as it came from the wire, which may be compressed: it is taken on the user-interface
// thread and inflated where it is parsed.
struct Body {
    QByteArray bytes;
    bool gzip = false;
};
Body takeBody(QNetworkReply* reply);
// Any thread. Nothing if it does not inflate, or to more than maxBody bytes.
[[nodiscard]] std::optional<QByteArray> inflatedBody(Body const& body, qint64 maxBody);

// --- text ---
QString errorName(QNetworkReply const* reply); // for the log
// For the log: a query is shown only where all its keys are known to hold no secret.
QString loggableUrl(QUrl const& url);

} // namespace RestHelpers
