// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dispensed_image.h"

#include "event_log.h"
#include "image_decode.h"
#include "request_pool.h"

#include <QPainter>

#include <algorithm>

namespace DispensedImage {

namespace {

// A source of this size is enough for every height; a larger one is made smaller while decoding.
constexpr int enoughPixels = 512;

void log(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Images, severity, text);
}

QImage squareOf(QImage const& picture, int side, double cornerRadius)
{
    QImage scaled = picture.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    bool const fits = scaled.width() == side && scaled.height() == side;
    if (scaled.isNull() || (fits && cornerRadius <= 0))
        return scaled;
    QImage square(side, side, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QPoint const topLeft((side - scaled.width()) / 2, (side - scaled.height()) / 2);
    painter.setBrushOrigin(topLeft);
    painter.setBrush(scaled);
    painter.drawRoundedRect(QRect(topLeft, scaled.size()), cornerRadius * side,
                            cornerRadius * side);
    return square;
}

} // namespace

QNetworkRequest requestFor(QUrl const& url)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::FollowRedirectsAttribute, true);
    return request;
}

QByteArray takeBody(NakPooledReply* pooled, QNetworkReply* reply)
{
    QByteArray const body = pooled->takeBody();
    bool const received = reply && reply->error() == QNetworkReply::NoError && !body.isEmpty();
    if (!received)
        log(EvLog::Severity::Info,
            QStringLiteral("A picture was not received from %1: error %2")
                .arg(reply ? reply->url().toString(QUrl::RemoveQuery) : QString())
                .arg(reply ? int(reply->error()) : 0));
    return received ? body : QByteArray();
}

QVector<QImage> process(QByteArray const& imageData, QVector<int> const& heights, qreal density,
                        double cornerRadius)
{
    NakImageDecode::Result const decoded = NakImageDecode::decode(imageData, [](QSize own) {
        bool const small = own.width() <= enoughPixels && own.height() <= enoughPixels;
        return small ? own : own.scaled(enoughPixels, enoughPixels, Qt::KeepAspectRatio);
    });
    QVector<QImage> images;
    if (decoded.image.isNull()) {
        log(EvLog::Severity::Info,
            QStringLiteral("A picture of %1 bytes was not decoded: %2")
                .arg(imageData.size())
                .arg(decoded.error));
        return images;
    }
    for (int height : heights) {
        int const side = std::max(1, qRound(height * density));
        QImage image = squareOf(decoded.image, side, cornerRadius);
        image.setDevicePixelRatio(density);
        images.append(image);
    }
    return images;
}

} // namespace DispensedImage
