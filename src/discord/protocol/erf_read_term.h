// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one reader of terms, shared by the pull parser and by the builder of trees. It is a template
// over what is done with the term, so that the builder writes each value straight into its cell:
// whole accounts come through here, and one dispatch per term is what the decoder costs.

#include "erf.h"

#include <QtEndian>

#include <cstddef>
#include <cstring>

namespace Erf {

enum class TermTag : quint8 {
    NewFloat = 70,
    SmallInteger = 97,
    Integer = 98,
    Atom = 100,
    Nil = 106,
    String = 107,
    List = 108,
    Binary = 109,
    SmallBig = 110,
    SmallAtom = 115,
    Map = 116,
};

// A sink has nil(), uint8(v), int32(v), int64(v), uint64(v), float64(v), atom(data, length) and
// binary(data, length); list(next, count) and map(next, count), which get the cursor behind the
// container's head and return the one to go on from; and fail(error), which returns null.
struct ReadTerm {
    using Bytes = unsigned char const*;

    // Hands the term at `at` to the sink. Returns the cursor behind it, or null after fail.
    template <class Sink> Q_ALWAYS_INLINE static Bytes read(Bytes at, Bytes end, Sink&& sink)
    {
        std::size_t const left = static_cast<std::size_t>(end - at);
        if (left == 0) {
            return sink.fail(ended());
        }
        // Most terms are binaries, keys above all.
        if (*at == static_cast<quint8>(TermTag::Binary)) {
            return left < 5 ? sink.fail(ended())
                            : readBinary(at, left, qFromBigEndian<quint32>(at + 1), sink);
        }
        return readOther(at, left, sink);
    }

    // The end of a proper list is a nil. The tail of an improper one stays, deliberately, to be
    // read as the next term of whatever encloses the list.
    static Bytes skipListTail(Bytes at, Bytes end)
    {
        return at < end && *at == static_cast<quint8>(TermTag::Nil) ? at + 1 : at;
    }

private:
    static Error ended() { return { ErrorKind::EndedUnexpectedly, 0 }; }
    static char const* text(Bytes at) { return reinterpret_cast<char const*>(at); }

    template <class Sink>
    static Bytes readBinary(Bytes at, std::size_t left, quint32 length, Sink&& sink)
    {
        if (length > left - 5) {
            return sink.fail(ended());
        }
        sink.binary(text(at + 5), length);
        return at + 5 + length;
    }

    template <class Sink>
    Q_ALWAYS_INLINE static Bytes readOther(Bytes at, std::size_t left, Sink&& sink)
    {
        auto const tag = static_cast<TermTag>(*at);
        switch (tag) {
        case TermTag::Nil:
            sink.nil();
            return at + 1;
        case TermTag::SmallInteger:
            if (left < 2) {
                break;
            }
            sink.uint8(at[1]);
            return at + 2;
        case TermTag::SmallAtom:
            if (left < 2 || at[1] > left - 2) {
                break;
            }
            sink.atom(text(at + 2), at[1]);
            return at + 2 + at[1];
        case TermTag::SmallBig:
            if (left < 3 || at[1] > left - 3) {
                break;
            }
            return readSmallBig(at, sink);
        case TermTag::Integer:
            if (left < 5) {
                break;
            }
            sink.int32(qFromBigEndian<qint32>(at + 1));
            return at + 5;
        case TermTag::List:
            if (left < 5) {
                break;
            }
            return sink.list(at + 5, qFromBigEndian<quint32>(at + 1));
        case TermTag::Map:
            if (left < 5) {
                break;
            }
            return sink.map(at + 5, qFromBigEndian<quint32>(at + 1));
        case TermTag::Atom:
        case TermTag::String: {
            if (left < 3) {
                break;
            }
            quint16 const length = qFromBigEndian<quint16>(at + 1);
            if (length > left - 3) {
                break;
            }
            tag == TermTag::Atom ? sink.atom(text(at + 3), length)
                                 : sink.binary(text(at + 3), length);
            return at + 3 + length;
        }
        case TermTag::NewFloat: {
            if (left < 9) {
                break;
            }
            // Deliberately from the tag byte on, not from behind it: no field that is read holds a
            // float, and what such a field gives has always been this.
            quint64 const bits = qFromBigEndian<quint64>(at);
            double value = 0;
            memcpy(&value, &bits, sizeof value);
            sink.float64(value);
            return at + 9;
        }
        default:
            return sink.fail({ ErrorKind::UnknownTermType, *at });
        }
        return sink.fail(ended());
    }

    // A count of digits, the sign, the magnitude with its lowest byte first.
    template <class Sink> static Bytes readSmallBig(Bytes at, Sink&& sink)
    {
        quint32 const digits = at[1];
        quint64 magnitude = 0;
        if (digits == 8) {
            magnitude = qFromLittleEndian<quint64>(at + 3);
        } else if (digits < 8) {
            for (quint32 i = 0; i < digits; ++i) {
                magnitude |= quint64(at[3 + i]) << (8 * i);
            }
        } else {
            return sink.fail({ ErrorKind::ValueOutOfRange, *at });
        }
        if (at[2] == 0) {
            sink.uint64(magnitude);
        } else if (magnitude <= Q_UINT64_C(0x8000000000000000)) {
            sink.int64(static_cast<qint64>(~magnitude + 1));
        } else {
            return sink.fail({ ErrorKind::ValueOutOfRange, *at });
        }
        return at + 3 + digits;
    }
};

} // namespace Erf
