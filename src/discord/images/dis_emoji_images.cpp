// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_emoji_images.h"

#include "global_events.h"
#include "image_dispenser.h"
#include "image_store.h"

DisEmojiImages* g_disEmojiImages = nullptr;

namespace {

constexpr char schema[] = "create table emoji_image (id int primary key, image_data blob);";
constexpr char loadSql[] = "select image_data from emoji_image where id = :id";
constexpr char saveSql[] = "replace into emoji_image (id, image_data) values (:id, :image_data)";
constexpr char removeSql[] = "delete from emoji_image where id = :id";

struct DisEmojiCacheKey {
    FlakeId source;
    int height = 0;

    friend bool operator==(DisEmojiCacheKey const& a, DisEmojiCacheKey const& b)
    {
        return a.source == b.source && a.height == b.height;
    }
    friend uint qHash(DisEmojiCacheKey const& key, uint seed = 0)
    {
        return ::qHash(qMakePair(key.source, key.height), seed);
    }
};

} // namespace

class DisEmojiImageDispenser
    : public ImageDispenser<DisEmojiImageDispenser, FlakeId, DisEmojiCacheKey> {
public:
    static constexpr double cornerRadius = 0;

    DisEmojiImageDispenser(DisEmojiImages* owner, QString const& storePath)
        : m_owner(owner)
        , m_store({ storePath, schema, { "emoji_image" }, "PRAGMA cache_size = -100;" })
    {
    }

    QByteArray tryLoadFromDisk(FlakeId id)
    {
        return m_store.load(loadSql, [&](NakStmt& stmt) { stmt.bind(1, id); });
    }

    void saveToDisk(FlakeId id, QByteArray const& imageData)
    {
        m_store.save(saveSql, imageData, [&](NakStmt& stmt) {
            stmt.bind(1, id);
            stmt.bind(2, imageData);
        });
    }

    void removeFromDisk(FlakeId id)
    {
        m_store.run(removeSql, [&](NakStmt& stmt) { stmt.bind(1, id); });
    }

    QUrl webUrl(FlakeId id) { return m_owner->webUrlForEmojiId(id); }

    QPixmap drawPlaceholder(int height)
    {
        qreal const density = qGuiApp->devicePixelRatio();
        QPixmap pixmap(QSize(height, height) * density);
        pixmap.setDevicePixelRatio(density);
        pixmap.fill(Qt::transparent);
        return pixmap;
    }

    void present(DisEmojiCacheKey const& key, SharedImage const& image)
    {
        emit m_owner->emojiPixmapPresented(key.source, key.height, image);
    }

private:
    DisEmojiImages* m_owner;
    ImageStore m_store;
};

DisEmojiImages::DisEmojiImages(QString const& storePath, QString const& cdnUrl, QObject* parent)
    : QObject(parent)
    , m_cdnUrl(cdnUrl)
    , m_dispenser(std::make_unique<DisEmojiImageDispenser>(this, storePath))
{
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            [this] { m_dispenser->preferencesChanged(); });
}

DisEmojiImages::~DisEmojiImages() = default;

SharedImage DisEmojiImages::getEmojiImage(FlakeId emoji, int height)
{
    return m_dispenser->getImage({ emoji, height });
}

SharedImage DisEmojiImages::emojiPlaceholder(int height)
{
    return m_dispenser->placeholder(height);
}

QUrl DisEmojiImages::webUrlForEmojiId(FlakeId emoji) const
{
    return QUrl(m_cdnUrl + QLatin1String("/emojis/") + emoji.toString() + QLatin1String(".png"));
}
