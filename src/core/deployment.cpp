// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "deployment.h"

#include <QFile>
#include <QSettings>

NakDeployment const* g_deployment = nullptr;

std::vector<NakDeploymentEntry> const& deploymentEntries()
{
    static std::vector<NakDeploymentEntry> const entries{
        { "discord/api_url", &NakDeployment::discordApiUrl, "https://discord.com/api/v6" },
        { "discord/cdn_url", &NakDeployment::discordCdnUrl, "https://cdn.discordapp.com" },
        { "discord/media_url", &NakDeployment::discordMediaUrl, "https://media.discordapp.net" },
        { "discord/images_url_pattern", &NakDeployment::discordImagesUrlPattern,
          R"(^https://images-ext-\d+\.discordapp\.net/)" },
        { "discord/invite_url", &NakDeployment::discordInviteUrl, "https://discord.gg" },
        { "discord/voice_url", &NakDeployment::discordVoiceUrl, "wss://%1" },
        { "slack/rtm_url", &NakDeployment::slackRtmUrl, "wss://wss-primary.slack.com/" },
        { "slack/api_url", &NakDeployment::slackApiUrl, "https://%1.slack.com/api/" },
        { "slack/web_url", &NakDeployment::slackWebUrl, "https://%1.slack.com" },
        { "slack/domain", &NakDeployment::slackDomain, "slack.com" },
        { "slack/image_proxy_url", &NakDeployment::slackImageProxyUrl, "https://slack-imgs.com/" },
        { "updates/check_url", &NakDeployment::updatesCheckUrl,
          "https://nakwire.invalid/updates/v1" },
        { "updates/website_url", &NakDeployment::updatesWebsiteUrl, "https://nakwire.invalid/" },
        { "program/project_url", &NakDeployment::programProjectUrl,
          "https://nakwire.invalid/project" },
    };
    return entries;
}

namespace {

// A comma makes a list of a value that is not quoted.
QString textOf(QVariant const& value)
{
    return value.toStringList().join(QStringLiteral(", "));
}

} // namespace

NakDeployment publicDeployment()
{
    NakDeployment deployment;
    for (NakDeploymentEntry const& entry : deploymentEntries())
        deployment.*entry.field = QString::fromLatin1(entry.publicValue);
    return deployment;
}

NakDeployment loadDeployment(QString const& path, bool* readOk)
{
    NakDeployment deployment = publicDeployment();
    // QSettings takes a missing file for an empty one, and so would hide a misspelled path.
    bool ok = QFile(path).open(QIODevice::ReadOnly);
    if (ok) {
        QSettings const file(path, QSettings::IniFormat);
        ok = file.status() == QSettings::NoError;
        for (NakDeploymentEntry const& entry : deploymentEntries()) {
            QString const key = QString::fromLatin1(entry.key);
            if (ok && file.contains(key))
                deployment.*entry.field = textOf(file.value(key));
        }
    }
    if (readOk)
        *readOk = ok;
    return deployment;
}
