// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage.h"
#include "wire_client.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSignalSpy>

namespace {

QString key(char const* name)
{
    return QString::fromLatin1(name);
}

struct RestTest : testing::Test {
    stage::Stage stage;
    QNetworkAccessManager manager;
    WireClient client;
    int status = 0;

    static stage::StageOptions options()
    {
        stage::StageOptions out;
        out.token = QStringLiteral("secret");
        out.world.messagesInBusyChannel = 250;
        return out;
    }

    RestTest()
        : stage(options())
    {
        client.open(stage.gatewayUrl());
        client.waitFor(10);
        client.identify();
        client.waitFor(0, "READY");
        client.frames.clear();
    }

    QString messages() const
    {
        return QStringLiteral("/channels/%1/messages").arg(stage.busyChannelId());
    }

    // The reply's body; its status is in `status`, 0 if there was no reply.
    QByteArray ask(char const* method, QString const& path, QByteArray const& body = {},
                   char const* type = "application/json", char const* token = "secret")
    {
        QNetworkRequest request(QUrl(stage.apiUrl() + path));
        request.setRawHeader("Authorization", token);
        if (!body.isEmpty())
            request.setRawHeader("content-type", type);
        QNetworkReply* reply = manager.sendCustomRequest(request, method, body);
        QSignalSpy finished(reply, &QNetworkReply::finished);
        waitUntil([&] { return finished.count() > 0; });
        status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        reply->deleteLater();
        return reply->readAll();
    }

    QJsonObject askObject(char const* method, QString const& path, QByteArray const& body = {})
    {
        return QJsonDocument::fromJson(ask(method, path, body)).object();
    }

    QJsonObject dispatched(char const* name)
    {
        return client.waitFor(0, name).value(key("d")).toObject();
    }
};

TEST_F(RestTest, GatewayNeedsNoToken)
{
    QJsonObject const reply =
        QJsonDocument::fromJson(ask("GET", key("/gateway"), {}, "", "")).object();
    EXPECT_EQ(status, 200);
    EXPECT_EQ(reply.value(key("url")).toString(), stage.gatewayUrl());
    ask("GET", messages(), {}, "", "guess");
    EXPECT_EQ(status, 401);
}

TEST_F(RestTest, ErrorsAsTheServiceWordsThem)
{
    struct Case {
        char const* method;
        QString path;
        char const* body;
        int status;
        int code;
    };
    QString const guild = QStringLiteral("/guilds/%1").arg(stage.world().guilds[0].id);
    Case const cases[] = {
        { "GET", key("/nowhere"), "", 404, 0 },
        { "PUT", messages(), "", 405, 0 },
        { "GET", key("/channels/1/messages"), "", 404, 10003 },
        { "GET", messages() + key("?limit=101"), "", 400, 50035 },
        { "GET", messages() + key("?limit=x"), "", 400, 50035 },
        { "GET", messages() + key("/12"), "", 404, 10008 },
        { "POST", messages(), "{", 400, 50109 },
        { "POST", messages(), "[]", 400, 50109 },
        { "POST", messages(), "{\"content\":\" \"}", 400, 50006 },
        { "DELETE", messages() + key("/12"), "", 404, 10008 },
        { "POST", key("/guilds/1/channels"), "{}", 404, 10004 },
        { "PATCH", guild + key("/roles/1"), "{}", 404, 10011 },
        { "DELETE", guild + key("/emojis/1"), "", 404, 10014 },
        { "PATCH", guild + key("/members/1"), "{}", 404, 10007 },
        { "PUT", guild + key("/bans/1"), "", 404, 10013 },
        { "PUT", key("/channels/1/recipients/1"), "", 404, 10003 },
        { "PUT", key("/users/@me/relationships/1"), "{}", 404, 10013 },
    };
    for (Case const& c : cases) {
        QJsonObject const reply = askObject(c.method, c.path, c.body);
        EXPECT_EQ(status, c.status) << c.method << qPrintable(c.path);
        EXPECT_EQ(reply.value(key("code")).toInt(-1), c.code) << c.method << qPrintable(c.path);
        EXPECT_FALSE(reply.value(key("message")).toString().isEmpty());
    }
}

TEST_F(RestTest, HistoryPagesFromTheEndToTheStart)
{
    QStringList ids;
    QString before;
    for (int page = 0; page < 4; ++page) {
        QByteArray const body = ask("GET", messages() + key("?limit=100") + before);
        QJsonArray const list = QJsonDocument::fromJson(body).array();
        EXPECT_EQ(list.size(), page < 2 ? 100 : page == 2 ? 50 : 0);
        for (QJsonValue const& message : list)
            ids << message.toObject().value(key("id")).toString();
        before = key("&before=") + ids.last();
    }
    ASSERT_EQ(ids.size(), 250);
    for (int n = 1; n < ids.size(); ++n)
        EXPECT_GT(ids[n - 1].toULongLong(), ids[n].toULongLong()) << n;
}

TEST_F(RestTest, SentMessagesComeBackWithTheirNonce)
{
    char const* const wrapped =
        "{\"op\":0,\"t\":\"MESSAGE_CREATE\",\"d\":{\"nonce\":\"77\",\"content\":\"Hello\"}}";
    QJsonObject const reply = askObject("POST", messages(), wrapped);
    EXPECT_EQ(status, 200);
    QJsonObject const seen = dispatched("MESSAGE_CREATE");
    EXPECT_EQ(seen.value(key("content")).toString(), key("Hello"));
    EXPECT_EQ(seen.value(key("nonce")).toString(), key("77"));
    EXPECT_EQ(seen.value(key("id")), reply.value(key("id")));
    EXPECT_EQ(seen.value(key("author")).toObject().value(key("id")).toString(),
              QString::number(stage.ownUserId()));
    auto const recorded = stage.requests("POST", messages());
    ASSERT_EQ(recorded.size(), 1);
    EXPECT_EQ(recorded[0].body.toStdString(), wrapped);
    EXPECT_EQ(recorded[0].header("authorization").toStdString(), "secret");
    QString const path = messages() + QLatin1Char('/') + reply.value(key("id")).toString();
    ask("PATCH", path, "{\"content\":\"Changed\"}");
    EXPECT_EQ(status, 200);
    EXPECT_EQ(dispatched("MESSAGE_UPDATE").value(key("content")).toString(), key("Changed"));
    EXPECT_EQ(askObject("GET", path).value(key("content")).toString(), key("Changed"));
    ask("DELETE", path);
    EXPECT_EQ(status, 204);
    EXPECT_EQ(dispatched("MESSAGE_DELETE").value(key("id")), reply.value(key("id")));
    ask("GET", path);
    EXPECT_EQ(status, 404);
}

TEST_F(RestTest, FilesComeAsForms)
{
    QByteArray const form = "--xx\r\nContent-Disposition: form-data; name=\"content\"\r\n\r\nLook"
                            "\r\n--xx\r\nContent-Disposition: form-data; name=\"nonce\"\r\n\r\n78"
                            "\r\n--xx\r\nContent-Disposition: form-data; name=\"file\"; "
                            "filename=\"a.txt\"\r\n\r\n12345\r\n--xx--\r\n";
    ask("POST", messages(), form, "multipart/form-data; boundary=\"xx\"");
    EXPECT_EQ(status, 200);
    QJsonObject const seen = dispatched("MESSAGE_CREATE");
    EXPECT_EQ(seen.value(key("content")).toString(), key("Look"));
    EXPECT_EQ(seen.value(key("nonce")).toString(), key("78"));
    QJsonObject const file = seen.value(key("attachments")).toArray()[0].toObject();
    EXPECT_EQ(file.value(key("filename")).toString(), key("a.txt"));
    EXPECT_EQ(file.value(key("size")).toInt(), 5);
    // Damaged at any place it is refused or taken, and the stage goes on.
    for (int size = 0; size < form.size(); size += 7)
        stage::parseMultipart(form.left(size), "multipart/form-data; boundary=xx");
    EXPECT_TRUE(
        stage::parseMultipart(form.left(form.size() - 6), "multipart/form-data; boundary=xx")
            .empty());
}

TEST_F(RestTest, ReactionsPinsTypingAndAcks)
{
    stage::Channel const& channel = *stage::findChannel(stage.world(), stage.busyChannelId());
    QString const last = QString::number(stage::lastMessageId(stage.world(), channel));
    QString const base = QStringLiteral("/channels/%1/").arg(channel.id);
    ask("PUT", base + key("messages/") + last + key("/reactions/%F0%9F%91%8D/@me"));
    EXPECT_EQ(status, 204);
    QJsonObject const emoji = dispatched("MESSAGE_REACTION_ADD").value(key("emoji")).toObject();
    EXPECT_EQ(emoji.value(key("name")).toString().toStdString(), "\U0001F44D");
    EXPECT_TRUE(emoji.value(key("id")).isNull());
    ask("PUT", base + key("messages/") + last + key("/reactions/nice%3A55/@me"));
    ask("DELETE", base + key("messages/") + last + key("/reactions/nice%3A55/@me"));
    EXPECT_EQ(dispatched("MESSAGE_REACTION_REMOVE")
                  .value(key("emoji"))
                  .toObject()
                  .value(key("id"))
                  .toString(),
              key("55"));
    QJsonArray const left =
        askObject("GET", base + key("messages/") + last).value(key("reactions")).toArray();
    ASSERT_EQ(left.size(), 1); // a reaction that nobody holds any more is gone
    EXPECT_EQ(left[0].toObject().value(key("count")).toInt(), 1);
    EXPECT_TRUE(left[0].toObject().value(key("me")).toBool());
    ask("PUT", base + key("pins/") + last);
    EXPECT_EQ(status, 204);
    EXPECT_TRUE(dispatched("MESSAGE_UPDATE").value(key("pinned")).toBool());
    QJsonArray const pins = QJsonDocument::fromJson(ask("GET", base + key("pins"))).array();
    ASSERT_EQ(pins.size(), 1);
    EXPECT_EQ(pins[0].toObject().value(key("id")).toString(), last);
    ask("POST", base + key("typing"), "{}");
    EXPECT_EQ(status, 204);
    EXPECT_EQ(dispatched("TYPING_START").value(key("user_id")).toString(),
              QString::number(stage.ownUserId()));
    QJsonObject const ack =
        askObject("POST", base + key("messages/") + last + key("/ack"), "{\"token\": null}");
    EXPECT_FALSE(ack.value(key("token")).toString().isEmpty());
    EXPECT_EQ(dispatched("MESSAGE_ACK").value(key("message_id")).toString(), last);
}

TEST_F(RestTest, OverridesDelaysAndCuts)
{
    stage.answer("GET", messages(), 503, "{}", { { "retry-after", "1" } }, 1);
    ask("GET", messages() + key("?limit=1"));
    EXPECT_EQ(status, 503);
    ask("GET", messages() + key("?limit=1"));
    EXPECT_EQ(status, 200);
    stage.limitRate("GET", messages(), 1500, 1);
    EXPECT_EQ(ask("GET", messages() + key("?limit=1")).toStdString(),
              R"({"global":false,"message":"You are being rate limited.","retry_after":1500})");
    EXPECT_EQ(status, 429);
    stage.delay(messages(), 20);
    EXPECT_EQ(QJsonDocument::fromJson(ask("GET", messages() + key("?limit=1"))).array().size(), 1);
    stage.delay(messages(), 0);
    // A client may try a cut request again by itself, so more than one is cut.
    stage.cut(messages(), 10);
    ask("POST", messages(), "{\"content\":\"lost\"}");
    EXPECT_EQ(status, 0);
    stage.cut(messages(), 0);
    ask("GET", messages() + key("?limit=1"));
    EXPECT_EQ(status, 200);
}

} // namespace
