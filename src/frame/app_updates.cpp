// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_updates.h"

#include <QtGlobal>

bool NakAppUpdates::isForcefullyDisabled = false;

void NakAppUpdates::readEnvironment()
{
    bool isNumber = false;
    int const value = qEnvironmentVariableIntValue("NAKWIRE_ALLOW_UPDATES", &isNumber);
    isForcefullyDisabled = isNumber && value == 0;
}
