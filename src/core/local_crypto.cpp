// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "local_crypto.h"

#include "fatal_box.h"

#include <QCoreApplication>

#include <cstdlib>

void NakLocalCrypto::init() { }

void NakLocalCrypto::deinit() { }

bool NakLocalCrypto::isAvailable()
{
    return false;
}

bool NakLocalCrypto::encrypt(QByteArray* /*out*/, QByteArray const& /*in*/)
{
    return false;
}

bool NakLocalCrypto::decrypt(QByteArray* /*out*/, QByteArray const& /*in*/)
{
    return false;
}

bool NakLocalCrypto::encrypt(QByteArray* /*inOut*/)
{
    return false;
}

bool NakLocalCrypto::decrypt(QByteArray* /*inOut*/)
{
    return false;
}

void NakLocalCrypto::exitWithCryptoFailure()
{
    exitWithFatalError(QCoreApplication::translate(
        "NakLocalCrypto", "Encryption operation failed unexpectedly. It's not safe to continue."));
}

void NakLocalCrypto::exitWithFatalError(QString const& text)
{
    NakFatalBox::Message message;
    message.title = QCoreApplication::translate("NakLocalCrypto", "Nakwire - Credentials Error");
    message.text = text;
    message.button = NakFatalBox::Button::Quit;
    NakFatalBox::show(message);
    std::_Exit(1); // threads are still running, so nothing may be torn down under them
}
