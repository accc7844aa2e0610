// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio_device_picker.h"
#include "fake_audio.h"
#include "settings_form.h"
#include "shell_fixture.h"
#include "wait_until.h"

#include <QAbstractItemView>
#include <QSignalSpy>

namespace {

constexpr int output = 1;

class AudioDevicePickerTest : public ShellTest {
protected:
    AudioDevicePickerTest()
    {
        g_audioDevices = &m_devices;
        FakeAudio::tell(0, "");
    }

    NakAudioDevices m_devices{ QStringLiteral(NAKWIRE_FAKE_AUDIO) };
};

// The rows after that of the default device, the chosen one in brackets.
std::string rowsOf(NakAudioDevicePicker const& picker)
{
    QStringList rows;
    for (int row = 0; row < picker.count(); ++row) {
        QString const text = row > 0 ? picker.itemText(row) : QStringLiteral("-");
        rows << (row == picker.currentIndex() ? QLatin1Char('[') + text + QLatin1Char(']') : text);
    }
    return rows.join(QLatin1Char('|')).toStdString();
}

} // namespace

TEST_F(AudioDevicePickerTest, RowsBeforeAndAfterTheAnswer)
{
    struct {
        char const* devices;
        char const* stored;
        char const* before;
        char const* after;
        char const* hint;
    } const cases[] = {
        { "a\nb", "", "[-]", "[-]|a|b", "" },
        { "a\nb\na", "b", "-|[b]", "-|a|[b]", "" },
        { "<b>\ta</b>", "A\nA", "-|[A A]", "-|<b> a</b>|[A A (not connected)]", "" },
        { "", "gone", "-|[gone]", "-|[gone (not connected)]", "No speakers were found." },
    };
    for (auto const& c : cases) {
        NakAudioDevices devices(QStringLiteral(NAKWIRE_FAKE_AUDIO));
        g_audioDevices = &devices;
        FakeAudio::keepWaiting(output);
        NakAudioDevicePicker picker(output, nullptr);
        QSignalSpy const chosen(&picker, &NakAudioDevicePicker::deviceChosen);
        picker.setDeviceName(QString::fromUtf8(c.stored));
        EXPECT_EQ(rowsOf(picker), c.before);
        FakeAudio::tell(output, c.devices);
        waitUntil([&] { return devices.state() == NakAudioDevices::State::Known; });
        EXPECT_EQ(rowsOf(picker), c.after);
        EXPECT_EQ(picker.hint().toStdString(), c.hint);
        EXPECT_EQ(chosen.count(), 0);
    }
}

TEST_F(AudioDevicePickerTest, ListFollowsWhileItIsOpen)
{
    FakeAudio::tell(output, "a\nb");
    NakAudioDevicePicker picker(output, nullptr);
    picker.setDeviceName(QStringLiteral("gone"));
    EXPECT_TRUE(waitUntil([&] { return picker.count() == 4; }));
    QSignalSpy const chosen(&picker, &NakAudioDevicePicker::deviceChosen);
    picker.setCurrentIndex(2);
    EXPECT_EQ(chosen.value(0).value(0).toString(), QStringLiteral("b"));
    EXPECT_EQ(rowsOf(picker), "-|a|[b]|gone (not connected)");

    picker.show();
    FakeAudio::tell(output, "c\nd\na");
    picker.showPopup();
    picker.view()->setCurrentIndex(picker.model()->index(1, 0));
    EXPECT_TRUE(waitUntil([&] { return picker.count() == 6; }));
    EXPECT_EQ(rowsOf(picker), "-|c|d|a|gone (not connected)|[b (not connected)]");
    EXPECT_TRUE(picker.view()->isVisible());
    EXPECT_EQ(picker.view()->currentIndex().row(), 3); // as the user left it, on a
    EXPECT_EQ(chosen.count(), 1);
}

TEST_F(AudioDevicePickerTest, PageStoresNames)
{
    FakeAudio::tell(output, "a");
    m_preferences.inputDevice = QStringLiteral("gone");
    NakSettingsModel model(nullptr);
    NakSettingsForm const page(&model, NakSettingsRows::audioAndVoice(), nullptr);
    auto const pickers = page.findChildren<NakAudioDevicePicker*>();
    EXPECT_TRUE(waitUntil([&] { return pickers.value(output)->count() == 2; }));
    EXPECT_EQ(pickers[0]->accessibleDescription(), QStringLiteral("No microphone was found."));
    pickers[output]->setCurrentIndex(1);
    model.apply();
    EXPECT_EQ(readSetting("audio/outout_device").toString(), QStringLiteral("a"));
    EXPECT_EQ(readSetting("audio/input_device").toString(), QStringLiteral("gone"));
    model.revert();
    EXPECT_EQ(readSetting("audio/outout_device").toString(), QString());
}
