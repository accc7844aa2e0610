// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a client needs to find the stage: the deployment file with every address, and a data
// directory with a ready account and a tab on one channel.

#include <QString>

namespace stage {

class Stage;

// Every address points to the stage's ports on loopback, those of services that it does not play
// too.
[[nodiscard]] bool writeDeployment(QString const& path, Stage const& stage);

// Makes DIR/Nakwire with the account file and the settings. An account file that is there already
// is never replaced: then this fails.
[[nodiscard]] bool writeDataHome(QString const& directory, QString const& token, quint64 channel);

} // namespace stage
