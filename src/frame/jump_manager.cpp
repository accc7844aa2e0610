// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "jump_manager.h"

#include "jump_matcher.h"

NakJumpManager* NakJump::g_nakJumpManager = nullptr;

NakJumpManager::NakJumpManager(QObject* parent)
    : QObject(parent)
{
}

NakJumpManager::~NakJumpManager() = default;

void NakJumpManager::addJumpProvider(QObject* provider)
{
    Q_ASSERT(qobject_cast<INakJumpProvider*>(provider));
    if (m_providers.contains(provider))
        return;
    m_providers.append(provider);
    emit providerAdded(provider);
}

void NakJumpManager::removeJumpProvider(QObject* provider)
{
    if (m_providers.removeOne(provider))
        emit providerRemoved(provider);
}
