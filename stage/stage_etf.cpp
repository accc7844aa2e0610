// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "stage_etf.h"

#include <QtEndian>

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace stage {

namespace {

enum Tag : uchar {
    NewFloatExt = 70,
    CompressedTerm = 80,
    SmallIntegerExt = 97,
    IntegerExt = 98,
    AtomExt = 100,
    NilExt = 106,
    StringExt = 107,
    ListExt = 108,
    BinaryExt = 109,
    SmallBigExt = 110,
    SmallAtomExt = 115,
    MapExt = 116,
    AtomUtf8Ext = 118,
    SmallAtomUtf8Ext = 119,
    Version = 131,
};

constexpr int kMaxDepth = 256;
constexpr quint32 kMaxInflated = 256u << 20;

template <class T> void appendBigEndian(QByteArray& out, T value)
{
    char raw[sizeof(T)];
    qToBigEndian(value, raw);
    out.append(raw, sizeof(T));
}

void appendAtom(QByteArray& out, QByteArray const& name)
{
    out.append(char(AtomExt));
    appendBigEndian(out, quint16(std::min(name.size(), 255)));
    out.append(name.constData(), std::min(name.size(), 255));
}

void appendBinary(QByteArray& out, QByteArray const& bytes)
{
    out.append(char(BinaryExt));
    appendBigEndian(out, quint32(bytes.size()));
    out.append(bytes);
}

void appendBig(QByteArray& out, quint64 magnitude, bool negative)
{
    int digits = 0;
    for (quint64 rest = magnitude; rest != 0; rest >>= 8)
        ++digits;
    out.append(char(SmallBigExt));
    out.append(char(digits));
    out.append(char(negative ? 1 : 0));
    for (int n = 0; n < digits; ++n, magnitude >>= 8)
        out.append(char(magnitude & 0xff));
}

void appendInteger(QByteArray& out, qint64 value)
{
    if (value >= 0 && value <= 255) {
        out.append(char(SmallIntegerExt));
        out.append(char(value));
    } else if (value >= std::numeric_limits<qint32>::min()
               && value <= std::numeric_limits<qint32>::max()) {
        out.append(char(IntegerExt));
        appendBigEndian(out, qint32(value));
    } else {
        appendBig(out, value < 0 ? 0 - quint64(value) : quint64(value), value < 0);
    }
}

void appendUnsigned(QByteArray& out, quint64 value)
{
    if (value <= quint64(std::numeric_limits<qint64>::max()))
        appendInteger(out, qint64(value));
    else
        appendBig(out, value, false);
}

void appendFloat(QByteArray& out, double value)
{
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    out.append(char(NewFloatExt));
    appendBigEndian(out, bits);
}

// Erlang writes a list of bytes as if it were text, and so the service's ranges arrive that way.
bool isByteList(std::vector<Term> const& items)
{
    return !items.empty() && items.size() <= 65535
        && std::all_of(items.begin(), items.end(), [](Term const& item) {
               return item.kind == Term::Kind::Int && item.i >= 0 && item.i <= 255;
           });
}

void appendList(QByteArray& out, Term const& term, EncodeOptions const& options)
{
    if (isByteList(term.items)) {
        out.append(char(StringExt));
        appendBigEndian(out, quint16(term.items.size()));
        for (Term const& item : term.items)
            out.append(char(item.i));
        return;
    }
    if (!term.items.empty()) {
        out.append(char(ListExt));
        appendBigEndian(out, quint32(term.items.size()));
        for (Term const& item : term.items)
            appendTerm(out, item, options);
    }
    out.append(char(NilExt));
}

void appendMap(QByteArray& out, Term const& term, EncodeOptions const& options)
{
    out.append(char(MapExt));
    appendBigEndian(out, quint32(term.items.size()));
    for (size_t n = 0; n < term.items.size(); ++n) {
        Term::Key const& key = term.keys[n];
        if (options.atomKeys || key.atom)
            appendAtom(out, key.text);
        else
            appendBinary(out, key.text);
        appendTerm(out, term.items[n], options);
    }
}

// Reads one term after the other from memory that is bounded by `end`.
struct Reader {
    uchar const* at;
    uchar const* end;

    quint64 left() const { return quint64(end - at); }

    template <class T> bool take(T* out)
    {
        if (left() < sizeof(T))
            return false;
        *out = qFromBigEndian<T>(at);
        at += sizeof(T);
        return true;
    }

    bool takeBytes(quint64 size, QByteArray* out)
    {
        if (left() < size)
            return false;
        *out = QByteArray(reinterpret_cast<char const*>(at), int(size));
        at += size;
        return true;
    }

    template <class Length> bool takeCounted(QByteArray* out)
    {
        Length size = 0;
        return take(&size) && size <= Length(std::numeric_limits<qint32>::max())
            && takeBytes(size, out);
    }

    bool takeAtomText(uchar tag, QByteArray* out)
    {
        return tag == SmallAtomExt || tag == SmallAtomUtf8Ext ? takeCounted<quint8>(out)
                                                              : takeCounted<quint16>(out);
    }
};

bool isAtomTag(uchar tag)
{
    return tag == AtomExt || tag == SmallAtomExt || tag == AtomUtf8Ext || tag == SmallAtomUtf8Ext;
}

Term fromAtom(QByteArray const& name)
{
    if (name == "nil")
        return nil();
    if (name == "true" || name == "false")
        return boolean(name == "true");
    return atom(name);
}

bool readBig(Reader& in, Term* out)
{
    quint8 digits = 0;
    quint8 sign = 0;
    if (!in.take(&digits) || !in.take(&sign) || digits > 8 || in.left() < digits)
        return false;
    quint64 magnitude = 0;
    for (int n = 0; n < digits; ++n)
        magnitude |= quint64(*in.at++) << (8 * n);
    if (sign == 0) {
        *out = magnitude > quint64(std::numeric_limits<qint64>::max()) ? unsignedInteger(magnitude)
                                                                       : integer(qint64(magnitude));
        return true;
    }
    if (magnitude > 0x8000000000000000u)
        return false;
    *out = integer(qint64(0 - magnitude));
    return true;
}

bool readTerm(Reader& in, int depth, Term* out);

bool readList(Reader& in, int depth, Term* out)
{
    quint32 count = 0;
    // Each element takes a byte at least, and so does the tail.
    if (!in.take(&count) || count >= in.left() || depth >= kMaxDepth)
        return false;
    *out = list();
    for (quint32 n = 0; n < count; ++n) {
        out->items.emplace_back();
        if (!readTerm(in, depth + 1, &out->items.back()))
            return false;
    }
    quint8 tail = 0;
    return in.take(&tail) && tail == NilExt;
}

bool readMap(Reader& in, int depth, Term* out)
{
    quint32 count = 0;
    if (!in.take(&count) || count > in.left() / 2 || depth >= kMaxDepth)
        return false;
    *out = map();
    for (quint32 n = 0; n < count; ++n) {
        quint8 tag = 0;
        Term::Key key;
        if (!in.take(&tag) || (!isAtomTag(tag) && tag != BinaryExt))
            return false;
        key.atom = isAtomTag(tag);
        if (!(key.atom ? in.takeAtomText(tag, &key.text) : in.takeCounted<quint32>(&key.text)))
            return false;
        out->keys.push_back(key);
        out->items.emplace_back();
        if (!readTerm(in, depth + 1, &out->items.back()))
            return false;
    }
    return true;
}

bool readByteList(Reader& in, Term* out)
{
    QByteArray bytes;
    if (!in.takeCounted<quint16>(&bytes))
        return false;
    *out = list();
    for (char byte : bytes)
        out->add(integer(uchar(byte)));
    return true;
}

bool readFloat(Reader& in, Term* out)
{
    quint64 bits = 0;
    if (!in.take(&bits))
        return false;
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    *out = real(value);
    return true;
}

bool readSmallInteger(Reader& in, Term* out)
{
    quint8 value = 0;
    bool const ok = in.take(&value);
    *out = integer(value);
    return ok;
}

bool readInteger(Reader& in, Term* out)
{
    qint32 value = 0;
    bool const ok = in.take(&value);
    *out = integer(value);
    return ok;
}

bool readTerm(Reader& in, int depth, Term* out)
{
    quint8 tag = 0;
    if (!in.take(&tag))
        return false;
    if (isAtomTag(tag)) {
        QByteArray name;
        bool const ok = in.takeAtomText(tag, &name);
        *out = fromAtom(name);
        return ok;
    }
    switch (tag) {
    case SmallIntegerExt:
        return readSmallInteger(in, out);
    case IntegerExt:
        return readInteger(in, out);
    case SmallBigExt:
        return readBig(in, out);
    case NewFloatExt:
        return readFloat(in, out);
    case BinaryExt:
        *out = binary({});
        return in.takeCounted<quint32>(&out->bytes);
    case NilExt:
        *out = list();
        return true;
    case StringExt:
        return readByteList(in, out);
    case ListExt:
        return readList(in, depth, out);
    case MapExt:
        return readMap(in, depth, out);
    default:
        return false;
    }
}

std::optional<QByteArray> inflateTerm(Reader& in)
{
    quint32 size = 0;
    if (!in.take(&size) || size > kMaxInflated)
        return std::nullopt;
    QByteArray out(int(size), Qt::Uninitialized);
    uLongf got = size;
    int const status =
        uncompress(reinterpret_cast<Bytef*>(out.data()), &got, in.at, uLong(in.left()));
    if (status != Z_OK || got != size)
        return std::nullopt;
    return out;
}

} // namespace

void appendTerm(QByteArray& out, Term const& term, EncodeOptions const& options)
{
    switch (term.kind) {
    case Term::Kind::Nil:
        return appendAtom(out, QByteArrayLiteral("nil"));
    case Term::Kind::Bool:
        return appendAtom(out, term.b ? QByteArrayLiteral("true") : QByteArrayLiteral("false"));
    case Term::Kind::Int:
        return appendInteger(out, term.i);
    case Term::Kind::UInt:
        return appendUnsigned(out, term.u);
    case Term::Kind::Float:
        return appendFloat(out, term.f);
    case Term::Kind::Binary:
        return appendBinary(out, term.bytes);
    case Term::Kind::Atom:
        return appendAtom(out, term.bytes);
    case Term::Kind::Id:
        return options.idsAsIntegers ? appendUnsigned(out, term.u)
                                     : appendBinary(out, QByteArray::number(term.u));
    case Term::Kind::List:
        return appendList(out, term, options);
    case Term::Kind::Map:
        return appendMap(out, term, options);
    case Term::Kind::Encoded:
        out.append(term.bytes);
        return;
    }
}

QByteArray encodeTerm(Term const& term, EncodeOptions const& options)
{
    QByteArray out(1, char(Version));
    appendTerm(out, term, options);
    return out;
}

std::optional<Term> decodeTerm(QByteArray const& bytes)
{
    auto const* begin = reinterpret_cast<uchar const*>(bytes.constData());
    Reader in{ begin, begin + bytes.size() };
    quint8 first = 0;
    if (!in.take(&first) || first != Version)
        return std::nullopt;
    QByteArray inflated;
    if (in.left() > 0 && *in.at == CompressedTerm) {
        ++in.at;
        std::optional<QByteArray> const whole = inflateTerm(in);
        if (!whole)
            return std::nullopt;
        inflated = *whole;
        begin = reinterpret_cast<uchar const*>(inflated.constData());
        in = { begin, begin + inflated.size() };
    }
    Term out;
    if (!readTerm(in, 0, &out) || in.left() != 0)
        return std::nullopt;
    return out;
}

} // namespace stage
