// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Quick jump to the views that belong to no service. User-interface thread; needs the jump manager,
// and the notification manager while a matcher lives.

#include "jump_matcher.h"

class NakBuiltinJumpProvider : public QObject, public INakJumpProvider {
    Q_OBJECT
    Q_INTERFACES(INakJumpProvider)
public:
    explicit NakBuiltinJumpProvider(QObject* parent = nullptr); // adds itself
    ~NakBuiltinJumpProvider() override;

    NakJumpMatcher* createJumpMatcher(NakJump::MatcherCtorParams const& params) override;
};
