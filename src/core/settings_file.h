// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// settings.ini, and the values in it that need a conversion. User-interface thread only.

#include <QFont>
#include <QNetworkProxy>
#include <QSettings>

#include <optional>

class QEvent;

// Made anew on the stack at each use, and never kept: what was set is written when it goes.
class NakSettingsFile : public QSettings {
public:
    NakSettingsFile();
    ~NakSettingsFile() override;

    static QString settingsFilePath();
    static bool settingsFileExists();

    // False when the last load of the preferences was that of a first run.
    static bool hadSettingsAtLoadTime();

    // Saved geometries of windows, by the window's name.
    QByteArray getGeometry(QString const& name) const;
    void setGeometry(QString const& name, QByteArray const& geometry);
    bool hasGeometry(QString const& name) const;

protected:
    // Writes, and puts the old file back when the new one is not whole: on a full disk the base
    // class takes a part of a file for a file.
    bool event(QEvent* event) override;

private:
    bool isWholeInFile() const;
};

namespace NakSettings {

// The group of keys that the two functions below share with the preferences.
QString proxyGroup();

// A default proxy when no proxy is in use; the user and the password come as the user typed them.
QNetworkProxy tryReadProxySettings(QSettings const& settings);
// Only SOCKS 5 and HTTP proxies can be stored; any other type removes the group.
void tryWriteProxySettings(QSettings& settings, QNetworkProxy const& proxy);

} // namespace NakSettings

namespace NakSettingsFileImpl {
void setHadSettingsAtLoadTime(bool had);

// What a process that was killed while it wrote leaves beside the file. A lock among it would hold
// up the next write for half a minute. Only while no other process uses the directory.
void removeLeftovers();
}

namespace NakSettingsImpl {

// The application's font as it was before the user's own replaced it; it has a value exactly while
// an override is in force.
void setAppFontBeforeOverride(QFont const& font);
void clearAppFontBeforeOverride();
std::optional<QFont> const& appFontBeforeOverride();

} // namespace NakSettingsImpl
