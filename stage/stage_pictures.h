// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The pictures of the stand-in service, drawn when they are asked for: the same identifier gives
// the same picture. And what a bad server sends in place of pictures.

#include "stage_http.h"

#include <QSize>

namespace stage {

enum class PictureFormat { Png, Jpeg, Gif, Webp };

// A symmetric pattern of a few blocks, as pictures of people often are.
QByteArray identicon(quint64 id, int side, PictureFormat format);
// Something like a view of hills under a sun. A WebP is a PNG where no writer is installed.
QByteArray landscape(quint64 id, QSize size, PictureFormat format);

// Answers paths below /cdn/ and /media/; any other is a 404. Below /cdn/broken/ lies what must not
// hurt a client, each by its name.
HttpReply answerPicture(HttpRequest const& request);

} // namespace stage
