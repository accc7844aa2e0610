// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Messages with files, images and embeds.

#include "dis_rest_params.h"
#include "signed_in.h"

#include <QFile>
#include <QPixmap>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

// The next request with its boundary written as BOUNDARY. Its length is checked and left out.
std::string nextForm(SignedIn& on)
{
    std::string const whole = on.nextRequest();
    stage::StageRequest const request = on.service.requests().at(on.seen - 1);
    EXPECT_EQ(request.header("content-length").toInt(), request.body.size());
    QByteArray text = QByteArray::fromStdString(whole);
    static QRegularExpression const boundary(QStringLiteral("boundary=\"([^\"]+)\""));
    auto const match = boundary.match(QString::fromLatin1(request.header("content-type")));
    EXPECT_TRUE(match.hasMatch()) << whole;
    text.replace(match.captured(1).toLatin1(), "BOUNDARY");
    text.replace("\ncontent-length: " + request.header("content-length"), "");
    return text.toStdString();
}

std::string formHead(SignedIn const& on)
{
    return "POST " + on.channelPath() + "/messages" + commonHeaders
        + "\ncontent-type: multipart/form-data; boundary=\"BOUNDARY\"\naccept-encoding: gzip"
          "\nmime-version: 1.0\n"; // Qt's own
}

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

QString writeFile(QTemporaryDir const& dir, QString const& name, QByteArray const& content)
{
    QString const path = dir.filePath(name);
    QFile out(path);
    EXPECT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(content);
    return path;
}

} // namespace

TEST(RestMessages, Files)
{
    SignedIn on;
    QTemporaryDir const dir;
    QByteArray const content("\0--x\r\n\xff", 7);
    struct Case {
        QString name;
        char const* sentName;
        char const* type;
    };
    for (Case const& one : {
             Case{ QStringLiteral("a.png"), "a.png", "image/png" },
             Case{ QStringLiteral("a.JPG"), "a.JPG", "image/jpeg" },
             Case{ QStringLiteral("a.jpeg"), "a.jpeg", "image/jpeg" },
             Case{ QStringLiteral("a.gif"), "a.gif", "image/gif" },
             Case{ QStringLiteral("a.b.webp"), "a.b.webp", "image/webp" },
             Case{ QStringLiteral("a.svg"), "a.svg", "" },
             Case{ QStringLiteral("png"), "png", "" },
             Case{ QString::fromUtf8("ü 👍\"; x=\"\r\nA: b.png"), "ü 👍%22; x=%22%0D%0AA: b.png",
                   "image/png" },
         }) {
        QString const text = QString::fromUtf8("sée \"this\"\r\n");
        FlakeId const nonce = on.test.client->sendChannelMessageAndFile(
            on.test.userId, on.channel, text, writeFile(dir, one.name, content));
        ASSERT_TRUE(nonce.isValid());
        auto const pending = on.test.client->pendingMessages_hack().value(nonce);
        EXPECT_EQ(pending.text, text);
        EXPECT_EQ(pending.channelId, on.channel);
        EXPECT_EQ(nextForm(on),
                  formHead(on) + field("content", "sée \"this\"\r\n")
                      + field("nonce", nonce.toString().toStdString())
                      + file(one.sentName, one.type, content.toStdString()));
    }
}

TEST(RestMessages, FilesThatCannotBeReadAreNotSent)
{
    SignedIn on;
    QTemporaryDir const dir;
    LogLines log;
    DisClient& client = *on.test.client;
    DisEmbedCreation embed;
    for (QString const& path : { dir.path(), dir.filePath(QStringLiteral("none")), QString() }) {
        EXPECT_FALSE(client.sendChannelMessageAndFile(on.test.userId, on.channel, QString(), path)
                         .isValid());
        embed.imageFile = path;
        if (path.isEmpty())
            continue; // an embed without a file
        EXPECT_FALSE(
            client.sendEmbedMessage(on.test.userId, on.channel, QString(), embed).isValid());
    }
    EXPECT_EQ(log.all().count(QStringLiteral("The file to be sent to Discord is not readable")), 5);
    EXPECT_TRUE(client.pendingMessages_hack().isEmpty());
    EXPECT_TRUE(on.service.requests().isEmpty());
}

TEST(RestMessages, Images)
{
    SignedIn on;
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(qRgba(10, 20, 30, 255));
    image.setPixel(2, 1, qRgba(200, 100, 50, 255));
    FlakeId const nonce = on.test.client->sendChannelMessageAndImage(
        on.test.userId, on.channel, QStringLiteral("look"), QPixmap::fromImage(image),
        QStringLiteral("clip\"\r\nboard"));
    EXPECT_EQ(on.test.client->pendingMessages_hack().value(nonce).text, QStringLiteral("look"));
    std::string const form = nextForm(on);
    std::string const head =
        formHead(on) + field("content", "look") + field("nonce", nonce.toString().toStdString());
    ASSERT_EQ(form.substr(0, head.size()), head);
    size_t const png = form.find("\x89PNG");
    size_t const end = form.rfind("\r\n--BOUNDARY--");
    ASSERT_NE(png, std::string::npos);
    std::string const bytes = form.substr(png, end - png);
    EXPECT_EQ(form.substr(head.size()), file("clip%22%0D%0Aboard.png", "image/png", bytes));
    EXPECT_EQ(QImage::fromData(QByteArray::fromStdString(bytes), "PNG")
                  .convertToFormat(QImage::Format_ARGB32),
              image);
}

TEST(RestMessages, FailedUploadIsLoggedAndStaysPending)
{
    SignedIn on;
    QTemporaryDir const dir;
    LogLines log;
    on.service.answer("POST", QString::fromStdString(on.channelPath() + "/messages"), 413,
                      "too\nlarge");
    FlakeId const nonce =
        on.test.client->sendChannelMessageAndFile(on.test.userId, on.channel, QStringLiteral("x"),
                                                  writeFile(dir, QStringLiteral("a.txt"), "1"));
    EXPECT_TRUE(log.waitFor("Sending a file to Discord failed: 299 --- too large"));
    EXPECT_TRUE(on.test.client->pendingMessages_hack().contains(nonce));
    on.test.client->sendChannelMessageAndImage(on.test.userId, on.channel, QString(), QPixmap(),
                                               QString());
    EXPECT_TRUE(log.waitFor("The image to be sent to Discord is not usable"));
}

TEST(RestMessages, Embeds)
{
    SignedIn on;
    DisClient& client = *on.test.client;
    auto const send = [&](DisEmbedCreation const& embed) {
        FlakeId const nonce =
            client.sendEmbedMessage(on.test.userId, on.channel, QStringLiteral("t\"x"), embed);
        EXPECT_EQ(client.pendingMessages_hack().value(nonce).text,
                  QStringLiteral("[message embed...]"));
        return nonce.toString().toStdString();
    };
    auto const expected = [&](std::string const& embed, std::string const& nonce) {
        return wholeRequest("POST " + on.channelPath() + "/messages",
                            R"({"content":"t\"x","embed":)" + embed + R"(,"nonce":")" + nonce
                                + "\"}");
    };
    std::string nonce = send({});
    EXPECT_EQ(on.nextRequest(), expected("{}", nonce));

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
    EXPECT_EQ(on.nextRequest(),
              expected(R"({"author":{"icon_url":"https://a.invalid/","name":"A"},"color":0,)"
                       R"("description":"D \"ü\"\n👍",)"
                       R"("fields":[{"inline":true,"name":"n","value":"v"},)"
                       R"({"inline":false,"name":"","value":""}],"footer":{"text":"F"},)"
                       R"("image":{"url":"https://i.invalid/"},)"
                       R"("thumbnail":{"url":"https://t.invalid/"},)"
                       R"("timestamp":"2018-06-01T10:30:15.007Z","title":"T",)"
                       R"("url":"https://u.invalid/"})",
                       nonce));

    QTemporaryDir const dir;
    DisEmbedCreation local;
    local.imageUrl = QStringLiteral("https://i.invalid/");
    local.footerIconUrl = QStringLiteral("https://f.invalid/");
    local.authorUrl = QStringLiteral("https://a.invalid/");
    local.imageFile = writeFile(dir, QStringLiteral("a\"b\n.png"), "PIXELS");
    nonce = send(local);
    EXPECT_EQ(nextForm(on),
              formHead(on)
                  + field("payload_json",
                          R"({"content":"t\"x","embed":{"author":{"url":"https://a.invalid/"},)"
                          R"("footer":{"icon_url":"https://f.invalid/"},)"
                          R"("image":{"url":"attachment://a\"b\n.png"}},"nonce":")"
                              + nonce + "\"}")
                  + file("a%22b%0A.png", "image/png", "PIXELS"));
}
