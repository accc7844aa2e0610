// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A connection's zlib stream from the server's side: frames in, web socket messages out.

#include <QByteArray>

#include <zlib.h>

class Deflater {
public:
    static constexpr int gzip = 16 + MAX_WBITS; // as REST replies come

    explicit Deflater(int windowBits = MAX_WBITS)
    {
        deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, windowBits, MAX_MEM_LEVEL,
                     Z_DEFAULT_STRATEGY);
    }
    ~Deflater() { deflateEnd(&m_stream); }
    Deflater(Deflater const&) = delete;
    Deflater& operator=(Deflater const&) = delete;

    void reset() { deflateReset(&m_stream); }

    QByteArray message(QByteArray const& frame, int flush = Z_SYNC_FLUSH)
    {
        QByteArray out(static_cast<int>(deflateBound(&m_stream, frame.size())) + 64, '\0');
        m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(frame.constData()));
        m_stream.avail_in = static_cast<uInt>(frame.size());
        m_stream.next_out = reinterpret_cast<Bytef*>(out.data());
        m_stream.avail_out = static_cast<uInt>(out.size());
        deflate(&m_stream, flush);
        out.resize(out.size() - static_cast<int>(m_stream.avail_out));
        return out;
    }

private:
    z_stream m_stream = {};
};
