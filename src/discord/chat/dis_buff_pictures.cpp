// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_pictures.h"

#include "deployment.h"

#include <QRegularExpression>
#include <QUrlQuery>

namespace {

bool isBelow(QString const& url, QString const& base)
{
    return !base.isEmpty() && url.startsWith(base + QLatin1Char('/'));
}

// Servers that make pictures smaller when asked by query.
bool canResize(QString const& url, NakDeployment const& deployment)
{
    if (isBelow(url, deployment.discordMediaUrl))
        return true;
    QString const& pattern = deployment.discordImagesUrlPattern;
    return !pattern.isEmpty() && QRegularExpression(pattern).match(url).hasMatch();
}

bool isLarge(QSize size)
{
    return size.width() > DisBuffPictures::maxSize.width()
        || size.height() > DisBuffPictures::maxSize.height();
}

QSize placeSize(QSize told)
{
    if (told.width() < 1 || told.height() < 1)
        return DisBuffPictures::unknownSize;
    if (!isLarge(told))
        return told;
    return told.scaled(DisBuffPictures::maxSize, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

QUrl resized(QUrl url, QString const& text, QSize told, QSize place)
{
    QUrlQuery query(url);
    if (text.endsWith(QLatin1String(".webm")) || text.endsWith(QLatin1String(".mp4")))
        query.addQueryItem(QStringLiteral("format"), QStringLiteral("jpeg"));
    if (isLarge(told)) {
        query.addQueryItem(QStringLiteral("width"), QString::number(place.width()));
        query.addQueryItem(QStringLiteral("height"), QString::number(place.height()));
    }
    if (!query.isEmpty())
        url.setQuery(query);
    return url;
}

} // namespace

DisBuffPicture DisBuffPictures::pictureOf(DisBuffPictureRow const& row,
                                          NakDeployment const& deployment)
{
    QSize const told(row.width, row.height);
    DisBuffPicture picture;
    picture.original = QUrl(row.url);
    picture.name = picture.original.fileName();
    picture.size = placeSize(told);
    picture.source = QUrl(row.thumbnail);
    if (canResize(row.thumbnail, deployment))
        picture.source = resized(picture.source, row.thumbnail, told, picture.size);
    return picture;
}
