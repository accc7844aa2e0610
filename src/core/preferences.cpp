// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences.h"

#include "settings_file.h"
#include "theme_type.h"

#include <QFontDatabase>

#include <type_traits>
#include <variant>

NakPreferences* g_preferences = nullptr;

namespace {

using Field =
    std::variant<bool NakPreferences::*, double NakPreferences::*, float NakPreferences::*,
                 qint32 NakPreferences::*, QString NakPreferences::*>;

enum class Keep {
    Always,
    WhenSet, // the key exists only while it carries something
};

struct Row {
    char const* key;
    Field field;
    Keep keep = Keep::Always;
    // Where the value of a missing key comes from, if not from the record's own initialiser.
    bool NakPreferences::*fallback = nullptr;
};

using P = NakPreferences;

// Every key but those of the theme, the fonts and the proxy, in the order in which they are read
// and written. A row may fall back on a field of a row above it.
constexpr Row rows[] = {
    { "scrolling/lock_mouse_when_scrolling", &P::lockMouseWhenScrolling },
    { "scrolling/invert_drag_scroll", &P::invertDragScroll },
    { "scrolling/invert_wheel_scroll", &P::invertWheelScroll },
    { "scrolling/mouse_drag_buffer_scroll_speed", &P::mouseDragBufferScrollSpeed },
    { "scrolling/mouse_wheel_buffer_scroll_speed", &P::mouseWheelBufferScrollSpeed },
    { "scrolling/mouse_middle_click_scroll_speed", &P::mouseMiddleClickScrollSpeed },
    { "scrolling/high_visibility_chat_scrollbar", &P::highVisibilityChatScrollbar },
    { "scrolling/auto_hide_sidebar_scrollbar", &P::autoHideSidebarScrollbar },
    { "audio/input_device", &P::inputDevice },
    // Misspelled in the files that users have, so misspelled for good.
    { "audio/outout_device", &P::outputDevice },
    { "audio/input_gain", &P::inputGain },
    { "audio/input_gate_threshold", &P::inputGateThreshold },
    { "audio/input_mix_mono", &P::inputMixMono },
    { "audio/buggy_audio_device", &P::buggyAudioDevice },
    { "audio/input_encoding_force_music_signal", &P::inputEncodingForceMusicSignal, Keep::WhenSet },
    { "voice/use_push_to_talk", &P::usePushToTalk },
    { "bindings/push_to_talk", &P::pushToTalkBinding, Keep::WhenSet },
    { "bindings/toggle_mic_mute", &P::toggleMicMuteBinding, Keep::WhenSet },
    { "bindings/mute_mic", &P::muteMicBinding, Keep::WhenSet },
    { "bindings/unmute_mic", &P::unmuteMicBinding, Keep::WhenSet },
    { "misc/use_chat_icons_as_window_icons", &P::useChatIconsAsWindowIcons },
    { "misc/display_discord_nicknames", &P::displayDiscordNicknames },
    { "misc/display_discriminator", &P::displayDiscriminator },
    { "misc/display_user_status_in_chat", &P::displayUserStatusInChat },
    { "misc/timestamps_on_each_message", &P::timestampsOnEachMessage },
    { "misc/close_button_on_channel_tabs", &P::closeButtonOnChannelTabs },
    { "misc/show_status_bar", &P::showStatusBar },
    { "misc/restore_tabs", &P::restoreTabs },
    { "misc/use_existing_chat_tab", &P::useExistingChatTab },
    { "misc/show_images_in_chat", &P::showImagesInChat },
    { "misc/show_link_previews_in_chat", &P::showLinkPreviewsInChat },
    { "misc/show_typing_indicators", &P::showTypingIndicators },
    { "misc/return_creates_new_line_in_code_blocks", &P::returnCreatesNewLineInCodeBlocks },
    { "misc/extra_message_group_padding", &P::extraMessageGroupPadding },
    { "misc/chat_emoji_size", &P::chatEmojiSize },
    { "discord/avatars_in_chat", &P::avatarsInChat },
    { "discord/chat_avatar_size", &P::chatAvatarSize },
    { "discord/user_list_visible", &P::userListVisible },
    { "discord/user_list_width", &P::userListWidth },
    { "discord/user_list_row_size", &P::userListRowSize },
    { "network/low_bandwidth_mode", &P::lowBandwidthMode },
    { "discord/show_own_typing_indicators", &P::showOwnTypingIndicators },
    { "application/show_system_tray_icon", &P::showSystemTrayIcon },
    { "application/stay_running_with_no_windows", &P::stayRunningWithNoWindows },
    { "application/automatic_check_updates", &P::automaticCheckUpdates },
    { "notifications/use_window_alerts", &P::useWindowAlerts },
    { "notifications/use_system_tray_messages", &P::useSystemTrayMessages },
    { "notifications/notify_on_friend_requests", &P::notifyOnFriendRequests },
    { "privacy/use_automatic_inactivity_detection", &P::useAutomaticInactivityDetection },
    { "privacy/inactivity_threshold_minutes", &P::inactivityThresholdMinutes },
    // A user who switched off seeing others type also stops telling them, until the key is written.
    { "privacy/send_typing_indicators", &P::sendTypingIndicators, Keep::Always,
      &P::showTypingIndicators },
};

struct FontRow {
    char const* key;
    QFont P::*field;
};
// The monospace font falls back on the size of the one above it.
constexpr FontRow fontRows[] = {
    { "text_style/message_buffer", &P::messageBufferFont },
    { "text_style/message_monospace", &P::messageMonospaceFont },
    { "text_style/source_list", &P::sourceListFont },
};

constexpr char const* appOverrideKey = "text_style/app_override";
constexpr char const* useProxyKey = "experimental_proxy/use_network_proxy";
constexpr char const* useAppOverrideKey = "text_style/use_app_override";
constexpr char const* versionKey = "application/settings_version";
constexpr int settingsVersion = 1;
constexpr qint32 leastInactivityMinutes = 3;

// Keys of older releases.
constexpr char const* removedOnLoad[] = { "misc/use_chat_icons_in_window_manager" };
constexpr char const* removedOnSave[] = { "misc/auto_close_accounts_window",
                                          "experimental/use_system_proxy_settings" };

QString textOf(char const* key)
{
    return QString::fromLatin1(key);
}

QString strategyKey(char const* fontKey)
{
    return textOf(fontKey) + QLatin1String("_style_strategy");
}

// --- fonts that are missing ---

// One that takes nothing from the widget that it is drawn on.
QFont wholeFont(QFont font)
{
    font.resolve(QFont::AllPropertiesResolved);
    return font;
}

// The desktop's, whatever the user put in its place.
QFont defaultFont()
{
    return wholeFont(NakSettingsImpl::appFontBeforeOverride().value_or(QFont()));
}

QFont fixedFontInSizeOf(QFont const& font)
{
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (font.pointSize() > 0) // a font in pixels has no points
        fixed.setPointSize(font.pointSize());
    return wholeFont(fixed);
}

// --- load ---

QFont loadFont(QSettings const& settings, char const* key, QFont const& missing)
{
    QVariant const value = settings.value(textOf(key));
    QFont font = value.canConvert<QFont>() ? value.value<QFont>() : missing;
    if (settings.contains(strategyKey(key))) {
        int const strategy = settings.value(strategyKey(key)).toInt();
        font.setStyleStrategy(static_cast<QFont::StyleStrategy>(strategy));
    }
    return font;
}

void loadFonts(QSettings const& settings, NakPreferences* preferences)
{
    for (FontRow const& row : fontRows) {
        bool const isMonospace = row.field == &P::messageMonospaceFont;
        QFont& font = preferences->*row.field;
        if (isMonospace)
            font = fixedFontInSizeOf(preferences->messageBufferFont);
        font = loadFont(settings, row.key, font);
    }
    preferences->useAppOverride = settings.value(textOf(useAppOverrideKey), false).toBool();
    if (preferences->useAppOverride)
        preferences->appOverrideFont =
            loadFont(settings, appOverrideKey, preferences->appOverrideFont);
}

void loadRow(QSettings const& settings, Row const& row, NakPreferences* preferences)
{
    if (row.fallback)
        preferences->*std::get<bool NakPreferences::*>(row.field) = preferences->*row.fallback;
    QVariant const value = settings.value(textOf(row.key));
    if (!value.isValid())
        return;
    std::visit(
        [&](auto field) {
            auto& target = preferences->*field;
            target = value.value<std::decay_t<decltype(target)>>();
        },
        row.field);
}

// --- save ---

void saveFont(QSettings& settings, char const* key, QFont const& font)
{
    settings.setValue(textOf(key), font);
    settings.setValue(strategyKey(key), static_cast<int>(font.styleStrategy()));
}

void saveFonts(QSettings& settings, NakPreferences const& preferences)
{
    for (FontRow const& row : fontRows)
        saveFont(settings, row.key, preferences.*row.field);
    settings.setValue(textOf(useAppOverrideKey), preferences.useAppOverride);
    if (preferences.useAppOverride) {
        saveFont(settings, appOverrideKey, preferences.appOverrideFont);
    } else {
        settings.remove(textOf(appOverrideKey));
        settings.remove(strategyKey(appOverrideKey));
    }
}

template <typename T> QVariant storedForm(T const& value)
{
    if constexpr (std::is_same_v<T, float>)
        return static_cast<double>(value); // a float would be stored as bytes that nobody can edit
    else
        return QVariant::fromValue(value);
}

bool carriesSomething(QVariant const& value)
{
    return value.type() == QVariant::Bool ? value.toBool() : !value.toString().isEmpty();
}

void saveRow(QSettings& settings, Row const& row, NakPreferences const& preferences)
{
    QVariant const value =
        std::visit([&](auto field) { return storedForm(preferences.*field); }, row.field);
    if (row.keep == Keep::WhenSet && !carriesSomething(value))
        settings.remove(textOf(row.key));
    else
        settings.setValue(textOf(row.key), value);
}

bool isFirstRun(QSettings const& settings)
{
    return !settings.contains(textOf(versionKey))
        && !settings.contains(QStringLiteral("geometries/chat_window"))
        && !NakSettingsFile::settingsFileExists();
}

} // namespace

QStringList NakPreferencesImpl::keys()
{
    QStringList keys{ NakAppTheme::newSettingsName() };
    for (FontRow const& row : fontRows)
        keys << textOf(row.key);
    keys << textOf(useAppOverrideKey) << textOf(appOverrideKey);
    for (Row const& row : rows)
        keys << textOf(row.key);
    return keys << textOf(useProxyKey);
}

NakPreferences NakPreferences::defaults()
{
    NakPreferences preferences;
    for (FontRow const& row : fontRows)
        preferences.*row.field = defaultFont();
    preferences.messageMonospaceFont = fixedFontInSizeOf(defaultFont());
    preferences.appOverrideFont = defaultFont();
    return preferences;
}

void NakPreferences::loadFromSettingsFile()
{
    NakSettingsFile settings;
    NakSettingsFileImpl::setHadSettingsAtLoadTime(!isFirstRun(settings));
    *this = defaults();
    themeType = NakAppTheme::settingsToThemeType(settings);
    loadFonts(settings, this);
    for (Row const& row : rows)
        loadRow(settings, row, this);
    useNetworkProxy = settings.value(textOf(useProxyKey), false).toBool();
    inactivityThresholdMinutes = qMax(inactivityThresholdMinutes, leastInactivityMinutes);
    for (char const* key : removedOnLoad) {
        if (settings.contains(textOf(key)))
            settings.remove(textOf(key));
    }
}

void NakPreferences::saveToSettingsFile() const
{
    NakSettingsFile settings;
    settings.setValue(textOf(versionKey), settingsVersion);
    auto const theme = static_cast<NakAppTheme::ThemeType>(themeType);
    settings.setValue(NakAppTheme::newSettingsName(), NakAppTheme::themeToSettingsString(theme));
    settings.remove(NakAppTheme::oldSettingsName());
    saveFonts(settings, *this);
    for (Row const& row : rows)
        saveRow(settings, row, *this);
    // The rest of the group is written by the settings' proxy page. Switched off, none of it stays,
    // the host and the password least of all.
    if (useNetworkProxy)
        settings.setValue(textOf(useProxyKey), true);
    else
        settings.remove(NakSettings::proxyGroup());
    for (char const* key : removedOnSave)
        settings.remove(textOf(key));
}
