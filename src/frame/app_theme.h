// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A theme choice as colours and as a palette. Custom-painted views read the global colours
// directly. User-interface thread; the pure functions also before the application exists.

#include "theme_type.h"

#include <QColor>

#include <array>

class QJsonObject;
class QPalette;
class QSettings;

namespace NakAppTheme {

// An invalid colour stands for one that the theme leaves open.
struct ThemeColors {
    QColor window;
    QColor text;
    QColor disabledText;
    QColor brightText;
    QColor highlight;
    QColor highlightedText;
    QColor base;
    QColor alternateBase;
    QColor shadow;
    QColor button;
    QColor disabledButton;
    QColor unreadBadge;
    QColor unreadBadgeText;
    QColor icon;
    QColor disabledIcon;
    QColor chatTimestamp;
};

struct ColorRole {
    char const* jsonKey;
    QColor ThemeColors::*color;
    bool mayBeOpen = false; // what stands for it does well without
};
// Every field, in order, with its key in custom_theme.json.
std::array<ColorRole, 16> const& colorRoles();

bool operator==(ThemeColors const& a, ThemeColors const& b);
inline bool operator!=(ThemeColors const& a, ThemeColors const& b)
{
    return !(a == b);
}

ThemeColors namedThemeColors(ThemeType type);

ThemeColors jsonObjectToThemeColors(QJsonObject const& object);
QJsonObject themeColorsToJsonObject(ThemeColors const& colors); // invalid colours have no key

bool hasCustomTheme(QSettings const& settings); // one that can be read
// custom_theme.json beside the settings file where there is one, else the chosen named theme.
ThemeColors settingsToThemeColors(QSettings const& settings);
QPalette settingsToPalette(QSettings const& settings);

QPalette themeColorsToPalette(ThemeColors const& colors);
// For a foreign style, whose palette becomes the theme.
ThemeColors paletteToDerivedThemeColors(QPalette const& palette);

// For text on the window's ground that stands back but is to be read, other than what is disabled.
QColor secondaryTextColor(QPalette const& palette);

// What is on screen now. All invalid until set.
ThemeColors const& getGlobalThemeColors();
void setGlobalThemeColors(ThemeColors const& colors);

} // namespace NakAppTheme
