// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_term.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <limits>

namespace stage {

namespace {

bool isIdKey(QString const& key)
{
    return key == QLatin1String("id") || key == QLatin1String("nonce")
        || key.endsWith(QLatin1String("_id"));
}

bool isIdListKey(QString const& key)
{
    return key == QLatin1String("roles") || key == QLatin1String("mention_roles")
        || key == QLatin1String("guild_positions");
}

// Digits without a leading zero that fit 64 bits, so that the text can be had back.
bool isIdText(QString const& text, quint64* value)
{
    bool ok = false;
    *value = text.toULongLong(&ok);
    return ok && QString::number(*value) == text;
}

Term fromJsonUnder(QJsonValue const& value, bool idPlace, bool idListPlace)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return boolean(value.toBool());
    case QJsonValue::Double: {
        double const number = value.toDouble();
        bool const whole = std::abs(number) < 9.0e15 && number == double(qint64(number));
        return whole ? integer(qint64(number)) : real(number);
    }
    case QJsonValue::String: {
        quint64 identifier = 0;
        bool const isId = idPlace && isIdText(value.toString(), &identifier);
        return isId ? id(identifier) : text(value.toString());
    }
    case QJsonValue::Array: {
        Term out = list();
        QJsonArray const array = value.toArray();
        for (QJsonValue const& item : array)
            out.add(fromJsonUnder(item, idListPlace, false));
        return out;
    }
    case QJsonValue::Object: {
        Term out = map();
        QJsonObject const object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            out.setKey(it.key().toUtf8(),
                       fromJsonUnder(it.value(), isIdKey(it.key()), isIdListKey(it.key())));
        return out;
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return nil();
}

QJsonValue numberToJson(qint64 value)
{
    bool const small =
        value >= std::numeric_limits<qint32>::min() && value <= std::numeric_limits<qint32>::max();
    return small ? QJsonValue(int(value)) : QJsonValue(QString::number(value));
}
} // namespace

Term& Term::setKey(QByteArray const& key, Term value)
{
    keys.push_back({ key, false });
    items.push_back(std::move(value));
    return *this;
}

Term& Term::add(Term value)
{
    items.push_back(std::move(value));
    return *this;
}

Term const* Term::find(char const* key) const
{
    for (size_t n = 0; n < keys.size(); ++n) {
        if (keys[n].text == key)
            return &items[n];
    }
    return nullptr;
}

bool operator==(Term const& a, Term const& b)
{
    auto const sameKey = [](Term::Key const& x, Term::Key const& y) { return x.text == y.text; };
    return a.kind == b.kind && (a.kind == Term::Kind::Bool ? a.b == b.b : a.u == b.u)
        && a.bytes == b.bytes && a.items == b.items
        && std::equal(a.keys.begin(), a.keys.end(), b.keys.begin(), b.keys.end(), sameKey);
}

Term nil()
{
    return {};
}

Term boolean(bool value)
{
    Term term;
    term.kind = Term::Kind::Bool;
    term.b = value;
    return term;
}

Term integer(qint64 value)
{
    Term term;
    term.kind = Term::Kind::Int;
    term.i = value;
    return term;
}

Term unsignedInteger(quint64 value)
{
    Term term;
    term.kind = Term::Kind::UInt;
    term.u = value;
    return term;
}

Term real(double value)
{
    Term term;
    term.kind = Term::Kind::Float;
    term.f = value;
    return term;
}

Term binary(QByteArray const& utf8)
{
    Term term;
    term.kind = Term::Kind::Binary;
    term.bytes = utf8;
    return term;
}

Term text(QString const& text)
{
    return binary(text.toUtf8());
}

Term atom(QByteArray const& name)
{
    Term term;
    term.kind = Term::Kind::Atom;
    term.bytes = name;
    return term;
}

Term id(quint64 value)
{
    Term term;
    term.kind = Term::Kind::Id;
    term.u = value;
    return term;
}

Term list(std::vector<Term> items)
{
    Term term;
    term.kind = Term::Kind::List;
    term.items = std::move(items);
    return term;
}

Term map()
{
    Term term;
    term.kind = Term::Kind::Map;
    return term;
}

Term encoded(QByteArray const& term)
{
    Term out;
    out.kind = Term::Kind::Encoded;
    out.bytes = term;
    return out;
}
QJsonValue toJson(Term const& term)
{
    switch (term.kind) {
    case Term::Kind::Bool:
        return term.b;
    case Term::Kind::Int:
        return numberToJson(term.i);
    case Term::Kind::UInt:
    case Term::Kind::Id:
        return QString::number(term.u);
    case Term::Kind::Float:
        return term.f;
    case Term::Kind::Binary:
    case Term::Kind::Atom:
        return QString::fromUtf8(term.bytes);
    case Term::Kind::List: {
        QJsonArray out;
        for (Term const& item : term.items)
            out.append(toJson(item));
        return out;
    }
    case Term::Kind::Map: {
        QJsonObject out;
        for (size_t n = 0; n < term.items.size(); ++n)
            out.insert(QString::fromUtf8(term.keys[n].text), toJson(term.items[n]));
        return out;
    }
    case Term::Kind::Nil:
    case Term::Kind::Encoded:
        break;
    }
    return QJsonValue::Null;
}

Term fromJson(QJsonValue const& value)
{
    return fromJsonUnder(value, false, false);
}
} // namespace stage
