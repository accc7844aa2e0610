// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The file of a log, open for reading: any thread, several at once. Nothing is kept of what was
// read, and nothing is mapped, since a file may shrink under its reader.

#include "event_log_index.h"

#include <QByteArray>
#include <QString>

#include <memory>

class NakEvLogFile {
public:
    static std::shared_ptr<NakEvLogFile> open(QString const& path); // null if that cannot be
    ~NakEvLogFile();
    NakEvLogFile(NakEvLogFile const&) = delete;
    NakEvLogFile& operator=(NakEvLogFile const&) = delete;

    qint64 size() const; // 0 also for a file that cannot be asked
    bool isStillAt(QString const& path) const; // false once another file stands there, or none
    QByteArray read(qint64 offset, qint64 length) const; // less at the end of the file

private:
    explicit NakEvLogFile(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    int m_descriptor;
};

// Reads lines that mostly follow each other, a window of the file at a time. One thread.
class NakEvLogLineReader {
public:
    explicit NakEvLogLineReader(std::shared_ptr<NakEvLogFile const> file)
        : m_file(std::move(file))
    {
    }

    // As much of the line as maxBytes; gone with the next call.
    QByteArray line(NakEvLogIndex::Span span, qint64 maxBytes);

private:
    std::shared_ptr<NakEvLogFile const> m_file;
    QByteArray m_window;
    qint64 m_windowOffset = 0;
};

// A line for people: control characters are blanks, and there are at most maxChars of it.
QString evLogPlainText(QByteArray const& bytes, int maxChars);
