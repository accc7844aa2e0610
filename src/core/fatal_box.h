// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The last words of a program that cannot go on. This room has no widgets, so the box itself is put
// in by src/app; before that, and in tests, the text goes to standard error.

#include <QString>

namespace NakFatalBox {

enum class Button { Ok, Close, Quit };

struct Message {
    QString title;
    QString text;
    QString informativeText;
    QString detailedText;
    Button button = Button::Ok; // the only one
};

// Shows a modal box with the critical icon and returns when it is answered.
using Show = void (*)(Message const&);
void setShow(Show show);

// Application thread only. Ending the process is the caller's business.
void show(Message const& message);

} // namespace NakFatalBox
