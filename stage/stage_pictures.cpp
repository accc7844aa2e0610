// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_pictures.h"

#include "stage_words.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QStringList>

#include <zlib.h>

#include <algorithm>

namespace stage {

namespace {

constexpr int kAvatarSide = 128;
constexpr int kEmojiSide = 64;
constexpr int kMaxSide = 2048;
constexpr QSize kLandscape(640, 480);

QColor colorOf(Rng& rng)
{
    return QColor::fromHsv(rng.below(360), 110 + rng.below(90), 150 + rng.below(90));
}

// --- GIF: nothing here can write one, so its codes are written without compression ---

void putLittleEndian(QByteArray& out, int value)
{
    out.append(char(value & 0xff));
    out.append(char(value >> 8 & 0xff));
}

// 128 colours, 8-bit codes: a clear code in time keeps the reader's table from growing its codes.
QByteArray gifCodes(QImage const& indexed)
{
    constexpr int kClear = 128;
    constexpr int kPixelsPerClear = 100;
    QByteArray codes;
    int left = 0;
    for (int y = 0; y < indexed.height(); ++y) {
        for (int x = 0; x < indexed.width(); ++x) {
            if (left-- == 0) {
                codes.append(char(kClear));
                left = kPixelsPerClear - 1;
            }
            codes.append(char(indexed.pixelIndex(x, y)));
        }
    }
    codes.append(char(kClear + 1));
    return codes;
}

QByteArray encodeGif(QImage const& picture)
{
    constexpr int kColors = 128;
    QVector<QRgb> palette;
    for (int n = 0; n < kColors; ++n)
        palette.append(qRgb((n >> 4 & 7) * 36, (n >> 2 & 3) * 85, (n & 3) * 85));
    QImage const indexed = picture.convertToFormat(QImage::Format_Indexed8, palette);
    QByteArray out("GIF89a");
    putLittleEndian(out, indexed.width());
    putLittleEndian(out, indexed.height());
    out.append("\xe6\0\0", 3); // a table of 128 colours
    for (QRgb color : qAsConst(palette))
        out.append(char(qRed(color))).append(char(qGreen(color))).append(char(qBlue(color)));
    out.append(",\0\0\0\0", 5);
    putLittleEndian(out, indexed.width());
    putLittleEndian(out, indexed.height());
    out.append("\0\x07", 2); // no table of its own; codes begin at eight bits
    QByteArray const codes = gifCodes(indexed);
    for (int at = 0; at < codes.size(); at += 255) {
        QByteArray const block = codes.mid(at, 255);
        out.append(char(block.size())).append(block);
    }
    return out.append("\0;", 2);
}

QByteArray encode(QImage const& picture, PictureFormat format)
{
    if (format == PictureFormat::Gif)
        return encodeGif(picture);
    static constexpr char const* kNames[] = { "PNG", "JPEG", "", "WEBP" };
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!picture.save(&buffer, kNames[int(format)])) {
        buffer.seek(0);
        picture.save(&buffer, "PNG");
    }
    return bytes;
}

PictureFormat formatOfName(QString const& name)
{
    if (name.endsWith(QLatin1String(".gif")))
        return PictureFormat::Gif;
    if (name.endsWith(QLatin1String(".webp")))
        return PictureFormat::Webp;
    bool const jpeg = name.endsWith(QLatin1String(".jpg")) || name.endsWith(QLatin1String(".jpeg"));
    return jpeg ? PictureFormat::Jpeg : PictureFormat::Png;
}

// --- what a bad server sends ---

QByteArray goodPng()
{
    return landscape(1, { 64, 48 }, PictureFormat::Png);
}

// The header claims another size. Its checksum is right: who looks only at that is not warned.
QByteArray pngOfSize(quint32 width, quint32 height)
{
    QByteArray png = goodPng();
    auto const put = [&png](int at, quint32 value) {
        for (int n = 0; n < 4; ++n)
            png[at + n] = char(value >> (24 - 8 * n) & 0xff);
    };
    put(16, width);
    put(20, height);
    put(29, quint32(crc32(0, reinterpret_cast<Bytef const*>(png.constData()) + 12, 17)));
    return png;
}

HttpReply picture(QByteArray const& bytes)
{
    HttpReply reply;
    reply.body = bytes;
    reply.contentType = QByteArrayLiteral("image/png");
    reply.headers = { { "cache-control", "public, max-age=31536000" } };
    return reply;
}

HttpReply notFound()
{
    HttpReply reply;
    reply.status = 404;
    reply.body = QByteArrayLiteral("not found");
    reply.contentType = QByteArrayLiteral("text/plain");
    return reply;
}

// A megabyte of blanks that is a kilobyte on the wire; a reader that unpacks it unasked has lost.
HttpReply packed()
{
    QByteArray const plain(1 << 20, ' ');
    HttpReply reply = picture(qCompress(plain).mid(4));
    reply.headers = { { "content-encoding", "deflate" } };
    return reply;
}

HttpReply unending(int everyMs)
{
    HttpReply reply = picture(goodPng());
    reply.endlessEveryMs = everyMs;
    return reply;
}

HttpReply moved(QByteArray const& to)
{
    HttpReply reply = notFound();
    reply.status = 302;
    reply.headers = { { "location", to } };
    return reply;
}

struct Broken {
    char const* name;
    HttpReply (*reply)();
};
constexpr Broken kBroken[] = {
    { "wide.png", [] { return picture(pngOfSize(16385, 1)); } },
    { "huge.png", [] { return picture(pngOfSize(16384, 16384)); } },
    { "beyond.png", [] { return picture(pngOfSize(0x7fffffff, 0x7fffffff)); } },
    { "truncated.png", [] { return picture(goodPng().left(24)); } },
    { "empty.png", [] { return picture({}); } },
    { "page.png", [] { return picture("<html><body>Sign in</body></html>"); } },
    { "drawing.png",
      [] { return picture("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"); } },
    { "bitmap.png",
      [] {
          return picture(QByteArray("BM\x3a\0\0\0\0\0\0\0\x36\0\0\0", 14) + QByteArray(44, 1));
      } },
    { "packed.png", packed },
    { "endless.png", [] { return unending(0); } },
    { "drip.png", [] { return unending(20); } },
    { "loop.png", [] { return moved("/cdn/broken/loop.png"); } },
    { "file.png", [] { return moved("file:///etc/passwd"); } },
};

HttpReply brokenPicture(QString const& name)
{
    for (Broken const& entry : kBroken) {
        if (name == QLatin1String(entry.name))
            return entry.reply();
    }
    return notFound();
}

QSize sizeAsked(QUrlQuery const& query)
{
    QSize const asked(query.queryItemValue(QStringLiteral("width")).toInt(),
                      query.queryItemValue(QStringLiteral("height")).toInt());
    return asked.isEmpty() ? kLandscape : asked.boundedTo(QSize(kMaxSide, kMaxSide));
}

} // namespace

QByteArray identicon(quint64 id, int side, PictureFormat format)
{
    constexpr int kCells = 5;
    Rng rng(id, 0x1c0, 0);
    QColor const ground = colorOf(rng).lighter(150);
    QColor const ink = colorOf(rng).darker(140);
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    double const cell = double(side) / (kCells + 1);
    for (int x = 0; x <= kCells / 2; ++x) {
        for (int y = 0; y < kCells; ++y) {
            if (!rng.chance(50))
                continue;
            painter.fillRect(QRectF((x + 0.5) * cell, (y + 0.5) * cell, cell, cell), ink);
            painter.fillRect(QRectF((kCells - 0.5 - x) * cell, (y + 0.5) * cell, cell, cell), ink);
        }
    }
    painter.end();
    return encode(image, format);
}

QByteArray landscape(quint64 id, QSize size, PictureFormat format)
{
    Rng rng(id, 0x1a4d, 0);
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, colorOf(rng));
    sky.setColorAt(1, QColor(250, 236, 214));
    painter.fillRect(image.rect(), sky);
    double const sun = size.height() / 6.0;
    painter.setBrush(QColor(255, 244, 200));
    painter.drawEllipse(QPointF(rng.below(size.width()), size.height() / 3.0), sun, sun);
    QColor const hill = colorOf(rng);
    for (int n = 0; n < 3; ++n) {
        painter.setBrush(hill.darker(120 + 40 * n));
        double const top = size.height() * (0.5 + 0.15 * n);
        double const middle = rng.below(size.width());
        painter.drawEllipse(QPointF(middle, top + size.width()), size.width() * 1.1, size.width());
    }
    painter.end();
    return encode(image, format);
}

HttpReply answerPicture(HttpRequest const& request)
{
    QStringList const parts = request.path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (request.method != "GET" || parts.size() < 3)
        return notFound();
    QString const& kind = parts[1];
    QString const& name = parts.last();
    PictureFormat const format = formatOfName(name);
    quint64 const id = parts[2].section(QLatin1Char('.'), 0, 0).toULongLong();
    if (kind == QLatin1String("broken"))
        return brokenPicture(name);
    if (kind == QLatin1String("emojis"))
        return picture(identicon(id, kEmojiSide, format));
    // A new name is a new picture.
    if (kind == QLatin1String("avatars") || kind == QLatin1String("icons"))
        return picture(identicon(id ^ qHash(name, 0), kAvatarSide, format));
    if (kind == QLatin1String("attachments") && parts.size() == 5)
        return picture(landscape(parts[3].toULongLong(), sizeAsked(request.query), format));
    return notFound();
}

} // namespace stage
