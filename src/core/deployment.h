// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Every host and address that the program talks to. The defaults are the public services; the
// environment variable NAKWIRE_DEPLOYMENT may name an INI file that replaces any of them.

#include <QString>

#include <vector>

struct NakDeployment {
    // Discord
    QString discordApiUrl; // REST base including /api/v6, without a slash at the end
    QString discordCdnUrl; // base of /emojis, /avatars, /icons
    QString discordMediaUrl; // media proxy base, whose pictures can be resized by query
    QString discordImagesUrlPattern; // regular expression of the external-image proxies
    QString discordInviteUrl; // what an invite's code follows in its link, without a slash
    QString discordVoiceUrl; // voice socket base, %1 (optional) the endpoint's host
    // Slack
    QString slackRtmUrl;
    QString slackApiUrl; // %1 the team domain; ends in /api/
    QString slackWebUrl; // %1 the workspace
    QString slackDomain;
    QString slackImageProxyUrl;
    // Updates and the project itself
    QString updatesCheckUrl;
    QString updatesWebsiteUrl;
    QString programProjectUrl;
};

// The one list of what can be replaced, and by which key; docs/deployment.md shows it to the user.
struct NakDeploymentEntry {
    char const* key;
    QString NakDeployment::*field;
    char const* publicValue;
};
std::vector<NakDeploymentEntry> const& deploymentEntries();

// The public services.
NakDeployment publicDeployment();

// The public services with what the INI file at path replaces. An unreadable file replaces
// nothing; readOk (may be null) says whether it could be read.
NakDeployment loadDeployment(QString const& path, bool* readOk);

// Set and cleared in src/app; null before the application is built and after it is gone.
extern NakDeployment const* g_deployment;
