// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio_device_names.h"
#include "audio_devices.h"
#include "fake_audio.h"
#include "wait_until.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

using State = NakAudioDevices::State;

// Both modes and the state, once there is an answer.
std::string read(NakAudioDevices& devices)
{
    QSignalSpy const changed(&devices, &NakAudioDevices::changed);
    devices.read();
    waitUntil([&] { return changed.count() > 0 && devices.state() != State::Silent; });
    return QStringLiteral("%1 / %2 %3")
        .arg(devices.names(0).join(u'|'), devices.names(1).join(u'|'))
        .arg(static_cast<int>(devices.state()))
        .toStdString();
}

} // namespace

TEST(AudioDevices, NamesAreBounded)
{
    QStringList many;
    for (int i = 0; i < 300; ++i)
        many << QString::number(i);
    std::string const kept = many.mid(0, 256).join(u'|').toStdString();
    struct {
        QByteArray input;
        QByteArray output;
        std::string answer;
    } const cases[] = {
        { "in", "out\nother", "in / out|other 1" },
        { "a\nb\na\n\n", "", "a|b /  1" },
        { QByteArray(513, 'x') + "\ny", "ü", "y / ü 1" },
        { many.join(u'\n').toLatin1(), "a", kept + " / a 1" },
    };
    NakAudioDevices devices(QStringLiteral(NAKWIRE_FAKE_AUDIO));
    for (auto const& c : cases) {
        FakeAudio::tell(0, c.input);
        FakeAudio::tell(1, c.output);
        EXPECT_EQ(read(devices), c.answer);
    }
}

TEST(AudioDevices, SoundSystemKeepsWaiting)
{
    FakeAudio::tell(0, "old");
    FakeAudio::tell(1, "out");
    NakAudioDevices devices(QStringLiteral(NAKWIRE_FAKE_AUDIO));
    EXPECT_EQ(read(devices), "old / out 1");
    FakeAudio::keepWaiting(0);
    devices.read();
    EXPECT_TRUE(waitUntil([&] { return devices.state() == State::Silent; }));
    EXPECT_EQ(devices.names(0), QStringList(QStringLiteral("old")));
    devices.read(); // asks for nothing more
    FakeAudio::tell(0, "new");
    EXPECT_TRUE(waitUntil([&] { return devices.state() == State::Known; }));
    EXPECT_EQ(devices.names(0), QStringList(QStringLiteral("new")));
}

TEST(AudioDevices, ModuleMayBeMissing)
{
    NakAudioDevices devices(QStringLiteral("/nowhere/libnakwire_audio.so"));
    EXPECT_EQ(read(devices), " /  3");
}

TEST(AudioDevices, RealModuleAnswers)
{
    NakAudioDevices devices(NakAudioDevices::installedModuleFile());
    read(devices);
    EXPECT_EQ(devices.state(), State::Known);
}

TEST(AudioDevices, DeviceByName)
{
    EXPECT_EQ(NakSettings::audioDeviceInfoToString({}), QString());
    for (QString const& name : { QString(), QStringLiteral("no such device") })
        EXPECT_TRUE(NakSettings::audioDeviceInfoFromString(name, 1).isNull());
    for (auto const& device : QAudioDeviceInfo::availableDevices(QAudio::AudioOutput)) {
        QString const name = NakSettings::audioDeviceInfoToString(device);
        EXPECT_EQ(NakSettings::audioDeviceInfoFromString(name, 1).deviceName(), name);
    }
}
