// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one way in which an address that came from outside leaves for the desktop's browser, and a
// folder for its file manager.
// User-interface thread only.

class QString;
class QUrl;

namespace NakOpenUrl {

// Whether open() would pass the address on: a valid http or https address with a host, and without
// a name or password in it.
bool isAllowed(QUrl const& url);

// False if the address is not allowed or the desktop would not take it.
bool open(QUrl const& url);

// Shows a folder of the program's own. False if the desktop has nothing that shows folders.
bool openOwnFolder(QString const& path);

} // namespace NakOpenUrl
