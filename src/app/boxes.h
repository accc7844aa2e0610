// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The message boxes of the application itself. Everything in them is plain text. User-interface
// thread.

#include "fatal_box.h"

#include <QString>

namespace NakBoxes {

// Modal; what lower rooms show before the process ends.
void showFatal(NakFatalBox::Message const& message);

// Modal, with a choice; true if the user forces the start.
bool askToForceStart(QString const& lockFilePath);
// True if the user goes on without a lock.
bool askToIgnoreLockFailure();

// Modal; the program goes on. Whether each of the two libraries was found.
void tellOpenSslIsMissing(bool cryptoFound, bool sslFound);

// Not modal; deletes itself when it is closed.
void tell(QString const& title, QString const& text, bool critical);

} // namespace NakBoxes
