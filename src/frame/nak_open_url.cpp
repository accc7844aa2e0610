// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_open_url.h"

#include <QDesktopServices>
#include <QUrl>

bool NakOpenUrl::isAllowed(QUrl const& url)
{
    bool const web =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    return web && url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty();
}

bool NakOpenUrl::open(QUrl const& url)
{
    return isAllowed(url) && QDesktopServices::openUrl(url);
}

bool NakOpenUrl::openOwnFolder(QString const& path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}
