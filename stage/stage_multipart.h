// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Forms with files in them, as browsers and clients upload them. Pure.

#include <QByteArray>
#include <QString>

#include <vector>

namespace stage {

struct FormPart {
    QByteArray name;
    QString filename;
    QByteArray body;
};
// The parts of a multipart/form-data body; empty if it is damaged.
std::vector<FormPart> parseMultipart(QByteArray const& body, QByteArray const& contentType);

} // namespace stage
