// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "data_paths.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

QString NakDataPaths::appDataPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
}

QString NakDataPaths::appDataPathCreated()
{
    QString path = appDataPath();
    QDir const directory(path);
    if (!directory.exists()) {
        directory.mkpath(QStringLiteral("."));
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    return path;
}
