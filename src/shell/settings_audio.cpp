// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_rows.h"

using namespace NakSettingsRows;

QVector<Group> NakSettingsRows::audioAndVoice()
{
    constexpr Range none{ 0, 0 };
    return {
        { "Devices",
          {
              { "&Microphone", &P::inputDevice, nullptr, none, Look::Microphone },
              { "&Speakers", &P::outputDevice, nullptr, none, Look::Speakers },
              { "&Work around a device that stutters", &P::buggyAudioDevice,
                "For speakers that report a wrong buffer size." },
          } },
        { "Microphone",
          {
              { "Ga&in", &P::inputGain, nullptr, { -36, 24, 0.5, " dB" }, Look::Decibels },
              { "Gat&e",
                &P::inputGateThreshold,
                "What is quieter than this is not sent.",
                { -54, 0, 0.5, " dB" },
                Look::Decibels },
              { "Mi&x to mono", &P::inputMixMono },
              { "Encode as music, &not as speech", &P::inputEncodingForceMusicSignal },
          } },
        { "Speaking",
          {
              { "Send only while the push-to-&talk key is held", &P::usePushToTalk },
              { "&Push to talk", &P::pushToTalkBinding, nullptr, none, Look::Key },
              { "Toggle m&ute", &P::toggleMicMuteBinding, nullptr, none, Look::Key },
              { "Mute micr&ophone", &P::muteMicBinding, nullptr, none, Look::Key },
              { "Unmute mic&rophone", &P::unmuteMicBinding,
                "Press the key while the field has the focus; Backspace clears it.", none,
                Look::Key },
          } },
    };
}
