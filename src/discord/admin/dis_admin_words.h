// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the windows of the administration say of requests, invites and the audit log. Pure, but for
// the store behind names.

#include "flake_id.h"

#include <QString>

class DisRequest;

namespace DisAdminWords {

// Why a request that has finished came to nothing; empty if it did not.
QString problem(DisRequest const& request);

// The address that others open to take an invite.
QString inviteLink(QString const& code);
// The code in what somebody typed or pasted, a link or the code itself; empty if it is none.
QString inviteCodeOf(QString const& input);
// "1 day", or that it never ends.
QString validity(qint64 seconds);

// What was done, by the service's number of it.
QString auditAction(qint32 type);

// As people read it where they are; empty for an invalid one.
QString moment(QDateTime const& when);

} // namespace DisAdminWords
