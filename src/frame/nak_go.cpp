// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_go.h"

namespace {

NakGo::IWindowHost* g_windowHost = nullptr;

} // namespace

NakGo::IWindowHost::~IWindowHost() = default;

void NakGo::setWindowHost(IWindowHost* host)
{
    g_windowHost = host;
}

void NakGo::openNavLoc(NakNavLoc const& place, OpenMode mode, QWidget* origin)
{
    if (g_windowHost)
        g_windowHost->openNavLoc(place, mode, origin);
}

void NakGo::openNavLocAsIfFromNotification(NakNavLoc const& place)
{
    if (g_windowHost)
        g_windowHost->openNavLocAsIfFromNotification(place);
}

void NakGo::activateAnyChatWindow()
{
    if (g_windowHost)
        g_windowHost->activateAnyChatWindow();
}

QList<QWidget*> NakGo::chatWindows()
{
    return g_windowHost ? g_windowHost->chatWindows() : QList<QWidget*>();
}
