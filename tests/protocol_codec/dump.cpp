// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dump.h"

#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

std::string floatText(double value)
{
    std::uint64_t bits = 0;
    memcpy(&bits, &value, sizeof bits);
    char text[32];
    snprintf(text, sizeof text, "f64:%016llx", static_cast<unsigned long long>(bits));
    return text;
}

// Reads the terms that Erlang's ~0p prints: atoms, integers, floats, binaries, lists, maps.
class ErlangReader {
public:
    explicit ErlangReader(std::string const& text)
        : m_text(text)
    {
    }
    std::string read()
    {
        std::string const term = readTerm();
        return m_failed || m_at != m_text.size() ? std::string() : term;
    }

private:
    bool take(char const* token)
    {
        if (m_text.compare(m_at, strlen(token), token) != 0) {
            return false;
        }
        m_at += strlen(token);
        return true;
    }
    void expect(char const* token) { m_failed = !take(token) || m_failed; }
    char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    std::string takeWhile(char const* set)
    {
        std::size_t const from = m_at;
        m_at = std::min(m_text.find_first_not_of(set, from), m_text.size());
        return m_text.substr(from, m_at - from);
    }

    std::string readTerm()
    {
        if (m_failed || peek() == '\0') {
            m_failed = true;
            return {};
        }
        if (take("#{")) {
            return readMap();
        }
        if (take("<<")) {
            return quotedBytes(readBinary());
        }
        if (take("[")) {
            return readList();
        }
        if (strchr("-0123456789", peek())) {
            return readNumber();
        }
        return readAtom(false);
    }

    std::string readAtom(bool isKey)
    {
        std::string name;
        if (take("'")) {
            name = m_text.substr(m_at, m_text.find('\'', m_at) - m_at);
            m_at += name.size() + 1;
        } else {
            name = takeWhile("abcdefghijklmnopqrstuvwxyz_");
            m_failed = m_failed || name.empty();
        }
        bool const isWord = name == "nil" || name == "true" || name == "false";
        return isWord && !isKey ? name : quotedBytes(name);
    }

    std::string readBinary()
    {
        std::string bytes;
        if (take("\"")) {
            std::size_t const end = m_text.find('"', m_at);
            bytes = m_text.substr(m_at, end - m_at);
            m_at = end + 1;
        } else {
            while (peek() != '>' && !m_failed) {
                std::string const digits = takeWhile("0123456789");
                m_failed = digits.empty();
                bytes += m_failed ? '\0' : static_cast<char>(std::stoi(digits));
                take(",");
            }
        }
        expect(">>");
        return bytes;
    }

    std::string readNumber()
    {
        std::string const digits = takeWhile("-.0123456789e");
        if (digits.find('.') != std::string::npos) {
            return floatAsRead(std::stod(digits));
        }
        __int128 value = 0;
        bool const negative = digits[0] == '-';
        for (char const c : digits.substr(negative)) {
            value = value * 10 + (c - '0');
        }
        value = negative ? -value : value;
        char const* const kind = value >= 0 && value <= 255 ? "u8:"
            : value >= INT32_MIN && value <= INT32_MAX      ? "i32:"
            : negative                                      ? "i64:"
                                                            : "u64:";
        m_failed = m_failed || value < INT64_MIN || value > __int128(UINT64_MAX);
        return kind + digits;
    }

    // The reader takes the tag as the highest byte and drops the lowest of the number.
    static std::string floatAsRead(double value)
    {
        std::uint64_t bits = 0;
        memcpy(&bits, &value, sizeof bits);
        bits = (std::uint64_t(70) << 56) | (bits >> 8);
        memcpy(&value, &bits, sizeof bits);
        return floatText(value);
    }

    // Of nothing but bytes, the encoder makes a string; of nothing at all, a nil.
    std::string readList()
    {
        std::vector<std::string> items;
        bool improper = false;
        while (!take("]") && !m_failed) {
            items.push_back(readTerm());
            if (!take(",") && take("|")) {
                improper = true;
                readTerm(); // the tail belongs to whatever encloses the list
            }
        }
        if (items.empty()) {
            return "nil";
        }
        std::string bytes;
        std::string joined;
        for (auto const& item : items) {
            if (item.compare(0, 3, "u8:") == 0) {
                bytes += static_cast<char>(std::stoi(item.substr(3)));
            }
            joined += (joined.empty() ? "" : ", ") + item;
        }
        return !improper && bytes.size() == items.size() ? quotedBytes(bytes) : "[" + joined + "]";
    }

    std::string readMap()
    {
        std::string joined;
        while (!take("}") && !m_failed) {
            bool const isBinary = take("<<");
            m_failed = m_failed || (!isBinary && strchr("-0123456789[#{", peek()));
            std::string const key = isBinary ? quotedBytes(readBinary()) : readAtom(true);
            expect(" => ");
            joined += (joined.empty() ? "" : ", ") + key + ": " + readTerm();
            take(",");
        }
        return "{" + joined + "}";
    }

    std::string const m_text;
    std::size_t m_at = 0;
    bool m_failed = false;
};

std::string dumpList(Dread::Ctx const& ctx, Dread::VList const& list)
{
    std::string text;
    for (quint32 i = 0; i < list.count; ++i) {
        text += (i ? ", " : "") + dump(ctx, Dread::listAt(ctx, list, i));
    }
    return "[" + text + "]";
}

std::string dumpMap(Dread::Ctx const& ctx, Dread::VMap const& map)
{
    std::string text;
    for (quint32 i = 0; i < map.count; ++i) {
        Dread::Key const& key = Dread::mapKeyAt(ctx, map, i);
        text += (i ? ", " : "") + quotedBytes({ key.data, key.length }) + ": "
            + dump(ctx, Dread::mapValueAt(ctx, map, i));
    }
    return "{" + text + "}";
}

} // namespace

std::string quotedBytes(std::string const& bytes)
{
    std::string text = "\"";
    for (char const c : bytes) {
        char hex[4];
        snprintf(hex, sizeof hex, "\\%02x", static_cast<unsigned char>(c));
        bool const isPlain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
        text += isPlain ? std::string(1, c) : hex;
    }
    return text + '"';
}

std::string dump(Dread::Ctx const& ctx, Dread::Val const& value)
{
    switch (value.tag) {
    case Dread::Tag::Nil:
        return "nil";
    case Dread::Tag::Bool:
        return value.boolean ? "true" : "false";
    case Dread::Tag::Uint8:
        return "u8:" + std::to_string(value.uint8);
    case Dread::Tag::Int32:
        return "i32:" + std::to_string(value.int32);
    case Dread::Tag::Int64:
        return "i64:" + std::to_string(value.int64);
    case Dread::Tag::Uint64:
        return "u64:" + std::to_string(value.uint64);
    case Dread::Tag::Float64:
        return floatText(value.float64);
    case Dread::Tag::String:
        return quotedBytes({ value.stringData, static_cast<std::size_t>(value.stringLength) });
    case Dread::Tag::List:
        return dumpList(ctx, value.list);
    case Dread::Tag::Map:
        return dumpMap(ctx, value.map);
    }
    return "a tag of no kind";
}

std::string expectedFromErlang(std::string const& printed)
{
    return ErlangReader(printed).read();
}

std::string readFile(std::string const& nameBelowData)
{
    std::ifstream file(std::string(NAKWIRE_TEST_DATA "/") + nameBelowData, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}
