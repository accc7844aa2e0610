// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A channel that is opened, read to its very beginning and closed while nobody says anything: all
// that the service hears of it. The waits are the program's own.

#include "client.h"
#include "stage_history.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <iostream>

namespace {

QString const token = QStringLiteral("token");
// Milliseconds. An acknowledgement may wait for 5,000.
constexpr int longRead = 6'000;
constexpr int afterClosing = 2'000;

// Two full pages and the one that ends the history.
stage::StageOptions shortHistory()
{
    stage::StageOptions options;
    options.token = token;
    options.world.messagesInBusyChannel = 250;
    return options;
}

// What the service received so far as text, with words for identifiers.
class Heard {
public:
    explicit Heard(stage::Stage& stage)
        : m_stage(stage)
    {
        stage::World const& world = stage.world();
        stage::Channel const& busy = *stage::findChannel(world, stage.busyChannelId());
        addWord(busy.id, QStringLiteral("CHANNEL"));
        addWord(world.guilds[static_cast<size_t>(busy.guild)].id, QStringLiteral("GUILD"));
        for (int const index : { 50, 150, 249 })
            addWord(stage::historyMessage(world, busy, index).id,
                    QStringLiteral("MESSAGE%1").arg(index));
    }

    QStringList requests(bool ofPictures = false) const
    {
        QStringList lines;
        for (stage::StageRequest const& one : m_stage.requests()) {
            bool const isPicture = one.path.startsWith(QLatin1String("/cdn/"))
                || one.path.startsWith(QLatin1String("/media/"));
            QString const address =
                one.query.isEmpty() ? one.path : one.path + QLatin1Char('?') + one.query;
            if (isPicture == ofPictures)
                lines << worded(one.method + ' ' + address.toUtf8() + ' ' + one.body);
        }
        lines.sort(); // they go out on several connections at a time
        return lines;
    }
    QStringList frames() const
    {
        QStringList lines;
        for (QJsonObject const& frame : m_stage.frames())
            lines << worded(QJsonDocument(frame).toJson(QJsonDocument::Compact));
        return lines;
    }

private:
    void addWord(quint64 id, QString const& word) { m_words.append({ QString::number(id), word }); }
    QString worded(QByteArray const& line) const
    {
        QString text = QString::fromUtf8(line);
        for (auto const& one : m_words)
            text.replace(one.first, one.second);
        return text.trimmed();
    }

    stage::Stage& m_stage;
    QVector<QPair<QString, QString>> m_words;
};

std::string linesOf(QStringList const& lines)
{
    return lines.join(QLatin1Char('\n')).toStdString();
}

} // namespace

TEST(QuietChannel, IsReadInThreePagesAndAcknowledgedOnce)
{
    stage::Stage stage(shortHistory());
    stage::findChannel(stage.world(), stage.busyChannelId())->unread = 3;
    Heard const heard(stage);
    Client client(stage, token);
    ASSERT_TRUE(client.start());
    ASSERT_TRUE(client.showsConversation()) << client.output().toStdString();

    // Up until nothing moves any more, then further.
    client.xdo(QStringLiteral("mousemove 400 300"));
    QImage last;
    for (int i = 0; i < 20 && client.stillPicture() != last; ++i) {
        last = client.stillPicture();
        client.xdo(QStringLiteral("key --delay 5 --repeat 10 Page_Up"));
    }
    waitUntil([] { return false; }, longRead);
    client.key(QStringLiteral("End"));
    client.key(QStringLiteral("ctrl+w"));
    waitUntil([] { return false; }, afterClosing);

    QStringList pictures = heard.requests(true);
    std::cout << linesOf(heard.requests() + heard.frames() + pictures) << '\n';
    EXPECT_EQ(linesOf(heard.requests()),
              "GET /channels/CHANNEL/messages?limit=100\n"
              "GET /channels/CHANNEL/messages?limit=100&before=MESSAGE150\n"
              "GET /channels/CHANNEL/messages?limit=100&before=MESSAGE50\n"
              "GET /gateway\n"
              "POST /channels/CHANNEL/messages/MESSAGE249/ack {\"token\": null}");
    EXPECT_EQ(linesOf(heard.frames()),
              "{\"d\":{\"large_threshold\":250,\"properties\":{\"$browser\":\"Nakwire\","
              "\"$device\":\"Nakwire\",\"$os\":\"linux\",\"$referrer\":\"\","
              "\"$referring_domain\":\"\"},\"token\":\"token\",\"v\":6},\"op\":2}\n"
              "{\"d\":[\"GUILD\"],\"op\":12}");
    EXPECT_EQ(pictures.removeDuplicates(), 0) << "asked for twice";
    EXPECT_GT(pictures.size(), 5) << "no faces were shown";
}
