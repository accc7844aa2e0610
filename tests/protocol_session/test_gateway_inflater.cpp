// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "deflater.h"
#include "gateway_inflater.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

using Status = DisGatewayInflater::Status;

constexpr quint32 maxFrame = 1 << 20;

DisGatewayInflater::Outcome feed(DisGatewayInflater& inflater, QByteArray const& message)
{
    return inflater.inflateMessage(message.constData(), static_cast<quint32>(message.size()));
}

QByteArray frameOf(DisGatewayInflater::Outcome const& outcome)
{
    return QByteArray(outcome.data, static_cast<int>(outcome.size));
}

// Bytes that deflate badly or well, always the same ones.
QByteArray noise(int size)
{
    QRandomGenerator random(7);
    QByteArray bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random.generate());
    return bytes;
}

} // namespace

TEST(GatewayInflater, FramesShareOneStream)
{
    Deflater deflater;
    DisGatewayInflater inflater(maxFrame);
    for (int i = 0; i < 50; ++i) {
        QByteArray const frame = "the same words again and again " + QByteArray::number(i);
        auto const outcome = feed(inflater, deflater.message(frame));
        ASSERT_EQ(outcome.status, Status::Frame);
        EXPECT_EQ(frameOf(outcome), frame);
        inflater.release();
    }
}

TEST(GatewayInflater, BufferDoublesAndIsGivenBack)
{
    struct Case {
        int size;
        quint32 capacity; // after the frame, before it is released
    };
    // A frame that fills the buffer to its end needs no more: the flush marker takes no room.
    Case const cases[] = {
        { 0, 65'536 },        { 1, 65'536 },
        { 65'535, 65'536 },   { 65'536, 65'536 },
        { 65'537, 131'072 },  { 131'072, 131'072 },
        { 131'073, 262'144 }, { 262'145, 524'288 },
        { 524'289, 1 << 20 }, { (1 << 20) + 1, 32 << 20 },
    };
    for (Case const& one : cases) {
        for (QByteArray const& frame : { QByteArray(one.size, 'x'), noise(one.size) }) {
            Deflater deflater;
            DisGatewayInflater inflater(64 << 20);
            feed(inflater, deflater.message("before"));
            inflater.release();
            auto const outcome = feed(inflater, deflater.message(frame));
            // Nothing to inflate is nothing to flush: zlib sends no marker for it.
            ASSERT_EQ(outcome.status, one.size == 0 ? Status::ZlibError : Status::Frame);
            EXPECT_EQ(inflater.capacity(), one.capacity) << one.size;
            EXPECT_TRUE(one.size == 0 || frameOf(outcome) == frame) << one.size;
            inflater.release();
            EXPECT_EQ(inflater.capacity(), 65'536U);
            EXPECT_EQ(frameOf(feed(inflater, deflater.message("after"))), QByteArray("after"));
        }
    }
}

TEST(GatewayInflater, FrameOverTheBoundIsDropped)
{
    DisGatewayInflater inflater(maxFrame);
    Deflater deflater;
    EXPECT_EQ(feed(inflater, deflater.message(QByteArray(maxFrame + 1, 'x'))).status,
              Status::TooLarge);
    inflater.release();
    EXPECT_EQ(inflater.capacity(), 65'536U);
    inflater.reset();
    deflater.reset();
    EXPECT_EQ(frameOf(feed(inflater, deflater.message("next"))), QByteArray("next"));
}

TEST(GatewayInflater, BombIsDroppedWithoutBeingInflatedWhole)
{
    // One megabyte on the wire would become a gigabyte.
    Deflater deflater;
    QByteArray bomb;
    for (int i = 0; i < 16; ++i)
        bomb += deflater.message(QByteArray(16 << 20, '\0'), Z_NO_FLUSH);
    bomb += deflater.message(QByteArray());
    DisGatewayInflater inflater(maxFrame);
    EXPECT_EQ(feed(inflater, bomb).status, Status::TooLarge);
    EXPECT_EQ(inflater.capacity(), maxFrame);
}

TEST(GatewayInflater, GarbageBreaksTheStreamUntilTheNextConnection)
{
    DisGatewayInflater inflater(maxFrame);
    Deflater deflater;
    EXPECT_EQ(frameOf(feed(inflater, deflater.message("good"))), QByteArray("good"));
    auto const bad = feed(inflater, QByteArray(20, '\xff'));
    EXPECT_EQ(bad.status, Status::ZlibError);
    EXPECT_EQ(bad.zlibError, Z_DATA_ERROR);
    EXPECT_EQ(feed(inflater, deflater.message("lost")).status, Status::ZlibError);
    inflater.reset();
    deflater.reset();
    EXPECT_EQ(frameOf(feed(inflater, deflater.message("again"))), QByteArray("again"));
}

TEST(GatewayInflater, EndOfTheStreamIsToldApart)
{
    DisGatewayInflater inflater(maxFrame);
    Deflater deflater;
    EXPECT_EQ(feed(inflater, deflater.message("last words", Z_FINISH)).status, Status::StreamEnd);
    EXPECT_EQ(feed(inflater, QByteArray()).status, Status::StreamEnd);
}

TEST(GatewayInflater, EmptyMessageIsNoFrame)
{
    DisGatewayInflater inflater(maxFrame);
    auto const outcome = feed(inflater, QByteArray());
    EXPECT_EQ(outcome.status, Status::ZlibError);
    EXPECT_EQ(outcome.zlibError, Z_BUF_ERROR);
}

// A message that is cut in two gives two frames, which together are the whole; nothing is lost for
// those that follow.
TEST(GatewayInflater, CutAtEveryByte)
{
    QByteArray const first = "{\"op\":10,\"d\":{\"heartbeat_interval\":41250}}";
    QByteArray const second =
        "{\"op\":0,\"t\":\"TYPING_START\",\"s\":1,\"d\":{\"channel_id\":\"5\"}}";
    Deflater lengths;
    int const total = lengths.message(first).size() + lengths.message(second).size();
    for (int cut = 0; cut <= total; ++cut) {
        Deflater deflater;
        QByteArray stream = deflater.message(first);
        stream += deflater.message(second);
        QByteArray const third = deflater.message("third");
        DisGatewayInflater inflater(maxFrame);
        QByteArray got;
        for (QByteArray const& piece : { stream.left(cut), stream.mid(cut) }) {
            auto const outcome = feed(inflater, piece);
            ASSERT_EQ(outcome.status, piece.isEmpty() ? Status::ZlibError : Status::Frame) << cut;
            got += frameOf(outcome);
            inflater.release();
        }
        EXPECT_EQ(got, first + second) << cut;
        EXPECT_EQ(frameOf(feed(inflater, third)), QByteArray("third")) << cut;
    }
}

// One damaged byte anywhere: whatever comes out, it ends, and stays within the bound.
TEST(GatewayInflater, DamagedAtEveryByte)
{
    Deflater deflater;
    QByteArray const good = deflater.message(noise(200) + QByteArray(3'000, 'a'));
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
            EXPECT_EQ(frameOf(feed(inflater, next.message("next"))), QByteArray("next"));
        }
    }
}
