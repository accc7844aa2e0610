// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "deflater.h"
#include "gateway_inflater.h"

#include <gtest/gtest.h>

namespace {

constexpr quint32 maxFrame = 1 << 20;

DisGatewayInflater::Outcome feed(DisGatewayInflater& inflater, QByteArray const& message)
{
    return inflater.inflateMessage(message.constData(), static_cast<quint32>(message.size()));
}

} // namespace

TEST(GatewayInflater, BombIsDroppedWithoutBeingInflatedWhole)
{
    // One megabyte on the wire would become a gigabyte.
    Deflater deflater;
    QByteArray bomb;
    for (int i = 0; i < 16; ++i)
        bomb += deflater.message(QByteArray(16 << 20, '\0'), Z_NO_FLUSH);
    bomb += deflater.message(QByteArray());
    DisGatewayInflater inflater(maxFrame);
    EXPECT_EQ(feed(inflater, bomb).status, DisGatewayInflater::Status::TooLarge);
    EXPECT_EQ(inflater.capacity(), maxFrame);
    inflater.release();
    EXPECT_EQ(inflater.capacity(), 65'536U);
}

// One damaged byte anywhere: whatever comes out, it ends, and stays within the bound.
TEST(GatewayInflater, DamagedAtEveryByte)
{
    Deflater deflater;
    QByteArray const good = deflater.message("not all the same" + QByteArray(3'000, 'a'));
    for (int at = 0; at < good.size(); ++at) {
        for (char const flip : { '\x01', '\x80', '\xff' }) {
            QByteArray bad = good;
            bad[at] = static_cast<char>(bad[at] ^ flip);
            DisGatewayInflater inflater(maxFrame);
            auto const outcome = feed(inflater, bad);
            EXPECT_LE(outcome.size, maxFrame);
            inflater.release();
            inflater.reset();
            Deflater next;
            auto const after = feed(inflater, next.message("next"));
            EXPECT_EQ(std::string(after.data, after.size), "next");
        }
    }
}
