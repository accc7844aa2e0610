// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Scripted life on a stage: people type and talk, react, edit and delete, come online and go, join
// and leave. The order of events follows from the seed; a timer only says how far the script has
// come.

#include <QObject>

#include <memory>

namespace stage {

class Stage;

struct LifeOptions {
    double messagesPerSecond = 1;
    quint64 channel = 0; // everything is said there; 0 for all channels
    int busyPercent = 40; // otherwise this share falls to the busy channel
    quint64 seed = 1;
};

class Life : public QObject {
    Q_OBJECT
public:
    Life(Stage& stage, LifeOptions const& options, QObject* parent = nullptr);
    ~Life() override;

    void start();
    void stop();
    // Plays the script for that much time, in milliseconds; what start() does by the clock.
    void advance(qint64 ms);
    // Messages said so far.
    quint64 said() const;

private:
    struct Priv;
    std::unique_ptr<Priv> m_priv;
};

enum class Fault { Drop, Close, Reconnect, Invalidate, Garbage };

// "drop", "close", "op7", "op9" or "garbage"; false for any other text.
bool parseFault(QString const& text, Fault* out);
void applyFault(Stage& stage, Fault fault);

} // namespace stage
