// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Door: what windows ask of the application, which lies above them. User-interface thread.

class IShellHost {
public:
    virtual ~IShellHost();

    // A chat window came on screen; the first one lets accounts connect by themselves.
    virtual void hack_chatWindowShown() = 0;
    // A chat window is gone; the last one may end the program.
    virtual void chatWindowClosed() = 0;
    virtual void beginQuit() = 0;
    virtual bool didBeginQuit() const = 0;
};

namespace NakShell {

// Set at start and cleared at the end by src/app; not owned. Without one nobody is told.
void setHost(IShellHost* host);
IShellHost* host();

} // namespace NakShell
