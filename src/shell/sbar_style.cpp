// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_style.h"

#include "app_theme.h"
#include "dis_guild_picture.h"
#include "gui_icons.h"
#include "nak_color.h"
#include "nakwire_style.h"
#include "presence_circle.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPalette>

#include <algorithm>

namespace {

using NakStyle::SbarTone;
using NakStyle::SbarViewStyle;

constexpr int lightWindowLightness = 128;
constexpr int rowHeightOverFont = 5;
constexpr double badgeFontScale = 0.85;
constexpr int minBadgePointSize = 6;

QColor& at(QColor (&colors)[static_cast<size_t>(SbarTone::Count)], SbarTone tone)
{
    return colors[static_cast<size_t>(tone)];
}

void setFonts(SbarViewStyle* style, QFont const& font)
{
    style->rowFont = font;
    style->headFont = font;
    style->headFont.setWeight(QFont::DemiBold);
    style->rowFontHeight = QFontMetrics(style->rowFont).height();
    style->headFontHeight = QFontMetrics(style->headFont).height();
    style->badgeFont = NakBadgePaint::deriveFontDataFromLargerFont(font);
}

void setDistances(SbarViewStyle* style)
{
    int const wanted = std::max(style->rowFontHeight + rowHeightOverFont, 1);
    int const height = wanted + wanted % 2;
    style->rowHeight = height;
    style->sectionHeight = height + 6;
    style->groupHeight = height + 7;
    style->groupEndHeight = 4;
    style->groupStartHeight = 3;
    style->aloneHeight = height + 8;
    style->iconSize = std::max(height - 2, 1);
    style->smallGlyphSize = std::max(height - 8, 1);
    style->avatarSize = std::max(height - 6, 1);
    style->badgePadding = std::max((height - 6) / 2, 0);
    style->badgeMinWidth = std::max(height - 6, 1);
}

void setTextColors(SbarViewStyle* style, QPalette const& palette)
{
    QColor const& text = palette.color(QPalette::WindowText);
    QColor const& bright = palette.color(QPalette::BrightText);
    at(style->text, SbarTone::Normal) = NakColor::mix(style->background, text, 0.86);
    at(style->text, SbarTone::Strong) = style->isLight ? text : bright;
    at(style->text, SbarTone::Dim) = NakColor::mix(style->background, text, 0.6);
    at(style->text, SbarTone::OnActive) = palette.color(QPalette::HighlightedText);
    QColor const icon = NakAppTheme::getGlobalThemeColors().icon;
    at(style->icon, SbarTone::Normal) = NakColor::mix(style->background, icon, 0.75);
    at(style->icon, SbarTone::Strong) = icon;
    at(style->icon, SbarTone::Dim) = NakColor::mix(style->background, icon, 0.65);
    at(style->icon, SbarTone::OnActive) = palette.color(QPalette::HighlightedText);
}

void setColors(SbarViewStyle* style, QPalette const& palette)
{
    QColor const& window = palette.color(QPalette::Window);
    QColor const& text = palette.color(QPalette::WindowText);
    QColor const& highlight = palette.color(QPalette::Highlight);
    style->isLight = window.lightness() >= lightWindowLightness;
    style->background = window;
    style->groupFill = style->isLight ? NakColor::mix(window, palette.color(QPalette::Base), 0.55)
                                      : NakColor::mix(window, palette.color(QPalette::Base), 0.6);
    style->groupLine = NakColor::mix(style->groupFill, text, 0.1);
    style->activeFill = highlight;
    style->pressedFill = NakColor::mix(style->groupFill, highlight, 0.35);
    style->caretLine = highlight;
    setTextColors(style, palette);
    auto const& theme = NakAppTheme::getGlobalThemeColors();
    style->badgeFill = theme.unreadBadge;
    style->badgeText = theme.unreadBadgeText;
    style->badgeShadow = QColor(0, 0, 0, style->isLight ? 28 : 70);
    style->membersFill = NakColor::mix(style->groupFill, text, 0.18);
    style->tileFill = NakColor::mix(style->groupFill, text, 0.24);
    style->tileText = text;
    style->membersText = NakColor::mix(style->groupFill, text, 0.9);
    for (size_t status = 0; status < std::size(style->presence); ++status)
        style->presence[status] =
            NakStyle::presenceColor(static_cast<DisUserStatusCode>(status), palette);
}

constexpr quint64 pictureKey(quint64 code, quint64 size, QRgb color)
{
    return code << 48 | size << 32 | color;
}
// Among the codes there: behind those of the circles, before those of the glyphs.
constexpr quint64 badgeCode(int height, bool shadow)
{
    return 256 + quint64(height) * 2 + (shadow ? 1 : 0);
}

} // namespace

NakBadgePaint::FontData NakBadgePaint::deriveFontDataFromLargerFont(QFont const& larger)
{
    FontData data{ larger, 0 };
    if (larger.pointSizeF() > 0)
        data.font.setPointSizeF(
            std::max(larger.pointSizeF() * badgeFontScale, double(minBadgePointSize)));
    else
        data.font.setPixelSize(
            std::max(int(larger.pixelSize() * badgeFontScale), minBadgePointSize));
    data.font.setWeight(QFont::DemiBold);
    data.height = QFontMetrics(data.font).height();
    return data;
}

QPixmap NakStyle::SbarViewStyle::glyphInColor(ushort code, QColor const& color, int size) const
{
    QPixmap& picture = pictures[pictureKey(code, quint64(size), color.rgba())];
    if (picture.isNull() && g_guiIcons) {
        int const extent = qRound(size * density);
        picture = g_guiIcons->coloredGlyph(QChar(code), color, { extent, extent });
        picture.setDevicePixelRatio(density);
    }
    return picture;
}

QPixmap NakStyle::SbarViewStyle::glyph(ushort code, SbarTone tone, int size) const
{
    return glyphInColor(code, icon[static_cast<size_t>(tone)], size);
}

QPixmap NakStyle::SbarViewStyle::statusCircle(DisUserStatusCode status) const
{
    QPixmap& picture = pictures[pictureKey(quint64(status), 0, 0)];
    if (picture.isNull()) {
        auto const index = static_cast<size_t>(status);
        picture =
            presenceCircle(status, presence[index < std::size(presence) ? index : 0], density);
    }
    return picture;
}

QPixmap NakStyle::SbarViewStyle::badgeGround(QSize const& size, QColor const& fill,
                                             bool shadow) const
{
    QPixmap& picture =
        pictures[pictureKey(badgeCode(size.height(), shadow), quint64(size.width()), fill.rgba())];
    if (picture.isNull()) {
        QRectF const badge(QPointF(), size);
        QRectF const all = badge.adjusted(0, 0, 0, shadow ? badgeShadowDrop : 0);
        picture = QPixmap((all.size() * density).toSize());
        picture.fill(Qt::transparent);
        picture.setDevicePixelRatio(density);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        double const radius = badge.height() / 2;
        if (shadow) {
            painter.setBrush(badgeShadow);
            painter.drawRoundedRect(badge.translated(0, badgeShadowDrop), radius, radius);
        }
        painter.setBrush(fill);
        painter.drawRoundedRect(badge, radius, radius);
    }
    return picture;
}

QPixmap NakStyle::SbarViewStyle::letterTile(QString const& name) const
{
    return disLetterTile(name, iconSize, { headFont, tileFill, tileText, density });
}

NakStyle::SbarViewStyle NakStyle::makeSbarViewStyle(QFont const& sourceListFont,
                                                    QPalette const& palette, double density)
{
    SbarViewStyle style;
    style.density = density;
    setFonts(&style, sourceListFont);
    setDistances(&style);
    setColors(&style, palette);
    return style;
}
