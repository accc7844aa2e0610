// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_look.h"

#include "app_theme.h"
#include "preferences.h"
#include "settings_file.h"

#include <QApplication>
#include <QIcon>
#include <QPalette>

#include <utility>

static void initImageResource()
{
    Q_INIT_RESOURCE(nakwire_images);
}

namespace {

// Setting the application's font resets those that the desktop gives to menus.
constexpr std::array<char const*, 3> fontClasses{ "QMenu", "QMenuBar", "QMenuItem" };

} // namespace

void AppLook::start(bool hasForeignStyle)
{
    initImageResource();
    // A picture of one size: a drawing would bring in a library before the first window.
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/images/NakwireWindowIcon.png")));
    m_hasForeignStyle = hasForeignStyle;
    for (size_t i = 0; i < fontClasses.size(); ++i)
        m_classFonts[i] = QApplication::font(fontClasses[i]);
    setAppFont(QApplication::font());
}

void AppLook::show(NakPreferences const& preferences)
{
    showTheme(preferences.themeType);
    showFont(preferences);
}

void AppLook::showTheme(qint32 themeType)
{
    qint32 const shown = std::exchange(m_themeType, themeType);
    // The theme of the start stands since before the application was made.
    if (shown == themeType || shown < 0 || m_hasForeignStyle
        || NakAppTheme::hasCustomTheme(NakSettingsFile()))
        return;
    auto const colors =
        NakAppTheme::namedThemeColors(static_cast<NakAppTheme::ThemeType>(themeType));
    NakAppTheme::setGlobalThemeColors(colors);
    QApplication::setPalette(NakAppTheme::themeColorsToPalette(colors));
}

void AppLook::showFont(NakPreferences const& preferences)
{
    auto const& before = NakSettingsImpl::appFontBeforeOverride();
    if (preferences.useAppOverride) {
        if (!before)
            NakSettingsImpl::setAppFontBeforeOverride(QApplication::font());
        if (QApplication::font() != preferences.appOverrideFont)
            QApplication::setFont(preferences.appOverrideFont); // of menus too
    } else if (before) {
        setAppFont(*before);
        NakSettingsImpl::clearAppFontBeforeOverride();
    }
}

void AppLook::setAppFont(QFont const& font)
{
    QApplication::setFont(font);
    for (size_t i = 0; i < fontClasses.size(); ++i)
        QApplication::setFont(m_classFonts[i], fontClasses[i]);
}
