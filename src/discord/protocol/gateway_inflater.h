// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The zlib stream of one gateway connection: web socket messages in, frames out. Pure: no socket,
// clock or log. Owned by the session worker and used on its thread.
//
// One message is always exactly one frame; the flush marker at its end is not looked for. The
// stream's window lives on from frame to frame until reset().

#include <QtGlobal>

#include <zlib.h>

class DisGatewayInflater {
public:
    static constexpr quint32 initialCapacity = 65'536; // bytes; kept allocated between frames

    enum class Status {
        Frame, // data and size hold it
        StreamEnd, // the peer ended the stream
        ZlibError, // zlibError holds the code
        TooLarge, // the frame would pass the bound
    };
    struct Outcome {
        Status status = Status::ZlibError;
        char const* data = nullptr; // lives until release()
        quint32 size = 0;
        int zlibError = Z_OK;
    };

    // Memory that cannot be had ends the program, here and below.
    explicit DisGatewayInflater(quint32 maxFrame);
    ~DisGatewayInflater();
    DisGatewayInflater(DisGatewayInflater const&) = delete;
    DisGatewayInflater& operator=(DisGatewayInflater const&) = delete;

    [[nodiscard]] Outcome inflateMessage(char const* bytes, quint32 size);
    // Gives back what a large frame made the buffer grow by. Called once per message.
    void release();
    // A new connection starts a new stream. A frame that is being looked at stays where it is.
    void reset();

    quint32 capacity() const { return m_capacity; }

private:
    bool grow();

    z_stream m_stream = {};
    char* m_buffer = nullptr;
    quint32 m_capacity = 0;
    quint32 m_maxFrame = 0;
};
