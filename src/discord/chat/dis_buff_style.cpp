// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_style.h"

#include "app_theme.h"
#include "nak_color.h"
#include "preferences.h"

#include <QCoreApplication>
#include <QFontInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QPalette>
#include <QScreen>

#include <algorithm>

namespace {

constexpr int minAvatarSize = 8;
constexpr int maxAvatarSize = 128;
constexpr double smallFontScale = 0.86;
constexpr double initialFontScale = 0.5; // of the avatar
constexpr int fillAlpha = 28;
constexpr int hueCount = 24;
constexpr double minTimestampContrast = 3.0;
constexpr int mixSteps = 8;
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

// A font in pixels measures and paints alike whatever the device's resolution: with points, a
// painter on a screen of other than 96 dots per inch would scale once more than the metrics do.
QFont inPixels(QFont font)
{
    font.setPixelSize(std::max(1, QFontInfo(font).pixelSize()));
    return font;
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
    QFont const body = scaled(preferences.messageBufferFont, screenFactor());
    m.textFont = inPixels(body);
    m.nameFont = m.textFont;
    m.nameFont.setBold(true);
    m.smallFont = inPixels(scaled(body, smallFontScale));
    m.textFm = QFontMetrics(m.textFont);
    m.nameFm = QFontMetrics(m.nameFont);
    m.smallFm = QFontMetrics(m.smallFont);
    m.groupMargins =
        groupBuffContentMargins(extraPaddingBounded(preferences.extraMessageGroupPadding));
    if (preferences.avatarsInChat) {
        m.avatarSize = qBound(minAvatarSize, preferences.chatAvatarSize, maxAvatarSize);
    }
    if (preferences.displayUserStatusInChat) {
        m.statusSize = NakStyle::presenceCircleSize;
    }
    m.initialFont = m.nameFont;
    m.initialFont.setPixelSize(std::max(1, qRound(m.avatarSize * initialFontScale)));
    m.timeOnEachMessage = preferences.timestampsOnEachMessage;
    if (m.timeOnEachMessage) {
        QDateTime const widest(QDate(2020, 10, 20), QTime(20, 0));
        m.timeColumn =
            m.smallFm.horizontalAdvance(clockText(widest.toMSecsSinceEpoch())) + m.partGap;
    }
    return m;
}

DisBuffTheme themeFromPalette(QPalette const& palette)
{
    DisBuffTheme t;
    t.ground = palette.color(QPalette::Active, QPalette::Base);
    t.name = palette.color(QPalette::Active, QPalette::Text);
    t.dim = palette.color(QPalette::Disabled, QPalette::Text);
    QColor const stamp = NakAppTheme::getGlobalThemeColors().chatTimestamp;
    t.timestamp = stamp.isValid() ? readableColor(stamp, t, minTimestampContrast) : t.dim;
    t.botBackground = palette.color(QPalette::Active, QPalette::Button);
    t.botText = t.dim;
    t.highlight = palette.color(QPalette::Active, QPalette::Highlight);
    t.highlightFill = withAlpha(t.highlight, fillAlpha);
    t.editing = t.dim;
    t.editingFill = withAlpha(t.dim, fillAlpha);
    t.dark = palette.color(QPalette::Active, QPalette::Window).lightness() <= darkThemeLightness;
    t.initialText = t.dark ? palette.color(QPalette::Active, QPalette::Base) : QColor(Qt::white);
    for (size_t i = 0; i < t.statusCircles.size(); ++i) {
        auto const status = static_cast<DisUserStatusCode>(i);
        t.statusCircles[i] = NakStyle::presenceCircle(
            status, NakStyle::presenceColor(status, palette), qGuiApp->devicePixelRatio());
    }
    return t;
}

QColor readableColor(QColor const& color, DisBuffTheme const& theme, double minContrast)
{
    for (int step = 0; step < mixSteps; ++step) {
        QColor candidate = NakColor::mix(color, theme.name, static_cast<double>(step) / mixSteps);
        if (NakColor::contrast(candidate, theme.ground) >= minContrast) {
            return candidate;
        }
    }
    return theme.name;
}

QColor avatarColor(FlakeId userId, bool darkTheme)
{
    // The low bits of ids are counters and mostly zero; the product spreads the times above them.
    quint64 const spread = (userId.value() >> 22) * 0x9E3779B97F4A7C15ULL;
    int const hue = static_cast<int>((spread >> 40) % hueCount) * (360 / hueCount);
    return darkTheme ? QColor::fromHsl(hue, 80, 140) : QColor::fromHsl(hue, 95, 120);
}

QString clockText(qint64 msecsSinceEpoch)
{
    QLocale const locale;
    QString format = locale.timeFormat(QLocale::ShortFormat);
    format.remove(QStringLiteral(":ss")); // a few locales count seconds even in short
    return locale.toString(QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch).time(), format);
}

QString timeText(qint64 msecsSinceEpoch, QDateTime const& now)
{
    QDateTime const time = QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch);
    QLocale const locale;
    QString clock = clockText(msecsSinceEpoch);
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
