// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "presence_circle.h"

#include "app_theme.h"

#include <QPainter>
#include <QPalette>

namespace {

constexpr int lightWindowLightness = 128;

// One that is offline is a ring, so that the states can be told apart without their colours.
void paintCircle(QPainter* painter, QRectF const& box, DisUserStatusCode status,
                 QColor const& color)
{
    bool const hollow =
        status == DisUserStatusCode::Offline || status == DisUserStatusCode::Unknown;
    double const line = box.width() / 5;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(hollow ? QPen(color, line) : QPen(Qt::NoPen));
    painter->setBrush(hollow ? QBrush(Qt::NoBrush) : QBrush(color));
    painter->drawEllipse(hollow ? box.adjusted(line / 2, line / 2, -line / 2, -line / 2) : box);
    if (status == DisUserStatusCode::DoNotDisturb) {
        painter->setCompositionMode(QPainter::CompositionMode_Clear);
        painter->fillRect(QRectF(box.left() + box.width() / 4, box.center().y() - line / 2,
                                 box.width() / 2, line),
                          Qt::transparent);
    }
}

} // namespace

QColor NakStyle::presenceColor(DisUserStatusCode status, QPalette const& palette)
{
    QColor const& window = palette.color(QPalette::Window);
    bool const isLight = window.lightness() >= lightWindowLightness;
    switch (status) {
    case DisUserStatusCode::Online:
        return isLight ? QColor(47, 143, 78) : QColor(87, 178, 113);
    case DisUserStatusCode::Idle:
        return isLight ? QColor(196, 134, 20) : QColor(222, 170, 72);
    case DisUserStatusCode::DoNotDisturb:
        return isLight ? QColor(196, 58, 58) : QColor(222, 98, 98);
    case DisUserStatusCode::Unknown:
    case DisUserStatusCode::Offline:
        break;
    }
    QColor faint = NakAppTheme::getGlobalThemeColors().icon;
    faint.setAlphaF(0.5);
    return faint;
}

QPixmap NakStyle::presenceCircle(DisUserStatusCode status, QColor const& color, double density)
{
    int const extent = qRound(presenceCircleSize * density);
    QPixmap picture(extent, extent);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    paintCircle(&painter, QRectF(0, 0, extent, extent), status, color);
    painter.end();
    picture.setDevicePixelRatio(density);
    return picture;
}
