// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

// The frames of tests/data/gateway/session.zstream, inflated through one zlib stream.
std::vector<std::string> inflatedSession();
