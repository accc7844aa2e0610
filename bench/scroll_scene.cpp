// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "scroll_scene.h"

#include "deployment.h"
#include "dis_cache.h"
#include "dis_chan_buff.h"
#include "dis_listen.h"
#include "dis_manager.h"
#include "dis_text_document.h"
#include "global_events.h"
#include "gui_icons.h"
#include "nak_sql.h"
#include "nak_stmt.h"
#include "preferences.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QWheelEvent>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int authorCount = 50;
constexpr quint64 firstAuthor = 2000;
constexpr quint64 millisecondsApart = 60000;
FlakeId const channel(60);

char const words[] =
    "the build is green again after moving the cache key into a file so reviews can land today "
    "please look at this when you have time thanks it works for me now and then some more words "
    "follow here to fill the line up to a realistic length of a chat message in a busy channel";

QString bodyOf(quint32 index)
{
    quint32 const mixed = index * 2654435761U;
    return QString::fromLatin1(words + (mixed >> 8) % 40, 20 + (mixed >> 16) % 180);
}

void execute(char const* sql)
{
    NakStmt(g_disClient->db(), sql).step();
}

void fillStore(int messages)
{
    NakSqlTransaction const transaction(g_disClient->db());
    execute("insert into any_channel (id, type) values (60, 1)");
    execute("insert into guild (id, name, owner_id) values (50, 'guild', 1)");
    execute("insert into guild_channel (id, guild_id, parent_id, position, name, "
            "rate_limit_per_user) values (60, 50, -1, 0, 'general', 0)");
    NakStmt user(g_disClient->db(), "insert into user (id, name, discrim) values (?, ?, '0001')");
    for (quint64 i = 0; i < authorCount; ++i) {
        user.bind(1, FlakeId(firstAuthor + i));
        user.bind(2, QStringLiteral("author %1").arg(i));
        user.step();
        user.reset();
    }
    NakStmt message(g_disClient->db(),
                    "insert into message (id, channel_id, author_id, type, edited, content) "
                    "values (?, 60, ?, 0, 0, ?)");
    for (quint32 i = 0; i < static_cast<quint32>(messages); ++i) {
        message.bind(1, FlakeId((i + 1) * millisecondsApart << 22));
        message.bind(2, FlakeId(firstAuthor + i % authorCount));
        message.bind(3, bodyOf(i));
        message.step();
        message.reset();
    }
}

} // namespace

void stopBench(char const* why)
{
    fprintf(stderr, "%s\n", why);
    exit(1);
}

struct ScrollScene::Priv {
    QTemporaryDir dir;
    NakPreferences preferences;
    std::unique_ptr<NakGlobalEvents> globalEvents;
    std::unique_ptr<NakGuiIcons> icons;
    std::unique_ptr<DisClient> client;
    std::unique_ptr<DisManager> manager;
    std::unique_ptr<DisListenManager> listen;
    std::unique_ptr<DisTextDocumentManager> documents;
    std::unique_ptr<DisChanBuff> buffer;
    QVector<QWidget*> shown;
};

ScrollScene::ScrollScene(int messages)
    : m_priv(std::make_unique<Priv>())
{
    g_preferences = &m_priv->preferences;
    g_globalEvents = (m_priv->globalEvents = std::make_unique<NakGlobalEvents>()).get();
    g_guiIcons = (m_priv->icons = std::make_unique<NakGuiIcons>()).get();
    m_priv->client =
        std::make_unique<DisClient>(DisClientConstants::fromDeployment(publicDeployment()),
                                    m_priv->dir.filePath(QStringLiteral("store.nakdb")), nullptr);
    g_disClient = m_priv->client.get();
    DisCache::createGlobalData();
    m_priv->manager =
        std::make_unique<DisManager>(m_priv->dir.filePath(QStringLiteral("accounts.bin")), nullptr);
    g_disManager = m_priv->manager.get();
    g_disListenManager = (m_priv->listen = std::make_unique<DisListenManager>(nullptr)).get();
    m_priv->documents = std::make_unique<DisTextDocumentManager>();
    g_disTextDocumentManager = m_priv->documents.get();
    fillStore(messages);
    m_priv->buffer = std::make_unique<DisChanBuff>();
    m_priv->buffer->resize(1000, 900);
    m_priv->buffer->show();
    QApplication::processEvents();
}

ScrollScene::~ScrollScene()
{
    m_priv->buffer.reset();
    m_priv->documents.reset();
    m_priv->listen.reset();
    m_priv->manager.reset();
    DisCache::destroyGlobalData();
    m_priv->client.reset();
}

DisChanBuff& ScrollScene::buffer()
{
    return *m_priv->buffer;
}

void ScrollScene::leaveChannel()
{
    m_priv->buffer->setChannelId(FlakeId());
    QApplication::processEvents();
}

void ScrollScene::openChannel()
{
    m_priv->buffer->setChannelId(channel);
    QApplication::processEvents();
}

void ScrollScene::wheel(int clicks)
{
    QPoint const pos(20, 20);
    QWheelEvent event(pos, m_priv->buffer->view()->mapToGlobal(pos), QPoint(),
                      QPoint(0, QWheelEvent::DefaultDeltasPerStep * clicks), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(m_priv->buffer->view(), &event);
    QApplication::processEvents();
}

bool ScrollScene::sameGroups()
{
    QVector<QWidget*> now;
    ZilView const* view = m_priv->buffer->view();
    for (int i = 0; i < view->count(); ++i) {
        now.append(view->itemAt(i).widget);
    }
    bool const same = now == m_priv->shown;
    m_priv->shown = now;
    return same;
}
