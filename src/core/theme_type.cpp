// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "theme_type.h"

#include <QSettings>
#include <QVariant>

namespace NakAppTheme {
namespace {

struct ThemeNames {
    char const* settings;
    char const* display;
};
// By ThemeType.
constexpr ThemeNames themeNames[] = {
    { "carbon", "Carbon (Dark)" },
    { "polar", "Polar (Light)" },
    { "stealth", "Stealth (Dark)" },
    { "sakura", "Sakura (Light)" },
};

ThemeNames const& namesOf(ThemeType type)
{
    bool const known = type >= Carbon && type <= Sakura;
    return themeNames[known ? type : Carbon];
}

} // namespace

std::array<ThemeType, 4> const& themesList()
{
    static constexpr std::array<ThemeType, 4> list{ Carbon, Polar, Stealth, Sakura };
    return list;
}

QString themeDisplayName(ThemeType type)
{
    return QString::fromLatin1(namesOf(type).display);
}

QString themeToSettingsString(ThemeType type)
{
    return QString::fromLatin1(namesOf(type).settings);
}

ThemeType settingsStringToTheme(QString const& text)
{
    for (ThemeType type : themesList()) {
        if (text == QLatin1String(namesOf(type).settings))
            return type;
    }
    return Carbon;
}

ThemeType settingsVariantToTheme(QVariant const& value)
{
    if (value.type() == QVariant::Bool)
        return value.toBool() ? Polar : Carbon;
    return settingsStringToTheme(value.toString());
}

QString oldSettingsName()
{
    return QStringLiteral("theme/light_theme");
}
QString newSettingsName()
{
    return QStringLiteral("theme/preset_name");
}

ThemeType settingsToThemeType(QSettings const& settings)
{
    // The file holds text only, so the old key's value has to be made a boolean here.
    if (settings.contains(oldSettingsName()))
        return settings.value(oldSettingsName()).toBool() ? Polar : Carbon;
    return settingsVariantToTheme(settings.value(newSettingsName()));
}

} // namespace NakAppTheme
