// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_avatar_images.h"

#include "dis_changes.h"
#include "dis_logo_icon.h"
#include "global_events.h"
#include "gui_icons.h"
#include "image_dispenser.h"
#include "image_store.h"

#include <QPainter>

#include <tuple>

DisAvatarImages* g_disAvatarImages = nullptr;

namespace {

constexpr int namesKept = 300;
constexpr ushort userGlyph = 61761;

constexpr char schema[] =
    "create table avatar_image (user_id int primary key, name_hash int, image_data blob);"
    "create table guild_icon_image (guild_id int primary key, name_hash int, image_data blob);";

constexpr char avatarNameSql[] =
    "select avatar from user where id = ? and avatar is not null and length(avatar) > 1";
constexpr char iconNameSql[] = "select icon from guild where id = ? and length(icon) > 1";

// What tells the two kinds apart in the file.
struct Statements {
    char const* load;
    char const* save;
    char const* remove;
};
constexpr Statements avatarStatements{
    "select image_data from avatar_image where user_id = ? and name_hash = ?",
    "replace into avatar_image (user_id, name_hash, image_data) values (?, ?, ?)",
    "delete from avatar_image where user_id = ? and name_hash = ?",
};
constexpr Statements iconStatements{
    "select image_data from guild_icon_image where guild_id = ? and name_hash = ?",
    "replace into guild_icon_image (guild_id, name_hash, image_data) values (?, ?, ?)",
    "delete from guild_icon_image where guild_id = ? and name_hash = ?",
};

// Two types of the same shape, so that a user's picture can never be asked of guilds.
template <typename Kind> struct NamedSourceKey {
    FlakeId id;
    quint32 hash = 0; // of the picture's name

    friend bool operator==(NamedSourceKey const& a, NamedSourceKey const& b)
    {
        return a.id == b.id && a.hash == b.hash;
    }
    friend uint qHash(NamedSourceKey const& key, uint seed = 0)
    {
        return ::qHash(qMakePair(key.id, key.hash), seed);
    }
};

template <typename Source> struct NamedCacheKey {
    Source source;
    int height = 0;

    friend bool operator==(NamedCacheKey const& a, NamedCacheKey const& b)
    {
        return a.source == b.source && a.height == b.height;
    }
    friend uint qHash(NamedCacheKey const& key, uint seed = 0)
    {
        return ::qHash(qMakePair(key.source, key.height), seed);
    }
};

struct Users;
struct Guilds;
using DisAvatarSourceKey = NamedSourceKey<Users>;
using DisAvatarCacheKey = NamedCacheKey<DisAvatarSourceKey>;
using DisGuildIconSourceKey = NamedSourceKey<Guilds>;
using DisGuildIconCacheKey = NamedCacheKey<DisGuildIconSourceKey>;

// A dispenser whose pictures lie in a table with a hash of their names.
template <typename Dispenser, typename SourceKey, typename CacheKey>
class NamedImageDispenser : public ImageDispenser<Dispenser, SourceKey, CacheKey> {
public:
    static constexpr double cornerRadius = 0.125;

    NamedImageDispenser(DisAvatarImages* owner, ImageStore* store, Statements const& statements)
        : m_owner(owner)
        , m_store(store)
        , m_statements(statements)
    {
    }

    QByteArray tryLoadFromDisk(SourceKey const& source)
    {
        return m_store->load(m_statements.load, keyBinder(source));
    }

    void saveToDisk(SourceKey const& source, QByteArray const& imageData)
    {
        m_store->save(m_statements.save, imageData, [&](NakStmt& stmt) {
            keyBinder(source)(stmt);
            stmt.bind(3, imageData);
        });
    }

    void removeFromDisk(SourceKey const& source)
    {
        m_store->run(m_statements.remove, keyBinder(source));
    }

protected:
    DisAvatarImages* const m_owner;

private:
    static ImageStore::Bind keyBinder(SourceKey const& source)
    {
        return [source](NakStmt& stmt) {
            stmt.bind(1, source.id);
            stmt.bind(2, static_cast<long long>(source.hash));
        };
    }

    ImageStore* const m_store;
    Statements const m_statements;
};

} // namespace

class DisAvatarDispenser
    : public NamedImageDispenser<DisAvatarDispenser, DisAvatarSourceKey, DisAvatarCacheKey> {
public:
    using NamedImageDispenser::NamedImageDispenser;

    SharedImage getImageOfName(FlakeId user, QString const& name, int height)
    {
        DisAvatarSourceKey const source{ user, DisAvatarImagesImpl::nameHash(name) };
        m_nameAsked = name;
        return getImage({ source, height });
    }

    // Only asked from inside getImage(), while the name is known.
    QUrl webUrl(DisAvatarSourceKey const& source)
    {
        return m_owner->avatarUrl(source.id, m_nameAsked);
    }

    QPixmap drawPlaceholder(int height) { return m_owner->avatarPlaceholder({ height, height }); }

    void present(DisAvatarCacheKey const& key, SharedImage const& image)
    {
        emit m_owner->avatarPresented(key.source.id, key.height, image);
    }

private:
    QString m_nameAsked;
};

class DisGuildIconDispenser
    : public NamedImageDispenser<DisGuildIconDispenser, DisGuildIconSourceKey,
                                 DisGuildIconCacheKey> {
public:
    using NamedImageDispenser::NamedImageDispenser;

    QUrl webUrl(DisGuildIconSourceKey const& source)
    {
        return m_owner->iconUrl(source.id, m_owner->iconNameOfGuild(source.id));
    }

    QPixmap drawPlaceholder(int height) { return m_owner->noAvatarPixmap({ height, height }); }

    void present(DisGuildIconCacheKey const& key, SharedImage const& image)
    {
        emit m_owner->guildIconPresented(key.source.id, key.height, image);
    }
};

// FNV-1a over the UTF-8.
quint32 DisAvatarImagesImpl::nameHash(QString const& name)
{
    quint32 hash = 2'166'136'261U;
    QByteArray const utf8 = name.toUtf8();
    for (char c : utf8)
        hash = (hash ^ static_cast<uchar>(c)) * 16'777'619U;
    return hash == 0 ? 1 : hash;
}

DisAvatarImages::DisAvatarImages(Options const& options, QObject* parent)
    : QObject(parent)
    , m_options(options)
    , m_avatarNames(namesKept)
    , m_iconNames(namesKept)
    , m_store(new ImageStore(
          { options.storePath, schema, { "avatar_image", "guild_icon_image" }, nullptr }))
    , m_avatars(new DisAvatarDispenser(this, m_store.get(), avatarStatements))
    , m_guildIcons(new DisGuildIconDispenser(this, m_store.get(), iconStatements))
{
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            &DisAvatarImages::preferencesChanged);
}

DisAvatarImages::~DisAvatarImages() = default;

SharedImage DisAvatarImages::getAvatar(FlakeId user, int height)
{
    return getAvatarWithName(user, avatarNameOfUser(user), height);
}

SharedImage DisAvatarImages::getAvatarWithName(FlakeId user, QString const& avatarName, int height)
{
    if (!avatarName.isEmpty())
        return m_avatars->getImageOfName(user, avatarName, height);
    SharedImage& image = m_noAvatars[height];
    if (image.isNull())
        image = SharedImage::createPlain(noAvatarPixmap({ height, height }), { height, height });
    return image;
}

SharedImage DisAvatarImages::getGuildIcon(FlakeId guild, int height)
{
    quint32 const hash = iconNameHashForGuild(guild);
    return hash == 0 ? SharedImage() : m_guildIcons->getImage({ { guild, hash }, height });
}

QPixmap DisAvatarImages::avatarPlaceholder(QSize size, QColor const& color)
{
    return g_guiIcons->pixmapForCodeAndColorAtSize(
        QChar(userGlyph), color.isValid() ? color : g_guiIcons->normalIconColor(), size);
}

// The glyph on a plate, so that it is told from a picture that is still to come.
QPixmap DisAvatarImages::noAvatarPixmap(QSize size)
{
    constexpr double plateOpacity = 0.25;
    constexpr double glyphShare = 0.75;
    constexpr double cornerRadius = DisAvatarDispenser::cornerRadius;
    qreal const density = qGuiApp->devicePixelRatio();
    QPixmap pixmap((QSizeF(size) * density).toSize());
    pixmap.setDevicePixelRatio(density);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor const color = g_guiIcons->normalIconColor();
    QColor plate = color;
    plate.setAlphaF(plateOpacity);
    painter.setBrush(plate);
    painter.drawRoundedRect(QRectF(QPointF(), size), cornerRadius * size.height(),
                            cornerRadius * size.height());
    QSize const glyph = size * glyphShare;
    painter.drawPixmap(
        QPoint((size.width() - glyph.width()) / 2, (size.height() - glyph.height()) / 2),
        g_guiIcons->pixmapForCodeAndColorAtSize(QChar(userGlyph), color, glyph));
    return pixmap;
}

QUrl DisAvatarImages::webUrlForUserAvatar(FlakeId user)
{
    QString const name = avatarNameOfUser(user);
    return name.isEmpty() ? QUrl() : avatarUrl(user, name);
}

quint32 DisAvatarImages::avatarNameHashForUser(FlakeId user)
{
    QString const name = avatarNameOfUser(user);
    return name.isEmpty() ? 0 : DisAvatarImagesImpl::nameHash(name);
}

quint32 DisAvatarImages::iconNameHashForGuild(FlakeId guild)
{
    QString const name = iconNameOfGuild(guild);
    return name.isEmpty() ? 0 : DisAvatarImagesImpl::nameHash(name);
}

QIcon DisAvatarImages::discordLogoIcon()
{
    return DisLogoIcon::make();
}

QIcon DisAvatarImages::discordLogoMenuIcon()
{
    return DisLogoIcon::makeRasterized();
}

void DisAvatarImages::applyChanges(DisChanges const& changes)
{
    if (changes.isReload()) {
        m_avatarNames.clear();
        m_iconNames.clear();
        return;
    }
    for (DisChange const& change : changes.items) {
        switch (change.type) {
        case DisChange::ChangeType::UserPropertiesChanged:
            m_avatarNames.remove(change.words[0]);
            break;
        case DisChange::ChangeType::GuildMemberAdded:
        case DisChange::ChangeType::GuildMemberChanged: // tells the user anew as well
            m_avatarNames.remove(change.words[1]);
            break;
        case DisChange::ChangeType::GuildChanged:
            m_iconNames.remove(change.words[0]);
            break;
        default:
            break;
        }
    }
}

// What is not in the store is not kept, so that it is found once it comes.
QString DisAvatarImages::loadName(NameCache& cache, char const* sql, FlakeId id)
{
    if (QString const* name = cache.find(id))
        return *name;
    NakStmt stmt(m_options.db, sql);
    stmt.bind(1, id);
    if (!stmt.step())
        return {};
    return *cache.insert(id, stmt.colString(0));
}

QString DisAvatarImages::avatarNameOfUser(FlakeId user)
{
    return loadName(m_avatarNames, avatarNameSql, user);
}

QString DisAvatarImages::iconNameOfGuild(FlakeId guild)
{
    return loadName(m_iconNames, iconNameSql, guild);
}

// Names are from the service, and only names: a slash in one must not lead elsewhere.
QUrl DisAvatarImages::avatarUrl(FlakeId user, QString const& avatarName) const
{
    return QUrl(m_options.cdnUrl + QLatin1String("/avatars/") + user.toString() + QLatin1Char('/')
                + QString::fromLatin1(QUrl::toPercentEncoding(avatarName))
                + QLatin1String(".webp?size=256"));
}

QUrl DisAvatarImages::iconUrl(FlakeId guild, QString const& iconName) const
{
    return QUrl(m_options.cdnUrl + QLatin1String("/icons/") + guild.toString() + QLatin1Char('/')
                + QString::fromLatin1(QUrl::toPercentEncoding(iconName)) + QLatin1String(".webp"));
}

void DisAvatarImages::preferencesChanged()
{
    m_noAvatars.clear();
    m_avatars->preferencesChanged();
    m_guildIcons->preferencesChanged();
}
