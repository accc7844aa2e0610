// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The event log at work: one temporary text file per run, which goes when the process ends in an
// orderly way, written by the logging thread alone. Started and stopped by src/app; it is the last
// thing to stop, so that everything else can still log.

#include "event_log.h"

#include <QObject>
#include <QString>

class QFile;
class QIODevice;
class QThread;

// --- lines of the log ---
// local time, tab, severity, tab, categories by comma, colon and tab, message, line feed. UTF-8.
// The message is not escaped: one with a line break reads back as several entries, the later ones
// without a severity.
namespace EvLogData {

// Offsets into the line that was parsed.
struct EntryReadData {
    quint32 timestampOffset = 0;
    quint32 timestampLength = 0;
    quint32 messageOffset = 0;
    quint32 messageLength = 0;
    EvLog::Category category = EvLog::Category::None;
    EvLog::Severity severity = EvLog::Severity::NotParsed;
};

// Any thread. msecs since the epoch.
[[nodiscard]] bool writeEvent(QIODevice* device, qint64 msecs, EvLog::Category category,
                              EvLog::Severity severity, char const* text, unsigned long length);

// Never fails: what it cannot make sense of is the message. A line without a tab leaves the place
// of the timestamp alone.
void parseLine(EntryReadData* entry, char const* line, unsigned long length);

// Reads one line into the buffer and parses it; false at the end.
[[nodiscard]] bool readEvent(QIODevice* device, char* buffer, unsigned long capacity,
                             EntryReadData* entry);

} // namespace EvLogData

// --- the running log; user-interface thread ---
namespace NakEvLog {

// Without a file the process ends here, after a box: it does not run without a log.
void init();
void deinit();
QString logFileName(); // empty when no log is running

} // namespace NakEvLog

// Lives on the logging thread. Ends the process when a line cannot be written.
class NakEvLogWorker : public QObject {
    Q_OBJECT
public:
    explicit NakEvLogWorker(QFile* file); // becomes the owner
    ~NakEvLogWorker() override; // writes the last line

    bool event(QEvent* event) override;

private:
    void write(qint64 msecs, EvLog::Category category, EvLog::Severity severity,
               QString const& text);

    QFile* m_file;
};

// Owns the logging thread.
class NakEvLogger : public QObject {
    Q_OBJECT
public:
    NakEvLogger(QFile* file, QObject* parent); // the worker becomes the file's owner
    ~NakEvLogger() override; // returns when everything is written

    QString logFileName() const { return m_fileName; }

private:
    QThread* m_thread;
    QString m_fileName;
};
