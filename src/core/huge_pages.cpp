// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "huge_pages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

void HugePages::prefer(void* block, size_t size)
{
    if (size < ownMapping)
        return;
    auto const page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    auto const start = (reinterpret_cast<uintptr_t>(block) + page - 1) & ~(page - 1);
    auto const end = (reinterpret_cast<uintptr_t>(block) + size) & ~(page - 1);
    madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
}
