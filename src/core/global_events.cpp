// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "global_events.h"

NakGlobalEvents* g_globalEvents = nullptr;

NakGlobalEvents::NakGlobalEvents(QObject* parent)
    : QObject(parent)
{
}

NakGlobalEvents::~NakGlobalEvents() = default;

NakGenericConnStatus NakGlobalEvents::lastConnStatus() const
{
    return m_lastConnStatus;
}

void NakGlobalEvents::updateConnStatus(NakGenericConnStatus status)
{
    if (m_lastConnStatus == status)
        return;
    m_lastConnStatus = status;
    emit connStatusChanged(status);
}

void NakGlobalEvents::hack_setServiceConnected(NakHackAnyConnectedService::Type service,
                                               bool connected)
{
    bool const before = hack_anyServicesConnected();
    if (connected)
        m_connectedServices |= service;
    else
        m_connectedServices &= ~static_cast<quint32>(service);
    if (hack_anyServicesConnected() != before)
        emit anyServicesConnectedChanged(!before);
}

bool NakGlobalEvents::hack_anyServicesConnected() const
{
    return m_connectedServices != 0;
}

void NakGlobalEvents::addAccountConnectionProblem(QString const& /*text*/)
{
    if (m_anyConnectionProblem)
        return;
    m_anyConnectionProblem = true;
    emit anyAccountConnectionProblemChanged();
}

void NakGlobalEvents::clearAccountConnectionProblems()
{
    if (!m_anyConnectionProblem)
        return;
    m_anyConnectionProblem = false;
    emit anyAccountConnectionProblemChanged();
}

bool NakGlobalEvents::anyAccountConnectionProblem() const
{
    return m_anyConnectionProblem;
}
