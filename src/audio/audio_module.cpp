// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio_device_names.h"
#include "audio_door.h"

static_assert(int(NakAudio::Input) == QAudio::AudioInput
              && int(NakAudio::Output) == QAudio::AudioOutput);

extern "C" Q_DECL_EXPORT void nakwireAppendAudioDeviceNames1(int mode, QStringList* names)
{
    auto const devices = QAudioDeviceInfo::availableDevices(static_cast<QAudio::Mode>(mode));
    for (QAudioDeviceInfo const& device : devices)
        names->append(NakSettings::audioDeviceInfoToString(device));
}
