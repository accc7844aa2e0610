// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_theme.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using NakAppTheme::ThemeColors;

// One role per line: key and colour, or - where the theme leaves it open.
std::string dump(ThemeColors const& colors)
{
    std::string text;
    for (auto const& role : NakAppTheme::colorRoles()) {
        QColor const color = colors.*role.color;
        text += std::string(role.jsonKey) + ' '
            + (color.isValid() ? color.name().toStdString() : std::string("-")) + '\n';
    }
    return text;
}

TEST(AppTheme, Carbon)
{
    EXPECT_EQ(dump(NakAppTheme::namedThemeColors(NakAppTheme::Carbon)), R"(window #3c3d40
text #d0d1d4
disabled_text #a4a6a8
bright_text #ffffff
highlight #bfc7d5
highlighted_text #2d2c27
base #2e2f31
alternate_base #29292b
shadow #2e2f31
button #4a4b50
disabled_button #45464b
unread_badge #d0d1d4
unread_badge_text #2d2c27
icon #d0d1d4
disabled_icon #a4a6a8
chat_timestamp #4a4b4e
)");
}

TEST(AppTheme, Polar)
{
    EXPECT_EQ(dump(NakAppTheme::namedThemeColors(NakAppTheme::Polar)), R"(window #dddde2
text #121218
disabled_text #8c8c91
bright_text -
highlight #5a616f
highlighted_text #ffffff
base #fbfcfe
alternate_base #eaeaee
shadow -
button #edecf1
disabled_button -
unread_badge #5a616f
unread_badge_text #ffffff
icon #696b71
disabled_icon #afafb5
chat_timestamp #c1c2c3
)");
}

TEST(AppTheme, Stealth)
{
    EXPECT_EQ(dump(NakAppTheme::namedThemeColors(NakAppTheme::Stealth)), R"(window #1e1f20
text #d4d1d0
disabled_text #a4a6a8
bright_text #ffffff
highlight #d3d2d0
highlighted_text #2d2c27
base #171819
alternate_base #131316
shadow #171819
button #2c2d2f
disabled_button #292a2c
unread_badge #d4d1d0
unread_badge_text #2d2c27
icon #d4d1d0
disabled_icon #a4a6a8
chat_timestamp #252628
)");
}

TEST(AppTheme, Sakura)
{
    EXPECT_EQ(dump(NakAppTheme::namedThemeColors(NakAppTheme::Sakura)), R"(window #f8edf2
text #181212
disabled_text #918c8c
bright_text -
highlight #9c769c
highlighted_text #ffffff
base #fff7fc
alternate_base #f2eaed
shadow -
button #fef3f9
disabled_button -
unread_badge #9c769c
unread_badge_text #ffffff
icon #786470
disabled_icon #b5afaf
chat_timestamp #c4bec2
)");
}

TEST(AppTheme, JsonNamesEveryRoleThatHasAColor)
{
    QJsonObject object;
    QStringList keys;
    int n = 0;
    for (auto const& role : NakAppTheme::colorRoles()) {
        keys.append(QLatin1String(role.jsonKey));
        object.insert(keys.last(), QStringLiteral("#0102%1").arg(n++, 2, 16, QLatin1Char('0')));
    }
    EXPECT_EQ(keys.join(QLatin1Char(' ')).toStdString(),
              "window text disabled_text bright_text highlight highlighted_text base "
              "alternate_base shadow button disabled_button unread_badge unread_badge_text icon "
              "disabled_icon chat_timestamp");
    auto const colors = NakAppTheme::jsonObjectToThemeColors(object);
    EXPECT_EQ(colors.window, QColor(1, 2, 0));
    EXPECT_EQ(colors.chatTimestamp, QColor(1, 2, 15));
    EXPECT_EQ(NakAppTheme::themeColorsToJsonObject(colors), object);

    ThemeColors one;
    one.base = QColor(1, 2, 3);
    EXPECT_EQ(NakAppTheme::themeColorsToJsonObject(one),
              (QJsonObject{ { QStringLiteral("base"), QStringLiteral("#010203") } }));
}

TEST(AppTheme, JsonLeavesBadColorsOpenAndDerivesTheTimestamp)
{
    struct {
        char const* json;
        QColor window;
        QColor timestamp;
    } const cases[] = {
        // 100 * 160 / 100 and 200 * 100 / 130.
        { R"({"window":"#7e7e7e","base":"#646464"})", QColor(126, 126, 126),
          QColor(160, 160, 160) },
        { R"({"window":"#7f7f7f","base":"#c8c8c8"})", QColor(127, 127, 127),
          QColor(154, 154, 154) },
        { R"({"window":"no colour","chat_timestamp":"#010203"})", QColor(), QColor(1, 2, 3) },
        { R"({"window":5,"chat_timestamp":"red"})", QColor(), QColor(255, 0, 0) },
    };
    for (auto const& c : cases) {
        auto const colors =
            NakAppTheme::jsonObjectToThemeColors(QJsonDocument::fromJson(c.json).object());
        EXPECT_EQ(colors.window.name(), c.window.name()) << c.json;
        EXPECT_EQ(colors.window.isValid(), c.window.isValid()) << c.json;
        EXPECT_EQ(colors.chatTimestamp.name(), c.timestamp.name()) << c.json;
    }
}

class CustomTheme : public testing::Test {
protected:
    void writeTheme(QByteArray const& bytes)
    {
        QFile file(m_directory.filePath(QStringLiteral("custom_theme.json")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    ThemeColors read()
    {
        QSettings settings(m_directory.filePath(QStringLiteral("settings.ini")),
                           QSettings::IniFormat);
        settings.setValue(QStringLiteral("theme/preset_name"), QStringLiteral("sakura"));
        return NakAppTheme::settingsToThemeColors(settings);
    }

    QTemporaryDir m_directory;
};

TEST_F(CustomTheme, ReplacesTheNamedThemeWhateverTheKeySays)
{
    EXPECT_EQ(read(), NakAppTheme::namedThemeColors(NakAppTheme::Sakura));
    writeTheme(R"({"window":"#102030"})");
    EXPECT_EQ(read().window, QColor(16, 32, 48));
    EXPECT_FALSE(read().text.isValid());
}

TEST_F(CustomTheme, IsNotUsedUnlessItIsAnObject)
{
    QByteArray const whole = R"({"window":"#102030"})";
    for (int length = 0; length < whole.size(); ++length) {
        writeTheme(whole.left(length));
        EXPECT_EQ(read(), NakAppTheme::namedThemeColors(NakAppTheme::Sakura)) << length;
    }
    writeTheme(R"(["#102030"])");
    EXPECT_EQ(read(), NakAppTheme::namedThemeColors(NakAppTheme::Sakura));
}

TEST(AppTheme, PaletteTakesEachRoleFromItsColor)
{
    ThemeColors colors;
    int n = 0;
    for (auto const& role : NakAppTheme::colorRoles())
        colors.*role.color = QColor(++n, 0, 0); // window 1 ... chat_timestamp 16
    QPalette const palette = NakAppTheme::themeColorsToPalette(colors);

    struct {
        QPalette::ColorRole role;
        int active;
        int disabled;
    } const cases[] = {
        { QPalette::Window, 1, 1 },
        { QPalette::WindowText, 2, 3 },
        { QPalette::Text, 2, 3 },
        { QPalette::ButtonText, 2, 3 },
        { QPalette::BrightText, 4, 4 },
        { QPalette::Highlight, 5, 5 },
        { QPalette::HighlightedText, 6, 6 },
        { QPalette::Base, 7, 7 },
        { QPalette::AlternateBase, 8, 8 },
        { QPalette::Shadow, 9, 9 },
        { QPalette::Button, 10, 11 },
    };
    for (auto const& c : cases) {
        EXPECT_EQ(palette.color(QPalette::Active, c.role).red(), c.active) << c.role;
        EXPECT_EQ(palette.color(QPalette::Inactive, c.role).red(), c.active) << c.role;
        EXPECT_EQ(palette.color(QPalette::Disabled, c.role).red(), c.disabled) << c.role;
    }
}

TEST(AppTheme, PaletteKeepsItsOwnWhereTheThemeLeavesARoleOpen)
{
    auto const colors = NakAppTheme::namedThemeColors(NakAppTheme::Polar);
    QPalette const palette = NakAppTheme::themeColorsToPalette(colors);
    EXPECT_EQ(palette.color(QPalette::BrightText), QPalette().color(QPalette::BrightText));
    EXPECT_EQ(palette.color(QPalette::Shadow), QPalette().color(QPalette::Shadow));
    EXPECT_EQ(palette.color(QPalette::Disabled, QPalette::Button), colors.button);
}

TEST(AppTheme, AForeignPaletteBecomesATheme)
{
    auto const colors = NakAppTheme::namedThemeColors(NakAppTheme::Polar);
    auto const derived =
        NakAppTheme::paletteToDerivedThemeColors(NakAppTheme::themeColorsToPalette(colors));
    EXPECT_EQ(derived.window, colors.window);
    EXPECT_EQ(derived.text, colors.text);
    EXPECT_EQ(derived.disabledText, colors.disabledText);
    EXPECT_EQ(derived.alternateBase, colors.alternateBase);
    EXPECT_EQ(derived.unreadBadge, colors.highlight);
    EXPECT_EQ(derived.unreadBadgeText, colors.highlightedText);
    EXPECT_EQ(derived.icon, colors.text);
    EXPECT_EQ(derived.disabledIcon, colors.disabledIcon);
    EXPECT_EQ(derived.chatTimestamp, colors.chatTimestamp);
}

} // namespace
