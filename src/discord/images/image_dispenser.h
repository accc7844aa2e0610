// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Gives out pictures of one kind at any height, at once: the placeholder of that height until the
// picture has been read from the store or downloaded, decoded and scaled, which the dispenser then
// says. Every picture given out is a square of its height, so that nothing moves when it arrives;
// one of another shape is centred in it. User-interface thread only; decoding and scaling run on
// the global pool.
//
// SourceKey names a picture at the service; CacheKey has the fields `source` and `height`
// (device-independent pixels). Dispenser derives from this and has:
//   QByteArray tryLoadFromDisk(SourceKey const&);
//   void saveToDisk(SourceKey const&, QByteArray const& imageData);
//   void removeFromDisk(SourceKey const&);
//   QUrl webUrl(SourceKey const&); // empty: there is none
//   QPixmap drawPlaceholder(int height);
//   void present(CacheKey const&, SharedImage const&);
//   static constexpr double cornerRadius; // of the height; 0 for none

#include "dispensed_image.h"
#include "event_log.h"
#include "kv_cache.h"
#include "preferences.h"
#include "request_pool.h"
#include "run_on_pool.h"
#include "shared_image.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QObject>
#include <QVector>

template <typename Dispenser, typename SourceKey, typename CacheKey> class ImageDispenser {
public:
    ImageDispenser()
        : m_images(SharedImageWeakMap<CacheKey>::create())
    {
        m_clock.start();
    }

    SharedImage getImage(CacheKey const& key)
    {
        if (SharedImage const* hit = m_recent.find(key))
            return *hit;
        SharedImage alive = m_images->get(key);
        if (!alive.isNull()) {
            remember(key, alive);
            return alive;
        }
        Wait& wait = m_waits[key.source];
        if (!wait.heights.contains(key.height))
            wait.heights.append(key.height);
        if (!wait.onItsWay && !failedLately(wait)) {
            wait.onItsWay = true;
            fulfillByFetching(key.source);
        }
        return placeholder(key.height);
    }

    SharedImage placeholder(int height)
    {
        SharedImage& image = m_placeholders[height];
        if (image.isNull())
            image = SharedImage::createPlain(self()->drawPlaceholder(height), { height, height });
        return image;
    }

    // The theme has changed, or what may be fetched: pictures that failed are tried again.
    void preferencesChanged()
    {
        m_placeholders.clear();
        for (Wait& wait : m_waits)
            wait.failedAt = never;
    }

private:
    static constexpr int recentBytes = 200'000;
    static constexpr int maxWaits = 20'000;
    static constexpr qint64 never = -1;
    static constexpr qint64 retryMSecs = 300'000;

    // A picture that somebody waits for.
    struct Wait {
        QVector<int> heights;
        bool onItsWay = false;
        qint64 failedAt = never; // by m_clock
    };

    Dispenser* self() { return static_cast<Dispenser*>(this); }

    bool failedLately(Wait const& wait) const
    {
        return wait.failedAt != never && m_clock.elapsed() - wait.failedAt < retryMSecs;
    }

    void remember(CacheKey const& key, SharedImage const& image)
    {
        m_recent.insert(key, image, image.bytesSize());
    }

    void fulfillByFetching(SourceKey const& source)
    {
        QByteArray const stored = self()->tryLoadFromDisk(source);
        if (!stored.isEmpty()) {
            runImageProcessing(source, stored, Origin::Disk);
            return;
        }
        QUrl const url = g_preferences->lowBandwidthMode || !g_networkRequestPool
            ? QUrl()
            : self()->webUrl(source);
        if (url.isEmpty()) {
            failed(source);
            return;
        }
        NakPooledReply* pooled = g_networkRequestPool->get(DispensedImage::requestFor(url), false);
        QObject::connect(pooled, &NakPooledReply::finished, &m_context,
                         [this, source, pooled](QNetworkReply* reply) {
                             QByteArray const body = DispensedImage::takeBody(pooled, reply);
                             if (body.isEmpty())
                                 failed(source);
                             else
                                 runImageProcessing(source, body, Origin::Web);
                             pooled->release();
                         });
    }

    enum class Origin { Disk, Web, Known };

    // The keys that join while the pool is at it get a round of their own.
    void runImageProcessing(SourceKey const& source, QByteArray const& imageData, Origin origin)
    {
        QVector<int> const heights = m_waits.value(source).heights;
        qreal const density = qGuiApp->devicePixelRatio();
        Utils::runOnPool(&m_context, [=] {
            QVector<QImage> const images =
                DispensedImage::process(imageData, heights, density, Dispenser::cornerRadius);
            return std::function<void()>(
                [=]() { processed(source, imageData, origin, heights, images); });
        });
    }

    void processed(SourceKey const& source, QByteArray const& imageData, Origin origin,
                   QVector<int> const& heights, QVector<QImage> const& images)
    {
        if (images.isEmpty()) { // to be fetched anew, but not at once: the service may be the cause
            if (origin == Origin::Disk)
                self()->removeFromDisk(source);
            failed(source);
            return;
        }
        if (origin == Origin::Web)
            self()->saveToDisk(source, imageData);
        for (int i = 0; i < images.size(); ++i)
            present({ source, heights.at(i) }, images.at(i));
        finishRound(source, imageData, heights);
    }

    void present(CacheKey const& key, QImage const& image)
    {
        SharedImage const shared =
            m_images->insert(key, { QPixmap::fromImage(image), { key.height, key.height } });
        remember(key, shared);
        self()->present(key, shared);
    }

    void finishRound(SourceKey const& source, QByteArray const& imageData,
                     QVector<int> const& heights)
    {
        QVector<int>& left = m_waits[source].heights;
        for (int height : heights)
            left.removeOne(height);
        if (left.isEmpty())
            m_waits.remove(source);
        else
            runImageProcessing(source, imageData, Origin::Known);
    }

    // The keys stay on the placeholder.
    void failed(SourceKey const& source)
    {
        if (m_waits.size() > maxWaits) {
            m_waits.remove(source);
            return;
        }
        Wait& wait = m_waits[source];
        wait.onItsWay = false;
        wait.failedAt = m_clock.elapsed();
    }

    QSharedPointer<SharedImageWeakMap<CacheKey>> m_images;
    NakKVCache<CacheKey, SharedImage> m_recent{ recentBytes };
    QHash<SourceKey, Wait> m_waits;
    QHash<int, SharedImage> m_placeholders; // by height
    QElapsedTimer m_clock;
    QObject m_context; // what is under way ends with it
};
