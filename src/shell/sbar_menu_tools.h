// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the menus of the side bar share.

#include <QString>

#include <functional>

class QAction;
class QMenu;

namespace NakSbar {

// The text is a pattern in which %1 stands for a name from outside; one without a name needs none.
QAction* addMenuAction(QMenu* menu, char const* pattern, QString const& name,
                       std::function<void()> const& effect);

} // namespace NakSbar
