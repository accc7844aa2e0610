// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Messages with files, images and embeds.

#include "dis_rest_params.h"
#include "signed_in.h"

#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QRegularExpression>

namespace {

std::string field(std::string const& name, std::string const& body)
{
    return "--BOUNDARY\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + body
        + "\r\n";
}

std::string file(std::string const& name, std::string const& type, std::string const& body)
{
    return "--BOUNDARY\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" + name
        + "\"\r\n" + (type.empty() ? "" : "Content-Type: " + type + "\r\n") + "\r\n" + body
        + "\r\n--BOUNDARY--\r\n";
}

class RestMessages : public SignedInTest {
protected:
    // The next request's form with its boundary written as BOUNDARY, behind headers as they must
    // be.
    std::string nextForm()
    {
        QByteArray whole = QByteArray::fromStdString(nextRequest());
        stage::StageRequest const request = service.requests().at(seen - 1);
        EXPECT_EQ(request.header("content-length").toInt(), request.body.size());
        EXPECT_EQ(request.status, 200) << "the service can read it";
        static QRegularExpression const boundary(QStringLiteral("boundary=\"([^\"]+)\""));
        auto const match = boundary.match(QString::fromLatin1(request.header("content-type")));
        EXPECT_TRUE(match.hasMatch()) << whole.constData();
        whole.replace(match.captured(1).toLatin1(), "BOUNDARY");
        std::string const head = "POST " + channelPath() + "/messages" + commonHeaders
            + "\ncontent-type: multipart/form-data; boundary=\"BOUNDARY\"\naccept-encoding: gzip"
              "\ncontent-length: "
            + request.header("content-length").toStdString() + "\nmime-version: 1.0\n"; // Qt's own
        EXPECT_TRUE(whole.startsWith(head.c_str())) << whole.constData();
        return whole.mid(static_cast<int>(head.size())).toStdString();
    }

    QString writeFile(QString const& name, QByteArray const& content)
    {
        QString const path = m_dir.filePath(name);
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
        return path;
    }

    // Sends it and gives its nonce.
    std::string send(DisEmbedCreation const& embed)
    {
        FlakeId const nonce = client.sendEmbedMessage(me, channel, QStringLiteral("t\"x"), embed);
        EXPECT_EQ(client.pendingMessages_hack().value(nonce).text,
                  QStringLiteral("[message embed...]"));
        return nonce.toString().toStdString();
    }
    static std::string embedBody(std::string const& embed, std::string const& nonce)
    {
        return R"({"content":"t\"x","embed":)" + embed + R"(,"nonce":")" + nonce + "\"}";
    }

private:
    QTemporaryDir const m_dir;
};

} // namespace

TEST_F(RestMessages, Files)
{
    QByteArray const content("\0--x\r\n\xff", 7);
    QString const text = QString::fromUtf8("sée \"this\"\r\n");
    struct Case {
        QString name;
        char const* sentName;
        char const* type;
    };
    for (Case const& one : {
             Case{ QStringLiteral("a.JPG"), "a.JPG", "image/jpeg" },
             Case{ QStringLiteral("a.gif"), "a.gif", "image/gif" },
             Case{ QStringLiteral("a.b.webp"), "a.b.webp", "image/webp" },
             Case{ QStringLiteral("a.svg"), "a.svg", "" },
             Case{ QStringLiteral("png"), "png", "" },
             Case{ QString::fromUtf8("ü 👍\"; x=\"\r\nA: b.png"), "ü 👍%22; x=%22%0D%0AA: b.png",
                   "image/png" },
         }) {
        FlakeId const nonce =
            client.sendChannelMessageAndFile(me, channel, text, writeFile(one.name, content));
        EXPECT_EQ(client.pendingMessages_hack().value(nonce).text, text);
        EXPECT_EQ(nextForm(),
                  field("content", text.toStdString())
                      + field("nonce", nonce.toString().toStdString())
                      + file(one.sentName, one.type, content.toStdString()));
    }
}

TEST_F(RestMessages, WhatCannotBeReadIsNotSent)
{
    DisEmbedCreation embed;
    QString const folder = QFileInfo(writeFile(QStringLiteral("a"), {})).path();
    for (QString const& path : { folder, folder + QStringLiteral("/none") }) {
        embed.imageFile = path;
        EXPECT_FALSE(client.sendChannelMessageAndFile(me, channel, QString(), path).isValid());
        EXPECT_FALSE(client.sendEmbedMessage(me, channel, QString(), embed).isValid());
    }
    EXPECT_FALSE(client.sendChannelMessageAndFile(me, channel, QString(), QString()).isValid());
    EXPECT_EQ(log.all().count(QStringLiteral("The file to be sent to Discord is not readable")), 5);
    EXPECT_TRUE(client.pendingMessages_hack().isEmpty());
    client.sendChannelMessageAndImage(me, channel, QString(), QPixmap(), QString());
    EXPECT_TRUE(log.waitFor("The image to be sent to Discord is not usable"));
    EXPECT_TRUE(service.requests().isEmpty());
}

TEST_F(RestMessages, FailedUploadIsLoggedAndStaysPending)
{
    service.answer("POST", QString::fromStdString(channelPath() + "/messages"), 413, "too\nlarge");
    FlakeId const nonce = client.sendChannelMessageAndFile(me, channel, QStringLiteral("x"),
                                                           writeFile(QStringLiteral("a.txt"), "1"));
    EXPECT_TRUE(log.waitFor("Sending a file to Discord failed: 299 --- too large"));
    EXPECT_TRUE(client.pendingMessages_hack().contains(nonce));
}

TEST_F(RestMessages, Images)
{
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(qRgba(10, 20, 30, 255));
    image.setPixel(2, 1, qRgba(200, 100, 50, 255));
    FlakeId const nonce = client.sendChannelMessageAndImage(me, channel, QStringLiteral("look"),
                                                            QPixmap::fromImage(image),
                                                            QStringLiteral("clip\"\r\nboard"));
    std::string const form = nextForm();
    size_t const png = form.find("\x89PNG");
    ASSERT_NE(png, std::string::npos);
    std::string const bytes = form.substr(png, form.rfind("\r\n--BOUNDARY--") - png);
    EXPECT_EQ(form,
              field("content", "look") + field("nonce", nonce.toString().toStdString())
                  + file("clip%22%0D%0Aboard.png", "image/png", bytes));
    EXPECT_EQ(QImage::fromData(QByteArray::fromStdString(bytes), "PNG")
                  .convertToFormat(QImage::Format_ARGB32),
              image);
}

TEST_F(RestMessages, Embeds)
{
    std::string const line = "POST " + channelPath() + "/messages";
    std::string nonce = send({});
    EXPECT_EQ(nextRequest(), wholeRequest(line, embedBody("{}", nonce)));

    DisEmbedCreation embed;
    embed.title = QStringLiteral("T");
    embed.description = QString::fromUtf8("D \"ü\"\n👍");
    embed.url = QStringLiteral("https://u.invalid/");
    embed.timestamp = QDateTime(QDate(2018, 6, 1), QTime(12, 30, 15, 7), Qt::OffsetFromUTC, 7'200);
    embed.color = 0;
    embed.footerText = QStringLiteral("F");
    embed.imageUrl = QStringLiteral("https://i.invalid/");
    embed.thumbnailUrl = QStringLiteral("https://t.invalid/");
    embed.authorName = QStringLiteral("A");
    embed.authorIconUrl = QStringLiteral("https://a.invalid/");
    embed.fields = { { QStringLiteral("n"), QStringLiteral("v"), true }, {} };
    nonce = send(embed);
    EXPECT_EQ(nextRequest(),
              wholeRequest(
                  line,
                  embedBody(R"({"author":{"icon_url":"https://a.invalid/","name":"A"},"color":0,)"
                            R"("description":"D \"ü\"\n👍",)"
                            R"("fields":[{"inline":true,"name":"n","value":"v"},)"
                            R"({"inline":false,"name":"","value":""}],"footer":{"text":"F"},)"
                            R"("image":{"url":"https://i.invalid/"},)"
                            R"("thumbnail":{"url":"https://t.invalid/"},)"
                            R"("timestamp":"2018-06-01T10:30:15.007Z","title":"T",)"
                            R"("url":"https://u.invalid/"})",
                            nonce)));

    DisEmbedCreation local;
    local.imageUrl = QStringLiteral("https://i.invalid/");
    local.footerIconUrl = QStringLiteral("https://f.invalid/");
    local.authorUrl = QStringLiteral("https://a.invalid/");
    local.imageFile = writeFile(QStringLiteral("a\"b\n.png"), "PIXELS");
    nonce = send(local);
    EXPECT_EQ(nextForm(),
              field("payload_json",
                    embedBody(R"({"author":{"url":"https://a.invalid/"},)"
                              R"("footer":{"icon_url":"https://f.invalid/"},)"
                              R"("image":{"url":"attachment://a\"b\n.png"}})",
                              nonce))
                  + file("a%22b%0A.png", "image/png", "PIXELS"));
}
