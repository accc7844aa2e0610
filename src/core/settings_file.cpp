// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_file.h"

#include "data_paths.h"

#include <QDir>
#include <QFile>

namespace {

bool s_hadSettingsAtLoadTime = false;

std::optional<QFont>& storedAppFont()
{
    static std::optional<QFont> font;
    return font;
}

QString geometryKey(QString const& name)
{
    return QStringLiteral("geometries/") + name;
}

QString proxyKey(char const* name)
{
    return NakSettings::proxyGroup() + QLatin1Char('/') + QLatin1String(name);
}

struct ProxyTypeName {
    QNetworkProxy::ProxyType type;
    char const* name;
};
constexpr ProxyTypeName proxyTypeNames[] = {
    { QNetworkProxy::Socks5Proxy, "socks5" },
    { QNetworkProxy::HttpProxy, "http" },
};

} // namespace

NakSettingsFile::NakSettingsFile()
    : QSettings(settingsFilePath(), QSettings::IniFormat)
{
}

QString NakSettingsFile::settingsFilePath()
{
    return NakDataPaths::appDataPath() + QDir::separator() + QStringLiteral("settings.ini");
}

bool NakSettingsFile::settingsFileExists()
{
    return QFile::exists(settingsFilePath());
}

bool NakSettingsFile::hadSettingsAtLoadTime()
{
    return s_hadSettingsAtLoadTime;
}

QByteArray NakSettingsFile::getGeometry(QString const& name) const
{
    return value(geometryKey(name)).toByteArray();
}

void NakSettingsFile::setGeometry(QString const& name, QByteArray const& geometry)
{
    setValue(geometryKey(name), geometry);
}

bool NakSettingsFile::hasGeometry(QString const& name) const
{
    return contains(geometryKey(name));
}

QString NakSettings::proxyGroup()
{
    return QStringLiteral("experimental_proxy");
}

QNetworkProxy NakSettings::tryReadProxySettings(QSettings const& settings)
{
    QNetworkProxy proxy;
    if (!settings.value(proxyKey("use_network_proxy")).toBool())
        return proxy;
    QString const typeName = settings.value(proxyKey("type")).toString();
    bool known = false;
    for (ProxyTypeName const& entry : proxyTypeNames) {
        if (typeName == QLatin1String(entry.name)) {
            proxy.setType(entry.type);
            known = true;
        }
    }
    if (!known)
        return proxy;
    proxy.setHostName(settings.value(proxyKey("hostname")).toString());
    bool isNumber = false;
    uint const port = settings.value(proxyKey("port")).toUInt(&isNumber);
    if (isNumber && port < 65536)
        proxy.setPort(static_cast<quint16>(port));
    proxy.setUser(settings.value(proxyKey("user")).toString());
    proxy.setPassword(settings.value(proxyKey("password")).toString());
    return proxy;
}

void NakSettings::tryWriteProxySettings(QSettings& settings, QNetworkProxy const& proxy)
{
    for (ProxyTypeName const& entry : proxyTypeNames) {
        if (proxy.type() != entry.type)
            continue;
        settings.setValue(proxyKey("type"), QString::fromLatin1(entry.name));
        settings.setValue(proxyKey("hostname"), proxy.hostName());
        settings.setValue(proxyKey("port"), proxy.port());
        settings.setValue(proxyKey("user"), proxy.user());
        settings.setValue(proxyKey("password"), proxy.password());
        return;
    }
    settings.remove(proxyGroup());
}

void NakSettingsFileImpl::setHadSettingsAtLoadTime(bool had)
{
    s_hadSettingsAtLoadTime = had;
}

void NakSettingsImpl::setAppFontBeforeOverride(QFont const& font)
{
    storedAppFont() = font;
}

std::optional<QFont> const& NakSettingsImpl::appFontBeforeOverride()
{
    return storedAppFont();
}
