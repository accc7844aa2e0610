// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The process-wide signal hub. User-interface thread only.

#include <QObject>

// The overall state of the connections, as the frame shows it.
enum class NakGenericConnStatus : quint32 {
    None = 0,
    Disconnected = 1,
    Connecting = 2,
    Connected = 3,
    Reconnecting = 4,
    Disconnecting = 5,
};

namespace NakHackAnyConnectedService {
enum Type : quint32 { Discord = 1, Slack = 2 }; // bits
}

class NakGlobalEvents : public QObject {
    Q_OBJECT
public:
    explicit NakGlobalEvents(QObject* parent = nullptr);
    ~NakGlobalEvents() override;

    NakGenericConnStatus lastConnStatus() const;
    // Emits connStatusChanged only when the status differs from the stored one.
    void updateConnStatus(NakGenericConnStatus status);

    // Emits anyServicesConnectedChanged only when whether some service is connected changed.
    void hack_setServiceConnected(NakHackAnyConnectedService::Type service, bool connected);
    bool hack_anyServicesConnected() const;

    // The text is for the caller's own log; the hub keeps only that there is a problem.
    void addAccountConnectionProblem(QString const& text);
    void clearAccountConnectionProblems();
    bool anyAccountConnectionProblem() const;

signals:
    void preferencesChanged();
    void connStatusChanged(NakGenericConnStatus const& status);
    void disconnectAllAccounts();
    void clearAllUnreads();
    void anyServicesConnectedChanged(bool any);
    void anyAccountConnectionProblemChanged();
    void machineMayHaveAwoken();
    void accountAutoOnlineBecameOk();

private:
    NakGenericConnStatus m_lastConnStatus = NakGenericConnStatus::None;
    quint32 m_connectedServices = 0;
    bool m_anyConnectionProblem = false;
};

// Set and cleared in src/app.
extern NakGlobalEvents* g_globalEvents;
