// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The gateway session of tests/data as it came over the wire.

#include <QByteArray>
#include <QFile>
#include <QVector>
#include <QtEndian>

#include <gtest/gtest.h>

// The bytes of each web socket message, all deflated through one zlib stream.
inline QVector<QByteArray> packedSession()
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/gateway/session.zstream"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QVector<QByteArray> messages;
    while (!file.atEnd()) {
        auto const size = qFromBigEndian<quint32>(file.read(4).constData());
        messages.append(file.read(size));
    }
    return messages;
}
