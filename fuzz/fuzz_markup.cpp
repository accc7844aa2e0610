// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any text as a stored and as a typed message: the readers agree with the plain ones.

#include "plain_parse.h"

#include <cstdio>
#include <cstdlib>

namespace {

void check(bool holds, char const* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_markup: %s\n", what);
        abort();
    }
}

void readText(QString const& text)
{
    check(displayDump(text) == plainDisplayDump(text), "a stored message reads differently");
    check(inputDump(text) == plainInputDump(text), "a typed message reads differently");
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
