// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_event_log.h"

#include <QBuffer>
#include <QFile>
#include <QScopeGuard>
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

// From a copy of exactly this size, so that a read past its end is seen.
std::string parsed(QByteArray const& line)
{
    std::vector<char> const copy(line.begin(), line.end());
    EvLogData::EntryReadData entry;
    EvLogData::parseLine(&entry, copy.data(), copy.size());
    return dump(entry, line);
}

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

TEST(EventLog, WrittenLine)
{
    QByteArray const before = qgetenv("TZ");
    auto const back = qScopeGuard([&before] {
        qputenv("TZ", before);
        tzset();
    });
    qputenv("TZ", "UTC-2"); // two hours ahead
    tzset();
    EXPECT_EQ(written(1420070400007, all(15), Severity::Warn, "a\tb"),
              "2015-01-01 02:00:00.007\tWarn\tApplication,Networking,Images,Audio:\ta\tb\n");
    EXPECT_EQ(written(0, Category::None, Severity::Critical, ""),
              "1970-01-01 02:00:00.000\tCritical\t:\t\n");
    EXPECT_EQ(written(-1, Category::Audio, static_cast<Severity>(7), "k\u00fc\nx"),
              "1970-01-01 01:59:59.999\tUnknown\tAudio:\tk\u00fc\nx\n");
    QBuffer closed;
    EXPECT_FALSE(EvLogData::writeEvent(&closed, 0, Category::None, Severity::Info, "", 0));
}

TEST(EventLog, RoundTripAndEveryCutOfIt)
{
    for (unsigned bits = 0; bits < 16; ++bits) {
        for (int severity = 0; severity < 5; ++severity) {
            for (char const* message : { "", "x", ":\t", "a,b: c\td" }) {
                QByteArray const line =
                    written(86400000, all(bits), static_cast<Severity>(severity), message);
                std::string const read = parsed(line);
                EXPECT_EQ(read.substr(0, read.find('+')),
                          line.left(23).toStdString() + '|' + std::to_string(severity) + '|'
                              + std::to_string(bits) + '|'
                              + std::to_string(line.size() - 1 - int(qstrlen(message))));
                EXPECT_EQ(read.substr(read.rfind('|') + 1), message);
                for (int length = 0; length < line.size(); ++length)
                    parsed(line.left(length));
            }
        }
    }
}

TEST(EventLog, LenientParse)
{
    struct {
        char const* line;
        char const* parsed; // timestamp, severity, categories, place of the message, message
    } const cases[] = {
        { "", "|5|0|0+0|" },
        { "second line\n", "|5|0|0+11|second line" },
        { "no line feed", "|5|0|0+12|no line feed" },
        { "T\t", "T|5|0|2+0|" },
        { "\t\t:\t", "|5|0|1+3|\t:\t" },
        { "T\tInfo", "T|5|0|2+4|Info" },
        { "T\tinfo\tAudio:\tm\n", "T|5|0|2+13|info\tAudio:\tm" },
        { "T\tInfo2\t:\tm", "T|5|0|2+9|Info2\t:\tm" },
        { "T\tInfo\t", "T|1|0|7+0|" },
        { "T\tWarn\tAudio m\n", "T|2|0|7+7|Audio m" },
        { "T\tDebug\t:m\n", "T|0|0|8+2|:m" },
        { "T\tDebug\t:", "T|0|0|8+1|:" },
        { "T\tInfo\tAudio:m\n", "T|1|8|7+7|Audio:m" },
        { "T\tInfo\t,Audio:\tm", "T|1|8|15+1|m" },
        { "T\tInfo\tAudio,:\tm", "T|1|8|7+9|Audio,:\tm" },
        { "T\tInfo\tAudio,,Images:\tm", "T|1|8|7+16|Audio,,Images:\tm" },
        { "T\tInfo\tAudio,Smell,Images:\tm", "T|1|8|7+21|Audio,Smell,Images:\tm" },
        { "T\tInfo\tNetworkin:\tm", "T|1|0|7+12|Networkin:\tm" },
        { "T\tInfo\tNetworking,Application:\tm: n\n", "T|1|3|31+4|m: n" },
    };
    for (auto const& c : cases)
        EXPECT_EQ(parsed(c.line), c.parsed) << c.line;
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

TEST(EventLog, LinesOfManyThreadsStandWhole)
{
    QTemporaryFile named; // the logger's own file goes with it, so this one is kept open beside it
    ASSERT_TRUE(named.open());
    {
        NakEvLogger const logger(new QFile(named.fileName()), nullptr);
        EXPECT_EQ(logger.logFileName(), named.fileName());
    }
    constexpr int threadCount = 4;
    constexpr int linesPerThread = 500;
    {
        NakEvLogger const appending(new QFile(named.fileName()), nullptr);
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
    std::string others;
    int next[threadCount] = {};
    for (QByteArray line = named.readLine(); !line.isEmpty(); line = named.readLine()) {
        QList<QByteArray> const parts = line.trimmed().split('\t');
        ASSERT_EQ(parts.size(), 4) << line.constData();
        if (parts[2] == "Images:")
            EXPECT_EQ(parts[3].mid(2).toInt(), next[parts[3].left(1).toInt()]++);
        else
            others += (parts[1] + ' ' + parts[2] + ' ' + parts[3] + '\n').toStdString();
    }
    for (int const lines : next)
        EXPECT_EQ(lines, linesPerThread);
    EXPECT_EQ(others,
              "Info Application: Logger started\n"
              "Info Application: Started new log file\n"
              "Info Application: Logger shutting down\n"
              "Info Application: Logger started\n"
              "Debug Application: Appending to existing log file\n"
              "Info Application: Logger shutting down\n");
}

TEST(EventLog, FileOfARunGoesWithIt)
{
    EvLogGlobal::addLogEvent(Category::Audio, Severity::Info, QStringLiteral("to nobody"));
    NakEvLog::init();
    QString const name = NakEvLog::logFileName();
    EXPECT_TRUE(QFile::exists(name));
    EXPECT_EQ(QFile::permissions(name) & 0x0077, 0);
    NakEvLog::deinit();
    EXPECT_FALSE(QFile::exists(name));
    EXPECT_TRUE(NakEvLog::logFileName().isEmpty());
}
