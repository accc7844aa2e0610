// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A counted handle on a picture, and a map that finds the picture of a key while somebody still
// holds it. Both may be used from any thread, and the last release of a picture may happen on any.

#include <QHash>
#include <QPixmap>
#include <QSharedPointer>
#include <QSize>

#include <mutex>
#include <shared_mutex>
#include <utility>

class SharedImageData {
public:
    SharedImageData(QPixmap const& pixmapOfData, QSize const& size)
        : pixmap(pixmapOfData)
        , layoutSize(size)
    {
    }
    virtual ~SharedImageData();
    SharedImageData(SharedImageData const&) = delete;
    SharedImageData& operator=(SharedImageData const&) = delete;

    QAtomicInt refCount{ 0 };
    QPixmap const pixmap;
    QSize const layoutSize; // device-independent; the pixmap can have more pixels
};

class SharedImage {
public:
    SharedImage() = default;
    explicit SharedImage(SharedImageData* data) // takes part in its ownership
        : m_data(data)
    {
        retain();
    }
    SharedImage(SharedImage const& other)
        : m_data(other.m_data)
    {
        retain();
    }
    SharedImage(SharedImage&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr))
    {
    }
    SharedImage& operator=(SharedImage other) noexcept
    {
        std::swap(m_data, other.m_data);
        return *this;
    }
    ~SharedImage() { release(); }

    // An image that belongs to no map.
    static SharedImage createPlain(QPixmap const& pixmap, QSize const& layoutSize);
    // An image on data that a map still names: empty if its last holder has let go meanwhile.
    static SharedImage createIfAlive(SharedImageData* data);

    bool isNull() const { return !m_data; }
    QPixmap const& pixmap() const; // a null pixmap if empty
    QSize layoutSize() const { return m_data ? m_data->layoutSize : QSize(-1, -1); }
    int bytesSize() const; // of the pixmap; 0 if empty

    void clear() { reset(); }
    void reset(SharedImageData* data = nullptr) { *this = SharedImage(data); }

    friend bool operator==(SharedImage const& a, SharedImage const& b)
    {
        return a.m_data == b.m_data;
    }
    friend bool operator!=(SharedImage const& a, SharedImage const& b) { return !(a == b); }

private:
    void retain()
    {
        if (m_data)
            m_data->refCount.ref();
    }
    void release()
    {
        if (m_data && !m_data->refCount.deref())
            // The analyzer cannot count references.
            delete m_data; // NOLINT(clang-analyzer-cplusplus.NewDelete)
    }

    SharedImageData* m_data = nullptr;
};
Q_DECLARE_TYPEINFO(SharedImage, Q_MOVABLE_TYPE);

// What a producer of pictures hands in.
struct ImageCreationData {
    QPixmap pixmap;
    QSize layoutSize;
};

template <typename Key> class WeakMapSharedImageData;

// Held by a QSharedPointer; the map and its images may die in any order.
template <typename Key> class SharedImageWeakMap {
public:
    static QSharedPointer<SharedImageWeakMap> create()
    {
        QSharedPointer<SharedImageWeakMap> map(new SharedImageWeakMap);
        map->m_self = map;
        return map;
    }

    // Empty when nobody holds the picture of this key.
    SharedImage get(Key const& key) const
    {
        // The lock is held until the pointer is wrapped. Data that is about to die waits for it in
        // its destructor, so the pointer is good; its count tells whether it is dying.
        std::shared_lock const locker(m_lock);
        SharedImageData* data = m_images.value(key, nullptr);
        return data ? SharedImage::createIfAlive(data) : SharedImage();
    }

    // Replaces what stood there, whose holders keep theirs.
    SharedImage insert(Key const& key, ImageCreationData const& creation)
    {
        auto* data = new WeakMapSharedImageData<Key>(creation, m_self, key);
        SharedImage image(data);
        std::unique_lock const locker(m_lock);
        m_images.insert(key, data);
        return image;
    }

private:
    friend class WeakMapSharedImageData<Key>;
    SharedImageWeakMap() = default;

    void forget(Key const& key, SharedImageData const* data)
    {
        std::unique_lock const locker(m_lock);
        auto const it = m_images.find(key);
        if (it != m_images.end() && it.value() == data) // a newer image may have replaced it
            m_images.erase(it);
    }

    mutable std::shared_mutex m_lock; // of the kind that the thread sanitizer can follow
    QHash<Key, SharedImageData*> m_images;
    QWeakPointer<SharedImageWeakMap> m_self;
};

template <typename Key> class WeakMapSharedImageData : public SharedImageData {
public:
    WeakMapSharedImageData(ImageCreationData const& creation,
                           QWeakPointer<SharedImageWeakMap<Key>> const& map, Key const& key)
        : SharedImageData(creation.pixmap, creation.layoutSize)
        , m_map(map)
        , m_key(key)
    {
    }
    ~WeakMapSharedImageData() override
    {
        if (QSharedPointer<SharedImageWeakMap<Key>> const map = m_map.toStrongRef())
            map->forget(m_key, this);
    }

private:
    QWeakPointer<SharedImageWeakMap<Key>> const m_map;
    Key const m_key;
};
