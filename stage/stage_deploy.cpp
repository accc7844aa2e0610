// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_deploy.h"

#include "stage.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QVariantMap>

namespace stage {

namespace {

constexpr qint32 kPlainFormat = 1;
constexpr int kTokenUnverified = 1;

// The stream that account files are: the format, the count, a map of variants per account.
QByteArray accountBytes(QString const& token)
{
    QByteArray out;
    QDataStream stream(&out, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_9);
    QVariantMap const account{
        { QStringLiteral("auth_token"), token },
        { QStringLiteral("auth_token_state"), kTokenUnverified },
        { QStringLiteral("auto_connect"), true },
    };
    stream << kPlainFormat << qint32(1) << QVariant(account);
    return out;
}

bool writeAccounts(QString const& path, QString const& token)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return false;
    // Before the first byte, since the token is in it.
    if (!file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    QByteArray const bytes = accountBytes(token);
    return file.write(bytes) == bytes.size() && file.flush();
}

QString tabsText(quint64 channel)
{
    QJsonObject const place{ { QStringLiteral("type"), QStringLiteral("channel") },
                             { QStringLiteral("channel_id"), QString::number(channel) } };
    QJsonObject const tab{ { QStringLiteral("type"), QStringLiteral("discord") },
                           { QStringLiteral("data"), place } };
    QJsonObject const tabs{ { QStringLiteral("version"), 2 },
                            { QStringLiteral("tabs"), QJsonArray{ tab } },
                            { QStringLiteral("foreground_index"), 0 } };
    return QString::fromUtf8(QJsonDocument(tabs).toJson(QJsonDocument::Compact));
}

} // namespace

bool writeDeployment(QString const& path, Stage const& stage)
{
    QFile::remove(path);
    QSettings file(path, QSettings::IniFormat);
    QString const web = QStringLiteral("http://127.0.0.1:%1").arg(stage.httpPort());
    auto const set = [&file](char const* key, QString const& value) {
        file.setValue(QString::fromLatin1(key), value);
    };
    set("discord/api_url", stage.apiUrl());
    set("discord/cdn_url", stage.cdnUrl());
    set("discord/media_url", stage.mediaUrl());
    set("discord/images_url_pattern", QStringLiteral("^http://127\\.0\\.0\\.1:\\d+/external/"));
    set("discord/voice_url", stage.gatewayUrl() + QStringLiteral("/voice"));
    set("slack/rtm_url", stage.gatewayUrl() + QStringLiteral("/rtm"));
    set("slack/api_url", web + QStringLiteral("/slack/%1/api/"));
    set("slack/web_url", web + QStringLiteral("/slack/%1"));
    set("slack/domain", QStringLiteral("127.0.0.1"));
    set("slack/image_proxy_url", web + QStringLiteral("/slack/image"));
    set("updates/check_url", web + QStringLiteral("/updates"));
    set("updates/website_url", web + QStringLiteral("/website"));
    set("program/project_url", web + QStringLiteral("/project"));
    file.sync();
    return file.status() == QSettings::NoError;
}

bool writeDataHome(QString const& directory, QString const& token, quint64 channel)
{
    QString const home = directory + QStringLiteral("/Nakwire");
    if (!QDir().mkpath(home)
        || !QFile::setPermissions(home, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)
        || !writeAccounts(home + QStringLiteral("/nakwire_accounts.bin"), token))
        return false;
    QSettings settings(home + QStringLiteral("/settings.ini"), QSettings::IniFormat);
    settings.setValue(QStringLiteral("layout/tabs"), tabsText(channel));
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace stage
