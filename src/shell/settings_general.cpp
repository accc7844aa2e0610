// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_rows.h"

using namespace NakSettingsRows;

QVector<Group> NakSettingsRows::general()
{
    constexpr Range speed{ 0.1, 20, 0.1, " ×" };
    return {
        { "Windows and tabs",
          {
              { "Bring the &tabs back at start", &P::restoreTabs },
              { "Show &close buttons on tabs", &P::closeButtonOnChannelTabs },
              { "S&witch to a tab that shows the conversation already", &P::useExistingChatTab,
                "When you click it in the side bar. Otherwise the current tab moves there." },
              { "Show the status &bar", &P::showStatusBar },
              { "Show the conversation's picture as the window's ico&n",
                &P::useChatIconsAsWindowIcons },
          } },
        { "Messages",
          {
              { "Show &pictures in the chat", &P::showImagesInChat },
              { "Show previews of &links", &P::showLinkPreviewsInChat },
              { "Show the time of &every message", &P::timestampsOnEachMessage,
                "Otherwise it stands once above the messages of one person." },
              { "E&xtra space between people",
                &P::extraMessageGroupPadding,
                nullptr,
                { 0, 100, 1, " px", "None" } },
              { "Size of em&oji", &P::chatEmojiSize, nullptr, { 8, 128, 1, " px" } },
              { "Retu&rn begins a new line inside a code block",
                &P::returnCreatesNewLineInCodeBlocks,
                "Three backticks begin and end one. Outside, Return sends." },
          } },
        { "Typing and presence",
          {
              { "Show who is t&yping", &P::showTypingIndicators },
              { "Tell others when &I am typing", &P::sendTypingIndicators },
              { "Go idle by itself when I am &away from the computer",
                &P::useAutomaticInactivityDetection },
              needing(&P::useAutomaticInactivityDetection,
                      { "Idle after",
                        &P::inactivityThresholdMinutes,
                        nullptr,
                        { 3, 240, 1, " minutes" } }),
          } },
        { "Notifications",
          {
              { "Ask for attention in the task bar (&urgent window)", &P::useWindowAlerts },
              { "Show an icon in the &system tray", &P::showSystemTrayIcon },
              needing(&P::showSystemTrayIcon,
                      { "Show &messages at the tray icon", &P::useSystemTrayMessages,
                        "While you look at another program." }),
              needing(&P::showSystemTrayIcon,
                      { "&Keep running when the last window is closed",
                        &P::stayRunningWithNoWindows, "The tray icon opens a window again." }),
          } },
        { "Scrolling",
          {
              { "Speed of the w&heel", &P::mouseWheelBufferScrollSpeed, nullptr, speed },
              { "Speed of &dragging", &P::mouseDragBufferScrollSpeed, nullptr, speed },
              { "Speed with the middle button", &P::mouseMiddleClickScrollSpeed, nullptr, speed },
              { "In&vert the wheel", &P::invertWheelScroll },
              { "Invert dragging", &P::invertDragScroll },
              { "Hold the pointer in its place while dragging", &P::lockMouseWhenScrolling,
                "A drag can then go on for ever." },
              { "Make the chat's scroll control stand out", &P::highVisibilityChatScrollbar },
              { "Show the side bar's scroll bar only when it is needed",
                &P::autoHideSidebarScrollbar },
          } },
        { "Network",
          {
              { "Low bandwidth", &P::lowBandwidthMode,
                "No pictures are fetched, and no updates are looked for." },
              { "Look for new versions by itself", &P::automaticCheckUpdates },
          } },
    };
}
