// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The parts of an image dispenser that do not depend on what it dispenses.

#include <QByteArray>
#include <QImage>
#include <QVector>

class NakPooledReply;
class QNetworkReply;
class QNetworkRequest;
class QUrl;

namespace DispensedImage {

QNetworkRequest requestFor(QUrl const& url);

// Empty, with a line in the log, if the request failed.
QByteArray takeBody(NakPooledReply* pooled, QNetworkReply* reply);

// The picture at each height (device-independent), in that order, as squares; none, with a line in
// the log, if it cannot be decoded. cornerRadius is a share of the height. Runs on the pool.
QVector<QImage> process(QByteArray const& imageData, QVector<int> const& heights, qreal density,
                        double cornerRadius);

} // namespace DispensedImage
