// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_service_plugin.h"

#include "boxes.h"
#include "chat_window.h"
#include "data_paths.h"
#include "deployment.h"
#include "dis_accts_component.h"
#include "dis_avatar_images.h"
#include "dis_cache.h"
#include "dis_channel_view.h"
#include "dis_chat_input_rewrite.h"
#include "dis_client.h"
#include "dis_emoji_images.h"
#include "dis_jump_provider.h"
#include "dis_listen.h"
#include "dis_manager.h"
#include "dis_text_document.h"
#include "dis_utils.h"
#include "idle_detection.h"
#include "main_tabs.h"
#include "tab_contents.h"

#include <QApplication>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace {

QString pathOf(char const* fileName)
{
    return NakDataPaths::appDataPathCreated() + QLatin1Char('/') + QLatin1String(fileName);
}

// Friends and mentions have no content: their tabs are empty.
QWidget* makeContent(NakNavLoc const& place, QWidget* parent)
{
    if (place.discordKind() != NakNav::DiscordKind::Channel)
        return nullptr;
    auto* view = new DisChannelView(parent);
    view->setChannelId(place.discordChannelId());
    return view;
}

// The channels of the current tabs of windows that are not put away.
DisForegroundChannels foregroundChannels()
{
    DisForegroundChannels channels;
    for (NakChatWindow const* window : NakChatWindow::chatWindows()) {
        NakNavLoc const place = window->mainTabs()->currentNavLoc();
        if (place.type() != NakNav::Type::Discord)
            continue;
        FlakeId const channel = place.discordChannelId();
        if (!window->isVisible() || window->isMinimized() || !channel.isValid())
            continue;
        channels.shown.insert(channel);
        if (window->isActiveWindow())
            channels.attended.insert(channel);
    }
    return channels;
}

template <typename T> void deleteGlobal(T*& global)
{
    delete global;
    global = nullptr;
}

} // namespace

DisServicePlugin::DisServicePlugin(QObject* parent)
    : QObject(parent)
{
    createGlobals();
    registerDoors();
    connect(g_disClient, &DisClient::userMustSee, this, &NakBoxes::tell);
}

DisServicePlugin::~DisServicePlugin()
{
    destroyGlobals();
}

void DisServicePlugin::createGlobals()
{
    g_disClient = new DisClient(DisClientConstants::fromDeployment(*g_deployment),
                                pathOf("discord_client.nakdb"), this);
    DisCache::createGlobalData();
    // Before the listeners, so that a name that changed is not read from its cache.
    g_disAvatarImages = new DisAvatarImages(
        { pathOf("discord_avatars.nakdb"), g_deployment->discordCdnUrl, g_disClient->db() }, this);
    connect(g_disClient, &DisClient::disChanges, g_disAvatarImages, &DisAvatarImages::applyChanges);
    g_disEmojiImages =
        new DisEmojiImages(pathOf("discord_emoji.nakdb"), g_deployment->discordCdnUrl, this);
    g_disManager = new DisManager(pathOf("nakwire_accounts.bin"), this);
    g_disManager->setForegroundChannelsProvider(foregroundChannels);
    g_disManager->setReadableTextProvider([](FlakeId message) {
        return DisUtils::reverseChatParseAsUser(g_disManager->activeUserId(),
                                                DisUtils::contentOfMessage(message));
    });
    connect(qApp, &QGuiApplication::focusWindowChanged, g_disManager,
            &DisManager::hack_foregroundChannelsMayHaveChanged);
    connect(g_idleDetection, &NakIdleDetection::idleTimeUpdated, g_disManager,
            &DisManager::idleTimeUpdated);
    g_disTextDocumentManager = new DisTextDocumentManager(this);
    g_disListenManager = new DisListenManager(this);
}

void DisServicePlugin::destroyGlobals()
{
    if (!g_disClient)
        return;
    NakTabContents::registerFactory(NakNav::Type::Discord, {});
    NakAcct::registerComponentFactory(NakAcct::ServiceType::Discord, {});
    m_jumpProvider.reset();
    deleteGlobal(g_disListenManager);
    deleteGlobal(g_disTextDocumentManager);
    deleteGlobal(g_disManager);
    deleteGlobal(g_disEmojiImages);
    deleteGlobal(g_disAvatarImages);
    DisCache::destroyGlobalData();
    deleteGlobal(g_disClient);
}

void DisServicePlugin::registerDoors()
{
    NakTabContents::registerFactory(NakNav::Type::Discord, makeContent);
    NakAcct::registerComponentFactory(NakAcct::ServiceType::Discord, DisAcctsModelComponent_new);
    m_jumpProvider = std::make_unique<DisJumpProvider>();
}

void DisServicePlugin::deinit()
{
    if (g_disClient->sessions().isEmpty()) {
        finishDeinit();
        return;
    }
    connect(g_disClient, &DisClient::sessionsChanged, this, [this] {
        // Not from inside the client's own signal, which deletes it.
        if (g_disClient->sessions().isEmpty())
            QTimer::singleShot(0, this, &DisServicePlugin::finishDeinit);
    });
    g_disClient->disconnectAllSessions();
}

void DisServicePlugin::finishDeinit()
{
    destroyGlobals();
    deleteLater();
}

bool DisServicePlugin::anyAccountConnectsByItself()
{
    QVector<DisStoredAccount*> const accounts = g_disManager->accounts();
    return std::any_of(accounts.cbegin(), accounts.cend(),
                       [](DisStoredAccount const* account) { return account->autoConnect; });
}
