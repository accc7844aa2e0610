// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_style.h"

#include "app_theme.h"
#include "preferences.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLocale>
#include <QPalette>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace {

constexpr int minAvatarSize = 8;
constexpr int maxAvatarSize = 128;
constexpr double smallFontScale = 0.86;
constexpr double initialFontScale = 0.5; // of the avatar
constexpr int fillAlpha = 28;
constexpr int hueCount = 24;
constexpr int darkThemeLightness = 126;

QFont scaled(QFont font, double factor)
{
    if (font.pointSizeF() > 0.0) {
        font.setPointSizeF(font.pointSizeF() * factor);
    } else {
        font.setPixelSize(std::max(1, qRound(font.pixelSize() * factor)));
    }
    return font;
}

// Qt lays the interface out for 96 dots per inch, and message text for those that the screen has.
double screenFactor()
{
    QScreen const* screen = QGuiApplication::primaryScreen();
    if (!QCoreApplication::testAttribute(Qt::AA_Use96Dpi) || !screen) {
        return 1.0;
    }
    return screen->logicalDotsPerInch() / 96.0;
}

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

} // namespace

namespace DisBuffStyles {

int extraPaddingBounded(int padding)
{
    return qBound(0, padding, 100);
}

QMargins groupBuffContentMargins(int padding)
{
    return { 3, padding + 4, 3, padding + 3 };
}

DisBuffMetrics metricsFromPreferences(NakPreferences const& preferences)
{
    DisBuffMetrics m;
    m.textFont = scaled(preferences.messageBufferFont, screenFactor());
    m.nameFont = m.textFont;
    m.nameFont.setBold(true);
    m.smallFont = scaled(m.textFont, smallFontScale);
    m.textFm = QFontMetrics(m.textFont);
    m.nameFm = QFontMetrics(m.nameFont);
    m.smallFm = QFontMetrics(m.smallFont);
    m.groupMargins =
        groupBuffContentMargins(extraPaddingBounded(preferences.extraMessageGroupPadding));
    if (preferences.avatarsInChat) {
        m.avatarSize = qBound(minAvatarSize, preferences.chatAvatarSize, maxAvatarSize);
    }
    m.initialFont = m.nameFont;
    m.initialFont.setPixelSize(std::max(1, qRound(m.avatarSize * initialFontScale)));
    m.timeOnEachMessage = preferences.timestampsOnEachMessage;
    if (m.timeOnEachMessage) {
        QString const widest = QLocale().toString(QTime(20, 0), QLocale::ShortFormat);
        m.timeColumn = m.smallFm.horizontalAdvance(widest) + m.partGap;
    }
    return m;
}

DisBuffTheme themeFromPalette(QPalette const& palette)
{
    DisBuffTheme t;
    t.name = palette.color(QPalette::Active, QPalette::Text);
    t.dim = palette.color(QPalette::Disabled, QPalette::Text);
    QColor const stamp = NakAppTheme::getGlobalThemeColors().chatTimestamp;
    t.timestamp = stamp.isValid() ? stamp : t.dim;
    t.botBackground = palette.color(QPalette::Active, QPalette::Button);
    t.botText = t.dim;
    t.highlight = palette.color(QPalette::Active, QPalette::Highlight);
    t.highlightFill = withAlpha(t.highlight, fillAlpha);
    t.editing = t.dim;
    t.editingFill = withAlpha(t.dim, fillAlpha);
    t.dark = palette.color(QPalette::Active, QPalette::Window).lightness() <= darkThemeLightness;
    t.initialText = t.dark ? palette.color(QPalette::Active, QPalette::Base) : QColor(Qt::white);
    return t;
}

QColor avatarColor(FlakeId userId, bool darkTheme)
{
    // The low bits of ids are counters and mostly zero; the product spreads the times above them.
    quint64 const spread = (userId.value() >> 22) * 0x9E3779B97F4A7C15ULL;
    int const hue = static_cast<int>((spread >> 40) % hueCount) * (360 / hueCount);
    return darkTheme ? QColor::fromHsl(hue, 80, 140) : QColor::fromHsl(hue, 95, 120);
}

QString timeText(qint64 msecsSinceEpoch, QDateTime const& now)
{
    QDateTime const time = QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch);
    QLocale const locale;
    QString const clock = locale.toString(time.time(), QLocale::ShortFormat);
    if (time.date() == now.date()) {
        return clock;
    }
    return locale.toString(time.date(), QLocale::ShortFormat) + QLatin1Char(' ') + clock;
}

QString fullDateText(qint64 msecsSinceEpoch)
{
    return QLocale().toString(QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch), QLocale::LongFormat);
}

} // namespace DisBuffStyles
