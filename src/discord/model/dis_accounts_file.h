// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The file of the stored accounts, which is the store of their tokens: written with rights for the
// owner alone before its first byte, whole or not at all. User-interface thread.
//
// A big-endian QDataStream of version 17: a signed 32-bit format, 1 plain or 2 encrypted, then the
// body: a signed 32-bit count and that many variants, each a map. Format 2 has the body within one
// byte array that the platform's protection made.

#include "flake_id.h"

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <QVector>

#include <optional>

namespace DisAccountsFile {

// There is no debug operator on purpose: the token must not reach a log.
struct Record {
    QString userName;
    QString discriminator;
    QString authToken;
    QString cachedGatewayUrl;
    FlakeId userId;
    QString avatarName;
    qint32 authTokenState = 0;
    bool autoConnect = false;
};

// --- codec ---
// Empty text and an invalid id are left out.
QVariantMap toVariantMap(Record const& record);
Record fromVariantMap(QVariantMap const& map);
QByteArray encodeBody(QVector<Record> const& records);
// Nothing if the bytes are not exactly one body. Bounded in count and depth.
[[nodiscard]] std::optional<QVector<Record>> parseBody(QByteArray const& bytes);

// --- file ---
// Without records the file is removed. False, with a line in the log, if it could not be written:
// what was there before is there still.
bool save(QString const& path, QVector<Record> const& records);

struct Loaded {
    QVector<Record> records;
    // The file holds what could not be read and could not be set aside: it must not be overwritten.
    bool blocked = false;
    // For a box that the user must see; null if there is none.
    QString warningTitle;
    QString warningText;
};

// A missing file gives no records. One that cannot be read is set aside under another name, with a
// line in the log. What an interrupted save left behind is removed.
Loaded load(QString const& path);

} // namespace DisAccountsFile
