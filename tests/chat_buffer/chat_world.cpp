// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"

#include "dis_events.h"
#include "dis_session.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QTcpSocket>

FlakeId idAt(qint64 msecs, quint64 counter)
{
    constexpr qint64 startOf2026 = 1767225600000;
    quint64 const time = static_cast<quint64>(startOf2026 - FlakeId::discordEpochMSecs + msecs);
    return FlakeId((time << 22) | counter);
}

RequestSink::RequestSink()
{
    EXPECT_TRUE(listen(QHostAddress::LocalHost));
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = nextPendingConnection())
            connect(socket, &QTcpSocket::readyRead, this,
                    [this, socket] { received += socket->readAll(); });
    });
}

QString RequestSink::httpUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(serverPort());
}

ChatWorld::ChatWorld()
    : m_model(m_requests.httpUrl() + QStringLiteral("/api/v6"))
{
    g_guiIcons = &m_icons;
    m_manager =
        std::make_unique<DisManager>(m_model.dir.filePath(QStringLiteral("a.bin")), nullptr);
    g_disManager = m_manager.get();
    m_listen = std::make_unique<DisListenManager>(nullptr);
    g_disListenManager = m_listen.get();
    m_documents = std::make_unique<DisTextDocumentManager>();
    g_disTextDocumentManager = m_documents.get();
}

ChatWorld::~ChatWorld()
{
    g_disTextDocumentManager = nullptr;
    m_documents.reset();
    g_disListenManager = nullptr;
    m_listen.reset();
    g_disManager = nullptr;
    m_manager.reset();
    g_guiIcons = nullptr;
}

void ChatWorld::connectOwnUser()
{
    addUser(ownUser, QStringLiteral("me"));
    exec(
        QStringLiteral("insert into guild (id, name, owner_id) values (%1, 'Guild', %3); "
                       "insert into any_channel (id, type) values (%2, 1); "
                       "insert into guild_channel (id, guild_id, parent_id, position, name, topic, "
                       "rate_limit_per_user) values (%2, %1, -1, 0, 'general', '', 0); "
                       "insert into guild_member (guild_id, user_id) values (%1, %3); "
                       "insert into local_user (id) values (%3)")
            .arg(guild.toString(), channel.toString(), ownUser.toString()));
    DisSession* const session = m_model.client->addSessionWithAuthToken(
        QStringLiteral("t"), QStringLiteral("ws://127.0.0.1:%1").arg(m_requests.serverPort()));
    DisClientImpl::DisEventOutcome outcome;
    outcome.ready.emplace();
    outcome.ready->ownUserId = ownUser;
    session->receiveOutcome(outcome);
}

void ChatWorld::addUser(FlakeId id, QString const& name)
{
    exec(QStringLiteral("insert into user (id, name, discrim, bot) values (%1, '%2', '0042', 0)")
             .arg(id.toString(), name));
}

void ChatWorld::addMessage(FlakeId id, FlakeId author, QString const& text)
{
    addMessages(1, [&](int) { return ChatMessage{ id, author, text }; });
}

void ChatWorld::addMessages(int count, std::function<ChatMessage(int)> const& message)
{
    NakSqlTransaction const transaction(m_model.client->db());
    NakStmt stmt(m_model.client->db(),
                 "replace into message (id, channel_id, author_id, type, edited, deleted, content) "
                 "values (?, ?, ?, 0, 0, 0, ?)");
    for (int i = 0; i < count; ++i) {
        ChatMessage const row = message(i);
        stmt.bind(1, row.id);
        stmt.bind(2, channel);
        stmt.bind(3, row.author);
        stmt.bind(4, row.text);
        stmt.step();
        stmt.reset();
    }
}

void ChatWorld::addPending(FlakeId nonce, QString const& text)
{
    m_model.client->pendingMessages_hack().insert(
        nonce, { channel, ownUser, text, nonce.toMSecsSinceEpoch_Discord() });
}

void ChatWorld::announceCreated(FlakeId message, FlakeId author, FlakeId nonce)
{
    if (nonce.isValid())
        m_model.client->pendingMessages_hack().remove(nonce);
    emit m_model.client->messageCreated(message, channel, author, nonce);
    m_model.tell(DisChange::ChangeType::MessageCreated, message, channel, author);
}

void ChatWorld::announce(DisChange::ChangeType type, FlakeId message)
{
    m_model.tell(type, message, channel);
}

void ChatWorld::announceHistory()
{
    emit m_model.client->channelHistoryFetched(channel);
}

void ChatWorld::announceReload()
{
    m_model.client->postLocalChanges(DisChanges::reload());
}
