// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_theme.h"

#include "nak_color.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>
#include <QSettings>

#include <algorithm>

namespace {

using NakAppTheme::ThemeColors;

constexpr qint64 customThemeMaxBytes = 1 << 20;

// How far chat_timestamp stands off base, in per cent.
constexpr int timestampLightenBy = 160;
constexpr int timestampDarkenBy = 130;

// disabled_text of both dark themes. The first byte would be an opacity; it is not used.
constexpr QRgb darkDisabledText = 1621403304;

ThemeColors& globalColors()
{
    static ThemeColors colors;
    return colors;
}

// The roles that dark themes derive from others.
void deriveDarkRoles(ThemeColors* colors)
{
    colors->disabledText = QColor(darkDisabledText);
    colors->brightText = QColor(Qt::white);
    colors->shadow = colors->base;
    colors->disabledButton = colors->button.darker(107);
    colors->unreadBadge = colors->text;
    colors->unreadBadgeText = colors->highlightedText;
    colors->icon = colors->text;
    colors->disabledIcon = colors->disabledText;
    colors->chatTimestamp = colors->base.lighter(timestampLightenBy);
}

// The same for light themes; these name their icon colour themselves.
void deriveLightRoles(ThemeColors* colors)
{
    colors->unreadBadge = colors->highlight;
    colors->unreadBadgeText = colors->highlightedText;
    colors->disabledIcon = colors->disabledText.lighter(125);
    colors->chatTimestamp = colors->base.darker(timestampDarkenBy);
}

ThemeColors carbon()
{
    ThemeColors colors;
    colors.window = QColor(60, 61, 64);
    colors.text = QColor(208, 209, 212);
    colors.highlight = QColor(191, 199, 213);
    colors.highlightedText = QColor(45, 44, 39);
    colors.base = QColor(46, 47, 49);
    colors.alternateBase = QColor(41, 41, 43);
    colors.button = QColor(74, 75, 80);
    deriveDarkRoles(&colors);
    return colors;
}

ThemeColors polar()
{
    ThemeColors colors;
    colors.window = QColor(221, 221, 226);
    colors.text = QColor(18, 18, 24);
    colors.disabledText = QColor(140, 140, 145);
    colors.highlight = QColor(90, 97, 111);
    colors.highlightedText = QColor(255, 255, 255);
    colors.base = QColor(251, 252, 254);
    colors.alternateBase = QColor(234, 234, 238);
    colors.button = QColor(237, 236, 241);
    colors.icon = QColor(105, 107, 113);
    deriveLightRoles(&colors);
    return colors;
}

ThemeColors stealth()
{
    ThemeColors colors;
    colors.window = QColor(30, 31, 32);
    colors.text = QColor(212, 209, 208);
    colors.highlight = QColor(211, 210, 208);
    colors.highlightedText = QColor(45, 44, 39);
    colors.base = QColor(23, 24, 25);
    colors.alternateBase = QColor(19, 19, 22);
    colors.button = QColor(44, 45, 47);
    deriveDarkRoles(&colors);
    return colors;
}

ThemeColors sakura()
{
    ThemeColors colors;
    colors.window = QColor(248, 237, 242);
    colors.text = QColor(24, 18, 18);
    colors.disabledText = QColor(145, 140, 140);
    colors.highlight = QColor(156, 118, 156);
    colors.highlightedText = QColor(255, 255, 255);
    colors.base = QColor(255, 247, 252);
    colors.alternateBase = QColor(242, 234, 237);
    colors.button = QColor(254, 243, 249);
    colors.icon = QColor(120, 100, 112);
    deriveLightRoles(&colors);
    return colors;
}

QString customThemePath(QSettings const& settings)
{
    return QFileInfo(settings.fileName()).dir().filePath(QStringLiteral("custom_theme.json"));
}

// What is wrong with the bytes, or nothing: then they hold a JSON object, which is the theme.
QString parseCustomTheme(QByteArray const& bytes, ThemeColors* out)
{
    if (bytes.size() > customThemeMaxBytes)
        return QStringLiteral("too long");
    QJsonParseError error;
    QJsonDocument const document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return error.errorString();
    if (!document.isObject())
        return QStringLiteral("not an object");
    *out = NakAppTheme::jsonObjectToThemeColors(document.object());
    return QString();
}

bool loadCustomTheme(QString const& path, ThemeColors* out)
{
    QFile file(path);
    if (!file.exists())
        return false;
    QString const fault = file.open(QIODevice::ReadOnly)
        ? parseCustomTheme(file.read(customThemeMaxBytes + 1), out)
        : file.errorString();
    if (!fault.isEmpty())
        qDebug("Error parsing custom theme JSON: %s", qPrintable(fault));
    return fault.isEmpty();
}

// These are black on the screen, and whoever wrote the theme would not know why.
void logMissingColors(ThemeColors const& colors)
{
    QStringList missing;
    for (NakAppTheme::ColorRole const& role : NakAppTheme::colorRoles()) {
        if (!role.mayBeOpen && !(colors.*role.color).isValid())
            missing.append(QLatin1String(role.jsonKey));
    }
    if (!missing.isEmpty())
        qDebug("Custom theme JSON has no colors for: %s",
               qPrintable(missing.join(QStringLiteral(", "))));
}

} // namespace

std::array<NakAppTheme::ColorRole, 16> const& NakAppTheme::colorRoles()
{
    static constexpr std::array<ColorRole, 16> roles{ {
        { "window", &ThemeColors::window },
        { "text", &ThemeColors::text },
        { "disabled_text", &ThemeColors::disabledText },
        { "bright_text", &ThemeColors::brightText, true },
        { "highlight", &ThemeColors::highlight },
        { "highlighted_text", &ThemeColors::highlightedText },
        { "base", &ThemeColors::base },
        { "alternate_base", &ThemeColors::alternateBase },
        { "shadow", &ThemeColors::shadow, true },
        { "button", &ThemeColors::button },
        { "disabled_button", &ThemeColors::disabledButton, true },
        { "unread_badge", &ThemeColors::unreadBadge },
        { "unread_badge_text", &ThemeColors::unreadBadgeText },
        { "icon", &ThemeColors::icon },
        { "disabled_icon", &ThemeColors::disabledIcon },
        { "chat_timestamp", &ThemeColors::chatTimestamp },
    } };
    return roles;
}

bool NakAppTheme::operator==(ThemeColors const& a, ThemeColors const& b)
{
    auto const& roles = colorRoles();
    return std::all_of(roles.begin(), roles.end(),
                       [&](ColorRole const& role) { return a.*role.color == b.*role.color; });
}

NakAppTheme::ThemeColors NakAppTheme::namedThemeColors(ThemeType type)
{
    switch (type) {
    case Polar:
        return polar();
    case Stealth:
        return stealth();
    case Sakura:
        return sakura();
    case Carbon:
        break;
    }
    return carbon();
}

NakAppTheme::ThemeColors NakAppTheme::jsonObjectToThemeColors(QJsonObject const& object)
{
    ThemeColors colors;
    for (ColorRole const& role : colorRoles()) {
        QJsonValue const value = object.value(QLatin1String(role.jsonKey));
        if (value.isString())
            (colors.*role.color).setNamedColor(value.toString());
    }
    if (!colors.chatTimestamp.isValid()) {
        colors.chatTimestamp = colors.window.lightness() > 126
            ? colors.base.darker(timestampDarkenBy)
            : colors.base.lighter(timestampLightenBy);
    }
    return colors;
}

QJsonObject NakAppTheme::themeColorsToJsonObject(ThemeColors const& colors)
{
    QJsonObject object;
    for (ColorRole const& role : colorRoles()) {
        QColor const color = colors.*role.color;
        if (color.isValid()) {
            object.insert(QLatin1String(role.jsonKey),
                          color.name(color.alpha() < 255 ? QColor::HexArgb : QColor::HexRgb));
        }
    }
    return object;
}

bool NakAppTheme::hasCustomTheme(QSettings const& settings)
{
    ThemeColors colors;
    return loadCustomTheme(customThemePath(settings), &colors);
}

NakAppTheme::ThemeColors NakAppTheme::settingsToThemeColors(QSettings const& settings)
{
    ThemeColors colors;
    if (loadCustomTheme(customThemePath(settings), &colors)) {
        logMissingColors(colors);
        return colors;
    }
    return namedThemeColors(settingsToThemeType(settings));
}

QPalette NakAppTheme::settingsToPalette(QSettings const& settings)
{
    return themeColorsToPalette(settingsToThemeColors(settings));
}

QColor NakAppTheme::secondaryTextColor(QPalette const& palette)
{
    constexpr double textShare = 0.72; // the least that is read well in every theme
    return NakColor::mix(palette.color(QPalette::Window), palette.color(QPalette::WindowText),
                         textShare);
}

QPalette NakAppTheme::themeColorsToPalette(ThemeColors const& colors)
{
    constexpr QPalette::ColorRole textRoles[] = { QPalette::WindowText, QPalette::Text,
                                                  QPalette::ButtonText };

    QPalette palette;
    palette.setColor(QPalette::Window, colors.window);
    for (QPalette::ColorRole role : textRoles)
        palette.setColor(role, colors.text);
    if (colors.brightText.isValid())
        palette.setColor(QPalette::BrightText, colors.brightText);
    for (QPalette::ColorRole role : textRoles)
        palette.setColor(QPalette::Disabled, role, colors.disabledText);
    palette.setColor(QPalette::Base, colors.base);
    palette.setColor(QPalette::AlternateBase, colors.alternateBase);
    if (colors.shadow.isValid())
        palette.setColor(QPalette::Shadow, colors.shadow);
    palette.setColor(QPalette::Button, colors.button);
    palette.setColor(QPalette::Highlight, colors.highlight);
    palette.setColor(QPalette::HighlightedText, colors.highlightedText);
    // The light themes leave it open: a disabled button then has the face of an enabled one, since
    // an invalid colour would paint it black.
    if (colors.disabledButton.isValid())
        palette.setColor(QPalette::Disabled, QPalette::Button, colors.disabledButton);
    return palette;
}

NakAppTheme::ThemeColors NakAppTheme::paletteToDerivedThemeColors(QPalette const& palette)
{
    ThemeColors colors;
    colors.window = palette.color(QPalette::Active, QPalette::Window);
    colors.text = palette.color(QPalette::Active, QPalette::Text);
    colors.disabledText = palette.color(QPalette::Disabled, QPalette::Text);
    colors.brightText = palette.color(QPalette::Active, QPalette::BrightText);
    colors.highlight = palette.color(QPalette::Active, QPalette::Highlight);
    colors.highlightedText = palette.color(QPalette::Active, QPalette::HighlightedText);
    colors.base = palette.color(QPalette::Active, QPalette::Base);
    colors.alternateBase = palette.color(QPalette::Active, QPalette::AlternateBase);
    colors.shadow = palette.color(QPalette::Active, QPalette::Shadow);
    colors.button = palette.color(QPalette::Active, QPalette::Button);
    colors.disabledButton = palette.color(QPalette::Disabled, QPalette::Button);
    colors.icon = colors.text;
    deriveLightRoles(&colors);
    return colors;
}

NakAppTheme::ThemeColors const& NakAppTheme::getGlobalThemeColors()
{
    return globalColors();
}

void NakAppTheme::setGlobalThemeColors(ThemeColors const& colors)
{
    globalColors() = colors;
}
