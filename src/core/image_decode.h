// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Decoding of pictures that came from outside: PNG, JPEG, GIF and WebP, told by their first bytes
// and by nothing that a server says, and only sizes that a header may claim. Any thread; meant for
// the pool, since a large picture takes a second.

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <functional>

namespace NakImageDecode {

constexpr int maxSide = 16'384; // pixels
constexpr qint64 maxPixels = 40'000'000;

enum class Format { Unknown, Png, Jpeg, Gif, Webp };
Format formatOf(QByteArray const& bytes);

// Of a picture that a header describes.
bool isSizeAllowed(QSize size);

struct Result {
    QImage image; // null if there is none; else in a format that a pixmap takes over without work
    Format format = Format::Unknown;
    QString error; // of the reader, or our own
};

// The first frame. sizeFor says from the picture's own size at which size it is wanted, in pixels;
// a picture is made smaller while it is decoded, so that the large one never stands in memory where
// its format allows.
Result decode(QByteArray const& bytes, std::function<QSize(QSize)> const& sizeFor);

} // namespace NakImageDecode
