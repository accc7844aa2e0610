// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the menus of the side bar share.

#include "ask_user.h"

#include <functional>

class QAction;
class QMenu;
class QWidget;

namespace NakSbar {

// The text is a pattern in which %1 stands for a name from outside; one without a name needs none.
QAction* addMenuAction(QMenu* menu, char const* pattern, QString const& name,
                       std::function<void()> const& effect);

using Question = NakQuestion;
using NakAsk::ask;

// What is left of the text as a folder's name; nothing if it is none.
QString folderNameOf(QString const& text);
// Asks for a folder's name. What comes is neither empty nor overlong.
void askFolderName(QWidget* parent, QString const& title, QString const& preset,
                   std::function<void(QString const& name)> const& onName);

} // namespace NakSbar
