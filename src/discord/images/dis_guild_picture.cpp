// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_guild_picture.h"

#include "dis_avatar_images.h"
#include "dis_cache.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>

namespace {

constexpr double tileRadius = 3.0;
constexpr double tileStrength = 0.24; // of the text's colour over the ground
constexpr double letterShare = 0.55; // of the tile's height

// The first letter or figure, which may take two code units.
QString initialOf(QString const& name)
{
    for (int i = 0; i < name.size(); ++i) {
        if (name.at(i).isLetterOrNumber())
            return name.mid(i, 1).toUpper();
        if (name.at(i).isHighSurrogate())
            return name.mid(i, 2);
    }
    return name.left(1);
}

QPixmap paintTile(QString const& initial, int size, DisLetterTileStyle const& style)
{
    int const extent = qRound(size * style.density);
    QPixmap picture(extent, extent);
    picture.fill(Qt::transparent);
    picture.setDevicePixelRatio(style.density);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.fill);
    QRectF const box(0, 0, size, size);
    painter.drawRoundedRect(box, tileRadius, tileRadius);
    painter.setPen(style.text);
    painter.setFont(style.font);
    painter.drawText(box, Qt::AlignCenter, initial);
    return picture;
}

} // namespace

QPixmap disLetterTile(QString const& name, int size, DisLetterTileStyle const& style)
{
    QString const initial = initialOf(name);
    QString const key = QStringLiteral("letter %1 %2 %3 %4 %5 %6")
                            .arg(size)
                            .arg(style.density)
                            .arg(style.fill.rgba())
                            .arg(style.text.rgba())
                            .arg(style.font.key(), initial);
    QPixmap picture;
    if (!QPixmapCache::find(key, &picture)) {
        picture = paintTile(initial, size, style);
        QPixmapCache::insert(key, picture);
    }
    return picture;
}

QPixmap disGuildPicture(FlakeId guild, int size)
{
    QPixmap picture;
    if (g_disAvatarImages)
        picture = g_disAvatarImages->getGuildIcon(guild, size).pixmap();
    if (!picture.isNull())
        return picture;
    QPalette const palette = QGuiApplication::palette();
    QColor const& text = palette.color(QPalette::Text);
    QColor fill = text;
    fill.setAlphaF(tileStrength);
    DisLetterTileStyle style{ QGuiApplication::font(), fill, text, qGuiApp->devicePixelRatio() };
    style.font.setPixelSize(qMax(1, qRound(size * letterShare)));
    style.font.setWeight(QFont::DemiBold);
    return disLetterTile(DisCache::guildName(guild), size, style);
}
