// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_gateway.h"

#include "stage_payloads.h"
#include "stage_words.h"

#include <QNetworkProxy>
#include <QSet>
#include <QTimer>
#include <QUrlQuery>
#include <QWebSocket>

#include <zlib.h>

#include <algorithm>

namespace stage {

namespace {

constexpr size_t kMaxSessions = 96; // above the connections, so that one of them is idle
constexpr size_t kMaxConnections = 64;
constexpr size_t kMaxLoggedDispatches = 8192;
constexpr qint64 kMaxLoggedBytes = 16 << 20;
constexpr qint64 kMaxBacklog = 256 << 20; // a peer that takes nothing is given up
constexpr quint64 kMaxMessageBytes = 1 << 20;
constexpr int kMaxRanges = 32;

enum CloseCode {
    UnknownOpcode = 4001,
    DecodeError = 4002,
    NotAuthenticated = 4003,
    AuthenticationFailed = 4004,
    AlreadyAuthenticated = 4005,
    InvalidVersion = 4012,
};

Term frameTerm(int op, Term d, Term s = nil(), Term t = nil())
{
    return map()
        .set("op", integer(op))
        .set("s", std::move(s))
        .set("t", std::move(t))
        .set("d", std::move(d));
}

quint64 idOf(Term const& term)
{
    if (term.kind == Term::Kind::Int)
        return quint64(std::max<qint64>(0, term.i));
    if (term.kind == Term::Kind::UInt)
        return term.u;
    return term.kind == Term::Kind::Binary ? term.bytes.toULongLong() : 0;
}

// Appends the ranges of one channel that a subscription asks for; what is no range is left out.
void addRanges(Term const& wanted, QVector<QPair<int, int>>* out)
{
    for (Term const& range : wanted.items) {
        if (range.kind != Term::Kind::List || range.items.size() != 2)
            continue;
        qint64 const first = range.items[0].kind == Term::Kind::Int ? range.items[0].i : -1;
        qint64 const last = range.items[1].kind == Term::Kind::Int ? range.items[1].i : -1;
        QPair<int, int> const pair{ int(first), int(last) };
        if (first >= 0 && last >= first && last - first < 100 && last < 10000000
            && out->size() < kMaxRanges && !out->contains(pair))
            out->append(pair);
    }
}

} // namespace

struct LoggedDispatch {
    qint64 seq = 0;
    QByteArray name;
    QByteArray payload; // encoded
};

struct GatewaySession {
    QByteArray id;
    qint64 seq = 0;
    std::deque<LoggedDispatch> log; // what a resume can replay; contiguous, ends at seq
    qint64 logBytes = 0;
    QSet<quint64> syncedGuilds;
    GatewayConnection* connection = nullptr;
};

struct GatewayConnection {
    QWebSocket* socket = nullptr;
    z_stream deflate{};
    bool compressed = false;
    std::shared_ptr<GatewaySession> session;
    // Set when the socket has ended, which can be inside a send; erased from the event loop, so
    // that whoever is sending keeps valid references.
    bool gone = false;

    ~GatewayConnection()
    {
        if (compressed)
            deflateEnd(&deflate);
    }
};

struct Gateway::OpHandler {
    int op;
    bool needsSession;
    void (Gateway::*handle)(GatewayConnection&, Term const*);
};

Gateway::OpHandler const* Gateway::findHandler(qint64 op)
{
    static constexpr OpHandler kHandlers[] = {
        { 1, false, &Gateway::onHeartbeat }, { 2, false, &Gateway::onIdentify },
        { 3, true, &Gateway::onAccepted },   { 4, true, &Gateway::onAccepted },
        { 5, true, &Gateway::onAccepted },   { 6, false, &Gateway::onResume },
        { 8, true, &Gateway::onAccepted },   { 12, true, &Gateway::onGuildSync },
        { 13, true, &Gateway::onAccepted },  { 14, true, &Gateway::onMemberList },
    };
    for (OpHandler const& handler : kHandlers) {
        if (handler.op == op)
            return &handler;
    }
    return nullptr;
}

Gateway::Gateway(World const& world, GatewayOptions const& options, QObject* parent)
    : QObject(parent)
    , m_world(world)
    , m_options(options)
    , m_server(QStringLiteral("stage"), QWebSocketServer::NonSecureMode)
{
    m_server.setProxy(QNetworkProxy::NoProxy);
    connect(&m_server, &QWebSocketServer::newConnection, this, &Gateway::accept);
}

Gateway::~Gateway()
{
    for (GatewayConnection const* connection :
         open()) // those that are gone took their socket along
        connection->socket->disconnect(this);
}

bool Gateway::listen()
{
    return m_server.listen(QHostAddress::LocalHost);
}

std::vector<GatewayConnection*> Gateway::open() const
{
    std::vector<GatewayConnection*> out;
    for (auto const& connection : m_connections) {
        if (!connection->gone)
            out.push_back(connection.get());
    }
    return out;
}

int Gateway::identifiedCount() const
{
    auto const connections = open();
    return int(std::count_if(
        connections.begin(), connections.end(),
        [](GatewayConnection const* connection) { return connection->session != nullptr; }));
}

qint64 Gateway::backlog() const
{
    qint64 most = 0;
    for (GatewayConnection const* connection : open())
        most = std::max(most, connection->socket->bytesToWrite());
    return most;
}

void Gateway::accept()
{
    while (QWebSocket* socket = m_server.nextPendingConnection()) {
        QUrlQuery const query(socket->requestUrl());
        auto const value = [&query](char const* key) {
            return query.queryItemValue(QString::fromLatin1(key));
        };
        connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
        socket->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
        if (m_connections.size() >= kMaxConnections) {
            socket->abort();
            continue;
        }
        if (value("v") != QLatin1String("6")) {
            socket->close(QWebSocketProtocol::CloseCode(InvalidVersion),
                          QStringLiteral("Invalid API version."));
            continue;
        }
        if (value("encoding") != QLatin1String("etf")) {
            socket->close(QWebSocketProtocol::CloseCode(DecodeError),
                          QStringLiteral("Invalid encoding."));
            continue;
        }
        m_connections.push_back(std::make_unique<GatewayConnection>());
        GatewayConnection* connection = m_connections.back().get();
        connection->socket = socket;
        // Fast rather than small: it is the client that is to be measured.
        connection->compressed = value("compress") == QLatin1String("zlib-stream")
            && deflateInit(&connection->deflate, Z_BEST_SPEED) == Z_OK;
        connect(socket, &QWebSocket::binaryMessageReceived, this,
                [this, connection](QByteArray const& message) { receive(*connection, message); });
        connect(socket, &QWebSocket::disconnected, this,
                [this, connection] { ended(*connection); });
        Term hello = map().set("heartbeat_interval", integer(m_options.helloIntervalMs));
        hello.set("_trace", list({ binary("stage") }));
        send(*connection, frameTerm(10, std::move(hello)));
        emit connectionOpened();
    }
}

void Gateway::ended(GatewayConnection& connection)
{
    if (connection.gone)
        return;
    connection.gone = true;
    if (connection.session && connection.session->connection == &connection)
        connection.session->connection = nullptr;
    QTimer::singleShot(0, this, [this] {
        auto const isGone = [](auto const& one) { return one->gone; };
        m_connections.erase(std::remove_if(m_connections.begin(), m_connections.end(), isGone),
                            m_connections.end());
    });
    emit connectionClosed();
}

void Gateway::receive(GatewayConnection& connection, QByteArray const& message)
{
    QWebSocket* socket = connection.socket;
    auto const refuse = [socket](CloseCode code, char const* reason) {
        socket->close(QWebSocketProtocol::CloseCode(code), QString::fromLatin1(reason));
    };
    std::optional<Term> const frame = decodeTerm(message);
    Term const* op = frame ? frame->find("op") : nullptr;
    if (!op || op->kind != Term::Kind::Int)
        return refuse(DecodeError, "Error while decoding payload.");
    OpHandler const* handler = findHandler(op->i);
    if (!handler)
        return refuse(UnknownOpcode, "Unknown opcode.");
    if (handler->needsSession && !connection.session)
        return refuse(NotAuthenticated, "Not authenticated.");
    emit frameReceived(int(op->i), toJson(*frame).toObject());
    // A listener may have dropped the connection.
    if (!connection.gone)
        (this->*handler->handle)(connection, frame->find("d"));
}

void Gateway::onHeartbeat(GatewayConnection& connection, Term const*)
{
    send(connection, frameTerm(11, nil()));
}

void Gateway::onIdentify(GatewayConnection& connection, Term const* d)
{
    if (!maySignIn(connection, d))
        return;
    auto session = std::make_shared<GatewaySession>();
    Rng rng(m_world.seed, 0x5e55, ++m_sessionsMade);
    session->id = QByteArray::number(rng.next() | 1ull << 63, 16)
        + QByteArray::number(rng.next() | 1ull << 63, 16);
    m_sessions.push_back(session);
    if (m_sessions.size() > kMaxSessions) {
        m_sessions.erase(
            std::find_if(m_sessions.begin(), m_sessions.end(), [&session](auto const& one) {
                return !one->connection && one != session;
            }));
    }
    attach(connection, session);
    session->seq = 1;
    send(connection,
         frameTerm(0, readyTerm(m_world, session->id, m_options.encode), integer(1),
                   binary("READY")));
    emit identified(QString::fromLatin1(session->id));
}

void Gateway::onResume(GatewayConnection& connection, Term const* d)
{
    if (!maySignIn(connection, d))
        return;
    Term const* wanted = d->find("session_id");
    Term const* seq = d->find("seq");
    auto const known = std::find_if(m_sessions.begin(), m_sessions.end(), [&](auto const& session) {
        return wanted && wanted->bytes == session->id;
    });
    bool const inLog = known != m_sessions.end() && seq && seq->kind == Term::Kind::Int
        && seq->i <= (*known)->seq
        && (seq->i == (*known)->seq
            || (!(*known)->log.empty() && seq->i + 1 >= (*known)->log.front().seq));
    if (!inLog) {
        send(connection, frameTerm(9, boolean(false)));
        return;
    }
    std::shared_ptr<GatewaySession> const session = *known;
    attach(connection, session);
    replay(connection, seq->i);
    QByteArray payload;
    appendTerm(payload, map().set("_trace", list({ binary("stage") })), m_options.encode);
    dispatchTo(*session, QByteArrayLiteral("RESUMED"), payload);
    emit resumed(QString::fromLatin1(session->id));
}

// Only guilds that were not in the set before are sent; the client repeats the whole set.
void Gateway::onGuildSync(GatewayConnection& connection, Term const* d)
{
    QSet<quint64> wanted;
    std::vector<Guild const*> fresh;
    if (d && d->kind == Term::Kind::List) {
        for (Term const& one : d->items) {
            Guild const* guild = findGuild(m_world, idOf(one));
            if (guild && !wanted.contains(guild->id)
                && !connection.session->syncedGuilds.contains(guild->id))
                fresh.push_back(guild);
            if (guild)
                wanted.insert(guild->id);
        }
    }
    connection.session->syncedGuilds = wanted;
    for (Guild const* guild : fresh) {
        QByteArray payload;
        appendTerm(payload, guildSyncTerm(m_world, *guild), m_options.encode);
        dispatchTo(*connection.session, QByteArrayLiteral("GUILD_SYNC"), payload);
    }
}

void Gateway::onMemberList(GatewayConnection& connection, Term const* d)
{
    Term const* guildId = d ? d->find("guild_id") : nullptr;
    Guild const* guild = guildId ? findGuild(m_world, idOf(*guildId)) : nullptr;
    Term const* channels = d ? d->find("channels") : nullptr;
    if (!guild || !channels)
        return;
    QVector<QPair<int, int>> ranges;
    for (Term const& channel : channels->items)
        addRanges(channel, &ranges);
    if (ranges.isEmpty())
        return;
    QByteArray payload;
    appendTerm(payload, memberListTerm(m_world, *guild, ranges), m_options.encode);
    dispatchTo(*connection.session, QByteArrayLiteral("GUILD_MEMBER_LIST_UPDATE"), payload);
}

void Gateway::onAccepted(GatewayConnection&, Term const*) { }

// Closes the connection if not.
bool Gateway::maySignIn(GatewayConnection& connection, Term const* d)
{
    Term const* token = d ? d->find("token") : nullptr;
    bool const right = token && !token->bytes.isEmpty()
        && (m_options.token.isEmpty() || token->bytes == m_options.token.toUtf8());
    if (connection.session)
        connection.socket->close(QWebSocketProtocol::CloseCode(AlreadyAuthenticated),
                                 QStringLiteral("Already authenticated."));
    else if (!right)
        connection.socket->close(QWebSocketProtocol::CloseCode(AuthenticationFailed),
                                 QStringLiteral("Authentication failed."));
    return right && !connection.session;
}

// The session's former connection, if it still stands, is cut.
void Gateway::attach(GatewayConnection& connection, std::shared_ptr<GatewaySession> const& session)
{
    GatewayConnection* former = session->connection;
    connection.session = session;
    session->connection = &connection;
    if (former && former != &connection)
        former->socket->abort();
}

void Gateway::dispatchTo(GatewaySession& session, QByteArray const& name, QByteArray const& payload)
{
    session.log.push_back({ ++session.seq, name, payload });
    session.logBytes += payload.size();
    while (session.log.size() > kMaxLoggedDispatches || session.logBytes > kMaxLoggedBytes) {
        session.logBytes -= session.log.front().payload.size();
        session.log.pop_front();
    }
    if (session.connection)
        send(*session.connection,
             frameTerm(0, encoded(payload), integer(session.seq), binary(name)));
}

void Gateway::replay(GatewayConnection& connection, qint64 seq)
{
    // A copy of the few handles: sending may end the connection and touch the session.
    std::deque<LoggedDispatch> const log = connection.session->log;
    for (LoggedDispatch const& missed : log) {
        if (missed.seq > seq)
            send(connection,
                 frameTerm(0, encoded(missed.payload), integer(missed.seq), binary(missed.name)));
    }
}

void Gateway::send(GatewayConnection& connection, Term const& frame)
{
    if (connection.gone)
        return;
    QByteArray const bytes = encodeTerm(frame, m_options.encode);
    if (connection.compressed)
        sendDeflated(connection, bytes);
    else
        connection.socket->sendBinaryMessage(bytes);
}

void Gateway::sendDeflated(GatewayConnection& connection, QByteArray const& bytes)
{
    if (connection.gone)
        return;
    z_stream& z = connection.deflate;
    QByteArray out(int(deflateBound(&z, uLong(bytes.size())) + 16), Qt::Uninitialized);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    z.avail_in = uInt(bytes.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = uInt(out.size());
    // The bound holds for one whole stream; a sync flush adds five bytes for its empty block.
    int const status = deflate(&z, Z_SYNC_FLUSH);
    if (status != Z_OK || z.avail_in != 0 || z.avail_out == 0)
        return connection.socket->abort();
    out.truncate(out.size() - int(z.avail_out));
    connection.socket->sendBinaryMessage(out);
    if (connection.socket->bytesToWrite() > kMaxBacklog)
        connection.socket->abort();
}

void Gateway::dispatch(QByteArray const& name, Term const& payload)
{
    if (m_sessions.empty())
        return;
    QByteArray bytes;
    appendTerm(bytes, payload, m_options.encode);
    auto const sessions = m_sessions;
    for (auto const& session : sessions)
        dispatchTo(*session, name, bytes);
}

void Gateway::sendFrame(Term const& frame)
{
    for (GatewayConnection* connection : open())
        send(*connection, frame);
}

void Gateway::sendPayload(QByteArray const& bytes)
{
    for (GatewayConnection* connection : open())
        sendDeflated(*connection, bytes);
}

void Gateway::sendRaw(QByteArray const& bytes)
{
    for (GatewayConnection* connection : open())
        connection->socket->sendBinaryMessage(bytes);
}

void Gateway::drop()
{
    for (GatewayConnection* connection : open())
        connection->socket->abort();
}

void Gateway::closeAll(int code, QString const& reason)
{
    for (GatewayConnection* connection : open())
        connection->socket->close(QWebSocketProtocol::CloseCode(code), reason);
}

void Gateway::forgetSessions()
{
    for (GatewayConnection* connection : open())
        connection->session.reset();
    m_sessions.clear();
}

} // namespace stage
