// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage.h"

#include "stage_pictures.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QTimer>

#include <algorithm>

namespace stage {

namespace {

constexpr int kMaxFrames = 10000;
constexpr int kMaxRequests = 10000;
constexpr qint64 kMaxRequestBytes = 64 << 20;

QString const kApiPath = QStringLiteral("/api/v6");

struct Override {
    QByteArray method;
    QString path;
    HttpReply reply;
    int times = -1;
};

GatewayOptions gatewayOptions(StageOptions const& options)
{
    GatewayOptions out;
    out.helloIntervalMs = options.helloIntervalMs;
    out.token = options.token;
    out.encode = { options.idsAsIntegers, options.atomKeys };
    return out;
}

} // namespace

QByteArray StageRequest::header(char const* lowerName) const
{
    for (auto const& entry : headers) {
        if (entry.first == lowerName)
            return entry.second;
    }
    return {};
}

QJsonObject StageRequest::json() const
{
    return QJsonDocument::fromJson(body).object();
}

struct Stage::Priv {
    Stage* q;
    StageOptions options;
    World world;
    Gateway gateway;
    HttpServer http;
    RestContext rest;
    bool listening = false;
    std::deque<StageRequest> requests;
    qint64 requestBytes = 0;
    QVector<QJsonObject> frames;
    std::vector<Override> overrides;
    QHash<QString, int> delays;
    QHash<QString, int> cuts;

    Priv(Stage* stage, StageOptions const& o)
        : q(stage)
        , options(o)
        , world(makeWorld(o.world, o.seed))
        , gateway(world, gatewayOptions(o))
        , http([this](HttpRequest const& request) { return answer(request); })
        , rest{ world,
                [this](QByteArray const& name, Term const& d) { gateway.dispatch(name, d); },
                [] { return QDateTime::currentMSecsSinceEpoch(); },
                {},
                o.token }
    {
    }

    void record(QString const& path, HttpRequest const& request);
    bool takeOverride(QByteArray const& method, QString const& path, HttpReply* reply);
    HttpReply answer(HttpRequest const& request);
};

void Stage::Priv::record(QString const& path, HttpRequest const& request)
{
    if (!options.recordRequests)
        return;
    requests.push_back({ request.method, path, request.query.toString(QUrl::FullyEncoded),
                         request.headers, request.body, 0 });
    requestBytes += request.body.size();
    while (requests.size() > 1
           && (requests.size() > kMaxRequests || requestBytes > kMaxRequestBytes)) {
        requestBytes -= requests.front().body.size();
        requests.pop_front();
    }
}

bool Stage::Priv::takeOverride(QByteArray const& method, QString const& path, HttpReply* reply)
{
    for (Override& one : overrides) {
        if (one.method != method || one.path != path || one.times == 0)
            continue;
        one.times -= one.times > 0 ? 1 : 0;
        *reply = one.reply;
        return true;
    }
    return false;
}

HttpReply Stage::Priv::answer(HttpRequest const& request)
{
    bool const isApi = request.path.startsWith(kApiPath + QLatin1Char('/'));
    QString const path = isApi ? request.path.mid(kApiPath.size()) : request.path;
    record(path, request);
    HttpReply reply;
    auto const cutLeft = cuts.find(path);
    if (cutLeft != cuts.end() && *cutLeft > 0) {
        --*cutLeft;
        reply.cut = true;
    } else if (!takeOverride(request.method, path, &reply)) {
        bool const isPicture =
            path.startsWith(QLatin1String("/cdn/")) || path.startsWith(QLatin1String("/media/"));
        reply = isPicture ? answerPicture(request)
                          : answerRest(rest, isApi ? path : QString(), request);
    }
    reply.delayMs = delays.value(path, 0);
    if (options.recordRequests)
        requests.back().status = reply.cut ? 0 : reply.status;
    emit q->requestReceived(request.method, path);
    return reply;
}

Stage::Stage(StageOptions const& options, QObject* parent)
    : QObject(parent)
    , m_priv(std::make_unique<Priv>(this, options))
{
    Gateway& gateway = m_priv->gateway;
    connect(&gateway, &Gateway::connectionOpened, this, &Stage::connectionOpened);
    connect(&gateway, &Gateway::connectionClosed, this, &Stage::connectionClosed);
    connect(&gateway, &Gateway::identified, this, &Stage::identified);
    connect(&gateway, &Gateway::resumed, this, &Stage::resumed);
    connect(&gateway, &Gateway::frameReceived, this, [this](int op, QJsonObject const& frame) {
        if (m_priv->options.recordRequests) {
            m_priv->frames.append(frame);
            if (m_priv->frames.size() > kMaxFrames)
                m_priv->frames.removeFirst();
        }
        emit frameReceived(op, frame);
    });
    m_priv->listening = gateway.listen() && m_priv->http.listen();
    m_priv->rest.gatewayUrl = gatewayUrl();
    m_priv->world.cdnUrl = cdnUrl();
    m_priv->world.mediaUrl = mediaUrl();
}

Stage::~Stage() = default;

bool Stage::isListening() const
{
    return m_priv->listening;
}

QString Stage::apiUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(httpPort()).arg(kApiPath);
}

QString Stage::cdnUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1/cdn").arg(httpPort());
}
QString Stage::mediaUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1/media").arg(httpPort());
}
QString Stage::gatewayUrl() const
{
    return QStringLiteral("ws://127.0.0.1:%1").arg(gatewayPort());
}
quint16 Stage::httpPort() const
{
    return m_priv->http.port();
}
quint16 Stage::gatewayPort() const
{
    return m_priv->gateway.port();
}
World& Stage::world()
{
    return m_priv->world;
}
RestContext& Stage::rest()
{
    return m_priv->rest;
}
Gateway& Stage::gateway()
{
    return m_priv->gateway;
}
quint64 Stage::busyChannelId() const
{
    return busyChannel(m_priv->world);
}
quint64 Stage::ownUserId() const
{
    return m_priv->world.users[0].id;
}

QVector<StageRequest> Stage::requests() const
{
    QVector<StageRequest> out;
    for (StageRequest const& request : m_priv->requests)
        out.append(request);
    return out;
}

QVector<StageRequest> Stage::requests(QByteArray const& method, QString const& path) const
{
    QVector<StageRequest> out;
    for (StageRequest const& request : m_priv->requests) {
        if (request.method == method && request.path == path)
            out.append(request);
    }
    return out;
}

void Stage::clearRequests()
{
    m_priv->requests.clear();
    m_priv->requestBytes = 0;
}

void Stage::answer(QByteArray const& method, QString const& path, int status,
                   QByteArray const& body, HttpHeaders const& headers, int times)
{
    Override one;
    one.method = method;
    one.path = path;
    one.reply.status = status;
    one.reply.body = body;
    one.reply.headers = headers;
    one.times = times;
    m_priv->overrides.push_back(std::move(one));
}

void Stage::limitRate(QByteArray const& method, QString const& path, int retryAfterMs, int times)
{
    QJsonObject const body{
        { QStringLiteral("message"), QStringLiteral("You are being rate limited.") },
        { QStringLiteral("retry_after"), retryAfterMs },
        { QStringLiteral("global"), false },
    };
    answer(method, path, 429, QJsonDocument(body).toJson(QJsonDocument::Compact),
           { { "retry-after", QByteArray::number(retryAfterMs) } }, times);
}

void Stage::delay(QString const& path, int ms)
{
    m_priv->delays.insert(path, ms);
}
void Stage::cut(QString const& path, int times)
{
    m_priv->cuts.insert(path, times);
}

int Stage::connectionCount() const
{
    return m_priv->gateway.connectionCount();
}
QVector<QJsonObject> Stage::frames() const
{
    return m_priv->frames;
}

bool Stage::expectFrame(int op, QJsonObject* frame, int timeoutMs)
{
    auto const take = [&] {
        for (int n = 0; n < m_priv->frames.size(); ++n) {
            if (m_priv->frames[n].value(QStringLiteral("op")).toInt(-1) != op)
                continue;
            QJsonObject const found = m_priv->frames.takeAt(n);
            if (frame)
                *frame = found;
            return true;
        }
        return false;
    };
    QElapsedTimer since;
    since.start();
    while (!take()) {
        qint64 const left = timeoutMs - since.elapsed();
        if (left <= 0)
            return false;
        QEventLoop loop;
        QTimer::singleShot(int(left), &loop, &QEventLoop::quit);
        connect(this, &Stage::frameReceived, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

void Stage::sendDispatch(QString const& name, QJsonObject const& d)
{
    m_priv->gateway.dispatch(name.toUtf8(), fromJson(d));
}

void Stage::sendFrame(QJsonObject const& frame)
{
    m_priv->gateway.sendFrame(fromJson(frame));
}
void Stage::sendRawMessage(QByteArray const& bytes)
{
    m_priv->gateway.sendRaw(bytes);
}

void Stage::sendGarbage()
{
    m_priv->gateway.sendPayload(QByteArray(64, '\x07'));
}
void Stage::sendPayload(QByteArray const& bytes)
{
    m_priv->gateway.sendPayload(bytes);
}
void Stage::dropConnection()
{
    m_priv->gateway.drop();
}
void Stage::closeWith(int code, QString const& reason)
{
    m_priv->gateway.closeAll(code, reason);
}

void Stage::requestReconnect()
{
    m_priv->gateway.sendFrame(map().set("op", integer(7)).set("d", nil()));
}

void Stage::invalidateSession()
{
    m_priv->gateway.sendFrame(map().set("op", integer(9)).set("d", boolean(false)));
    m_priv->gateway.forgetSessions();
}

} // namespace stage
