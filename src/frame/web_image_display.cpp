// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "web_image_display.h"

#include <QPainter>

namespace {

constexpr double groundOpacity = 0.05;
constexpr double checkerOpacity = 0.04; // on top of it

// Where a picture of that size stands in the place: as it is if it fits, at the left, in the
// middle.
QRect layoutPicture(QSize picture, QRect const& place)
{
    if (picture.width() > place.width() || picture.height() > place.height())
        picture.scale(place.size(), Qt::KeepAspectRatio);
    return QRect(QPoint(place.left(), place.top() + (place.height() - picture.height()) / 2),
                 picture);
}

void paintLoading(QPainter& painter, QRect const& place, QColor ink)
{
    ink.setAlphaF(groundOpacity);
    painter.fillRect(place, ink);
    ink.setAlphaF(checkerOpacity);
    painter.fillRect(place, QBrush(ink, g_webImages->getLoadingBitmap()));
}

} // namespace

NakWebImageDisplay::NakWebImageDisplay(QWidget* parent)
    : QWidget(parent)
{
    connect(&m_listener, &NakWebImageListener::imageUpdated, this, [this] { update(); });
}

NakWebImageDisplay::~NakWebImageDisplay() = default;

void NakWebImageDisplay::setParams(QUrl const& url, QSize const& maximumSize,
                                   QSize const& displaySize)
{
    m_displaySize = displaySize;
    m_listener.setParams(url, maximumSize);
    update();
}

void NakWebImageDisplay::clear()
{
    m_listener.clear();
    update();
}

void NakWebImageDisplay::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    SharedImage const& image = m_listener.image();
    if (image.isNull()) {
        if (g_webImages)
            paintLoading(painter, rect(), palette().color(QPalette::Text));
        return;
    }
    QRect const picture = layoutPicture(image.layoutSize(), rect());
    painter.setRenderHint(QPainter::SmoothPixmapTransform, picture.size() != image.layoutSize());
    painter.drawPixmap(picture, image.pixmap());
}
