// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the stand-in for the audio module tells: each mode's devices are the lines of a file. A pipe
// in its place keeps the reader waiting until somebody writes, as a dead sound server does.

#include <QFile>
#include <QString>

#include <sys/stat.h>

namespace FakeAudio {

inline QString path(int mode)
{
    return qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/devices%1").arg(mode);
}

// Into the file, or to who waits at the pipe, which is gone afterwards.
inline void tell(int mode, QByteArray const& lines)
{
    QFile file(path(mode));
    file.open(QFile::WriteOnly);
    file.write(lines);
    if (file.isSequential())
        file.remove();
}

inline void keepWaiting(int mode)
{
    QFile::remove(path(mode));
    mkfifo(QFile::encodeName(path(mode)).constData(), S_IRUSR | S_IWUSR);
}

} // namespace FakeAudio
