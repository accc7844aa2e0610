// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_logo_icon.h"

#include "app_theme.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace {

QColor colorForMode(QIcon::Mode mode)
{
    auto const& theme = NakAppTheme::getGlobalThemeColors();
    if (mode == QIcon::Disabled)
        return theme.disabledIcon;
    return mode == QIcon::Selected ? theme.highlightedText : theme.icon;
}

// In a square of 16 units.
QPainterPath bubble()
{
    QPainterPath path;
    path.addRoundedRect(QRectF(1, 2, 14, 10), 4, 4);
    QPainterPath tail;
    tail.moveTo(9, 11);
    tail.lineTo(14, 11);
    tail.lineTo(13.5, 15);
    tail.closeSubpath();
    path = path.united(tail);
    QPainterPath eyes;
    eyes.addEllipse(QRectF(4, 5.5, 3, 3.5));
    eyes.addEllipse(QRectF(9, 5.5, 3, 3.5));
    return path.subtracted(eyes);
}

class LogoIconEngine : public QIconEngine {
public:
    void paint(QPainter* painter, QRect const& rect, QIcon::Mode mode, QIcon::State) override
    {
        static QPainterPath const path = bubble();
        double const units = 16;
        double const side = std::min(rect.width(), rect.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.x() + (rect.width() - side) / 2,
                           rect.y() + (rect.height() - side) / 2);
        painter->scale(side / units, side / units);
        painter->fillPath(path, colorForMode(mode));
        painter->restore();
    }

    QPixmap pixmap(QSize const& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new LogoIconEngine; }
};

} // namespace

QIcon DisLogoIcon::make()
{
    return QIcon(new LogoIconEngine);
}

QIcon DisLogoIcon::makeRasterized()
{
    QIcon const drawn = make();
    QIcon icon;
    for (int extent : { 16, 24, 32, 48, 64 }) {
        for (QIcon::Mode mode : { QIcon::Normal, QIcon::Disabled })
            icon.addPixmap(drawn.pixmap(extent, extent, mode), mode);
    }
    return icon;
}
