// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The gateway session of tests/data as its frames. Not for the stage's tests, which see no src.

#include "gateway_inflater.h"
#include "packed_session.h"

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
