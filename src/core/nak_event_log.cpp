// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_event_log.h"

#include "fatal_box.h"
#include "thread_order.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEvent>
#include <QFile>
#include <QTemporaryFile>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace NakEvLogImpl {
namespace {

NakEvLogger* g_EvLogger = nullptr;
// Set before the first entry, cleared after everybody else who logs has stopped.
std::atomic<NakEvLogWorker*> g_EvLogWorker{ nullptr };

constexpr QEvent::Type addLogEntryType = static_cast<QEvent::Type>(1001);

class AddLogEntryEvent : public QEvent {
public:
    AddLogEntryEvent(qint64 time, QString const& entryText, EvLog::Category entryCategory,
                     EvLog::Severity entrySeverity)
        : QEvent(addLogEntryType)
        , msecs(time)
        , text(entryText)
        , category(entryCategory)
        , severity(entrySeverity)
    {
    }

    qint64 const msecs;
    QString const text;
    EvLog::Category const category;
    EvLog::Severity const severity;
};

struct Word {
    char const* text;
    unsigned long length;
};
template <size_t N> constexpr Word word(char const (&text)[N])
{
    return { text, N - 1 };
}

// By Severity, and by bit of Category: the file's own words, which stay as they are even if what
// is shown to the user ever changes.
constexpr Word severityWords[] = { word("Debug"), word("Info"), word("Warn"), word("Error"),
                                   word("Critical") };
constexpr Word categoryWords[] = { word("Application"), word("Networking"), word("Images"),
                                   word("Audio") };
constexpr int severityCount = 5;
constexpr int categoryCount = 4;

bool equals(Word const& known, char const* text, unsigned long length)
{
    return known.length == length && std::memcmp(known.text, text, length) == 0;
}

// The number of the word, or count.
int indexOf(Word const* words, int count, char const* text, unsigned long length)
{
    int i = 0;
    while (i < count && !equals(words[i], text, length))
        ++i;
    return i;
}

void appendLocalTime(QByteArray* line, qint64 msecs)
{
    qint64 const millis = ((msecs % 1000) + 1000) % 1000;
    time_t const seconds = static_cast<time_t>((msecs - millis) / 1000);
    tm local{};
    localtime_r(&seconds, &local);
    char text[80];
    int const length =
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", local.tm_year + 1900,
                      local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                      static_cast<int>(millis));
    line->append(text, length);
}

void appendCategories(QByteArray* line, EvLog::Category category)
{
    bool first = true;
    for (int bit = 0; bit < categoryCount; ++bit) {
        if (!(static_cast<quint32>(category) >> bit & 1U))
            continue;
        if (!first)
            line->append(',');
        first = false;
        line->append(categoryWords[bit].text);
    }
}

char const* findByte(char const* from, char const* end, char byte)
{
    if (from == end)
        return nullptr;
    return static_cast<char const*>(std::memchr(from, byte, static_cast<size_t>(end - from)));
}

// Collects the bits of the names between begin and end, up to the first unknown one; true if
// there was none.
bool parseCategories(char const* begin, char const* end, EvLog::Category* category)
{
    quint32 bits = 0;
    bool allKnown = true;
    for (char const* name = begin; name != end && allKnown;) {
        if (*name == ',')
            ++name;
        char const* comma = findByte(name, end, ',');
        char const* nameEnd = comma ? comma : end;
        int const bit =
            indexOf(categoryWords, categoryCount, name, static_cast<unsigned long>(nameEnd - name));
        if (bit < categoryCount)
            bits |= 1U << bit;
        else
            allKnown = false;
        name = nameEnd;
    }
    *category = static_cast<EvLog::Category>(bits);
    return allKnown;
}

// The message behind the categories, or fields itself, which is right behind the second tab.
char const* parseFieldsBehindSeverity(char const* fields, char const* end,
                                      EvLog::Category* category)
{
    char const* colon = findByte(fields, end, ':');
    if (!colon)
        return fields;
    if (!parseCategories(fields, colon, category))
        return fields;
    bool const tabFollows = colon + 1 != end && colon[1] == '\t';
    return tabFollows ? colon + 2 : fields;
}

// The start of the message; fills in what stands before it.
char const* parseFields(EvLogData::EntryReadData* entry, char const* line, char const* end)
{
    char const* firstTab = findByte(line, end, '\t');
    if (!firstTab)
        return line;
    entry->timestampOffset = 0;
    entry->timestampLength = static_cast<quint32>(firstTab - line);
    char const* severity = firstTab + 1;
    char const* secondTab = findByte(severity, end, '\t');
    if (!secondTab)
        return severity;
    int const number = indexOf(severityWords, severityCount, severity,
                               static_cast<unsigned long>(secondTab - severity));
    if (number == severityCount)
        return severity;
    entry->severity = static_cast<EvLog::Severity>(number);
    return parseFieldsBehindSeverity(secondTab + 1, end, &entry->category);
}

// A temporary file that could not be opened has got no name.
QString wantedName(QFile const& file)
{
    auto const* temporary = qobject_cast<QTemporaryFile const*>(&file);
    return temporary ? temporary->fileTemplate() : file.fileName();
}

[[noreturn]] void exitWithoutLogFile(QString const& fileName)
{
    NakFatalBox::Message message;
    message.title = NakEvLogger::tr("Critical Error");
    message.text = NakEvLogger::tr("Event log file could not be opened");
    message.informativeText =
        NakEvLogger::tr("Nakwire cannot operate without an event log file and will close.");
    message.detailedText =
        NakEvLogger::tr("Attempted to open event log file at:\n\n%1").arg(fileName);
    message.button = NakFatalBox::Button::Close;
    NakFatalBox::show(message);
    std::abort();
}

} // namespace
} // namespace NakEvLogImpl

using namespace NakEvLogImpl;

bool EvLogData::writeEvent(QIODevice* device, qint64 msecs, EvLog::Category category,
                           EvLog::Severity severity, char const* text, unsigned long length)
{
    auto const number = static_cast<qint32>(severity);
    QByteArray line;
    line.reserve(80 + static_cast<int>(length));
    appendLocalTime(&line, msecs);
    line.append('\t');
    line.append(number >= 0 && number < severityCount ? severityWords[number].text : "Unknown");
    line.append('\t');
    appendCategories(&line, category);
    line.append(":\t");
    line.append(text, static_cast<int>(length));
    line.append('\n');
    return device->write(line) == line.size();
}

void EvLogData::parseLine(EntryReadData* entry, char const* line, unsigned long length)
{
    entry->category = EvLog::Category::None;
    entry->severity = EvLog::Severity::NotParsed;
    char const* end = line + length;
    char const* message = parseFields(entry, line, end);
    bool const endsWithLineFeed = message != end && end[-1] == '\n';
    entry->messageOffset = static_cast<quint32>(message - line);
    entry->messageLength = static_cast<quint32>(end - message) - (endsWithLineFeed ? 1 : 0);
}

bool EvLogData::readEvent(QIODevice* device, char* buffer, unsigned long capacity,
                          EntryReadData* entry)
{
    qint64 const length = device->readLine(buffer, static_cast<qint64>(capacity));
    if (length < 1)
        return false;
    parseLine(entry, buffer, static_cast<unsigned long>(length));
    return true;
}

void EvLogGlobal::addLogEvent(EvLog::Category category, EvLog::Severity severity,
                              QString const& text)
{
    NakEvLogWorker* worker = g_EvLogWorker.load(std::memory_order_acquire);
    if (!worker)
        return;
    auto* entry =
        new AddLogEntryEvent(QDateTime::currentMSecsSinceEpoch(), text, category, severity);
    Utils::noteHandedOver(entry);
    QCoreApplication::postEvent(worker, entry);
}

void NakEvLog::init()
{
    g_EvLogger = new NakEvLogger(new QTemporaryFile, nullptr);
}

void NakEvLog::deinit()
{
    delete g_EvLogger;
    g_EvLogger = nullptr;
}

QString NakEvLog::logFileName()
{
    return g_EvLogger ? g_EvLogger->logFileName() : QString();
}

NakEvLogWorker::NakEvLogWorker(QFile* file)
    : m_file(file)
{
    m_file->setParent(this);
}

NakEvLogWorker::~NakEvLogWorker()
{
    write(QDateTime::currentMSecsSinceEpoch(), EvLog::Category::Application, EvLog::Severity::Info,
          QStringLiteral("Logger shutting down"));
    m_file->close();
}

bool NakEvLogWorker::event(QEvent* event)
{
    Utils::noteReceived(event);
    if (event->type() != addLogEntryType)
        return QObject::event(event);
    auto const* entry = static_cast<AddLogEntryEvent const*>(event);
    write(entry->msecs, entry->category, entry->severity, entry->text);
    return true;
}

void NakEvLogWorker::write(qint64 msecs, EvLog::Category category, EvLog::Severity severity,
                           QString const& text)
{
    QByteArray const utf8 = text.toUtf8();
    bool const written = EvLogData::writeEvent(m_file, msecs, category, severity, utf8.constData(),
                                               static_cast<unsigned long>(utf8.size()));
    // Each line reaches the operating system before the next: the log is meant to survive a crash.
    if (!written || !m_file->flush())
        std::abort();
}

NakEvLogger::NakEvLogger(QFile* file, QObject* parent)
    : QObject(parent)
{
    if (!file->open(QIODevice::ReadOnly | QIODevice::WriteOnly | QIODevice::Append))
        exitWithoutLogFile(wantedName(*file));
    bool const appending = file->pos() != 0;
    m_fileName = file->fileName();

    m_thread = new QThread(this);
    m_thread->setObjectName(QStringLiteral("LoggingThread"));
    auto* worker = new NakEvLogWorker(file);
    // The thread ends with its worker and not before, so that no line in the queue is lost.
    connect(worker, &QObject::destroyed, m_thread, &QThread::quit, Qt::DirectConnection);
    m_thread->start(QThread::NormalPriority);
    worker->moveToThread(m_thread);
    g_EvLogWorker.store(worker, std::memory_order_release);

    EvLogGlobal::addLogEvent(EvLog::Category::Application, EvLog::Severity::Info,
                             tr("Logger started"));
    if (appending)
        EvLogGlobal::addLogEvent(EvLog::Category::Application, EvLog::Severity::Debug,
                                 tr("Appending to existing log file"));
    else
        EvLogGlobal::addLogEvent(EvLog::Category::Application, EvLog::Severity::Info,
                                 tr("Started new log file"));
}

NakEvLogger::~NakEvLogger()
{
    g_EvLogWorker.load(std::memory_order_acquire)->deleteLater();
    m_thread->wait();
    g_EvLogWorker.store(nullptr, std::memory_order_release);
}
