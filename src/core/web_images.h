// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Pictures on web servers, by address and wanted size: fetched through the request pool, decoded on
// the global thread pool at the size in which they are shown, and shared by all who show them.
// User-interface thread only.

#include "shared_image.h"

#include <QBitmap>
#include <QNetworkCookie>
#include <QObject>
#include <QSet>
#include <QSize>
#include <QUrl>
#include <QVector>

#include <memory>

class NakRequestPool;

namespace NakWebImagesImpl {

struct RequestKey {
    QUrl url;
    QSize maximumSize; // device-independent; invalid: the picture's own

    friend bool operator==(RequestKey const& a, RequestKey const& b)
    {
        return a.maximumSize == b.maximumSize && a.url == b.url;
    }
};
uint qHash(RequestKey const& key, uint seed = 0);

// In device pixels: what to decode a picture at. A small one is doubled on a dense screen, which
// keeps it sharp.
QSize targetSize(QSize own, QSize maximum, qreal density);
QSize decodeSize(QSize own, QSize target, qreal density);

} // namespace NakWebImagesImpl

// Says when the picture of an address is there. A failed picture is never told of: one line in the
// log, and the next setParams() asks for it again.
class NakWebImageListener : public QObject {
    Q_OBJECT
public:
    explicit NakWebImageListener(QObject* parent = nullptr);
    ~NakWebImageListener() override;

    QUrl imageUrl() const { return m_key.url; }
    QSize maximumSize() const { return m_key.maximumSize; }
    SharedImage const& image() const { return m_image; } // empty until it is there

    // A picture that is alive somewhere is there at once, without a signal.
    void setParams(QUrl const& url, QSize const& maximumSize);
    void setParams(QUrl const& url, QSize const& maximumSize, QList<QNetworkCookie> const& cookies);
    void clear();

signals:
    void imageUpdated();

private:
    friend class NakWebImages;
    NakWebImagesImpl::RequestKey m_key;
    SharedImage m_image;
};

class NakWebImages : public QObject {
    Q_OBJECT
public:
    explicit NakWebImages(QObject* parent = nullptr);
    ~NakWebImages() override;

    // A two-by-two checker to fill a place with whose picture is on its way.
    QBitmap getLoadingBitmap();

private:
    friend class NakWebImageListener;
    using RequestKey = NakWebImagesImpl::RequestKey;

    SharedImage getImage(RequestKey const& key, QList<QNetworkCookie> const& cookies);
    void fetchAndStorePixmapFromUrl(RequestKey const& key, QList<QNetworkCookie> const& cookies);
    void keepForThisTurn(SharedImage const& image);
    void decodeOnPool(RequestKey const& key, QByteArray const& bytes);
    void finishReceivingImage(RequestKey const& key, SharedImage const& image);

    QSet<RequestKey> m_inFlight;
    QSet<NakWebImageListener*> m_waiting;
    QVector<SharedImage> m_kept; // until the event loop is back
    QBitmap m_loadingBitmap;
    QSharedPointer<SharedImageWeakMap<RequestKey>> m_images;
};

// Set and cleared in src/app.
extern NakWebImages* g_webImages;
