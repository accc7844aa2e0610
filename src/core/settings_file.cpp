// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_file.h"

#include "data_paths.h"
#include "event_log.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>

#include <unistd.h>

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

// A second name of a file, for as long as this lives.
class Link {
public:
    Link(QString const& file, char const* suffix)
        : m_path(file + QLatin1Char('.') + QLatin1String(suffix))
    {
        QFile::remove(m_path); // of a process that was killed
        m_exists = ::link(QFile::encodeName(file).constData(), name().constData()) == 0;
    }
    ~Link() { QFile::remove(m_path); }
    Link(Link const&) = delete;
    Link& operator=(Link const&) = delete;

    QString path() const { return m_path; }
    bool exists() const { return m_exists; }
    void takePlaceOf(QString const& file) const
    {
        ::rename(name().constData(), QFile::encodeName(file).constData());
    }

private:
    QByteArray name() const { return QFile::encodeName(m_path); }

    QString m_path;
    bool m_exists = false;
};

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

// The base class posts itself an event when there is something to write, and its destructor would
// write without it.
NakSettingsFile::~NakSettingsFile()
{
    QCoreApplication::sendPostedEvents(this, QEvent::UpdateRequest);
}

bool NakSettingsFile::event(QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    // Links take no room on the disk.
    Link const kept(fileName(), "kept");
    bool const taken = QSettings::event(event);
    if (kept.exists() && !isWholeInFile()) {
        kept.takePlaceOf(fileName());
        EvLogGlobal::addLogEvent(
            EvLog::Category::Application, EvLog::Severity::Error,
            QCoreApplication::translate(
                "NakSettingsFile", "The settings could not be written; the old ones are kept"));
    }
    return taken;
}

// A file that was cut short ends amid a line or lacks keys.
bool NakSettingsFile::isWholeInFile() const
{
    QFile file(fileName());
    if (!file.open(QIODevice::ReadOnly) || (file.size() > 0 && !file.readAll().endsWith('\n')))
        return false;
    Link const other(fileName(), "new"); // under its own name it would be what is in memory
    return QSettings(other.path(), QSettings::IniFormat).allKeys() == allKeys();
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

void NakSettingsFileImpl::removeLeftovers()
{
    QFileInfo const file(NakSettingsFile::settingsFilePath());
    QDir directory = file.dir();
    auto const leftovers = directory.entryList({ file.fileName() + QLatin1String(".*") });
    for (QString const& name : leftovers)
        directory.remove(name);
}

void NakSettingsImpl::setAppFontBeforeOverride(QFont const& font)
{
    storedAppFont() = font;
}

void NakSettingsImpl::clearAppFontBeforeOverride()
{
    storedAppFont().reset();
}

std::optional<QFont> const& NakSettingsImpl::appFontBeforeOverride()
{
    return storedAppFont();
}
