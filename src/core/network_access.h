// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one shared network manager of the user-interface thread. Set and cleared in src/app.

class QNetworkAccessManager;

extern QNetworkAccessManager* g_networkAccessManager;
