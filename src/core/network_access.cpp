// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "network_access.h"

QNetworkAccessManager* g_networkAccessManager = nullptr;
