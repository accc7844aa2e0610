// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Which picture of the web stands for a row of a message's pictures, and how large its place is.
// Pure.

#include <QSize>
#include <QString>
#include <QUrl>

struct NakDeployment;

// As the store has it; sizes are whatever a message claims.
struct DisBuffPictureRow {
    QString url;
    QString thumbnail;
    int width = 0;
    int height = 0;
};

struct DisBuffPicture {
    QUrl source; // what is fetched: small, where its server makes it small
    QUrl original; // what a click opens
    QString name;
    QSize size; // of the place, device-independent; never empty
};

namespace DisBuffPictures {

constexpr QSize maxSize(400, 300);
constexpr QSize unknownSize(200, 150); // of one whose message does not tell

DisBuffPicture pictureOf(DisBuffPictureRow const& row, NakDeployment const& deployment);

} // namespace DisBuffPictures
