// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "session.h"

#include "dump.h"

#include <QtEndian>

#include <zlib.h>

std::vector<std::string> inflatedSession()
{
    std::vector<std::string> frames;
    std::string const stream = readFile("gateway/session.zstream");
    std::string room(1 << 20, '\0');
    z_stream inflater{};
    inflateInit(&inflater);
    for (std::size_t at = 0; at + 4 <= stream.size();) {
        quint32 const length = qFromBigEndian<quint32>(stream.data() + at);
        inflater.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stream.data() + at + 4));
        inflater.avail_in = length;
        inflater.next_out = reinterpret_cast<Bytef*>(&room[0]);
        inflater.avail_out = static_cast<uInt>(room.size());
        if (inflate(&inflater, Z_SYNC_FLUSH) != Z_OK || inflater.avail_in != 0) {
            break;
        }
        frames.push_back(room.substr(0, room.size() - inflater.avail_out));
        at += 4 + length;
    }
    inflateEnd(&inflater);
    return frames;
}
