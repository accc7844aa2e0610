// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_rest_request.h"

#include <QJsonDocument>
#include <QUrl>

#include <utility>

namespace DisRest {

namespace {

struct Row {
    DisRestVerb verb;
    char const* path;
};

constexpr Row rows[] = {
#define DIS_REST_OP_ROW(name, verb, path) { DisRestVerb::verb, path },
    DIS_REST_OPS(DIS_REST_OP_ROW)
#undef DIS_REST_OP_ROW
};

QByteArray filledIn(QByteArray const& form, std::initializer_list<PathPart> parts)
{
    QByteArray out;
    int from = 0;
    for (PathPart const& part : parts) {
        int const hole = form.indexOf("{}", from);
        Q_ASSERT(hole >= 0);
        if (part.encoded.isEmpty())
            return {};
        out += form.mid(from, hole - from) + part.encoded;
        from = hole + 2;
    }
    Q_ASSERT(form.indexOf("{}", from) < 0);
    return out + form.mid(from);
}

} // namespace

PathPart::PathPart(FlakeId id)
    : encoded(id.isValid() ? QByteArray::number(id.value()) : QByteArray())
{
}

PathPart::PathPart(QString const& text)
    : encoded(QUrl::toPercentEncoding(text))
{
    if (encoded == "." || encoded == "..")
        encoded.clear();
}

DisRestRequest request(DisRestOp op, std::initializer_list<PathPart> parts)
{
    Row const& row = rows[static_cast<size_t>(op)];
    return { row.verb, filledIn(row.path, parts), {} };
}

DisRestRequest request(DisRestOp op, std::initializer_list<PathPart> parts, QJsonObject const& body)
{
    DisRestRequest out = request(op, parts);
    out.json = compact(body);
    return out;
}

DisRestRequest request(DisRestOp op, std::initializer_list<PathPart> parts, QJsonArray const& body)
{
    DisRestRequest out = request(op, parts);
    out.json = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return out;
}

DisRestRequest withQuery(DisRestRequest request, Query const& query)
{
    if (request.path.isEmpty())
        return request;
    char separator = '?';
    for (auto const& item : query) {
        if (item.second.isNull())
            continue;
        request.path +=
            QByteArray(1, separator) + item.first + '=' + QUrl::toPercentEncoding(item.second);
        separator = '&';
    }
    return request;
}

QByteArray compact(QJsonObject const& json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

QJsonValue value(QString const& text)
{
    return text;
}

QJsonValue value(FlakeId id)
{
    return id.isValid() ? QJsonValue(id.toString()) : QJsonValue(QJsonValue::Null);
}

QJsonValue value(bool flag)
{
    return flag;
}

QJsonValue value(qint32 number)
{
    return number;
}

QJsonValue value(quint32 number)
{
    return static_cast<qint64>(number);
}

QJsonArray values(QVector<FlakeId> const& ids)
{
    QJsonArray out;
    for (FlakeId const id : ids)
        out.append(value(id));
    return out;
}

void addIfNotEmpty(QJsonObject& json, QLatin1String key, QString const& text)
{
    if (!text.isEmpty())
        json.insert(key, text);
}

void addIfNotEmpty(QJsonObject& json, QLatin1String key, QJsonObject const& part)
{
    if (!part.isEmpty())
        json.insert(key, part);
}

} // namespace DisRest
