// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared_image.h"

SharedImageData::~SharedImageData() = default;

SharedImage SharedImage::createPlain(QPixmap const& pixmap, QSize const& layoutSize)
{
    return SharedImage(new SharedImageData(pixmap, layoutSize));
}

SharedImage SharedImage::createIfAlive(SharedImageData* data)
{
    // A count that has reached zero must never rise again: its data is already being destroyed.
    int count = data->refCount.loadRelaxed();
    while (count > 0) {
        if (data->refCount.testAndSetOrdered(count, count + 1, count)) {
            SharedImage image;
            image.m_data = data;
            return image;
        }
    }
    return SharedImage();
}

QPixmap const& SharedImage::pixmap() const
{
    if (m_data)
        return m_data->pixmap;
    static QPixmap const null;
    return null;
}

int SharedImage::bytesSize() const
{
    if (!m_data)
        return 0;
    QPixmap const& pixmap = m_data->pixmap;
    return pixmap.depth() / 8 * pixmap.width() * pixmap.height();
}
