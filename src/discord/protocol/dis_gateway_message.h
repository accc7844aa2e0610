// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a frame of the gateway asks of the session's worker. On the worker's thread.

#include "dread.h"
#include "erf.h"

class DisSessionWorker;

namespace DisClientImpl {

// One decoded frame. The tree lives only while the frame is handled; what outlives it is copied.
struct ErfToDreadTaskData {
    Dread::Ctx ctx;
    Dread::VMap root;
    Erf::PrepData prepared; // what the tree's strings live on
};

// Handles one frame: the opcodes, and for a dispatch the event.
void processGatewayMessage(DisSessionWorker& worker, ErfToDreadTaskData const& task);

} // namespace DisClientImpl
