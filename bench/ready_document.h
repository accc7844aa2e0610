// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A READY dispatch of a large account, as the gateway would write it: binary keys, identifiers as
// 64-bit numbers. The same shape and seed always give the same bytes.

#include <QByteArray>

struct ReadyShape {
    int guilds = 100;
    int channelsPerGuild = 120;
    int rolesPerGuild = 30;
    int membersPerGuild = 200;
    int emojisPerGuild = 30;
    int readStatesPerGuild = 60;
    int privateChannels = 150;
    quint64 ownUser = 80351110224678912;
};

struct ReadyDocument {
    QByteArray etf; // a whole frame, from the version byte on
    quint64 terms = 0;
};

ReadyDocument makeReadyDocument(ReadyShape const& shape = {}, quint64 seed = 1);

// The frame as the gateway sends it: zlib at its usual level, ended by a sync flush.
QByteArray deflateFrame(QByteArray const& frame);
