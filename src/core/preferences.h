// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The user's choices as one plain record, read from settings.ini once at start and written back
// by whoever changes a field. User-interface thread only; a worker gets a copy of what it needs.

#include <QFont>
#include <QString>
#include <QStringList>

struct NakPreferences {
    QFont messageBufferFont;
    QFont messageMonospaceFont;
    QFont sourceListFont;
    QFont appOverrideFont;

    qint32 themeType = 0; // NakAppTheme::ThemeType

    bool useChatIconsAsWindowIcons = false;
    bool displayDiscordNicknames = true;
    bool displayDiscriminator = false;
    bool displayUserStatusInChat = false;
    bool avatarsInChat = true;
    bool showImagesInChat = true;
    bool showLinkPreviewsInChat = true;
    bool timestampsOnEachMessage = false;
    bool closeButtonOnChannelTabs = true;
    bool showStatusBar = true;
    bool restoreTabs = true;
    bool useExistingChatTab = false;
    bool userListVisible = false;
    bool showTypingIndicators = true;
    bool returnCreatesNewLineInCodeBlocks = false;
    // Has no key: true after every load and never saved. Whether the side bar shows its
    // notifications item; kept as a field so that the side bar's logic stays in one shape.
    bool showNotificationsInSideBar = true;
    bool sendTypingIndicators = true;
    bool showOwnTypingIndicators = true;
    bool useAppOverride = false;
    bool lockMouseWhenScrolling = false;
    bool invertDragScroll = false;
    bool invertWheelScroll = false;
    bool highVisibilityChatScrollbar = false;
    bool autoHideSidebarScrollbar = false;

    double mouseDragBufferScrollSpeed = 2.0;
    double mouseWheelBufferScrollSpeed = 0.5;
    double mouseMiddleClickScrollSpeed = 1.0;

    QString inputDevice; // empty: the default device
    QString outputDevice;

    float inputGain = 1.0F;
    float inputGateThreshold = 0.015848933F; // linear amplitude of -36 dB

    bool inputMixMono = false;
    bool buggyAudioDevice = false;
    bool inputEncodingForceMusicSignal = false;
    bool lowBandwidthMode = false;
    bool useNetworkProxy = false;
    bool automaticCheckUpdates = true;
    bool useAutomaticInactivityDetection = true;
    bool useWindowAlerts = true;
    bool showSystemTrayIcon = false;
    bool stayRunningWithNoWindows = false;
    bool useSystemTrayMessages = false;
    bool notifyOnFriendRequests = true;

    QString pushToTalkBinding;
    QString toggleMicMuteBinding;
    QString muteMicBinding;
    QString unmuteMicBinding;
    bool usePushToTalk = false;

    qint32 userListWidth = 165;
    qint32 userListRowSize = 0;
    qint32 chatAvatarSize = 32;
    qint32 chatEmojiSize = 28;
    qint32 extraMessageGroupPadding = 0;
    qint32 inactivityThresholdMinutes = 5; // at least 3

    // What an empty settings file gives. The fonts are the desktop's, also while the user's own
    // stands for everything else, and depend on no widget that they are drawn on.
    static NakPreferences defaults();

    void loadFromSettingsFile();
    // Writes every field; whoever changed one calls this and emits preferencesChanged().
    void saveToSettingsFile() const;
};

namespace NakPreferencesImpl {
// Those of the choices themselves, in the order in which they are written.
QStringList keys();
} // namespace NakPreferencesImpl

// Set and cleared in src/app.
extern NakPreferences* g_preferences;
