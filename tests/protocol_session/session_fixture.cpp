// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "session_fixture.h"

#include "deployment.h"
#include "dis_cache.h"
#include "event_log.h"
#include "nak_event_log.h"
#include "nak_stmt.h"
#include "stage_etf.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonDocument>
#include <QNetworkProxy>
#include <QRegularExpression>

// --- LogLines ---

LogLines::LogLines()
    : m_start(0)
{
    m_start = readNew().size();
}

// Lines reach the file in the order of their posting, so all that came before the mark are there
// once it is.
QByteArray LogLines::readNew()
{
    static int marks = 0;
    QByteArray const mark = "mark " + QByteArray::number(++marks) + '\n';
    EvLogGlobal::addLogEvent(EvLog::Category::Application, EvLog::Severity::Debug,
                             QString::fromLatin1(mark.trimmed()));
    QByteArray content;
    waitUntil([&] {
        QFile file(NakEvLog::logFileName());
        if (file.open(QIODevice::ReadOnly) && file.seek(m_start))
            content = file.readAll();
        return content.contains(mark);
    });
    return content.left(content.indexOf(mark) + mark.size());
}

QStringList LogLines::all()
{
    static QRegularExpression const name(QStringLiteral("(session|worker) [0-9a-f]{1,8}\\b"));
    QStringList messages;
    for (QString const& line : QString::fromUtf8(readNew()).split(QLatin1Char('\n'))) {
        QString const message = line.section(QLatin1String(":\t"), 1);
        if (!message.isEmpty() && !message.startsWith(QLatin1String("mark ")))
            messages.append(QString(message).replace(name, QStringLiteral("\\1 SESS")));
    }
    return messages;
}

// --- TestClient ---

DisSessionTimings quickTimings()
{
    DisSessionTimings timings;
    timings.reconnectFirst = 20;
    timings.reconnectAgain = 400;
    timings.statusBatch = 20;
    timings.typingBatch = 20;
    timings.historyPause = 30;
    timings.typingPause = 100;
    timings.dirtySegs = 30;
    return timings;
}

TestClient::TestClient(QString const& apiUrl, DisSessionTimings const& timings)
{
    NakDeployment deployment;
    deployment.discordApiUrl = apiUrl;
    deployment.programProjectUrl = QStringLiteral("https://project.invalid");
    g_globalEvents = &events;
    client = std::make_unique<DisClient>(DisClientConstants::fromDeployment(deployment),
                                         m_dir.filePath(QStringLiteral("store.nakdb")), nullptr);
    g_disClient = client.get();
    client->setSessionTimings(timings);
    DisCache::createGlobalData();
    QObject::connect(client.get(), &DisClient::authTokenAcquiredGatewayUrl,
                     [this](QString const&, QString const& url) { gatewayUrls.append(url); });
    QObject::connect(client.get(), &DisClient::authTokenRejected,
                     [this](QString const& token) { rejectedTokens.append(token); });
    QObject::connect(client.get(), &DisClient::authTokenAcquiredUserInfo,
                     [this](QString const&, FlakeId const& user) { userId = user; });
    QObject::connect(client.get(), &DisClient::channelHistoryFetched,
                     [this](FlakeId const& channel) { historyFetched.append(channel); });
    QObject::connect(client.get(), &DisClient::disChanges,
                     [this](DisChanges const& changes) { reloads += changes.isReload() ? 1 : 0; });
}

TestClient::~TestClient()
{
    DisCache::destroyGlobalData();
    client.reset();
    g_disClient = nullptr;
    g_globalEvents = nullptr;
}

DisSession* TestClient::connectTo(QString const& gatewayUrl, QString const& token)
{
    DisSession* const session = client->addSessionWithAuthToken(token, gatewayUrl);
    if (!session)
        return nullptr;
    states.clear();
    QObject::connect(session, &DisSession::stateTypeChanged, [this](DisSessionStateType state) {
        states.append(DisClientImpl::stateTypeToString(state));
    });
    return session;
}

DisSession* TestClient::connectUntilReady(QString const& gatewayUrl)
{
    DisSession* const session = connectTo(gatewayUrl);
    return waitUntil([this] { return userId.isValid(); }) ? session : nullptr;
}

QString TestClient::value(char const* sql) const
{
    NakStmt stmt(client->db(), sql);
    return stmt.step() ? stmt.colString(0) : QString();
}

bool TestClient::waitForState(char const* state)
{
    return waitUntil(
        [this, state] { return !states.isEmpty() && states.last() == QLatin1String(state); });
}

// --- BareGateway ---

BareGateway::BareGateway()
    : server(QStringLiteral("bare"), QWebSocketServer::NonSecureMode)
{
    server.setProxy(QNetworkProxy::NoProxy);
    server.listen(QHostAddress::LocalHost);
    QObject::connect(&server, &QWebSocketServer::newConnection, [this] {
        socket = server.nextPendingConnection();
        socket->setParent(&server); // which does not own it by itself
        deflater.reset();
        ++connections;
        QObject::connect(socket, &QWebSocket::binaryMessageReceived,
                         [this, from = socket](QByteArray const& message) {
                             auto const term = stage::decodeTerm(message);
                             if (term && from == socket)
                                 received.append(stage::toJson(*term).toObject());
                         });
    });
}

bool BareGateway::waitForConnection()
{
    int const before = connections;
    return waitUntil([this, before] { return connections > before; });
}

void BareGateway::send(QJsonObject const& frame, int flush)
{
    sendBytes(deflater.message(encoded(frame), flush));
}

void BareGateway::sendHello(QJsonValue const& interval)
{
    QJsonObject const d{ { QStringLiteral("heartbeat_interval"), interval } };
    send({ { QStringLiteral("op"), 10 }, { QStringLiteral("d"), d } });
}

QJsonObject BareGateway::take()
{
    waitUntil([this] { return !received.isEmpty(); });
    return received.isEmpty() ? QJsonObject() : received.takeFirst();
}

// --- a session against it ---

void BareSession::SetUp()
{
    test.connectTo(gateway.url());
    ASSERT_TRUE(gateway.waitForConnection());
}

void BareSession::greet(QJsonValue const& interval)
{
    gateway.sendHello(interval);
    EXPECT_EQ(gateway.take()[QLatin1String("op")].toInt(), 2);
}

void BareSession::becomeReady(QJsonArray const& guilds)
{
    greet();
    QJsonObject ready = object(R"({"session_id":"0123456789abcdef","user":{"id":"100",
                                   "username":"ada","discriminator":"0001"}})");
    ready.insert(QStringLiteral("guilds"), guilds);
    gateway.send(dispatch("READY", ready, 1));
    EXPECT_TRUE(waitUntil([this] { return test.userId.isValid(); }));
}

// --- JSON ---

std::string text(QJsonObject const& json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

QJsonObject object(char const* json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray encoded(QJsonObject const& frame)
{
    return stage::encodeTerm(stage::fromJson(frame));
}

QJsonObject dispatch(char const* name, QJsonObject const& d, int seq)
{
    return { { QStringLiteral("op"), 0 },
             { QStringLiteral("t"), QString::fromLatin1(name) },
             { QStringLiteral("s"), seq },
             { QStringLiteral("d"), d } };
}
