// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Pictures of users and guilds at any height. A request is answered at once, by the placeholder
// until the signal has named the id and height. Whoever has a new picture by the store has a new
// name of it, and so is asked for anew. User-interface thread only.

#include "flake_id.h"
#include "kv_cache.h"
#include "shared_image.h"

#include <QIcon>
#include <QObject>
#include <QUrl>

#include <memory>

class DisAvatarDispenser;
class DisGuildIconDispenser;
class ImageStore;
struct DisChanges;
struct sqlite3;

namespace DisAvatarImagesImpl {
// A stable 32-bit hash, never 0, which means that there is no picture.
quint32 nameHash(QString const& name);
} // namespace DisAvatarImagesImpl

class DisAvatarImages : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString storePath; // discord_avatars.nakdb
        QString cdnUrl; // the deployment's, without a slash at the end
        sqlite3* db = nullptr; // the connection on which users and guilds are read
    };
    DisAvatarImages(Options const& options, QObject* parent);
    ~DisAvatarImages() override;

    // Heights in device-independent pixels. One who has no picture gets noAvatarPixmap().
    SharedImage getAvatar(FlakeId user, int height);
    // By the name of the picture, for users that the store does not know.
    SharedImage getAvatarWithName(FlakeId user, QString const& avatarName, int height);
    // Empty for a guild without a picture: its place shows something of its name.
    SharedImage getGuildIcon(FlakeId guild, int height);

    // The user glyph, centred; in the theme's colour if none is given.
    QPixmap avatarPlaceholder(QSize size, QColor const& color = {});
    QPixmap noAvatarPixmap(QSize size);

    QUrl webUrlForUserAvatar(FlakeId user); // empty if there is none
    quint32 avatarNameHashForUser(FlakeId user); // 0: none
    quint32 iconNameHashForGuild(FlakeId guild);

    QIcon discordLogoIcon();
    QIcon discordLogoMenuIcon(); // as plain pixmaps, for what is not painted by this program

    // Drops what the changes made stale. Connected to the client's signal by whoever makes this.
    void applyChanges(DisChanges const& changes);

signals:
    void avatarPresented(FlakeId const& user, int height, SharedImage const& image);
    void guildIconPresented(FlakeId const& guild, int height, SharedImage const& image);

private:
    friend class DisAvatarDispenser;
    friend class DisGuildIconDispenser;
    using NameCache = NakKVCache<FlakeId, QString>;

    QString loadName(NameCache& cache, char const* sql, FlakeId id);
    QString avatarNameOfUser(FlakeId user);
    QString iconNameOfGuild(FlakeId guild);
    QUrl avatarUrl(FlakeId user, QString const& avatarName) const;
    QUrl iconUrl(FlakeId guild, QString const& iconName) const;
    void preferencesChanged();

    Options const m_options;
    NameCache m_avatarNames;
    NameCache m_iconNames;
    QHash<int, SharedImage> m_noAvatars; // by height
    std::unique_ptr<ImageStore> m_store;
    std::unique_ptr<DisAvatarDispenser> m_avatars;
    std::unique_ptr<DisGuildIconDispenser> m_guildIcons;
};

// Set and cleared in src/app.
extern DisAvatarImages* g_disAvatarImages;
