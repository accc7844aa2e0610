// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one way in which an address that came from outside leaves for the desktop's browser.
// User-interface thread only.

class QUrl;

namespace NakOpenUrl {

// Whether open() would pass the address on: a valid http or https address with a host, and without
// a name or password in it.
bool isAllowed(QUrl const& url);

// False if the address is not allowed or the desktop would not take it.
bool open(QUrl const& url);

} // namespace NakOpenUrl
