// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What NakGo asks of the windows: which one shows a place, and how it comes to the front.
// User-interface thread. Made by src/app, which hands it to NakGo::setWindowHost.

#include "nak_go.h"

class NakChatWindow;

class NakWindowHost : public NakGo::IWindowHost {
public:
    ~NakWindowHost() override;

    void openNavLoc(NakNavLoc const& place, NakGo::OpenMode mode, QWidget* origin) override;
    void openNavLocAsIfFromNotification(NakNavLoc const& place) override;
    void activateAnyChatWindow() override;
    QList<QWidget*> chatWindows() const override;
};

namespace NakGo {

// The active chat window, else the first that is not minimized, else the first, else null.
NakChatWindow* mostViableWindow();

} // namespace NakGo
