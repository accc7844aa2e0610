// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "fatal_box.h"

#include <cstdio>

namespace {

NakFatalBox::Show s_show = nullptr;

void showOnStandardError(NakFatalBox::Message const& message)
{
    for (QString const& part :
         { message.title, message.text, message.informativeText, message.detailedText }) {
        if (!part.isEmpty())
            std::fprintf(stderr, "%s\n", part.toLocal8Bit().constData());
    }
}

} // namespace

void NakFatalBox::setShow(Show show)
{
    s_show = show;
}

void NakFatalBox::show(Message const& message)
{
    if (s_show)
        s_show(message);
    else
        showOnStandardError(message);
}
