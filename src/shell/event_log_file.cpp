// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_file.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr qint64 windowBytes = 1 << 14; // rows that a filter leaves may be far apart

} // namespace

std::shared_ptr<NakEvLogFile> NakEvLogFile::open(QString const& path)
{
    // Not to wait for a writer, should a pipe stand there.
    int const descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return nullptr;
    struct stat status { };
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    return std::shared_ptr<NakEvLogFile>(new NakEvLogFile(descriptor));
}

NakEvLogFile::~NakEvLogFile()
{
    ::close(m_descriptor);
}

qint64 NakEvLogFile::size() const
{
    struct stat status { };
    return fstat(m_descriptor, &status) == 0 ? status.st_size : 0;
}

bool NakEvLogFile::isStillAt(QString const& path) const
{
    struct stat ours { };
    struct stat there { };
    return fstat(m_descriptor, &ours) == 0 && stat(QFile::encodeName(path).constData(), &there) == 0
        && ours.st_dev == there.st_dev && ours.st_ino == there.st_ino;
}

QByteArray NakEvLogFile::read(qint64 offset, qint64 length) const
{
    QByteArray bytes(static_cast<int>(length), Qt::Uninitialized);
    qint64 done = 0;
    while (done < length) {
        ssize_t const got = pread(m_descriptor, bytes.data() + done,
                                  static_cast<size_t>(length - done), offset + done);
        if (got <= 0)
            break;
        done += got;
    }
    bytes.truncate(static_cast<int>(done));
    return bytes;
}

QByteArray NakEvLogLineReader::line(NakEvLogIndex::Span span, qint64 maxBytes)
{
    qint64 const length = std::min(span.length, maxBytes);
    qint64 const end = m_windowOffset + m_window.size();
    if (span.offset < m_windowOffset || span.offset + length > end) {
        m_window = m_file->read(span.offset, std::max(windowBytes, length));
        m_windowOffset = span.offset;
    }
    qint64 const at = span.offset - m_windowOffset;
    qint64 const there = std::clamp(m_window.size() - at, qint64(0), length);
    return QByteArray::fromRawData(m_window.constData() + at, static_cast<int>(there));
}

QString evLogPlainText(QByteArray const& bytes, int maxChars)
{
    QString text = QString::fromUtf8(bytes);
    text.truncate(maxChars);
    // Cut in the middle of a character.
    if (text.endsWith(QChar::ReplacementCharacter)
        || (!text.isEmpty() && text.at(text.size() - 1).isHighSurrogate()))
        text.chop(1);
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator
            || c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return text;
}
