// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A channel of so many messages in a store, and a buffer of 1000 by 900 pixels on it, on the
// offscreen platform. A step is a click of the wheel up to the painted window.

#include <QString>

#include <memory>

class DisChanBuff;

class ScrollScene {
public:
    explicit ScrollScene(int messages = 100000);
    ~ScrollScene();

    DisChanBuff& buffer();
    // Of another channel, and back: what opening costs.
    void leaveChannel();
    void openChannel();
    void wheel(int clicks);
    // Whether the same groups are shown as when this was last called.
    bool sameGroups();

private:
    struct Priv;
    std::unique_ptr<Priv> m_priv;
};

// The ways to leave a bench whose scene is not what it measures.
[[noreturn]] void stopBench(char const* why);
