// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "web_images.h"

#include "event_log.h"
#include "image_decode.h"
#include "preferences.h"
#include "request_pool.h"
#include "run_on_pool.h"

#include <QGuiApplication>
#include <QMetaEnum>
#include <QPainter>
#include <QPointer>
#include <QScopeGuard>
#include <QTimer>

NakWebImages* g_webImages = nullptr;

namespace NakWebImagesImpl {

namespace {

constexpr qreal denseScreen = 1.2;

QString keyOfError(QNetworkReply::NetworkError error)
{
    return QString::fromLatin1(
        QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error));
}

void log(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Images, severity, text);
}

// Queries of addresses can be keys to what they lead to.
QString forLog(QUrl const& url)
{
    return url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

// Tells that there would be more to see than the first frame.
void paintGifBadge(QImage& image)
{
    QSizeF const size = QSizeF(image.size()) / image.devicePixelRatioF();
    QRectF const badge(size.width() - 30, 0, 31, 15);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(badge, 3, 3);
    QFont font;
    font.setPixelSize(11);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(badge.adjusted(0, 0, -1, 0), Qt::AlignCenter, QStringLiteral("GIF"));
}

struct Decoded {
    QImage image;
    QString error;
};

Decoded decodeFor(QByteArray const& bytes, QSize maximum, qreal density)
{
    QSize target;
    NakImageDecode::Result decoded = NakImageDecode::decode(bytes, [&](QSize own) {
        target = targetSize(own, maximum, density);
        return decodeSize(own, target, density);
    });
    QImage image = std::move(decoded.image);
    if (image.isNull())
        return { {}, decoded.error };
    if (image.width() > target.width() || image.height() > target.height())
        image = image.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(density);
    if (decoded.format == NakImageDecode::Format::Gif)
        paintGifBadge(image);
    return { image, {} };
}

} // namespace

uint qHash(RequestKey const& key, uint seed)
{
    QtPrivate::QHashCombine const combine{};
    seed = combine(seed, key.url);
    seed = combine(seed, key.maximumSize.width());
    return combine(seed, key.maximumSize.height());
}

QSize targetSize(QSize own, QSize maximum, qreal density)
{
    return (QSizeF(maximum.isEmpty() ? own : maximum) * density).toSize();
}

QSize decodeSize(QSize own, QSize target, qreal density)
{
    if (own.width() > target.width() || own.height() > target.height())
        return own.scaled(target, Qt::KeepAspectRatio);
    bool const small = own.width() < 2 * target.width() && own.height() < 2 * target.height();
    return density > denseScreen && small ? own * 2 : own;
}

} // namespace NakWebImagesImpl

using namespace NakWebImagesImpl;

// --- NakWebImageListener ---

NakWebImageListener::NakWebImageListener(QObject* parent)
    : QObject(parent)
{
}

NakWebImageListener::~NakWebImageListener()
{
    clear();
}

void NakWebImageListener::setParams(QUrl const& url, QSize const& maximumSize)
{
    setParams(url, maximumSize, {});
}

void NakWebImageListener::setParams(QUrl const& url, QSize const& maximumSize,
                                    QList<QNetworkCookie> const& cookies)
{
    RequestKey const key{ url, maximumSize };
    if (key == m_key && !m_image.isNull())
        return;
    clear();
    if (!g_webImages || url.isEmpty())
        return;
    m_key = key;
    m_image = g_webImages->getImage(key, cookies);
    if (m_image.isNull())
        g_webImages->m_waiting.insert(this);
}

void NakWebImageListener::clear()
{
    if (g_webImages) {
        g_webImages->m_waiting.remove(this);
        g_webImages->keepForThisTurn(m_image);
    }
    m_key = {};
    m_image.clear();
}

// --- NakWebImages ---

NakWebImages::NakWebImages(QObject* parent)
    : QObject(parent)
    , m_images(SharedImageWeakMap<RequestKey>::create())
{
}

NakWebImages::~NakWebImages() = default;

QBitmap NakWebImages::getLoadingBitmap()
{
    if (m_loadingBitmap.isNull()) {
        qreal const density = qGuiApp->devicePixelRatio();
        int const side = qRound(16 * density);
        int const half = side / 2;
        m_loadingBitmap = QBitmap(side, side);
        m_loadingBitmap.clear();
        QPainter painter(&m_loadingBitmap);
        painter.fillRect(0, 0, half, half, Qt::color1);
        painter.fillRect(half, half, side - half, side - half, Qt::color1);
    }
    return m_loadingBitmap;
}

SharedImage NakWebImages::getImage(RequestKey const& key, QList<QNetworkCookie> const& cookies)
{
    SharedImage alive = m_images->get(key);
    if (!alive.isNull() || g_preferences->lowBandwidthMode)
        return alive;
    if (!m_inFlight.contains(key) && g_networkRequestPool) {
        m_inFlight.insert(key);
        fetchAndStorePixmapFromUrl(key, cookies);
    }
    return {};
}

// A view that arranges its widgets anew takes a picture from one and gives it to another.
void NakWebImages::keepForThisTurn(SharedImage const& image)
{
    if (image.isNull())
        return;
    if (m_kept.isEmpty())
        QTimer::singleShot(0, this, [this] { m_kept.clear(); });
    m_kept.append(image);
}

void NakWebImages::fetchAndStorePixmapFromUrl(RequestKey const& key,
                                              QList<QNetworkCookie> const& cookies)
{
    QNetworkRequest request(key.url);
    request.setAttribute(QNetworkRequest::FollowRedirectsAttribute, true);
    if (!cookies.isEmpty())
        request.setHeader(QNetworkRequest::CookieHeader, QVariant::fromValue(cookies));
    log(EvLog::Severity::Debug,
        QStringLiteral("Fetching (cacheable) web image at %1").arg(forLog(key.url)));
    NakPooledReply* pooled = g_networkRequestPool->get(request, true);
    connect(pooled, &NakPooledReply::finished, this, [this, key, pooled](QNetworkReply* reply) {
        auto const released = qScopeGuard([pooled] { pooled->release(); });
        QByteArray const bytes = pooled->takeBody();
        auto const error =
            reply ? reply->error() : QNetworkReply::NetworkError::ProtocolUnknownError;
        bool const fromDisk = pooled->fromDiskCache();
        if (error != QNetworkReply::NoError) {
            log(EvLog::Severity::Warn,
                QStringLiteral("Image fetch error: %1 from URL %2")
                    .arg(keyOfError(error), forLog(key.url)));
            m_inFlight.remove(key);
            return;
        }
        log(EvLog::Severity::Debug,
            (fromDisk ? QStringLiteral("Loaded from cache on disk: %1")
                      : QStringLiteral("Finished image fetch from server: %1"))
                .arg(forLog(key.url)));
        decodeOnPool(key, bytes);
    });
}

void NakWebImages::decodeOnPool(RequestKey const& key, QByteArray const& bytes)
{
    qreal const density = qGuiApp->devicePixelRatio();
    Utils::runOnPool(this, [this, key, bytes, density] {
        Decoded const decoded = decodeFor(bytes, key.maximumSize, density);
        if (decoded.image.isNull()) {
            log(EvLog::Severity::Info,
                QStringLiteral("Failed to decode image received from URL: %1   "
                               "Image reader error: %2   Data size: %3")
                    .arg(forLog(key.url), decoded.error)
                    .arg(bytes.size()));
        }
        // A pixmap belongs to the user-interface thread; of an image in this format it is made
        // without a copy.
        return std::function<void()>([this, key, image = decoded.image]() mutable {
            m_inFlight.remove(key);
            if (image.isNull())
                return;
            QSize const size = (QSizeF(image.size()) / image.devicePixelRatioF()).toSize();
            finishReceivingImage(
                key, m_images->insert(key, { QPixmap::fromImage(std::move(image)), size }));
        });
    });
}

void NakWebImages::finishReceivingImage(RequestKey const& key, SharedImage const& image)
{
    // Listeners may change what they want, and die, from inside the signal.
    QVarLengthArray<QPointer<NakWebImageListener>, 8> listeners;
    for (NakWebImageListener* listener : qAsConst(m_waiting)) {
        if (listener->m_key == key)
            listeners.append(listener);
    }
    for (QPointer<NakWebImageListener> const& listener : listeners)
        m_waiting.remove(listener);
    for (QPointer<NakWebImageListener> const& listener : listeners) {
        if (!listener || !(listener->m_key == key))
            continue;
        listener->m_image = image;
        emit listener->imageUpdated();
    }
}
