// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_event_log.h"

#include <QBuffer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <ctime>
#include <thread>
#include <vector>

using EvLog::Category;
using EvLog::Severity;

namespace {

std::string dump(EvLogData::EntryReadData const& entry, QByteArray const& line)
{
    auto part = [&](quint32 offset, quint32 length) {
        return line.mid(static_cast<int>(offset), static_cast<int>(length)).toStdString();
    };
    return part(entry.timestampOffset, entry.timestampLength) + '|'
        + std::to_string(static_cast<int>(entry.severity)) + '|'
        + std::to_string(static_cast<unsigned>(entry.category)) + '|'
        + std::to_string(entry.messageOffset) + '+' + std::to_string(entry.messageLength) + '|'
        + part(entry.messageOffset, entry.messageLength);
}

std::string parsed(QByteArray const& line)
{
    EvLogData::EntryReadData entry;
    EvLogData::parseLine(&entry, line.constData(), static_cast<unsigned long>(line.size()));
    return dump(entry, line);
}

// Sets the time zone of the process until the end of the scope.
class TimeZone {
public:
    explicit TimeZone(char const* zone)
        : m_before(qgetenv("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~TimeZone()
    {
        qputenv("TZ", m_before);
        tzset();
    }

private:
    QByteArray const m_before;
};

QByteArray written(qint64 msecs, Category category, Severity severity, QByteArray const& text)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(EvLogData::writeEvent(&buffer, msecs, category, severity, text.constData(),
                                      static_cast<unsigned long>(text.size())));
    return buffer.data();
}

Category all(unsigned bits)
{
    return static_cast<Category>(bits);
}

} // namespace

TEST(EventLog, Words)
{
    struct {
        unsigned bits;
        char const* text;
    } const categories[] = { { 0, "None" },      { 1, "Application" }, { 2, "Networking" },
                             { 4, "Images" },    { 8, "Audio" },       { 3, "Multiple" },
                             { 15, "Multiple" }, { 16, "Unknown" },    { 17, "Unknown" } };
    for (auto const& c : categories)
        EXPECT_EQ(EvLog::toString(all(c.bits)).toStdString(), c.text) << c.bits;
    struct {
        int number;
        char const* text;
    } const severities[] = { { 0, "Debug" },    { 1, "Info" },    { 2, "Warn" },    { 3, "Error" },
                             { 4, "Critical" }, { 5, "Unknown" }, { -1, "Unknown" } };
    for (auto const& s : severities)
        EXPECT_EQ(EvLog::toString(static_cast<Severity>(s.number)).toStdString(), s.text);
}

TEST(EventLog, WrittenLine)
{
    TimeZone const zone("UTC-2"); // two hours ahead
    EXPECT_EQ(written(1420070400007, all(15), Severity::Warn, "a\tb"),
              "2015-01-01 02:00:00.007\tWarn\tApplication,Networking,Images,Audio:\ta\tb\n");
    EXPECT_EQ(written(0, Category::None, Severity::Critical, ""),
              "1970-01-01 02:00:00.000\tCritical\t:\t\n");
    EXPECT_EQ(written(-1, Category::Audio, static_cast<Severity>(7), "k\u00fc\nx"),
              "1970-01-01 01:59:59.999\tUnknown\tAudio:\tk\u00fc\nx\n");
}

TEST(EventLog, RoundTrip)
{
    TimeZone const zone("UTC0");
    for (unsigned bits = 0; bits < 16; ++bits) {
        for (int severity = 0; severity < 5; ++severity) {
            for (char const* message : { "", "x", ":\t", "a,b: c\td" }) {
                QByteArray const line =
                    written(86400000, all(bits), static_cast<Severity>(severity), message);
                EvLogData::EntryReadData entry;
                EvLogData::parseLine(&entry, line.constData(),
                                     static_cast<unsigned long>(line.size()));
                EXPECT_EQ(static_cast<unsigned>(entry.category), bits) << line.constData();
                EXPECT_EQ(static_cast<int>(entry.severity), severity) << line.constData();
                EXPECT_EQ(line.mid(static_cast<int>(entry.messageOffset),
                                   static_cast<int>(entry.messageLength)),
                          message);
                EXPECT_EQ(line.left(static_cast<int>(entry.timestampLength)),
                          "1970-01-02 00:00:00.000");
            }
        }
    }
}

TEST(EventLog, ShortWriteFails)
{
    QBuffer closed;
    EXPECT_FALSE(EvLogData::writeEvent(&closed, 0, Category::None, Severity::Info, "", 0));
}

TEST(EventLog, LenientParse)
{
    struct {
        char const* line;
        char const* parsed; // timestamp, severity, categories, place of the message, message
    } const cases[] = {
        { "", "|5|0|0+0|" },
        { "\n", "|5|0|0+0|" },
        { "second line\n", "|5|0|0+11|second line" },
        { "no line feed", "|5|0|0+12|no line feed" },
        { "T Info Application: m\n", "|5|0|0+21|T Info Application: m" },
        { "T\t", "T|5|0|2+0|" },
        { "T\t\n", "T|5|0|2+0|" },
        { "\t\t:\t", "|5|0|1+3|\t:\t" },
        { "T\tInfo", "T|5|0|2+4|Info" },
        { "T\tInfo\n", "T|5|0|2+4|Info" },
        { "T\tinfo\tAudio:\tm\n", "T|5|0|2+13|info\tAudio:\tm" },
        { "T\tInf\t:\tm", "T|5|0|2+7|Inf\t:\tm" },
        { "T\tInfo2\t:\tm", "T|5|0|2+9|Info2\t:\tm" },
        { "T\tUnknown\t:\tm", "T|5|0|2+11|Unknown\t:\tm" },
        { "T\tInfo\t", "T|1|0|7+0|" },
        { "T\tInfo\t\n", "T|1|0|7+0|" },
        { "T\tWarn\tAudio m\n", "T|2|0|7+7|Audio m" },
        { "T\tError\t:\t", "T|3|0|10+0|" },
        { "T\tError\t:\t\n", "T|3|0|10+0|" },
        { "T\tDebug\t:\tm\n", "T|0|0|10+1|m" },
        { "T\tDebug\t:m\n", "T|0|0|8+2|:m" },
        { "T\tDebug\t:", "T|0|0|8+1|:" },
        { "T\tCritical\tAudio:\tm\n", "T|4|8|18+1|m" },
        { "T\tInfo\tAudio:m\n", "T|1|8|7+7|Audio:m" },
        { "T\tInfo\tAudio,Images:\tm", "T|1|12|21+1|m" },
        { "T\tInfo\t,Audio:\tm", "T|1|8|15+1|m" },
        { "T\tInfo\tAudio,:\tm", "T|1|8|7+9|Audio,:\tm" },
        { "T\tInfo\tAudio,,Images:\tm", "T|1|8|7+16|Audio,,Images:\tm" },
        { "T\tInfo\tAudio,Smell,Images:\tm", "T|1|8|7+21|Audio,Smell,Images:\tm" },
        { "T\tInfo\tAudio, Images:\tm", "T|1|8|7+16|Audio, Images:\tm" },
        { "T\tInfo\tNetworkin:\tm", "T|1|0|7+12|Networkin:\tm" },
        { "T\tInfo\tNetworking,Application:\tm: n\n", "T|1|3|31+4|m: n" },
    };
    for (auto const& c : cases)
        EXPECT_EQ(parsed(c.line), c.parsed) << c.line;
}

TEST(EventLog, ParseLeavesThePlaceOfAMissingTimestampAlone)
{
    EvLogData::EntryReadData entry;
    entry.timestampOffset = 3;
    entry.timestampLength = 4;
    EvLogData::parseLine(&entry, "text\n", 5);
    EXPECT_EQ(entry.timestampOffset, 3U);
    EXPECT_EQ(entry.timestampLength, 4U);
}

TEST(EventLog, EveryCutOfALineParses)
{
    QByteArray const line = "2015-01-01 02:00:00.007\tWarn\tImages,Audio:\tm\n";
    for (int length = 0; length <= line.size(); ++length) {
        // A copy of exactly this size, so that a read past its end is seen.
        std::vector<char> const cut(line.begin(), line.begin() + length);
        EvLogData::EntryReadData entry;
        EvLogData::parseLine(&entry, cut.data(), cut.size());
        EXPECT_LE(entry.messageOffset + entry.messageLength, cut.size());
        EXPECT_LE(entry.timestampOffset + entry.timestampLength, cut.size());
    }
}

TEST(EventLog, ReadEvents)
{
    QBuffer buffer;
    buffer.setData("T\tInfo\tAudio:\tfirst\nmore\n\nlast");
    buffer.open(QIODevice::ReadOnly);
    char line[64];
    std::string all;
    EvLogData::EntryReadData entry;
    while (EvLogData::readEvent(&buffer, line, sizeof line, &entry))
        all += std::string(line + entry.messageOffset, entry.messageLength) + ';';
    EXPECT_EQ(all, "first;more;;last;");
}

TEST(EventLog, WithoutALogLinesAreDropped)
{
    EXPECT_TRUE(NakEvLog::logFileName().isEmpty());
    EvLogGlobal::addLogEvent(Category::Audio, Severity::Info, QStringLiteral("x"));
}

TEST(EventLog, RunOfALogger)
{
    QTemporaryFile named; // the logger's own file goes with it, so this one is kept open beside it
    ASSERT_TRUE(named.open());
    auto* file = new QFile(named.fileName());
    constexpr int threadCount = 4;
    constexpr int linesPerThread = 500;
    {
        NakEvLogger const logger(file, nullptr);
        EXPECT_EQ(logger.logFileName(), named.fileName());
        std::vector<std::thread> threads;
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([t] {
                for (int i = 0; i < linesPerThread; ++i)
                    EvLogGlobal::addLogEvent(Category::Images, Severity::Debug,
                                             QStringLiteral("%1 %2").arg(t).arg(i));
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    QList<QByteArray> const lines = named.readAll().split('\n');
    ASSERT_EQ(lines.size(), 3 + threadCount * linesPerThread + 1);
    EXPECT_TRUE(lines[0].endsWith("\tInfo\tApplication:\tLogger started"));
    EXPECT_TRUE(lines[1].endsWith("\tInfo\tApplication:\tStarted new log file"));
    EXPECT_TRUE(lines[lines.size() - 2].endsWith("\tInfo\tApplication:\tLogger shutting down"));
    int next[threadCount] = {};
    for (int i = 2; i < lines.size() - 2; ++i) {
        QByteArray const message = lines[i].mid(lines[i].lastIndexOf('\t') + 1);
        int const thread = message.left(message.indexOf(' ')).toInt();
        EXPECT_EQ(message.mid(message.indexOf(' ') + 1).toInt(), next[thread]++);
    }
}

TEST(EventLog, AppendsToAFile)
{
    QTemporaryFile named;
    ASSERT_TRUE(named.open());
    named.write("old\n");
    ASSERT_TRUE(named.flush());
    {
        NakEvLogger const logger(new QFile(named.fileName()), nullptr);
    }
    named.seek(0);
    QList<QByteArray> const lines = named.readAll().split('\n');
    ASSERT_EQ(lines.size(), 5);
    EXPECT_EQ(lines[0], "old");
    EXPECT_TRUE(lines[2].endsWith("\tDebug\tApplication:\tAppending to existing log file"));
}

TEST(EventLog, FileOfARunGoesWithIt)
{
    NakEvLog::init();
    QString const name = NakEvLog::logFileName();
    EXPECT_TRUE(QFile::exists(name));
    EXPECT_EQ(QFile::permissions(name) & 0x0077, 0);
    NakEvLog::deinit();
    EXPECT_FALSE(QFile::exists(name));
    EXPECT_TRUE(NakEvLog::logFileName().isEmpty());
}
