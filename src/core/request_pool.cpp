// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "request_pool.h"

#include "invoke_on_thread.h"

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <array>

NakRequestPool* g_networkRequestPool = nullptr;

namespace {

constexpr int plainManagerCount = 7;

bool isForTheWeb(QUrl const& url)
{
    return url.isValid() && !url.host().isEmpty()
        && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

bool leavesTls(QUrl const& from, QUrl const& to)
{
    return from.scheme() == QLatin1String("https") && to.scheme() != from.scheme();
}

void makeCacheDirectory(QString const& path)
{
    QDir().mkpath(path);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

// What lives on the pool's thread: the managers, and as children the requests.
class NakRequestPoolWorker : public QObject {
public:
    explicit NakRequestPoolWorker(QString const& cachePath)
        : m_cachePath(cachePath)
    {
    }

    // Requests before managers, which own the replies.
    ~NakRequestPoolWorker() override
    {
        qDeleteAll(findChildren<NakPooledReply*>(QString(), Qt::FindDirectChildrenOnly));
    }

    void start(NakPooledReply* pooled, bool useCache)
    {
        pooled->startOn(useCache ? cachingManager() : nextPlainManager());
    }

private:
    // One only, so that the disk cache has a single writer.
    QNetworkAccessManager* cachingManager()
    {
        if (!m_caching) {
            makeCacheDirectory(m_cachePath);
            auto* cache = new QNetworkDiskCache;
            cache->setCacheDirectory(m_cachePath);
            m_caching = new QNetworkAccessManager(this);
            m_caching->setCache(cache);
        }
        return m_caching;
    }

    // In turn, with no look at the load.
    QNetworkAccessManager* nextPlainManager()
    {
        QNetworkAccessManager*& manager = m_plain[m_next];
        m_next = (m_next + 1) % m_plain.size();
        if (!manager)
            manager = new QNetworkAccessManager(this);
        return manager;
    }

    QString const m_cachePath;
    std::array<QNetworkAccessManager*, plainManagerCount> m_plain{};
    size_t m_next = 0;
    QNetworkAccessManager* m_caching = nullptr;
};

// --- NakPooledReply ---

NakPooledReply::NakPooledReply(QNetworkRequest const& request, NakRequestLimits const& limits)
    : m_request(request)
    , m_limits(limits)
    , m_followsRedirects(request.attribute(QNetworkRequest::FollowRedirectsAttribute).toBool())
{
    // The network manager would send every header on to wherever it is redirected.
    m_request.setAttribute(QNetworkRequest::FollowRedirectsAttribute, QVariant());
    m_request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                           QNetworkRequest::ManualRedirectPolicy);
    // Pictures do not get smaller; and what is not unpacked cannot be a bomb.
    m_request.setRawHeader("Accept-Encoding", "identity");
    // Only what the caller sends along: servers of pictures have no business with a jar.
    m_request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    m_request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    m_request.setTransferTimeout(m_limits.silenceMSecs);
}

NakPooledReply::~NakPooledReply()
{
    Utils::noteReceived(this);
    delete m_reply;
}

QByteArray NakPooledReply::takeBody()
{
    Utils::noteReceived(this);
    return std::move(m_body);
}

void NakPooledReply::release()
{
    Utils::noteHandedOver(this);
    deleteLater();
}

void NakPooledReply::startOn(QNetworkAccessManager* manager)
{
    m_manager = manager;
    if (isForTheWeb(m_request.url())) {
        QTimer::singleShot(m_limits.wholeMSecs, this, [this] { m_reply->abort(); });
        send();
    } else {
        emit finished(nullptr);
    }
}

void NakPooledReply::send()
{
    m_reply = m_manager->get(m_request);
    connect(m_reply, &QNetworkReply::finished, this, &NakPooledReply::networkRequestFinished);
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64 total) {
        if (std::max(received, total) > m_limits.maxBodyBytes)
            m_reply->abort();
    });
}

void NakPooledReply::networkRequestFinished()
{
    if (followRedirect())
        return;
    if (m_reply->error() == QNetworkReply::NoError)
        m_body = m_reply->readAll();
    m_fromDiskCache = m_reply->attribute(QNetworkRequest::SourceIsFromCacheAttribute).toBool();
    Utils::noteHandedOver(this);
    emit finished(m_reply);
}

bool NakPooledReply::followRedirect()
{
    QUrl const target = m_reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (!m_followsRedirects || target.isEmpty() || m_redirects >= m_limits.maxRedirects)
        return false;
    QUrl const from = m_request.url();
    QUrl const to = from.resolved(target);
    if (!isForTheWeb(to) || leavesTls(from, to))
        return false;
    ++m_redirects;
    m_request.setUrl(to);
    if (to.host() != from.host() || to.port() != from.port()) {
        m_request.setRawHeader("Authorization", QByteArray());
        m_request.setRawHeader("Cookie", QByteArray());
    }
    m_reply->deleteLater();
    send();
    return true;
}

// --- NakRequestPool ---

NakRequestPool::NakRequestPool(QString const& cachePath, QObject* parent)
    : QObject(parent)
    , m_cachePath(cachePath)
{
}

NakRequestPool::~NakRequestPool()
{
    if (!m_thread)
        return;
    Utils::invokeOnThread(m_worker, [worker = m_worker] {
        delete worker;
        QThread::currentThread()->quit();
    });
    m_thread->wait();
}

void NakRequestPool::setLimits(NakRequestLimits const& limits)
{
    m_limits = limits;
}

NakPooledReply* NakRequestPool::get(QNetworkRequest const& request, bool useCache)
{
    if (!m_thread) {
        m_thread = std::make_unique<QThread>();
        m_thread->setObjectName(QStringLiteral("WebRequestPoolThread"));
        m_worker = new NakRequestPoolWorker(m_cachePath);
        m_worker->moveToThread(m_thread.get());
        m_thread->start(QThread::NormalPriority);
    }
    auto* pooled = new NakPooledReply(request, m_limits);
    pooled->moveToThread(m_thread.get());
    Utils::invokeOnThread(m_worker, [worker = m_worker, pooled] { pooled->setParent(worker); });
    // By way of this thread's event loop: the pool's could answer before the caller has connected.
    Utils::invokeOnThread(this, [this, pooled = QPointer<NakPooledReply>(pooled), useCache] {
        Utils::invokeOnThread(m_worker, [worker = m_worker, pooled, useCache] {
            if (pooled)
                worker->start(pooled, useCache);
        });
    });
    return pooled;
}
