// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Plain GET requests away from the user-interface thread: "WebRequestPoolThread" holds seven
// network managers without a cache and one with a disk cache. Thread and managers are made when the
// first request needs them. Used from the user-interface thread only.
//
// Bounds: http and https only; the body, the silence of a server and the whole request are limited;
// a redirect to another host carries neither cookies nor Authorization, and none leaves TLS.

#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>

#include <memory>

struct NakRequestLimits {
    qint64 maxBodyBytes = qint64(64) << 20;
    int silenceMSecs = 30'000; // without a byte
    int wholeMSecs = 300'000; // a server that drips would never be silent
    int maxRedirects = 8;
};

// One request. Lives on the pool's thread, whose end it does not survive; whoever asked for it
// releases it once it is not needed, finished or not.
class NakPooledReply : public QObject {
    Q_OBJECT
public:
    NakPooledReply(QNetworkRequest const& request, NakRequestLimits const& limits);
    ~NakPooledReply() override;

    // For the receiver of finished(): everything that came, already read. Copies nothing.
    QByteArray takeBody();
    bool fromDiskCache() const { return m_fromDiskCache; }
    // Last of all: it dies on its own thread, and the network's reply with it, as soon as told.
    void release();

signals:
    // Once. The reply belongs to this object; it is null if the address is not for the web.
    void finished(QNetworkReply* reply);

private slots:
    void networkRequestFinished();

private:
    friend class NakRequestPoolWorker;
    void startOn(QNetworkAccessManager* manager);
    void send();
    bool followRedirect();

    QNetworkRequest m_request;
    NakRequestLimits const m_limits;
    QNetworkAccessManager* m_manager = nullptr;
    QNetworkReply* m_reply = nullptr;
    QByteArray m_body;
    int m_redirects = 0;
    bool m_followsRedirects = false;
    bool m_fromDiskCache = false;
};

class NakRequestPoolWorker;

class NakRequestPool : public QObject {
    Q_OBJECT
public:
    // cachePath: the directory of the disk cache, made on first use.
    explicit NakRequestPool(QString const& cachePath, QObject* parent = nullptr);
    ~NakRequestPool() override; // ends what is under way, and waits for the thread

    void setLimits(NakRequestLimits const& limits); // for requests from now on

    // Starts from the event loop, so the caller can still connect to the reply. Redirects are
    // followed if the request has QNetworkRequest::FollowRedirectsAttribute.
    NakPooledReply* get(QNetworkRequest const& request, bool useCache);

private:
    QString const m_cachePath;
    NakRequestLimits m_limits;
    std::unique_ptr<QThread> m_thread; // null before the first request
    NakRequestPoolWorker* m_worker = nullptr; // on that thread
};

// Set and cleared in src/app.
extern NakRequestPool* g_networkRequestPool;
