// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The door to a platform's own protection of stored credentials. There is none on Linux, by design:
// nothing is available, and nothing is touched. User-interface thread only.

#include <QByteArray>
#include <QString>

namespace NakLocalCrypto {

void init();
void deinit();

// While this is false, credentials are stored as plain data in files for their owner alone.
bool isAvailable();

// False, with nothing touched, when it did not work.
[[nodiscard]] bool encrypt(QByteArray* out, QByteArray const& in);
[[nodiscard]] bool decrypt(QByteArray* out, QByteArray const& in);
[[nodiscard]] bool encrypt(QByteArray* inOut);
[[nodiscard]] bool decrypt(QByteArray* inOut);

// A box, then the end of the process with exit status 1.
[[noreturn]] void exitWithCryptoFailure();
[[noreturn]] void exitWithFatalError(QString const& text);

} // namespace NakLocalCrypto
