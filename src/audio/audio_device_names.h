// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Audio devices as the preferences name them. The second function asks the sound system, see
// audio_door.h for what that costs and where it may be called.

#include <QAudioDeviceInfo>

namespace NakSettings {

// Empty for a null device.
QString audioDeviceInfoToString(QAudioDeviceInfo const& device);

// The first device of the mode (QAudio::Mode) with exactly that name. A null device if the name is
// empty or there is none; the caller then takes the default device.
QAudioDeviceInfo audioDeviceInfoFromString(QString const& name, int mode);

} // namespace NakSettings
