// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The globals that windows need, and fake contents for every Discord channel. Each test starts with
// no windows and no settings file.

#include "audio_devices.h"
#include "fake_content.h"
#include "global_events.h"
#include "gui_icons.h"
#include "main_tabs.h"
#include "preferences.h"
#include "settle.h"
#include "shell_host.h"

#include <gtest/gtest.h>

class NakChatWindow;

class FakeShellHost : public IShellHost {
public:
    void hack_chatWindowShown() override { ++shown; }
    void chatWindowClosed() override { ++closed; }
    void beginQuit() override { quitting = true; }
    bool didBeginQuit() const override { return quitting; }

    int shown = 0;
    int closed = 0;
    bool quitting = false;
};

class ShellTest : public testing::Test {
protected:
    ShellTest();
    ~ShellTest() override;

    NakGlobalEvents m_events;
    NakPreferences m_preferences;
    NakGuiIcons m_icons;
    NakAudioDevices m_noAudioDevices{ QString() };
    FakeShellHost m_host;
};

NakNavLoc channel(quint64 id);

// Each tab's channel, left to right, the current one in brackets: "1 [2] -" with an empty third.
std::string tabsOf(NakMainTabs const& tabs);

FakeContent* contentAt(NakMainTabs const& tabs, int index);

QIcon redIcon();

void writeSetting(char const* key, QVariant const& value);
QVariant readSetting(char const* key);
