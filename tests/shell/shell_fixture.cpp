// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell_fixture.h"

#include "chat_window.h"
#include "data_paths.h"
#include "settings_file.h"
#include "tab_contents.h"

#include <QApplication>
#include <QFile>

ShellTest::ShellTest()
{
    NakDataPaths::appDataPathCreated();
    QFile::remove(NakSettingsFile::settingsFilePath());
    g_globalEvents = &m_events;
    g_preferences = &m_preferences;
    g_guiIcons = &m_icons;
    g_audioDevices = &m_noAudioDevices;
    NakShell::setHost(&m_host);
    NakTabContents::registerFactory(NakNav::Type::Discord, [](NakNavLoc const& place, QWidget* p) {
        return new FakeContent(place, p);
    });
}

ShellTest::~ShellTest()
{
    qDeleteAll(NakChatWindow::chatWindows());
    settle();
    EXPECT_EQ(FakeContent::alive, 0);
    NakTabContents::registerFactory(NakNav::Type::Discord, {});
    NakShell::setHost(nullptr);
    g_audioDevices = nullptr;
    g_guiIcons = nullptr;
    g_preferences = nullptr;
    g_globalEvents = nullptr;
}

NakNavLoc channel(quint64 id)
{
    return NakNavLoc::discordChannel(FlakeId(id));
}

std::string tabsOf(NakMainTabs const& tabs)
{
    QStringList texts;
    for (int i = 0; i < tabs.count(); ++i) {
        NakNavLoc const place = tabs.navLocAtIndex(i);
        QString const text = place.type() == NakNav::Type::Discord
            ? place.discordChannelId().toString()
            : NakNav::navTypeToString(place.type())
                  .replace(QLatin1String("none"), QLatin1String("-"));
        texts.append(i == tabs.currentIndex() ? QLatin1Char('[') + text + QLatin1Char(']') : text);
    }
    return texts.join(QLatin1Char(' ')).toStdString();
}

FakeContent* contentAt(NakMainTabs const& tabs, int index)
{
    return qobject_cast<FakeContent*>(tabs.widget(index));
}

QIcon redIcon()
{
    QPixmap picture(4, 4);
    picture.fill(Qt::red);
    return QIcon(picture);
}

void writeSetting(char const* key, QVariant const& value)
{
    NakSettingsFile().setValue(QLatin1String(key), value);
}

QVariant readSetting(char const* key)
{
    return NakSettingsFile().value(QLatin1String(key));
}
