// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The stage's own values. What the gateway sends is built as a Term, so that numbers keep 64 bits
// and identifiers are known as such; only the borders to tests and REST are JSON. Pure: no thread,
// clock or socket.

#include <QByteArray>
#include <QJsonValue>
#include <QString>

#include <vector>

namespace stage {

struct Term {
    enum class Kind : quint8 {
        Nil,
        Bool,
        Int,
        UInt, // only values above the signed 64-bit range when read
        Float,
        Binary,
        Atom,
        Id, // an identifier; the encoder decides between integer and binary; never read
        List,
        Map,
        Encoded, // bytes of a finished term that are spliced in; never read
    };
    struct Key {
        QByteArray text;
        bool atom = false;
    };

    Kind kind = Kind::Nil;
    union {
        qint64 i = 0;
        quint64 u;
        double f;
        bool b;
    };
    QByteArray bytes; // Binary, Atom, Encoded
    std::vector<Term> items; // elements of a list, values of a map
    std::vector<Key> keys; // of a map, as many as items

    // Maps: appends an entry; chains on temporaries without copying what was built so far.
    template <int N> Term& set(char const (&key)[N], Term&& value) &
    {
        return setKey(QByteArray::fromRawData(key, N - 1), std::move(value));
    }
    template <int N> Term&& set(char const (&key)[N], Term&& value) &&
    {
        return std::move(setKey(QByteArray::fromRawData(key, N - 1), std::move(value)));
    }
    Term& setKey(QByteArray const& key, Term value);
    // Lists: appends an element.
    Term& add(Term value);
    // Maps: the first entry with that key; null if there is none.
    Term const* find(char const* key) const;
};

bool operator==(Term const& a, Term const& b);

Term nil();
Term boolean(bool value);
Term integer(qint64 value);
Term unsignedInteger(quint64 value);
Term real(double value);
Term binary(QByteArray const& utf8);
Term text(QString const& text);
Term atom(QByteArray const& name);
Term id(quint64 value);
Term list(std::vector<Term> items = {});
Term map();
Term encoded(QByteArray const& term);

// Integers outside the signed 32-bit range become strings, since a double would round identifiers.
QJsonValue toJson(Term const& term);
// Strings of digits under the keys of identifiers become Kind::Id.
Term fromJson(QJsonValue const& value);

} // namespace stage
