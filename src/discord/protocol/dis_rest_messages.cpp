// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Sending: plain messages, files and images, embeds.

#include "dis_client.h"
#include "dis_rest_params.h"
#include "dis_rest_request.h"
#include "dis_session.h"
#include "event_log.h"
#include "gateway_protocol.h"
#include "run_on_pool.h"

#include <QBuffer>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QImage>
#include <QPixmap>

#include <memory>
#include <utility>

namespace {

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, severity, text);
}

// --- forms ---

struct TypeOfSuffix {
    char const* suffix;
    char const* type;
};
constexpr TypeOfSuffix typesOfSuffixes[] = {
    { "png", "image/png" }, { "jpg", "image/jpeg" },  { "jpeg", "image/jpeg" },
    { "gif", "image/gif" }, { "webp", "image/webp" },
};

// Null for any other.
char const* contentTypeOf(QString const& fileName)
{
    QString const suffix = QFileInfo(fileName).suffix().toLower();
    for (TypeOfSuffix const& row : typesOfSuffixes)
        if (suffix == QLatin1String(row.suffix))
            return row.type;
    return nullptr;
}

// As browsers write it: what would end the quoted name or the line is percent-encoded, nothing
// else.
QByteArray quotable(QString const& fileName)
{
    QByteArray out = fileName.toUtf8();
    out.replace('"', "%22").replace('\r', "%0D").replace('\n', "%0A");
    return out;
}

QHttpPart fieldPart(char const* name, QByteArray const& body)
{
    QHttpPart part;
    part.setRawHeader("Content-Disposition", QByteArray("form-data; name=\"") + name + '"');
    part.setBody(body);
    return part;
}

QHttpPart filePart(QString const& fileName, QIODevice* content)
{
    QHttpPart part;
    part.setRawHeader("Content-Disposition",
                      "form-data; name=\"file\"; filename=\"" + quotable(fileName) + '"');
    if (char const* const type = contentTypeOf(fileName))
        part.setRawHeader("Content-Type", type);
    part.setBodyDevice(content);
    return part;
}

// Null, with a line in the log, for what cannot be read: a pipe, for one, could block for ever.
std::unique_ptr<QFile> openForSending(QString const& path)
{
    auto file = std::make_unique<QFile>(path);
    if (QFileInfo(path).isFile() && file->open(QIODevice::ReadOnly))
        return file;
    addLog(EvLog::Severity::Error,
           QStringLiteral("The file to be sent to Discord is not readable"));
    return {};
}

// --- embeds ---

QJsonArray fieldsJson(QVector<DisEmbedCreation::Field> const& fields)
{
    QJsonArray out;
    for (auto const& field : fields)
        out.append(QJsonObject{ { QStringLiteral("name"), field.name },
                                { QStringLiteral("value"), field.value },
                                { QStringLiteral("inline"), field.isInline } });
    return out;
}

QJsonObject parts(std::initializer_list<std::pair<char const*, QString>> texts)
{
    QJsonObject out;
    for (auto const& text : texts)
        DisRest::addIfNotEmpty(out, QLatin1String(text.first), text.second);
    return out;
}

QJsonObject embedJson(DisEmbedCreation const& embed)
{
    QString const image = embed.imageFile.isEmpty()
        ? embed.imageUrl
        : QLatin1String("attachment://") + QFileInfo(embed.imageFile).fileName();
    QString const timestamp =
        embed.timestamp.isNull() ? QString() : embed.timestamp.toUTC().toString(Qt::ISODateWithMs);
    QJsonObject out = parts({ { "title", embed.title },
                              { "description", embed.description },
                              { "url", embed.url },
                              { "timestamp", timestamp } });
    DisRest::addIfGiven(out, QLatin1String("color"), embed.color);
    struct Group {
        char const* key;
        QJsonObject json;
    };
    for (Group const& group :
         { Group{ "footer",
                  parts({ { "text", embed.footerText }, { "icon_url", embed.footerIconUrl } }) },
           Group{ "image", parts({ { "url", image } }) },
           Group{ "thumbnail", parts({ { "url", embed.thumbnailUrl } }) },
           Group{ "author",
                  parts({ { "name", embed.authorName },
                          { "url", embed.authorUrl },
                          { "icon_url", embed.authorIconUrl } }) } })
        DisRest::addIfNotEmpty(out, QLatin1String(group.key), group.json);
    if (!embed.fields.isEmpty())
        out.insert(QStringLiteral("fields"), fieldsJson(embed.fields));
    return out;
}

QByteArray toPng(QImage const& image)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG") ? png : QByteArray();
}

} // namespace

// A message that is sent ends the pause between typing notices.
FlakeId DisSession::beginMessage()
{
    m_typingTimer.stop();
    m_typingChannel = FlakeId();
    return m_client->makeNonce();
}

FlakeId DisSession::addPending(FlakeId nonce, FlakeId channel, QString const& text)
{
    m_client->addPendingMessage(
        nonce, { channel, m_ownUserId, text, QDateTime::currentMSecsSinceEpoch() });
    return nonce;
}

// The body is an event with the message as its "d", which is where the server reads it from; this
// wrapping is kept deliberately. There is no retry: a message that fails stays pending on screen.
FlakeId DisSession::sendChannelMessage(FlakeId channel, QString const& text)
{
    FlakeId const nonce = beginMessage();
    QJsonObject const message{
        { QStringLiteral("nonce"), nonce.toString() },
        { QStringLiteral("content"), text },
    };
    send(DisRest::request(DisRestOp::CreateMessage, { channel },
                          QJsonObject{
                              { QStringLiteral("op"), 0 },
                              { QStringLiteral("t"), QStringLiteral("MESSAGE_CREATE") },
                              { QStringLiteral("d"), message },
                          }));
    return addPending(nonce, channel, text);
}

FlakeId DisSession::sendChannelMessageAndFile(FlakeId channel, QString const& text,
                                              QString const& path)
{
    auto file = openForSending(path);
    if (!file)
        return {};
    FlakeId const nonce = beginMessage();
    postForm(channel, messageFields(nonce, text), QFileInfo(path).fileName(), std::move(file));
    return addPending(nonce, channel, text);
}

// A large picture takes long to be compressed.
FlakeId DisSession::sendChannelMessageAndImage(FlakeId channel, QString const& text,
                                               QPixmap const& pixmap, QString const& name)
{
    FlakeId const nonce = beginMessage();
    auto const work = [this, channel, nonce, text, name, image = pixmap.toImage()]() {
        QByteArray const png = toPng(image);
        return std::function<void()>(
            [this, channel, fields = messageFields(nonce, text), name, png] {
                postPng(channel, fields, name + QLatin1String(".png"), png);
            });
    };
    Utils::runOnPool(this, work);
    return addPending(nonce, channel, text);
}

void DisSession::postPng(FlakeId channel, FormFields const& fields, QString const& fileName,
                         QByteArray const& png)
{
    if (png.isEmpty())
        return addLog(EvLog::Severity::Error,
                      QStringLiteral("The image to be sent to Discord is not usable"));
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(png);
    buffer->open(QIODevice::ReadOnly);
    postForm(channel, fields, fileName, std::move(buffer));
}

FlakeId DisSession::sendEmbedMessage(FlakeId channel, QString const& text,
                                     DisEmbedCreation const& embed)
{
    std::unique_ptr<QFile> image;
    if (!embed.imageFile.isEmpty() && !(image = openForSending(embed.imageFile)))
        return {};
    FlakeId const nonce = beginMessage();
    QJsonObject const message{
        { QStringLiteral("content"), text },
        { QStringLiteral("nonce"), nonce.toString() },
        { QStringLiteral("embed"), embedJson(embed) },
    };
    if (image)
        postForm(channel, { { "payload_json", DisRest::compact(message) } },
                 QFileInfo(embed.imageFile).fileName(), std::move(image));
    else
        send(DisRest::request(DisRestOp::CreateMessage, { channel }, message));
    return addPending(nonce, channel, QStringLiteral("[message embed...]"));
}

DisSession::FormFields DisSession::messageFields(FlakeId nonce, QString const& text)
{
    return { { "content", text.toUtf8() }, { "nonce", nonce.toString().toLatin1() } };
}

void DisSession::postForm(FlakeId channel, FormFields const& fields, QString const& fileName,
                          std::unique_ptr<QIODevice> content)
{
    DisRestRequest const request = DisRest::request(DisRestOp::CreateMessage, { channel });
    if (request.path.isEmpty())
        return;
    auto* const form = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    for (auto const& field : fields)
        form->append(fieldPart(field.first, field.second));
    form->append(filePart(fileName, content.get()));
    content.release()->setParent(form);
    RestHelpers::postForm(sender(), apiUrl(request.path), form, this,
                          [this](QNetworkReply* reply) { receiveFormReply(reply); });
}

void DisSession::receiveFormReply(QNetworkReply* reply)
{
    if (reply->error() == QNetworkReply::NoError)
        return;
    QByteArray const body =
        RestHelpers::inflatedBody(RestHelpers::takeBody(reply), m_timings.maxBody)
            .value_or(QByteArray());
    addLog(EvLog::Severity::Error,
           QStringLiteral("Sending a file to Discord failed: %1 --- %2")
               .arg(reply->error())
               .arg(DisGateway::loggable(QString::fromUtf8(body), m_authToken)));
}

// --- the client's side ---

FlakeId DisClient::sendMessageAsUser(FlakeId userId, FlakeId channelId, QString const& text)
{
    DisSession* const session = findSessionForOwnUserId(userId);
    return session ? session->sendChannelMessage(channelId, text) : FlakeId();
}

FlakeId DisClient::sendChannelMessageAndFile(FlakeId userId, FlakeId channelId, QString const& text,
                                             QString const& path)
{
    DisSession* const session = findSessionForOwnUserId(userId);
    return session ? session->sendChannelMessageAndFile(channelId, text, path) : FlakeId();
}

FlakeId DisClient::sendChannelMessageAndImage(FlakeId userId, FlakeId channelId,
                                              QString const& text, QPixmap const& pixmap,
                                              QString const& name)
{
    DisSession* const session = findSessionForOwnUserId(userId);
    return session ? session->sendChannelMessageAndImage(channelId, text, pixmap, name) : FlakeId();
}

FlakeId DisClient::sendEmbedMessage(FlakeId userId, FlakeId channelId, QString const& text,
                                    DisEmbedCreation const& embed)
{
    DisSession* const session = findSessionForOwnUserId(userId);
    return session ? session->sendEmbedMessage(channelId, text, embed) : FlakeId();
}
