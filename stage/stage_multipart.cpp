// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_multipart.h"

#include <QList>

#include <algorithm>

namespace stage {

namespace {

constexpr size_t kMaxParts = 16;

// A value of a header's parameter, with or without quotes.
QByteArray parameter(QByteArray const& header, QByteArray const& name)
{
    int const at = header.indexOf(name + '=');
    if (at < 0)
        return {};
    QByteArray value = header.mid(at + name.size() + 1);
    if (value.startsWith('"'))
        return value.mid(1, std::max(0, value.indexOf('"', 1) - 1));
    int const end = value.indexOf(';');
    return (end < 0 ? value : value.left(end)).trimmed();
}

FormPart parsePart(QByteArray const& head, QByteArray const& body)
{
    FormPart part;
    part.body = body;
    for (QByteArray const& line : head.split('\n')) {
        if (!line.toLower().startsWith("content-disposition:"))
            continue;
        // With the separator, since "filename=" ends in the other one's name.
        part.name = parameter(line, QByteArrayLiteral(" name"));
        part.filename = QString::fromUtf8(parameter(line, QByteArrayLiteral(" filename")));
    }
    return part;
}

} // namespace

std::vector<FormPart> parseMultipart(QByteArray const& body, QByteArray const& contentType)
{
    std::vector<FormPart> parts;
    QByteArray const boundary = parameter(contentType, QByteArrayLiteral("boundary"));
    if (boundary.isEmpty())
        return parts;
    QByteArray const mark = "--" + boundary;
    int at = body.startsWith(mark) ? 0 : -1;
    while (at >= 0) {
        at += mark.size();
        if (body.mid(at, 2) == "--")
            return parts;
        int const headEnd = body.indexOf("\r\n\r\n", at);
        int const next = headEnd < 0 ? -1 : body.indexOf("\r\n" + mark, headEnd + 2);
        if (next < 0 || parts.size() >= kMaxParts)
            break;
        int const bodyStart = headEnd + 4;
        parts.push_back(parsePart(body.mid(at, headEnd - at),
                                  body.mid(bodyStart, std::max(0, next - bodyStart))));
        at = next + 2;
    }
    return {};
}

} // namespace stage
