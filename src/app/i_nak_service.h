// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A service plugin, which is a QObject too. The application makes it, and asks it to go down when
// the program quits. Windows reach a service by its own singletons, never by this.

#include <QtPlugin>

class INakService {
public:
    virtual ~INakService() = default;

    // Begins to go down: the object deletes itself when it has. Called once.
    virtual void deinit() = 0;
};

Q_DECLARE_INTERFACE(INakService, "Nakwire.INakService")
