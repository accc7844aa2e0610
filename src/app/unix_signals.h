// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Turns SIGTERM and SIGINT into a Qt signal. One object per process, user-interface thread. Of
// each only the first is caught: a second one ends the process at once, should the quit hang.

#include <QObject>

class NakUnixSignals : public QObject {
    Q_OBJECT
public:
    explicit NakUnixSignals(QObject* parent);
    ~NakUnixSignals() override;

signals:
    void quitRequested();

private:
    void install();
    void readSignal();
};
