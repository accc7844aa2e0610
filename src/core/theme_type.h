// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The names of the built-in themes, as far as the settings need them; their colours live in the
// frame.

#include <QString>

#include <array>

class QSettings;
class QVariant;

namespace NakAppTheme {

enum ThemeType : qint32 { Carbon = 0, Polar = 1, Stealth = 2, Sakura = 3 };

// All four, in the order in which they are offered.
std::array<ThemeType, 4> const& themesList();

// An unknown number has the texts of carbon.
QString themeDisplayName(ThemeType type);
QString themeToSettingsString(ThemeType type);

// Unknown text gives carbon.
ThemeType settingsStringToTheme(QString const& text);
// A boolean is the old form of the setting, dark or light; all else is taken as text.
ThemeType settingsVariantToTheme(QVariant const& value);

QString oldSettingsName(); // a boolean key; read first, removed by the first save
QString newSettingsName();
ThemeType settingsToThemeType(QSettings const& settings);

} // namespace NakAppTheme
