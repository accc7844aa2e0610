// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "data_paths.h"
#include "preferences.h"
#include "settings_file.h"
#include "theme_type.h"

#include <QDir>
#include <QFile>
#include <QFontDatabase>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace {

std::string shown(bool value)
{
    return value ? "true" : "false";
}
std::string shown(double value)
{
    return QString::number(value, 'g', 8).toStdString();
}
std::string shown(qint32 value)
{
    return std::to_string(value);
}
std::string shown(QString const& value)
{
    return value.toStdString();
}

// Where the field is only a number: its place among the others.
struct KeyCase {
    char const* key;
    char const* missing; // what the field is without the key
    char const* other; // another value, as it stands in the file
    std::function<std::string(NakPreferences const&)> read;
    bool absentWhenMissing = false; // by a save of the field as it is without the key
};

#define FIELD(name) [](NakPreferences const& p) { return shown(p.name); }

std::vector<KeyCase> const& keyCases()
{
    static std::vector<KeyCase> const cases{
        { "text_style/use_app_override", "false", "true", FIELD(useAppOverride) },
        { "scrolling/lock_mouse_when_scrolling", "false", "true", FIELD(lockMouseWhenScrolling) },
        { "scrolling/invert_drag_scroll", "false", "true", FIELD(invertDragScroll) },
        { "scrolling/invert_wheel_scroll", "false", "true", FIELD(invertWheelScroll) },
        { "scrolling/mouse_drag_buffer_scroll_speed", "2", "2.5",
          FIELD(mouseDragBufferScrollSpeed) },
        { "scrolling/mouse_wheel_buffer_scroll_speed", "0.5", "0.75",
          FIELD(mouseWheelBufferScrollSpeed) },
        { "scrolling/mouse_middle_click_scroll_speed", "1", "3.25",
          FIELD(mouseMiddleClickScrollSpeed) },
        { "scrolling/high_visibility_chat_scrollbar", "false", "true",
          FIELD(highVisibilityChatScrollbar) },
        { "scrolling/auto_hide_sidebar_scrollbar", "false", "true",
          FIELD(autoHideSidebarScrollbar) },
        { "audio/input_device", "", "Mic 1", FIELD(inputDevice) },
        { "audio/outout_device", "", "Head set", FIELD(outputDevice) },
        { "audio/input_gain", "1", "1.5", FIELD(inputGain) },
        { "audio/input_gate_threshold", "0.015848933", "0.25", FIELD(inputGateThreshold) },
        { "audio/input_mix_mono", "false", "true", FIELD(inputMixMono) },
        { "audio/buggy_audio_device", "false", "true", FIELD(buggyAudioDevice) },
        { "audio/input_encoding_force_music_signal", "false", "true",
          FIELD(inputEncodingForceMusicSignal), true },
        { "voice/use_push_to_talk", "false", "true", FIELD(usePushToTalk) },
        { "bindings/push_to_talk", "", "F1", FIELD(pushToTalkBinding), true },
        { "bindings/toggle_mic_mute", "", "F2", FIELD(toggleMicMuteBinding), true },
        { "bindings/mute_mic", "", "F3", FIELD(muteMicBinding), true },
        { "bindings/unmute_mic", "", "F4", FIELD(unmuteMicBinding), true },
        { "misc/use_chat_icons_as_window_icons", "false", "true",
          FIELD(useChatIconsAsWindowIcons) },
        { "misc/display_discord_nicknames", "true", "false", FIELD(displayDiscordNicknames) },
        { "misc/display_discriminator", "false", "true", FIELD(displayDiscriminator) },
        { "misc/display_user_status_in_chat", "false", "true", FIELD(displayUserStatusInChat) },
        { "misc/timestamps_on_each_message", "false", "true", FIELD(timestampsOnEachMessage) },
        { "misc/close_button_on_channel_tabs", "true", "false", FIELD(closeButtonOnChannelTabs) },
        { "misc/show_status_bar", "true", "false", FIELD(showStatusBar) },
        { "misc/restore_tabs", "true", "false", FIELD(restoreTabs) },
        { "misc/use_existing_chat_tab", "false", "true", FIELD(useExistingChatTab) },
        { "misc/show_images_in_chat", "true", "false", FIELD(showImagesInChat) },
        { "misc/show_link_previews_in_chat", "true", "false", FIELD(showLinkPreviewsInChat) },
        { "misc/show_typing_indicators", "true", "false", FIELD(showTypingIndicators) },
        { "misc/return_creates_new_line_in_code_blocks", "false", "true",
          FIELD(returnCreatesNewLineInCodeBlocks) },
        { "misc/extra_message_group_padding", "0", "3", FIELD(extraMessageGroupPadding) },
        { "misc/chat_emoji_size", "28", "20", FIELD(chatEmojiSize) },
        { "discord/avatars_in_chat", "true", "false", FIELD(avatarsInChat) },
        { "discord/chat_avatar_size", "32", "48", FIELD(chatAvatarSize) },
        { "discord/user_list_visible", "false", "true", FIELD(userListVisible) },
        { "discord/user_list_width", "165", "200", FIELD(userListWidth) },
        { "discord/user_list_row_size", "0", "2", FIELD(userListRowSize) },
        { "discord/show_own_typing_indicators", "true", "false", FIELD(showOwnTypingIndicators) },
        { "network/low_bandwidth_mode", "false", "true", FIELD(lowBandwidthMode) },
        { "application/show_system_tray_icon", "false", "true", FIELD(showSystemTrayIcon) },
        { "application/stay_running_with_no_windows", "false", "true",
          FIELD(stayRunningWithNoWindows) },
        { "application/automatic_check_updates", "true", "false", FIELD(automaticCheckUpdates) },
        { "notifications/use_window_alerts", "true", "false", FIELD(useWindowAlerts) },
        { "notifications/use_system_tray_messages", "false", "true", FIELD(useSystemTrayMessages) },
        { "notifications/notify_on_friend_requests", "true", "false",
          FIELD(notifyOnFriendRequests) },
        { "privacy/use_automatic_inactivity_detection", "true", "false",
          FIELD(useAutomaticInactivityDetection) },
        { "privacy/inactivity_threshold_minutes", "5", "240", FIELD(inactivityThresholdMinutes) },
        { "privacy/send_typing_indicators", "true", "false", FIELD(sendTypingIndicators) },
        { "experimental_proxy/use_network_proxy", "false", "true", FIELD(useNetworkProxy), true },
    };
    return cases;
}

QString text(char const* latin1)
{
    return QString::fromLatin1(latin1);
}

class Preferences : public testing::Test {
protected:
    void SetUp() override
    {
        NakDataPaths::appDataPathCreated();
        QFile::remove(NakSettingsFile::settingsFilePath());
    }
    void TearDown() override { QFile::remove(NakSettingsFile::settingsFilePath()); }

    // Replaces the file, written by hand, by sections and keys.
    static void writeIni(std::vector<std::pair<char const*, char const*>> const& values)
    {
        // Of another size each time: QSettings does not read a file again that looks the same.
        static int writes = 0;
        QByteArray ini = ';' + QByteArray(200 * ++writes, '-') + '\n';
        for (auto const& [key, value] : values) {
            QByteArray const whole(key);
            int const slash = whole.indexOf('/');
            ini += '[' + whole.left(slash) + "]\n" + whole.mid(slash + 1) + '=' + value + '\n';
        }
        QFile file(NakSettingsFile::settingsFilePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(ini);
    }

    static NakPreferences loaded()
    {
        NakPreferences preferences;
        preferences.loadFromSettingsFile();
        return preferences;
    }

    static std::string inFile(char const* key)
    {
        QVariant const value = NakSettingsFile().value(text(key));
        return value.isValid() ? value.toString().toStdString() : "absent";
    }

    static std::string allFields(NakPreferences const& preferences)
    {
        std::string out;
        for (KeyCase const& c : keyCases())
            out += c.key + ('=' + c.read(preferences)) + '\n';
        return out;
    }

    static QFont font(int points, QFont::StyleStrategy strategy)
    {
        QFont made(QStringLiteral("Some Family"), points);
        made.setStyleStrategy(strategy);
        return made;
    }
};

} // namespace

TEST_F(Preferences, MissingFile)
{
    NakPreferences const preferences = loaded();
    for (KeyCase const& c : keyCases())
        EXPECT_EQ(c.read(preferences), c.missing) << c.key;
    EXPECT_EQ(preferences.themeType, NakAppTheme::Carbon);
    EXPECT_TRUE(preferences.showNotificationsInSideBar);
    EXPECT_EQ(preferences.messageBufferFont, QFont());
    EXPECT_EQ(preferences.sourceListFont, QFont());
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSize(QFont().pointSize());
    EXPECT_EQ(preferences.messageMonospaceFont, fixed);
    EXPECT_FALSE(NakSettingsFile::settingsFileExists()); // reading makes none
}

TEST_F(Preferences, EveryKeyIsReadIntoItsFieldAlone)
{
    for (KeyCase const& wanted : keyCases()) {
        writeIni({ { wanted.key, wanted.other } });
        NakPreferences const preferences = loaded();
        for (KeyCase const& c : keyCases()) {
            bool const follows = qstrcmp(wanted.key, "misc/show_typing_indicators") == 0
                && qstrcmp(c.key, "privacy/send_typing_indicators") == 0;
            char const* expected = &c == &wanted || follows ? wanted.other : c.missing;
            EXPECT_EQ(c.read(preferences), expected) << c.key << " with " << wanted.key;
        }
    }
}

TEST_F(Preferences, EveryKeyIsWritten)
{
    std::vector<std::pair<char const*, char const*>> values;
    for (KeyCase const& c : keyCases())
        values.emplace_back(c.key, c.other);
    writeIni(values);
    NakPreferences const preferences = loaded();
    writeIni({});
    preferences.saveToSettingsFile();
    for (KeyCase const& c : keyCases())
        EXPECT_EQ(inFile(c.key), c.other) << c.key;
    EXPECT_EQ(inFile("application/settings_version"), "1");
    EXPECT_EQ(allFields(loaded()), allFields(preferences));

    NakPreferences defaults = NakPreferences();
    defaults.saveToSettingsFile();
    for (KeyCase const& c : keyCases()) {
        if (c.absentWhenMissing)
            EXPECT_EQ(inFile(c.key), "absent") << c.key;
        else
            EXPECT_NEAR(QString::fromStdString(inFile(c.key)).toDouble(),
                        text(c.missing).toDouble(), 1e-8)
                << c.key;
    }
    EXPECT_EQ(allFields(loaded()), allFields(defaults));
}

TEST_F(Preferences, Fonts)
{
    NakPreferences preferences;
    preferences.messageBufferFont = font(13, QFont::NoAntialias);
    preferences.messageMonospaceFont = font(9, QFont::PreferBitmap);
    preferences.sourceListFont = font(8, QFont::PreferQuality);
    preferences.appOverrideFont = font(15, QFont::ForceOutline);
    preferences.saveToSettingsFile();
    EXPECT_EQ(inFile("text_style/app_override"), "absent");
    EXPECT_EQ(inFile("text_style/app_override_style_strategy"), "absent");
    EXPECT_EQ(loaded().appOverrideFont, QFont());

    preferences.useAppOverride = true;
    preferences.saveToSettingsFile();
    NakPreferences read = loaded();
    EXPECT_EQ(read.messageBufferFont, preferences.messageBufferFont);
    EXPECT_EQ(read.messageMonospaceFont, preferences.messageMonospaceFont);
    EXPECT_EQ(read.sourceListFont, preferences.sourceListFont);
    EXPECT_EQ(read.appOverrideFont, preferences.appOverrideFont);
    EXPECT_EQ(read.appOverrideFont.styleStrategy(), QFont::ForceOutline);
    EXPECT_EQ(inFile("text_style/message_buffer_style_strategy"), "256");

    preferences.useAppOverride = false;
    preferences.saveToSettingsFile();
    EXPECT_EQ(inFile("text_style/app_override"), "absent");
    EXPECT_EQ(inFile("text_style/app_override_style_strategy"), "absent");
}

TEST_F(Preferences, StyleStrategyOfAMissingFont)
{
    writeIni({ { "text_style/message_buffer_style_strategy", "256" },
               { "text_style/source_list_style_strategy", "nonsense" },
               { "text_style/app_override_style_strategy", "256" } });
    NakPreferences const preferences = loaded();
    EXPECT_EQ(preferences.messageBufferFont.styleStrategy(), QFont::NoAntialias);
    EXPECT_EQ(static_cast<int>(preferences.sourceListFont.styleStrategy()), 0);
    EXPECT_EQ(preferences.appOverrideFont, QFont()); // not looked at while it is off
}

TEST_F(Preferences, MonospaceFontFollowsTheSizeOfTheMessageFont)
{
    {
        NakSettingsFile settings;
        settings.setValue(QStringLiteral("text_style/message_buffer"),
                          font(17, QFont::PreferDefault));
    }
    EXPECT_EQ(loaded().messageMonospaceFont.pointSize(), 17);
    QFont inPixels;
    inPixels.setPixelSize(20);
    {
        NakSettingsFile settings;
        settings.setValue(QStringLiteral("text_style/message_buffer"), inPixels);
    }
    EXPECT_EQ(loaded().messageMonospaceFont, QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

TEST_F(Preferences, FirstRun)
{
    loaded();
    EXPECT_FALSE(NakSettingsFile::hadSettingsAtLoadTime());
    writeIni({ { "geometries/chat_window", "x" } });
    loaded();
    EXPECT_TRUE(NakSettingsFile::hadSettingsAtLoadTime());
    QFile::remove(NakSettingsFile::settingsFilePath());
    loaded();
    EXPECT_FALSE(NakSettingsFile::hadSettingsAtLoadTime());
    writeIni({});
    loaded();
    EXPECT_TRUE(NakSettingsFile::hadSettingsAtLoadTime());
    NakPreferences().saveToSettingsFile();
    loaded();
    EXPECT_TRUE(NakSettingsFile::hadSettingsAtLoadTime());
}

TEST_F(Preferences, InactivityThreshold)
{
    struct {
        char const* value;
        qint32 minutes;
    } const cases[] = { { "-5", 3 }, { "0", 3 },     { "1", 3 },   { "3", 3 },
                        { "4", 4 },  { "240", 240 }, { "soon", 3 } };
    for (auto const& c : cases) {
        writeIni({ { "privacy/inactivity_threshold_minutes", c.value } });
        EXPECT_EQ(loaded().inactivityThresholdMinutes, c.minutes) << c.value;
    }
}

TEST_F(Preferences, SendingOfTypingFollowsSeeingItUntilItIsWritten)
{
    struct {
        char const* send; // null: no key
        bool sends;
    } const cases[] = { { nullptr, false }, { "true", true }, { "false", false } };
    for (auto const& c : cases) {
        writeIni({ { "misc/show_typing_indicators", "false" } });
        if (c.send)
            writeIni({ { "misc/show_typing_indicators", "false" },
                       { "privacy/send_typing_indicators", c.send } });
        EXPECT_EQ(loaded().sendTypingIndicators, c.sends);
    }
}

TEST_F(Preferences, LoadStartsAfresh)
{
    NakPreferences preferences;
    preferences.inputDevice = text("x");
    preferences.restoreTabs = false;
    preferences.showNotificationsInSideBar = false;
    preferences.loadFromSettingsFile();
    EXPECT_EQ(allFields(preferences), allFields(NakPreferences()));
    EXPECT_TRUE(preferences.showNotificationsInSideBar);
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
        writeIni({ { "theme/preset_name", c.presetName } });
        if (c.lightTheme)
            writeIni(
                { { "theme/light_theme", c.lightTheme }, { "theme/preset_name", c.presetName } });
        NakPreferences const preferences = loaded();
        preferences.saveToSettingsFile();
        EXPECT_EQ(inFile("theme/preset_name"), c.loads);
        EXPECT_EQ(inFile("theme/light_theme"), "absent");
    }
    EXPECT_EQ(NakAppTheme::settingsVariantToTheme(QVariant(true)), NakAppTheme::Polar);
    EXPECT_EQ(NakAppTheme::settingsVariantToTheme(QVariant(false)), NakAppTheme::Carbon);
    EXPECT_EQ(NakAppTheme::settingsVariantToTheme(QVariant()), NakAppTheme::Carbon);
    std::string names;
    for (NakAppTheme::ThemeType type : NakAppTheme::themesList())
        names += NakAppTheme::themeDisplayName(type).toStdString() + ';';
    EXPECT_EQ(names, "Carbon (Dark);Polar (Light);Stealth (Dark);Sakura (Light);");
}

TEST_F(Preferences, OldKeysGo)
{
    std::vector<std::pair<char const*, char const*>> const old{
        { "misc/use_chat_icons_in_window_manager", "true" },
        { "misc/auto_close_accounts_window", "true" },
        { "experimental/use_system_proxy_settings", "true" },
        { "experimental_proxy/password", "secret" },
        { "experimental_proxy/hostname", "host" },
        { "misc/somebody_elses", "1" },
    };
    writeIni(old);
    NakPreferences const preferences = loaded();
    EXPECT_EQ(inFile("misc/use_chat_icons_in_window_manager"), "absent");
    EXPECT_EQ(inFile("misc/auto_close_accounts_window"), "true");
    preferences.saveToSettingsFile();
    for (auto const& [key, value] : old)
        EXPECT_EQ(inFile(key), qstrcmp(key, "misc/somebody_elses") == 0 ? "1" : "absent") << key;
}

TEST_F(Preferences, ProxyGroupStaysWhileTheProxyIsOn)
{
    writeIni({ { "experimental_proxy/use_network_proxy", "true" },
               { "experimental_proxy/password", "secret" } });
    NakPreferences preferences = loaded();
    preferences.saveToSettingsFile();
    EXPECT_EQ(inFile("experimental_proxy/password"), "secret");
    preferences.useNetworkProxy = false;
    preferences.saveToSettingsFile();
    EXPECT_EQ(inFile("experimental_proxy/password"), "absent");
    EXPECT_EQ(inFile("experimental_proxy/use_network_proxy"), "absent");
}

TEST_F(Preferences, ReadProxy)
{
    struct {
        char const* use;
        char const* type;
        char const* port;
        QNetworkProxy::ProxyType readType;
        char const* read; // host:port:user:password
    } const cases[] = {
        { "true", "socks5", "1080", QNetworkProxy::Socks5Proxy, "h:1080:u:p" },
        { "true", "http", "65535", QNetworkProxy::HttpProxy, "h:65535:u:p" },
        { "true", "http", "65536", QNetworkProxy::HttpProxy, "h:0:u:p" },
        { "true", "http", "70000", QNetworkProxy::HttpProxy, "h:0:u:p" },
        { "true", "http", "-1", QNetworkProxy::HttpProxy, "h:0:u:p" },
        { "true", "http", "web", QNetworkProxy::HttpProxy, "h:0:u:p" },
        { "true", "HTTP", "1080", QNetworkProxy::DefaultProxy, ":0::" },
        { "true", "", "1080", QNetworkProxy::DefaultProxy, ":0::" },
        { "false", "http", "1080", QNetworkProxy::DefaultProxy, ":0::" },
    };
    for (auto const& c : cases) {
        writeIni({ { "experimental_proxy/use_network_proxy", c.use },
                   { "experimental_proxy/type", c.type },
                   { "experimental_proxy/port", c.port },
                   { "experimental_proxy/hostname", "h" },
                   { "experimental_proxy/user", "u" },
                   { "experimental_proxy/password", "p" } });
        QNetworkProxy const proxy = NakSettings::tryReadProxySettings(NakSettingsFile());
        EXPECT_EQ(proxy.type(), c.readType) << c.type << c.port;
        EXPECT_EQ(QStringLiteral("%1:%2:%3:%4")
                      .arg(proxy.hostName())
                      .arg(proxy.port())
                      .arg(proxy.user(), proxy.password())
                      .toStdString(),
                  c.read)
            << c.type << c.port;
    }
}

TEST_F(Preferences, WriteProxy)
{
    struct {
        QNetworkProxy::ProxyType type;
        char const* written; // null: the group is gone
    } const cases[] = {
        { QNetworkProxy::Socks5Proxy, "socks5" },
        { QNetworkProxy::HttpProxy, "http" },
        { QNetworkProxy::NoProxy, nullptr },
        { QNetworkProxy::HttpCachingProxy, nullptr },
    };
    for (auto const& c : cases) {
        writeIni({ { "experimental_proxy/use_network_proxy", "true" } });
        {
            NakSettingsFile settings;
            NakSettings::tryWriteProxySettings(
                settings, QNetworkProxy(c.type, text("h"), 8080, text("u"), text("p")));
        }
        std::string written;
        for (char const* key :
             { "use_network_proxy", "type", "hostname", "port", "user", "password" })
            written += inFile(("experimental_proxy/" + QByteArray(key)).constData()) + ' ';
        EXPECT_EQ(written,
                  c.written ? std::string("true ") + c.written + " h 8080 u p "
                            : "absent absent absent absent absent absent ");
    }
}

TEST_F(Preferences, Geometries)
{
    EXPECT_FALSE(NakSettingsFile().hasGeometry(text("chat_window")));
    NakSettingsFile().setGeometry(text("chat_window"), QByteArray("\0,;\xff", 4));
    EXPECT_TRUE(NakSettingsFile().hasGeometry(text("chat_window")));
    EXPECT_EQ(NakSettingsFile().getGeometry(text("chat_window")), QByteArray("\0,;\xff", 4));
    EXPECT_TRUE(NakSettingsFile().contains(text("geometries/chat_window")));
}

TEST_F(Preferences, FontBeforeOverride)
{
    EXPECT_FALSE(NakSettingsImpl::appFontBeforeOverride().has_value());
    NakSettingsImpl::setAppFontBeforeOverride(font(11, QFont::PreferDefault));
    EXPECT_EQ(NakSettingsImpl::appFontBeforeOverride()->pointSize(), 11);
}

TEST(DataPaths, DirectoryIsForItsOwnerAlone)
{
    QDir(NakDataPaths::appDataPath()).removeRecursively();
    QString const path = NakDataPaths::appDataPathCreated();
    EXPECT_EQ(path, NakDataPaths::appDataPath());
    EXPECT_EQ(path, QFile::decodeName(qgetenv("XDG_DATA_HOME")) + QStringLiteral("/Nakwire"));
    EXPECT_TRUE(QDir(path).exists());
    EXPECT_EQ(QFile::permissions(path) & 0x0077, 0);
    QFile kept(path + QStringLiteral("/kept"));
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    NakDataPaths::appDataPathCreated();
    EXPECT_TRUE(kept.exists());
}
