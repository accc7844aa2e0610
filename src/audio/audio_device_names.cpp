// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio_device_names.h"

QString NakSettings::audioDeviceInfoToString(QAudioDeviceInfo const& device)
{
    return device.isNull() ? QString() : device.deviceName();
}

QAudioDeviceInfo NakSettings::audioDeviceInfoFromString(QString const& name, int mode)
{
    if (name.isEmpty())
        return {};
    auto const devices = QAudioDeviceInfo::availableDevices(static_cast<QAudio::Mode>(mode));
    for (QAudioDeviceInfo const& device : devices) {
        if (device.deviceName() == name)
            return device;
    }
    return {};
}
