// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_world.h"

#include "deployment.h"
#include "dis_cache.h"
#include "dis_session.h"
#include "nak_sql.h"
#include "nak_stmt.h"

#include <QCoreApplication>
#include <QTcpSocket>

#include <sqlite3.h>

namespace {

constexpr qint64 startOf2026 = 1767225600000;

NakDeployment loopbackDeployment(QString const& httpUrl)
{
    NakDeployment deployment = publicDeployment();
    deployment.discordApiUrl = httpUrl + QStringLiteral("/api/v6");
    return deployment;
}

} // namespace

FlakeId idAt(qint64 msecs, quint64 counter)
{
    quint64 const time = static_cast<quint64>(startOf2026 - FlakeId::discordEpochMSecs + msecs);
    return FlakeId((time << 22) | counter);
}

RequestSink::RequestSink()
{
    EXPECT_TRUE(listen(QHostAddress::LocalHost));
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { noteRequests(socket); });
        }
    });
}

QString RequestSink::httpUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(serverPort());
}

void RequestSink::noteRequests(QTcpSocket* socket)
{
    QByteArray& received = m_received[socket];
    received += socket->readAll();
    int const headEnd = received.indexOf("\r\n\r\n");
    if (headEnd < 0) {
        return;
    }
    QByteArray const head = received.left(headEnd);
    int const at = head.toLower().indexOf("content-length: ");
    int const length = at < 0 ? 0 : head.mid(at + 16, head.indexOf('\r', at) - at - 16).toInt();
    QByteArray const body = received.mid(headEnd + 4);
    if (body.size() < length) {
        return;
    }
    QString const line = QString::fromUtf8(head.left(head.indexOf(" HTTP/")));
    m_requests.append((line + QLatin1Char(' ') + QString::fromUtf8(body)).trimmed());
    received.clear();
    // No answer: one to the gateway's handshake would end the session, and that empties the store.
}

ChatWorld::ChatWorld()
{
    g_preferences = &m_preferences;
    m_globalEvents = std::make_unique<NakGlobalEvents>();
    g_globalEvents = m_globalEvents.get();
    m_icons = std::make_unique<NakGuiIcons>();
    g_guiIcons = m_icons.get();
    auto const constants =
        DisClientConstants::fromDeployment(loopbackDeployment(m_requests.httpUrl()));
    m_client = std::make_unique<DisClient>(constants, m_dir.filePath(QStringLiteral("store.nakdb")),
                                           nullptr);
    g_disClient = m_client.get();
    DisCache::createGlobalData();
    m_manager =
        std::make_unique<DisManager>(m_dir.filePath(QStringLiteral("accounts.bin")), nullptr);
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
    DisCache::destroyGlobalData();
    g_disClient = nullptr;
    m_client.reset();
    g_guiIcons = nullptr;
    m_icons.reset();
    g_globalEvents = nullptr;
    m_globalEvents.reset();
    g_preferences = nullptr;
}

void ChatWorld::connectOwnUser()
{
    addUser(ownUser, QStringLiteral("me"));
    exec(QStringLiteral("insert into guild (id, name, owner_id) values (%1, 'Guild', %2)")
             .arg(guild.toString(), ownUser.toString()));
    exec(QStringLiteral("insert into any_channel (id, type) values (%1, 1)")
             .arg(channel.toString()));
    exec(QStringLiteral("insert into guild_channel (id, guild_id, parent_id, position, name, "
                        "topic, rate_limit_per_user) values (%1, %2, -1, 0, 'general', '', 0)")
             .arg(channel.toString(), guild.toString()));
    exec(QStringLiteral("insert into guild_member (guild_id, user_id) values (%1, %2)")
             .arg(guild.toString(), ownUser.toString()));
    exec(QStringLiteral("insert into local_user (id) values (%1)").arg(ownUser.toString()));
    m_session = m_client->addSessionWithAuthToken(
        QStringLiteral("t"), QStringLiteral("ws://127.0.0.1:%1").arg(m_requests.serverPort()));
    DisClientImpl::DisEventOutcome outcome;
    outcome.ready.emplace();
    outcome.ready->ownUserId = ownUser;
    m_session->receiveOutcome(outcome);
}

void ChatWorld::exec(QString const& sql)
{
    char* error = nullptr;
    int const code =
        sqlite3_exec(m_client->db(), sql.toUtf8().constData(), nullptr, nullptr, &error);
    ASSERT_EQ(code, SQLITE_OK) << error;
}

void ChatWorld::addUser(FlakeId id, QString const& name, bool bot)
{
    NakStmt stmt(m_client->db(),
                 "insert into user (id, name, discrim, bot) values (?, ?, '0042', ?)");
    stmt.bind(1, id);
    stmt.bind(2, name);
    stmt.bind(3, bot);
    stmt.step();
}

void ChatWorld::addMessage(FlakeId id, FlakeId author, QString const& text)
{
    addMessages(
        1, [id](int) { return id; }, [author](int) { return author; },
        [text](int) { return text; });
}

void ChatWorld::addMessages(int count, std::function<FlakeId(int)> const& id,
                            std::function<FlakeId(int)> const& author,
                            std::function<QString(int)> const& text)
{
    NakSqlTransaction const transaction(m_client->db());
    NakStmt stmt(m_client->db(),
                 "replace into message (id, channel_id, author_id, type, edited, deleted, content) "
                 "values (?, ?, ?, 0, 0, 0, ?)");
    for (int i = 0; i < count; ++i) {
        stmt.bind(1, id(i));
        stmt.bind(2, channel);
        stmt.bind(3, author(i));
        stmt.bind(4, text(i));
        stmt.step();
        stmt.reset();
    }
}

FlakeId ChatWorld::addPending(FlakeId nonce, FlakeId author, QString const& text, qint64 timestamp)
{
    m_client->pendingMessages_hack().insert(nonce, { channel, author, text, timestamp });
    return nonce;
}

void ChatWorld::announceCreated(FlakeId message, FlakeId author, FlakeId nonce)
{
    if (nonce.isValid()) {
        m_client->pendingMessages_hack().remove(nonce);
    }
    emit m_client->messageCreated(message, channel, author, nonce);
    DisChanges changes;
    changes.add(DisChange::ChangeType::MessageCreated, message, channel, author);
    m_client->postLocalChanges(changes);
}

void ChatWorld::announce(DisChange::ChangeType type, FlakeId message)
{
    DisChanges changes;
    changes.add(type, message, channel);
    m_client->postLocalChanges(changes);
}

void ChatWorld::announceHistory()
{
    emit m_client->channelHistoryFetched(channel);
}

void ChatWorld::announceReload()
{
    m_client->postLocalChanges(DisChanges::reload());
}

void settle()
{
    for (int round = 0; round < 4; ++round) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
}
