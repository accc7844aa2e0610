// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A conversation as its user meets it: history on screen, a line typed, sent, pending, confirmed,
// edited; a line that is too long; and no secret anywhere but in the account file.

#include "client.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

QString const markedToken = QStringLiteral("MARKED-SECRET-7d1f0c");

stage::StageOptions markedStage()
{
    stage::StageOptions options;
    options.token = markedToken;
    options.world.messagesInBusyChannel = 100000;
    return options;
}

class Conversation : public testing::Test {
protected:
    Conversation()
        : m_stage(markedStage())
        , m_client(m_stage, markedToken)
    {
    }

    void SetUp() override
    {
        ASSERT_TRUE(m_client.start());
        ASSERT_TRUE(m_client.showsConversation()) << m_client.output().toStdString();
    }

    QString messagesPath() const
    {
        return QStringLiteral("/channels/%1/messages").arg(m_stage.busyChannelId());
    }
    // The messages that such requests held.
    QVector<QJsonObject> bodies(char const* verb) const
    {
        QVector<QJsonObject> out;
        for (stage::StageRequest const& one : m_stage.requests())
            if (one.method == verb && one.path.startsWith(messagesPath())
                && !one.path.endsWith(QLatin1String("/ack")))
                out << (one.method == "POST" ? one.json()[QLatin1String("d")].toObject()
                                             : one.json());
        return out;
    }
    QVector<QJsonObject> posts() const { return bodies("POST"); }
    static QString content(QJsonObject const& json)
    {
        return json[QLatin1String("content")].toString();
    }
    int historyRequests() const
    {
        int count = 0;
        for (stage::StageRequest const& request : m_stage.requests("GET", messagesPath()))
            count += request.query.contains(QLatin1String("before=")) ? 1 : 0;
        return count;
    }
    // Does it again and again, as a user would, until the condition holds.
    bool repeatUntil(QString const& command, std::function<bool()> const& condition)
    {
        for (int i = 0; i < 400; ++i) {
            if (condition())
                return true;
            m_client.xdo(command);
        }
        return false;
    }
    void send(QString const& text)
    {
        int const before = posts().size();
        m_client.type(text);
        m_client.key(QStringLiteral("Return"));
        ASSERT_TRUE(waitUntil([&] { return posts().size() > before; }));
    }

    stage::Stage m_stage;
    Client m_client;
};

// In UTF-8, or in UTF-16 of either byte order.
bool holdsToken(QByteArray const& bytes)
{
    QByteArray bigEndian;
    for (char const byte : markedToken.toUtf8())
        bigEndian.append('\0').append(byte);
    return bytes.contains(markedToken.toUtf8()) || bytes.contains(bigEndian)
        || bytes.contains(bigEndian.mid(1) + '\0');
}

// The text above the input, without side bar and avatars.
QImage lastLines(QImage const& window)
{
    QRect const lines(window.width() / 3, window.height() - 90, window.width() / 2, 40);
    return window.copy(lines);
}

// How much fainter the pixels that differ are before than after: 1 for as strong, 0 for nothing
// there. The strongest pixel counts, measured against the conversation's background.
double fainterBy(QImage const& before, QImage const& after)
{
    QImage const first = before.convertToFormat(QImage::Format_Grayscale8);
    QImage const second = after.convertToFormat(QImage::Format_Grayscale8);
    int const background = first.constScanLine(first.height() / 2)[2];
    int strongestBefore = 0;
    int strongestAfter = 0;
    for (int y = 0; y < first.height(); ++y)
        for (int x = 0; x < first.width(); ++x) {
            int const one = first.constScanLine(y)[x];
            int const two = second.constScanLine(y)[x];
            if (one == two)
                continue;
            strongestBefore = qMax(strongestBefore, qAbs(one - background));
            strongestAfter = qMax(strongestAfter, qAbs(two - background));
        }
    return strongestAfter == 0 ? 1 : double(strongestBefore) / strongestAfter;
}

} // namespace

TEST_F(Conversation, GoToOpensAChannelByAPartOfItsName)
{
    m_client.key(QStringLiteral("ctrl+k"));
    m_client.type(QStringLiteral("NNOUNCE"));
    // Until something is found, Return does nothing.
    EXPECT_TRUE(repeatUntil(QStringLiteral("key Return"), [this] {
        return m_client.title().startsWith(QLatin1String("#announcements"));
    })) << m_client.title().toStdString();
}

TEST_F(Conversation, ATypedLineIsSentPendingAndConfirmedInPlace)
{
    // The service takes the request but stays silent on the gateway, so the line stays pending.
    m_stage.answer("POST", messagesPath(), 200, "{}", {}, 1);
    send(QStringLiteral("hello from the keyboard"));
    EXPECT_EQ(content(posts()[0]), QStringLiteral("hello from the keyboard"));
    QImage const pending = m_client.stillPicture();
    QJsonObject const sent = posts()[0];
    QString const nonce = sent.value(QStringLiteral("nonce")).toString();
    m_stage.sendDispatch(
        QStringLiteral("MESSAGE_CREATE"),
        { { QStringLiteral("id"), nonce },
          { QStringLiteral("nonce"), nonce },
          { QStringLiteral("channel_id"), QString::number(m_stage.busyChannelId()) },
          { QStringLiteral("type"), 0 },
          { QStringLiteral("content"), sent.value(QStringLiteral("content")) },
          { QStringLiteral("author"),
            QJsonObject{ { QStringLiteral("id"), QString::number(m_stage.ownUserId()) },
                         { QStringLiteral("username"), QStringLiteral("me") },
                         { QStringLiteral("discriminator"), QStringLiteral("0001") } } } });
    ASSERT_TRUE(waitUntil([&] { return m_client.picture() != pending; }))
        << "nothing was confirmed";
    // Painted at opacity 0.6 while pending, then at 1.
    EXPECT_NEAR(fainterBy(pending, m_client.stillPicture()), 0.6, 0.1);
}

TEST_F(Conversation, UpEditsTheLastLineAndEscapeLeaves)
{
    send(QStringLiteral("first try"));
    m_client.key(QStringLiteral("Up"));
    m_client.key(QStringLiteral("Escape"));
    send(QStringLiteral("second line"));
    EXPECT_EQ(content(posts()[1]), QStringLiteral("second line")) << "Escape left text behind";
    EXPECT_TRUE(bodies("PATCH").isEmpty());

    m_client.stillPicture(); // the line is confirmed, so it can be the last one
    m_client.key(QStringLiteral("Up"));
    m_client.type(QStringLiteral("!"));
    m_client.key(QStringLiteral("Return"));
    ASSERT_TRUE(waitUntil([this] { return !bodies("PATCH").isEmpty(); }));
    EXPECT_EQ(content(bodies("PATCH")[0]), QStringLiteral("second line!"));
}

TEST_F(Conversation, ALineThatIsTooLongIsRefusedAndStays)
{
    m_client.type(QString(2001, QLatin1Char('x')));
    m_client.key(QStringLiteral("Return"));
    ASSERT_TRUE(waitUntil([&] { return !m_client.otherWindows().isEmpty(); })) << "no box";
    EXPECT_TRUE(posts().isEmpty());
    m_client.stillPicture(); // a window that is on screen may not take keys yet
    Windows::pressKeys(m_client.otherWindows().value(0), QStringLiteral("Return"));
    ASSERT_TRUE(waitUntil([&] { return m_client.otherWindows().isEmpty(); }));
    m_client.xdo(QStringLiteral("windowfocus ") + m_client.window());
    m_client.key(QStringLiteral("BackSpace"));
    m_client.key(QStringLiteral("Return"));
    ASSERT_TRUE(waitUntil([this] { return !posts().isEmpty(); }));
    EXPECT_EQ(content(posts()[0]), QString(2000, QLatin1Char('x')));
}

TEST_F(Conversation, NoSecretLeavesTheAccountFile)
{
    send(QStringLiteral("one line"));
    m_stage.answer("POST", messagesPath(), 500, R"({"message":"broken","code":0})", {}, 1);
    send(QStringLiteral("a line that fails"));
    m_stage.sendGarbage();
    m_stage.requestReconnect();
    QFile commandLine(QStringLiteral("/proc/%1/cmdline").arg(m_client.processId()));
    ASSERT_TRUE(commandLine.open(QIODevice::ReadOnly));
    EXPECT_FALSE(commandLine.readAll().contains(markedToken.toLatin1()));

    QStringList holders;
    int logs = 0;
    QDirIterator files(m_client.folder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        QByteArray const bytes = file.readAll();
        logs += bytes.contains("Sending identify message to Discord gateway") ? 1 : 0;
        if (holdsToken(bytes))
            holders.append(QDir(m_client.folder()).relativeFilePath(file.fileName()));
    }
    EXPECT_EQ(logs, 1) << "the event log was not looked at";
    EXPECT_EQ(holders, QStringList(QStringLiteral("Nakwire/nakwire_accounts.bin")));
    ASSERT_TRUE(m_client.quit());
    EXPECT_FALSE(m_client.output().contains(markedToken.toLatin1()));
}

TEST_F(Conversation, HistoryIsReadOnDemandByWheelKeysAndMiddleButton)
{
    EXPECT_TRUE(m_stage.expectFrame(12)) << "the guild on screen was not synchronized";
    m_client.xdo(QStringLiteral("mousemove 400 300"));
    QImage const newest = m_client.stillPicture();

    EXPECT_TRUE(repeatUntil(QStringLiteral("click --repeat 10 --delay 5 4"),
                            [this] { return historyRequests() >= 1; }));
    EXPECT_TRUE(
        repeatUntil(QStringLiteral("key Page_Up"), [this] { return historyRequests() >= 2; }));
    EXPECT_LE(historyRequests(), 4) << "asked for more than the view came near to";

    QImage const old = m_client.stillPicture();
    m_stage.sendDispatch(QStringLiteral("TYPING_START"), {}); // something harmless arrives
    m_client.xdo(QStringLiteral("mousedown 2"));
    m_client.xdo(QStringLiteral("mousemove_relative -- 0 -60"));
    EXPECT_TRUE(waitUntil([&] { return m_client.picture() != old; }))
        << "the middle button moved nothing";
    m_client.xdo(QStringLiteral("mouseup 2"));

    // Nothing new was said, so the last lines are those of before. Pictures may have come since.
    m_client.key(QStringLiteral("End"));
    EXPECT_TRUE(waitUntil([&] { return lastLines(m_client.stillPicture()) == lastLines(newest); }));
}
