// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What our own client never asks for, and what it takes on trust: the service's errors and what
// the gateway tells of a request.

#include "stage.h"
#include "stage_history.h"
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

class StageRest : public testing::Test {
protected:
    StageRest()
        : stage([] {
            stage::StageOptions options;
            options.token = QStringLiteral("secret");
            return options;
        }())
    {
        client.enter(stage.gatewayUrl());
    }

    QString channel() const { return QStringLiteral("/channels/%1").arg(stage.busyChannelId()); }
    QString messages() const { return channel() + key("/messages"); }

    // The reply's body; its status is in `status`, 0 if there was no reply.
    QByteArray ask(char const* method, QString const& path, QByteArray const& body = {},
                   char const* token = "secret")
    {
        QNetworkRequest request(QUrl(stage.apiUrl() + path));
        request.setRawHeader("Authorization", token);
        if (!body.isEmpty())
            request.setRawHeader("content-type", "application/json");
        QNetworkReply* reply = m_manager.sendCustomRequest(request, method, body);
        QSignalSpy finished(reply, &QNetworkReply::finished);
        waitUntil([&] { return finished.count() > 0; });
        status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        reply->deleteLater();
        return reply->readAll();
    }

    QJsonObject dispatched(char const* name)
    {
        return client.waitFor(0, name).value(key("d")).toObject();
    }

    stage::Stage stage;
    WireClient client;
    int status = 0;

private:
    QNetworkAccessManager m_manager;
};

} // namespace

TEST_F(StageRest, ErrorsAsTheServiceWordsThem)
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
        QJsonObject const reply = QJsonDocument::fromJson(ask(c.method, c.path, c.body)).object();
        EXPECT_EQ(status, c.status) << c.method << qPrintable(c.path);
        EXPECT_EQ(reply.value(key("code")).toInt(-1), c.code) << c.method << qPrintable(c.path);
        EXPECT_FALSE(reply.value(key("message")).toString().isEmpty());
    }
    ask("GET", messages(), {}, "guess");
    EXPECT_EQ(status, 401);
    ask("GET", key("/gateway"), {}, "");
    EXPECT_EQ(status, 200) << "this alone needs no token";
    stage.limitRate("GET", messages(), 1500, 1);
    EXPECT_EQ(ask("GET", messages() + key("?limit=1")).toStdString(),
              R"({"global":false,"message":"You are being rate limited.","retry_after":1500})");
    EXPECT_EQ(status, 429);
}

TEST_F(StageRest, TheGatewayTellsOfRequests)
{
    stage::Channel const& busy = *stage::findChannel(stage.world(), stage.busyChannelId());
    QString const last = QString::number(stage::lastMessageId(stage.world(), busy));
    QString const path = messages() + QLatin1Char('/') + last;
    struct Case {
        char const* method;
        QString path;
        char const* event;
        char const* field;
        std::string told; // its value, as JSON in a list
    };
    Case const cases[] = {
        { "PUT", path + key("/reactions/%F0%9F%91%8D/@me"), "MESSAGE_REACTION_ADD", "emoji",
          "[{\"id\":null,\"name\":\"\U0001F44D\"}]" },
        { "PUT", path + key("/reactions/nice%3A55/@me"), "MESSAGE_REACTION_ADD", "emoji",
          R"([{"id":"55","name":"nice"}])" },
        { "DELETE", path + key("/reactions/nice%3A55/@me"), "MESSAGE_REACTION_REMOVE", "emoji",
          R"([{"id":"55","name":"nice"}])" },
        // A reaction that nobody holds any more is gone.
        { "PUT", channel() + key("/pins/") + last, "MESSAGE_UPDATE", "reactions",
          "[[{\"count\":1,\"emoji\":{\"id\":null,\"name\":\"\U0001F44D\"},\"me\":true}]]" },
        { "POST", channel() + key("/typing"), "TYPING_START", "user_id",
          "[\"" + std::to_string(stage.ownUserId()) + "\"]" },
        { "POST", path + key("/ack"), "MESSAGE_ACK", "message_id",
          "[\"" + last.toStdString() + "\"]" },
        { "DELETE", path, "MESSAGE_DELETE", "id", "[\"" + last.toStdString() + "\"]" },
    };
    for (Case const& c : cases) {
        client.frames.clear();
        ask(c.method, c.path, qstrcmp(c.method, "POST") == 0 ? "{}" : "");
        EXPECT_EQ(status / 100, 2) << c.method << qPrintable(c.path);
        QJsonArray const told{ dispatched(c.event).value(key(c.field)) };
        EXPECT_EQ(QJsonDocument(told).toJson(QJsonDocument::Compact).toStdString(), c.told);
    }
    ask("GET", path);
    EXPECT_EQ(status, 404);
}
