// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Large blocks of malloc that are touched for the first time from one end to the other. In pages of
// the usual size the faults take longer than what is done with the bytes. Any thread.

#include <cstddef>

namespace HugePages {

// From this size on malloc always maps a block of its own, whatever came before.
constexpr size_t ownMapping = size_t(32) << 20; // bytes

// Only a wish: without it everything works, slower. Nothing for a block below ownMapping.
void prefer(void* block, size_t size);

} // namespace HugePages
