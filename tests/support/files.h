// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>

#include <gtest/gtest.h>

inline QByteArray fileBytes(QString const& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

// In place of what is there.
inline void writeFile(QString const& path, QByteArray const& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}
