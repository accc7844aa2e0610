// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Quick jump to channels of guilds and to people. User-interface thread; needs the jump manager,
// g_disClient, g_disManager, and g_disAvatarImages for pictures.

#include "jump_matcher.h"

class DisJumpProvider : public QObject, public INakJumpProvider {
    Q_OBJECT
    Q_INTERFACES(INakJumpProvider)
public:
    explicit DisJumpProvider(QObject* parent = nullptr); // adds itself
    ~DisJumpProvider() override;

    NakJumpMatcher* createJumpMatcher(NakJump::MatcherCtorParams const& params) override;
};
