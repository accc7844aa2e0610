// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "data_paths.h"
#include "files.h"
#include "preferences.h"
#include "settings_file.h"
#include "theme_type.h"

#include <QDir>
#include <QFontDatabase>

#include <gtest/gtest.h>

#include <map>
#include <variant>

namespace {

using P = NakPreferences;
using Field = std::variant<bool P::*, double P::*, float P::*, qint32 P::*, QString P::*>;

struct KeyCase {
    char const* key;
    Field field;
    char const* missing; // what the field is without the key
    char const* other = nullptr; // another value, as it stands in the file; of a boolean, the other
};

KeyCase const keyCases[] = {
    { "text_style/use_app_override", &P::useAppOverride, "false" },
    { "scrolling/lock_mouse_when_scrolling", &P::lockMouseWhenScrolling, "false" },
    { "scrolling/invert_drag_scroll", &P::invertDragScroll, "false" },
    { "scrolling/invert_wheel_scroll", &P::invertWheelScroll, "false" },
    { "scrolling/mouse_drag_buffer_scroll_speed", &P::mouseDragBufferScrollSpeed, "2", "2.5" },
    { "scrolling/mouse_wheel_buffer_scroll_speed", &P::mouseWheelBufferScrollSpeed, "0.5", "0.75" },
    { "scrolling/mouse_middle_click_scroll_speed", &P::mouseMiddleClickScrollSpeed, "1", "3.25" },
    { "scrolling/high_visibility_chat_scrollbar", &P::highVisibilityChatScrollbar, "false" },
    { "scrolling/auto_hide_sidebar_scrollbar", &P::autoHideSidebarScrollbar, "false" },
    { "audio/input_device", &P::inputDevice, "", "Mic 1" },
    { "audio/outout_device", &P::outputDevice, "", "Head set" },
    { "audio/input_gain", &P::inputGain, "1", "1.5" },
    { "audio/input_gate_threshold", &P::inputGateThreshold, "0.015848933", "0.25" },
    { "audio/input_mix_mono", &P::inputMixMono, "false" },
    { "audio/buggy_audio_device", &P::buggyAudioDevice, "false" },
    { "audio/input_encoding_force_music_signal", &P::inputEncodingForceMusicSignal, "false" },
    { "voice/use_push_to_talk", &P::usePushToTalk, "false" },
    { "bindings/push_to_talk", &P::pushToTalkBinding, "", "F1" },
    { "bindings/toggle_mic_mute", &P::toggleMicMuteBinding, "", "F2" },
    { "bindings/mute_mic", &P::muteMicBinding, "", "F3" },
    { "bindings/unmute_mic", &P::unmuteMicBinding, "", "F4" },
    { "misc/use_chat_icons_as_window_icons", &P::useChatIconsAsWindowIcons, "false" },
    { "misc/display_discord_nicknames", &P::displayDiscordNicknames, "true" },
    { "misc/display_discriminator", &P::displayDiscriminator, "false" },
    { "misc/display_user_status_in_chat", &P::displayUserStatusInChat, "false" },
    { "misc/timestamps_on_each_message", &P::timestampsOnEachMessage, "false" },
    { "misc/close_button_on_channel_tabs", &P::closeButtonOnChannelTabs, "true" },
    { "misc/show_status_bar", &P::showStatusBar, "true" },
    { "misc/restore_tabs", &P::restoreTabs, "true" },
    { "misc/use_existing_chat_tab", &P::useExistingChatTab, "false" },
    { "misc/show_images_in_chat", &P::showImagesInChat, "true" },
    { "misc/show_link_previews_in_chat", &P::showLinkPreviewsInChat, "true" },
    { "misc/show_typing_indicators", &P::showTypingIndicators, "true" },
    { "misc/return_creates_new_line_in_code_blocks", &P::returnCreatesNewLineInCodeBlocks,
      "false" },
    { "misc/extra_message_group_padding", &P::extraMessageGroupPadding, "0", "3" },
    { "misc/chat_emoji_size", &P::chatEmojiSize, "28", "20" },
    { "discord/avatars_in_chat", &P::avatarsInChat, "true" },
    { "discord/chat_avatar_size", &P::chatAvatarSize, "32", "48" },
    { "discord/user_list_visible", &P::userListVisible, "false" },
    { "discord/user_list_width", &P::userListWidth, "165", "200" },
    { "discord/user_list_row_size", &P::userListRowSize, "0", "2" },
    { "discord/show_own_typing_indicators", &P::showOwnTypingIndicators, "true" },
    { "network/low_bandwidth_mode", &P::lowBandwidthMode, "false" },
    { "application/show_system_tray_icon", &P::showSystemTrayIcon, "false" },
    { "application/stay_running_with_no_windows", &P::stayRunningWithNoWindows, "false" },
    { "application/automatic_check_updates", &P::automaticCheckUpdates, "true" },
    { "notifications/use_window_alerts", &P::useWindowAlerts, "true" },
    { "notifications/use_system_tray_messages", &P::useSystemTrayMessages, "false" },
    { "notifications/notify_on_friend_requests", &P::notifyOnFriendRequests, "true" },
    { "privacy/use_automatic_inactivity_detection", &P::useAutomaticInactivityDetection, "true" },
    { "privacy/inactivity_threshold_minutes", &P::inactivityThresholdMinutes, "5", "240" },
    { "privacy/send_typing_indicators", &P::sendTypingIndicators, "true" },
    { "experimental_proxy/use_network_proxy", &P::useNetworkProxy, "false" },
};

QByteArray otherValue(KeyCase const& c)
{
    if (c.other)
        return c.other;
    return qstrcmp(c.missing, "true") == 0 ? "false" : "true";
}

QByteArray read(NakPreferences const& preferences, Field const& field)
{
    return std::visit(
        [&](auto member) {
            QVariant const value(preferences.*member);
            bool const isText = value.type() == QVariant::Bool || value.type() == QVariant::String;
            return isText ? value.toString().toUtf8()
                          : QByteArray::number(value.toDouble(), 'g', 8);
        },
        field);
}

// "key=value" a line, of every field.
std::string allFields(NakPreferences const& preferences)
{
    QByteArray out;
    for (KeyCase const& c : keyCases)
        out += c.key + ('=' + read(preferences, c.field)) + '\n';
    return out.toStdString();
}

std::string allDefaults(std::map<QByteArray, QByteArray> const& otherwise = {})
{
    QByteArray out;
    for (KeyCase const& c : keyCases) {
        auto const other = otherwise.find(c.key);
        out += c.key + ('=' + (other == otherwise.end() ? QByteArray(c.missing) : other->second))
            + '\n';
    }
    return out.toStdString();
}

QString text(char const* latin1)
{
    return QString::fromLatin1(latin1);
}

QFont font(int points, QFont::StyleStrategy strategy)
{
    QFont made(QStringLiteral("Some Family"), points);
    made.setStyleStrategy(strategy);
    return made;
}

class Preferences : public testing::Test {
protected:
    using Values = std::vector<std::pair<QByteArray, QByteArray>>;

    void SetUp() override
    {
        NakDataPaths::appDataPathCreated();
        QFile::remove(NakSettingsFile::settingsFilePath());
    }
    void TearDown() override { QFile::remove(NakSettingsFile::settingsFilePath()); }

    // Replaces the file, written by hand, by sections and keys.
    static void writeIni(Values const& values)
    {
        // Of another size each time: QSettings does not read a file again that looks the same.
        static int writes = 0;
        QByteArray ini = ';' + QByteArray(200 * ++writes, '-') + '\n';
        for (auto const& [key, value] : values) {
            int const slash = key.indexOf('/');
            ini += '[' + key.left(slash) + "]\n" + key.mid(slash + 1) + '=' + value + '\n';
        }
        writeFile(NakSettingsFile::settingsFilePath(), ini);
    }

    static NakPreferences loaded()
    {
        NakPreferences preferences;
        preferences.loadFromSettingsFile();
        return preferences;
    }

    static QByteArray inFile(char const* key)
    {
        QVariant const value = NakSettingsFile().value(text(key));
        return value.isValid() ? value.toString().toUtf8() : QByteArray("absent");
    }
};

} // namespace

TEST_F(Preferences, MissingFile)
{
    NakPreferences preferences;
    preferences.inputDevice = text("x"); // a load starts afresh
    preferences.showNotificationsInSideBar = false;
    preferences.loadFromSettingsFile();
    EXPECT_FALSE(NakSettingsFile::hadSettingsAtLoadTime());
    EXPECT_EQ(allFields(preferences), allDefaults());
    EXPECT_EQ(preferences.themeType, NakAppTheme::Carbon);
    EXPECT_TRUE(preferences.showNotificationsInSideBar);
    EXPECT_EQ(preferences.messageBufferFont, QFont());
    EXPECT_EQ(preferences.sourceListFont, QFont());
    EXPECT_EQ(preferences.messageMonospaceFont, NakPreferences::defaults().messageMonospaceFont);
    EXPECT_FALSE(NakSettingsFile::settingsFileExists()); // reading makes none
    writeIni({});
    loaded();
    EXPECT_TRUE(NakSettingsFile::hadSettingsAtLoadTime());
}

TEST_F(Preferences, EveryKeyIsReadIntoItsFieldAlone)
{
    for (KeyCase const& c : keyCases) {
        QByteArray const other = otherValue(c);
        std::map<QByteArray, QByteArray> expected{ { c.key, other } };
        if (qstrcmp(c.key, "misc/show_typing_indicators") == 0) // until that key is written
            expected["privacy/send_typing_indicators"] = other;
        writeIni({ { c.key, other } });
        EXPECT_EQ(allFields(loaded()), allDefaults(expected)) << c.key;
    }
    writeIni({ { "misc/show_typing_indicators", "false" },
               { "privacy/send_typing_indicators", "true" } });
    EXPECT_TRUE(loaded().sendTypingIndicators);
    for (char const* const tooFew : { "-5", "2", "soon" }) {
        writeIni({ { "privacy/inactivity_threshold_minutes", tooFew } });
        EXPECT_EQ(loaded().inactivityThresholdMinutes, 3) << tooFew;
    }
}

TEST_F(Preferences, EveryKeyIsWritten)
{
    for (KeyCase const& c : keyCases)
        NakSettingsFile().setValue(text(c.key), QString::fromUtf8(otherValue(c)));
    NakPreferences const preferences = loaded();
    writeIni({});
    preferences.saveToSettingsFile();
    for (KeyCase const& c : keyCases)
        EXPECT_EQ(inFile(c.key), otherValue(c)) << c.key;
    EXPECT_EQ(inFile("application/settings_version"), "1");
    EXPECT_EQ(allFields(loaded()), allFields(preferences));
    QByteArray const bytes = fileBytes(NakSettingsFile::settingsFilePath());
    EXPECT_TRUE(bytes.contains("\ninput_gain=1.5\n")) << bytes.constData();

    NakPreferences().saveToSettingsFile();
    EXPECT_EQ(allFields(loaded()), allDefaults());
    QByteArray absent;
    for (KeyCase const& c : keyCases)
        absent += inFile(c.key) == "absent" ? QByteArray(c.key) + ' ' : "";
    EXPECT_EQ(absent,
              "audio/input_encoding_force_music_signal bindings/push_to_talk "
              "bindings/toggle_mic_mute bindings/mute_mic bindings/unmute_mic "
              "experimental_proxy/use_network_proxy ");
}

TEST_F(Preferences, Fonts)
{
    NakPreferences preferences;
    preferences.messageBufferFont = font(13, QFont::NoAntialias);
    preferences.messageMonospaceFont = font(9, QFont::PreferBitmap);
    preferences.sourceListFont = font(8, QFont::PreferQuality);
    preferences.appOverrideFont = font(15, QFont::ForceOutline);
    for (bool const overrides : { false, true, false }) {
        preferences.useAppOverride = overrides;
        preferences.saveToSettingsFile();
        EXPECT_EQ(inFile("text_style/message_buffer_style_strategy"), "256");
        EXPECT_EQ(inFile("text_style/app_override_style_strategy"), overrides ? "16" : "absent");
        EXPECT_EQ(inFile("text_style/app_override") == "absent", !overrides);
        NakPreferences const read = loaded();
        EXPECT_EQ(read.messageBufferFont, preferences.messageBufferFont);
        EXPECT_EQ(read.messageMonospaceFont, preferences.messageMonospaceFont);
        EXPECT_EQ(read.sourceListFont, preferences.sourceListFont);
        EXPECT_EQ(read.appOverrideFont, overrides ? preferences.appOverrideFont : QFont());
    }
}

TEST_F(Preferences, FontsThatAreMissing)
{
    QFont const fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    writeIni({ { "text_style/message_buffer_style_strategy", "256" },
               { "text_style/source_list_style_strategy", "nonsense" },
               { "text_style/app_override_style_strategy", "256" } });
    NakPreferences const preferences = loaded();
    EXPECT_EQ(preferences.messageBufferFont.styleStrategy(), QFont::NoAntialias);
    EXPECT_EQ(static_cast<int>(preferences.sourceListFont.styleStrategy()), 0);
    EXPECT_EQ(preferences.appOverrideFont, QFont()); // not looked at while it is off
    // The monospace font follows the size of the message font, if that has one in points.
    QFont inPixels;
    inPixels.setPixelSize(20);
    for (QFont const& buffer : { font(17, QFont::PreferDefault), inPixels }) {
        NakSettingsFile().setValue(text("text_style/message_buffer"), buffer);
        int const points = buffer.pointSize() > 0 ? buffer.pointSize() : fixed.pointSize();
        EXPECT_EQ(loaded().messageMonospaceFont.pointSize(), points);
        EXPECT_EQ(loaded().messageMonospaceFont.family(), fixed.family());
    }
}

// Painters and widgets fill up what a font leaves open from the application's.
TEST_F(Preferences, DefaultFontsAreWholeAndNotTheUsersOwn)
{
    NakSettingsImpl::setAppFontBeforeOverride(font(13, QFont::PreferDefault));
    for (NakPreferences const& preferences : { loaded(), NakPreferences::defaults() }) {
        for (auto const field : { &P::messageBufferFont, &P::sourceListFont, &P::appOverrideFont })
            EXPECT_EQ((preferences.*field).resolve(font(30, QFont::PreferDefault)),
                      font(13, QFont::PreferDefault));
        EXPECT_EQ(preferences.messageMonospaceFont.pointSize(), 13);
    }
    NakSettingsImpl::clearAppFontBeforeOverride();
}

TEST_F(Preferences, Theme)
{
    struct {
        char const* lightTheme; // null: no key
        char const* presetName;
        char const* loads;
    } const cases[] = {
        { nullptr, "carbon", "carbon" },   { nullptr, "polar", "polar" },
        { nullptr, "stealth", "stealth" }, { nullptr, "sakura", "sakura" },
        { nullptr, "Sakura", "carbon" },   { nullptr, "", "carbon" },
        { "true", "sakura", "polar" },     { "false", "sakura", "carbon" },
    };
    for (auto const& c : cases) {
        NakSettingsFile().setValue(text("theme/preset_name"), text(c.presetName));
        if (c.lightTheme)
            NakSettingsFile().setValue(text("theme/light_theme"), text(c.lightTheme));
        loaded().saveToSettingsFile();
        EXPECT_EQ(inFile("theme/preset_name"), c.loads);
        EXPECT_EQ(inFile("theme/light_theme"), "absent");
    }
}

TEST_F(Preferences, OldKeysGoAndThoseOfAProxyThatIsOff)
{
    Values const old{
        { "misc/use_chat_icons_in_window_manager", "true" }, // already when it is read
        { "misc/auto_close_accounts_window", "true" },
        { "experimental/use_system_proxy_settings", "true" },
        { "experimental_proxy/password", "secret" },
        { "misc/somebody_elses", "1" },
    };
    writeIni(old);
    NakPreferences preferences = loaded();
    for (auto const& [key, value] : old)
        EXPECT_EQ(inFile(key), key == old[0].first ? QByteArray("absent") : value) << key.data();
    preferences.saveToSettingsFile();
    for (auto const& [key, value] : old)
        EXPECT_EQ(inFile(key), key == "misc/somebody_elses" ? "1" : "absent") << key.data();

    preferences.useNetworkProxy = true;
    writeIni(old);
    preferences.saveToSettingsFile();
    EXPECT_EQ(inFile("experimental_proxy/password"), "secret");
}

TEST_F(Preferences, Proxy)
{
    auto const shown = [](QNetworkProxy const& proxy) {
        return QStringLiteral("%1 %2:%3:%4:%5")
            .arg(proxy.type())
            .arg(proxy.hostName())
            .arg(proxy.port())
            .arg(proxy.user(), proxy.password())
            .toStdString();
    };
    struct {
        char const* use;
        char const* type;
        char const* port;
        char const* read; // type, host:port:user:password
        char const* written; // type and port then
    } const cases[] = {
        { "true", "socks5", "1080", "1 h:1080:u:p", "socks5 1080" },
        { "true", "http", "65535", "3 h:65535:u:p", "http 65535" },
        { "true", "http", "65536", "3 h:0:u:p", "http 0" },
        { "true", "http", "-1", "3 h:0:u:p", "http 0" },
        { "true", "http", "web", "3 h:0:u:p", "http 0" },
        { "true", "HTTP", "1080", "0 :0::", "absent absent" },
        { "true", "", "1080", "0 :0::", "absent absent" },
        { "false", "http", "1080", "0 :0::", "absent absent" },
    };
    for (auto const& c : cases) {
        writeIni({ { "experimental_proxy/use_network_proxy", c.use },
                   { "experimental_proxy/type", c.type },
                   { "experimental_proxy/port", c.port },
                   { "experimental_proxy/hostname", "h" },
                   { "experimental_proxy/user", "u" },
                   { "experimental_proxy/password", "p" } });
        QNetworkProxy const proxy = NakSettings::tryReadProxySettings(NakSettingsFile());
        EXPECT_EQ(shown(proxy), c.read) << c.type << c.port;
        {
            NakSettingsFile settings;
            NakSettings::tryWriteProxySettings(settings, proxy);
        }
        EXPECT_EQ(inFile("experimental_proxy/type") + ' ' + inFile("experimental_proxy/port"),
                  c.written);
        EXPECT_EQ(shown(NakSettings::tryReadProxySettings(NakSettingsFile())), c.read);
    }
}

TEST(DataPaths, DirectoryIsForItsOwnerAlone)
{
    QDir(NakDataPaths::appDataPath()).removeRecursively();
    QString const path = NakDataPaths::appDataPathCreated();
    EXPECT_EQ(path, NakDataPaths::appDataPath());
    EXPECT_EQ(path, QFile::decodeName(qgetenv("XDG_DATA_HOME")) + QStringLiteral("/Nakwire"));
    EXPECT_TRUE(QDir(path).exists());
    EXPECT_EQ(QFile::permissions(path) & 0x0077, 0);
}
