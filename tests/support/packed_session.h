// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The gateway session of tests/data, as it came over the wire and as its frames.

#include "gateway_inflater.h"

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

inline QVector<QByteArray> inflatedSession()
{
    QVector<QByteArray> frames;
    DisGatewayInflater inflater(64U << 20);
    for (QByteArray const& message : packedSession()) {
        auto const frame =
            inflater.inflateMessage(message.constData(), static_cast<quint32>(message.size()));
        EXPECT_EQ(frame.status, DisGatewayInflater::Status::Frame);
        frames.append(QByteArray(frame.data, static_cast<int>(frame.size)));
        inflater.release();
    }
    return frames;
}
