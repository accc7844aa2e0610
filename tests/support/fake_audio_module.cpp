// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "fake_audio.h"

#include <QStringList>

extern "C" Q_DECL_EXPORT void nakwireAppendAudioDeviceNames1(int mode, QStringList* names)
{
    QFile file(FakeAudio::path(mode));
    if (file.open(QFile::ReadOnly))
        *names += QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
}
