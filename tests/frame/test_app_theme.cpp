// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_theme.h"
#include "files.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

namespace {

using NakAppTheme::ThemeColors;

// One role a line: its key and its colour in each theme, or - where the theme leaves it open.
std::string dump(std::vector<ThemeColors> const& themes)
{
    QString text;
    for (auto const& role : NakAppTheme::colorRoles()) {
        text += QString::fromLatin1(role.jsonKey).leftJustified(17);
        for (ThemeColors const& colors : themes) {
            QColor const color = colors.*role.color;
            text += u' ' + (color.isValid() ? color.name() : QStringLiteral("-      "));
        }
        text += u'\n';
    }
    return text.toStdString();
}

TEST(AppTheme, NamedThemes)
{
    std::vector<ThemeColors> themes;
    for (auto const type :
         { NakAppTheme::Carbon, NakAppTheme::Polar, NakAppTheme::Stealth, NakAppTheme::Sakura })
        themes.push_back(NakAppTheme::namedThemeColors(type));
    EXPECT_EQ(dump(themes), R"(window            #3c3d40 #dddde2 #1e1f20 #f8edf2
text              #d0d1d4 #121218 #d4d1d0 #181212
disabled_text     #a4a6a8 #8c8c91 #a4a6a8 #918c8c
bright_text       #ffffff -       #ffffff -      
highlight         #bfc7d5 #5a616f #d3d2d0 #9c769c
highlighted_text  #2d2c27 #ffffff #2d2c27 #ffffff
base              #2e2f31 #fbfcfe #171819 #fff7fc
alternate_base    #29292b #eaeaee #131316 #f2eaed
shadow            #2e2f31 -       #171819 -      
button            #4a4b50 #edecf1 #2c2d2f #fef3f9
disabled_button   #45464b -       #292a2c -      
unread_badge      #d0d1d4 #5a616f #d4d1d0 #9c769c
unread_badge_text #2d2c27 #ffffff #2d2c27 #ffffff
icon              #d0d1d4 #696b71 #d4d1d0 #786470
disabled_icon     #a4a6a8 #afafb5 #a4a6a8 #b5afaf
chat_timestamp    #4a4b4e #c1c2c3 #252628 #c4bec2
)");
}

TEST(AppTheme, JsonNamesEveryRoleThatHasAColor)
{
    QJsonObject object;
    ThemeColors expected;
    int n = 0;
    for (auto const& role : NakAppTheme::colorRoles()) {
        expected.*role.color = QColor(1, 2, n++);
        object.insert(QLatin1String(role.jsonKey), (expected.*role.color).name());
    }
    EXPECT_EQ(dump({ NakAppTheme::jsonObjectToThemeColors(object) }), dump({ expected }));
    EXPECT_EQ(NakAppTheme::themeColorsToJsonObject(expected), object);
    expected.base = QColor();
    object.remove(QStringLiteral("base"));
    EXPECT_EQ(NakAppTheme::themeColorsToJsonObject(expected), object);
}

TEST(AppTheme, JsonLeavesBadColorsOpenAndDerivesTheTimestamp)
{
    struct {
        char const* json;
        char const* read; // window and timestamp
    } const cases[] = {
        // 100 * 160 / 100 and 200 * 100 / 130.
        { R"({"window":"#7e7e7e","base":"#646464"})", "#7e7e7e #a0a0a0" },
        { R"({"window":"#7f7f7f","base":"#c8c8c8"})", "#7f7f7f #9a9a9a" },
        { R"({"window":"no colour","chat_timestamp":"#010203"})", "- #010203" },
        { R"({"window":5,"chat_timestamp":"red"})", "- #ff0000" },
    };
    for (auto const& c : cases) {
        auto const colors =
            NakAppTheme::jsonObjectToThemeColors(QJsonDocument::fromJson(c.json).object());
        std::string const window =
            colors.window.isValid() ? colors.window.name().toStdString() : "-";
        EXPECT_EQ(window + ' ' + colors.chatTimestamp.name().toStdString(), c.read) << c.json;
    }
}

class CustomTheme : public testing::Test {
protected:
    void writeTheme(QByteArray const& bytes)
    {
        writeFile(m_directory.filePath(QStringLiteral("custom_theme.json")), bytes);
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

TEST_F(CustomTheme, ReplacesTheNamedThemeOnceItIsAnObject)
{
    auto const named = NakAppTheme::namedThemeColors(NakAppTheme::Sakura);
    EXPECT_EQ(read(), named);
    QByteArray const whole = R"({"window":"#102030"})";
    for (int length = 0; length < whole.size(); ++length) {
        writeTheme(whole.left(length));
        EXPECT_EQ(read(), named) << length;
    }
    for (QByteArray const& bytes :
         { QByteArray(R"(["#102030"])"), whole + QByteArray(1 << 20, ' ') }) {
        testing::internal::CaptureStderr();
        writeTheme(bytes);
        EXPECT_EQ(read(), named) << bytes.size();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("Error parsing custom theme JSON: ")
                      + (bytes.size() < 100 ? "not an object\n" : "too long\n"));
    }
    testing::internal::CaptureStderr();
    writeTheme(whole);
    EXPECT_EQ(read().window, QColor(16, 32, 48));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Custom theme JSON has no colors for: text, disabled_text, highlight, "
              "highlighted_text, base, alternate_base, button, unread_badge, unread_badge_text, "
              "icon, disabled_icon, chat_timestamp\n");
    EXPECT_FALSE(read().text.isValid());
}

TEST(AppTheme, PaletteTakesEachRoleFromItsColorOrKeepsItsOwn)
{
    ThemeColors colors;
    int n = 0;
    for (auto const& role : NakAppTheme::colorRoles())
        colors.*role.color = QColor(++n, 0, 0); // window 1 ... chat_timestamp 16
    colors.shadow = QColor();
    QPalette const palette = NakAppTheme::themeColorsToPalette(colors);
    QString text;
    for (auto const role :
         { QPalette::Window, QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
           QPalette::BrightText, QPalette::Highlight, QPalette::HighlightedText, QPalette::Base,
           QPalette::AlternateBase, QPalette::Button }) {
        for (auto const group : { QPalette::Active, QPalette::Inactive, QPalette::Disabled })
            text += QString::number(palette.color(group, role).red()) + u'/';
        text += u' ';
    }
    EXPECT_EQ(text.toStdString(),
              "1/1/1/ 2/2/3/ 2/2/3/ 2/2/3/ 4/4/4/ 5/5/5/ 6/6/6/ 7/7/7/ 8/8/8/ 10/10/11/ ");
    EXPECT_EQ(palette.color(QPalette::Shadow), QPalette().color(QPalette::Shadow));
}

TEST(AppTheme, AForeignPaletteBecomesATheme)
{
    auto const colors = NakAppTheme::namedThemeColors(NakAppTheme::Polar);
    auto const derived =
        NakAppTheme::paletteToDerivedThemeColors(NakAppTheme::themeColorsToPalette(colors));
    auto expected = colors; // but for what a palette does not tell
    expected.brightText = derived.brightText;
    expected.shadow = derived.shadow;
    expected.disabledButton = colors.button;
    expected.icon = colors.text;
    EXPECT_EQ(dump({ derived }), dump({ expected }));
}

} // namespace
