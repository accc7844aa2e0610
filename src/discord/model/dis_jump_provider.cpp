// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_jump_provider.h"

#include "dis_jump_matcher.h"
#include "jump_manager.h"

DisJumpProvider::DisJumpProvider(QObject* parent)
    : QObject(parent)
{
    NakJump::g_nakJumpManager->addJumpProvider(this);
}

DisJumpProvider::~DisJumpProvider()
{
    NakJump::g_nakJumpManager->removeJumpProvider(this);
}

NakJumpMatcher* DisJumpProvider::createJumpMatcher(NakJump::MatcherCtorParams const& params)
{
    return new DisJumpMatcher(params);
}
