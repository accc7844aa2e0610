// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Says how the connections stand, at the right of the bottom bar. Follows g_globalEvents.

#include "global_events.h"

#include <QLabel>

class NakConnStatusLabel : public QLabel {
    Q_OBJECT
public:
    explicit NakConnStatusLabel(QWidget* parent = nullptr);

private:
    void showStatus(NakGenericConnStatus status);
};
