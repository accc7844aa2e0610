// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any text as a stored and as a typed message: the pieces of a stored message cover it, and both
// readers come to an end with views into the text.

#include "message_dump.h"

#include <cstdio>
#include <cstdlib>

namespace {

void readText(QString const& text)
{
    if (!displayCovers(QStringRef(&text))) {
        fprintf(stderr, "fuzz_markup: the pieces do not cover the message\n");
        abort();
    }
    displayDump(text);
    inputDump(text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    readText(QString::fromUtf8(reinterpret_cast<char const*>(data), static_cast<int>(size)));
    // As UTF-16 too, which may hold halves of characters.
    QString wide(static_cast<int>(size / sizeof(QChar)), Qt::Uninitialized);
    memcpy(wide.data(), data, size / sizeof(QChar) * sizeof(QChar));
    readText(wide);
    return 0;
}
