// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell_host.h"

namespace {

IShellHost* g_shellHost = nullptr;

} // namespace

IShellHost::~IShellHost() = default;

void NakShell::setHost(IShellHost* host)
{
    g_shellHost = host;
}

IShellHost* NakShell::host()
{
    return g_shellHost;
}
