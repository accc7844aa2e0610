// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one shared network manager of the user-interface thread. Set by src/app once the first window
// is on screen, before accounts may connect, and cleared at the end.

class QNetworkAccessManager;

extern QNetworkAccessManager* g_networkAccessManager;
