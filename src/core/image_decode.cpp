// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "image_decode.h"

#include <QBuffer>
#include <QImageReader>
#include <QtEndian>

#include <mutex>

namespace NakImageDecode {

namespace {

constexpr qint64 largePixels = 4'000'000;

struct Signature {
    Format format;
    int offset;
    char const* readerName;
    QLatin1String bytes;
};

constexpr Signature signatures[] = {
    { Format::Png, 0, "png", QLatin1String("\x89PNG\r\n\x1a\n", 8) },
    { Format::Jpeg, 0, "jpeg", QLatin1String("\xff\xd8\xff", 3) },
    { Format::Gif, 0, "gif", QLatin1String("GIF87a", 6) },
    { Format::Gif, 0, "gif", QLatin1String("GIF89a", 6) },
    { Format::Webp, 8, "webp", QLatin1String("WEBPVP8", 7) },
};

Signature const* signatureOf(QByteArray const& bytes)
{
    for (Signature const& signature : signatures) {
        if (bytes.size() >= signature.offset + signature.bytes.size()
            && std::equal(signature.bytes.begin(), signature.bytes.end(),
                          bytes.constData() + signature.offset))
            return &signature;
    }
    return nullptr;
}

// A GIF's reader takes its canvas from here, but names the size of a frame.
bool isGifCanvasAllowed(QByteArray const& bytes)
{
    constexpr int widthAt = 6;
    constexpr int heightAt = 8;
    if (bytes.size() < heightAt + 2)
        return false;
    return isSizeAllowed({ qFromLittleEndian<quint16>(bytes.constData() + widthAt),
                           qFromLittleEndian<quint16>(bytes.constData() + heightAt) });
}

QImage inPixmapFormat(QImage image)
{
    return std::move(image).convertToFormat(
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

} // namespace

Format formatOf(QByteArray const& bytes)
{
    Signature const* signature = signatureOf(bytes);
    return signature ? signature->format : Format::Unknown;
}

bool isSizeAllowed(QSize size)
{
    return size.width() > 0 && size.height() > 0 && size.width() <= maxSide
        && size.height() <= maxSide && qint64(size.width()) * size.height() <= maxPixels;
}

Result decode(QByteArray const& bytes, std::function<QSize(QSize)> const& sizeFor)
{
    Result result;
    Signature const* signature = signatureOf(bytes);
    if (!signature) {
        result.error = QStringLiteral("Not a picture of a known format");
        return result;
    }
    result.format = signature->format;
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, signature->readerName);
    // Only the reader of this format is asked: what else the system can read is not for strangers.
    reader.setAutoDetectImageFormat(false);
    QSize const own = reader.size();
    if (!isSizeAllowed(own) || (result.format == Format::Gif && !isGifCanvasAllowed(bytes))) {
        result.error =
            QStringLiteral("Picture of %1 by %2 pixels").arg(own.width()).arg(own.height());
        return result;
    }
    QSize const wanted = sizeFor(own).expandedTo(QSize(1, 1));
    if (wanted != own)
        reader.setScaledSize(wanted);
    // The readers of these two make the whole picture before they make it smaller: one large one at
    // a time is enough.
    static std::mutex wholePicture;
    std::unique_lock<std::mutex> lock(wholePicture, std::defer_lock);
    bool const isWhole = result.format == Format::Gif || result.format == Format::Webp;
    if (isWhole && qint64(own.width()) * own.height() > largePixels)
        lock.lock();
    QImage image = reader.read();
    if (image.isNull())
        result.error = reader.errorString();
    else
        result.image = inPixmapFormat(std::move(image));
    return result;
}

} // namespace NakImageDecode
