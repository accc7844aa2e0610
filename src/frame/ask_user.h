// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Boxes that do not hold up the program: the answer comes later, and never after the parent is
// gone. What they say is plain text. User-interface thread.

#include <QString>

#include <functional>

class QWidget;

struct NakQuestion {
    QString title;
    QString text;
    QString confirm; // on the button that means yes
};

namespace NakAsk {

void ask(QWidget* parent, NakQuestion const& question, std::function<void()> const& onYes);
// Something that the user asked for could not be done.
void tellProblem(QWidget* parent, QString const& title, QString const& text);

} // namespace NakAsk
