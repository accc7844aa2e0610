// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ready_document.h"

#include <QtEndian>

#include <zlib.h>

#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

// Writes terms one after the other. Containers are announced with their count.
class EtfWriter {
public:
    EtfWriter() { m_bytes.append(char(131)); }

    void map(quint32 entries) { head('t', entries); }
    // Followed by so many elements and end(); an empty list is a nil alone.
    void list(quint32 elements)
    {
        if (elements == 0) {
            m_pendingEnd = false;
            return;
        }
        head('l', elements);
    }
    void end()
    {
        m_bytes.append('j');
        m_terms += m_pendingEnd ? 0 : 1;
        m_pendingEnd = true;
    }
    void text(std::string const& value) { text(value.data(), value.size()); }
    void text(char const* data, std::size_t length)
    {
        head('m', static_cast<quint32>(length));
        m_bytes.append(data, static_cast<int>(length));
    }
    void key(char const* name) { text(name, strlen(name)); }
    void number(qint32 value)
    {
        if (value >= 0 && value <= 255) {
            m_bytes.append('a').append(static_cast<char>(value));
            ++m_terms;
            return;
        }
        head('b', static_cast<quint32>(value));
    }
    void id(quint64 value)
    {
        char digits[8];
        qToLittleEndian(value, digits);
        m_bytes.append("n\x08\0", 3).append(digits, sizeof digits);
        ++m_terms;
    }
    void boolean(bool value) { atom(value ? "true" : "false"); }
    void nil() { atom("nil"); }

    QByteArray const& bytes() const { return m_bytes; }
    quint64 terms() const { return m_terms; }

private:
    void head(char tag, quint32 number)
    {
        char raw[4];
        qToBigEndian(number, raw);
        m_bytes.append(tag).append(raw, sizeof raw);
        ++m_terms;
    }
    void atom(char const* name)
    {
        m_bytes.append('s').append(static_cast<char>(strlen(name))).append(name);
        ++m_terms;
    }

    QByteArray m_bytes;
    quint64 m_terms = 0;
    bool m_pendingEnd = true; // of a list that had a head
};

char const* const words[] = { "general", "random",    "voice",   "build",       "release",
                              "help",    "off-topic", "music",   "dev",         "d\u00e9j\u00e0-vu",
                              "news",    "staff",     "harbour", "amber",       "quartz",
                              "meadow",  "lantern",   "orchard", "falcon",      "cobalt",
                              "thicket", "ember",     "saffron", "\u6771\u4eac" };

class ReadyMaker {
public:
    ReadyMaker(ReadyShape const& shape, quint64 seed)
        : m_shape(shape)
        , m_random(seed)
    {
    }

    ReadyDocument make()
    {
        m_to.map(4);
        m_to.key("op");
        m_to.number(0);
        m_to.key("s");
        m_to.number(1);
        m_to.key("t");
        m_to.text("READY");
        m_to.key("d");
        writeData();
        return { m_to.bytes(), m_to.terms() };
    }

private:
    // --- values ---
    quint64 below(quint64 n) { return m_random() % n; }
    bool oneIn(quint64 n) { return below(n) == 0; }
    // In no order: people, channels and roles are as old as they are, wherever they are listed.
    quint64 newId() { return 100'000'000'000'000'000ULL + below(900'000'000'000'000'000ULL); }
    std::string word() { return words[below(std::size(words))]; }
    std::string name() { return word() + '-' + std::to_string(below(10000)); }
    std::string hex(int digits)
    {
        std::string text;
        while (digits-- > 0) {
            text += "0123456789abcdef"[below(16)];
        }
        return text;
    }
    std::string time()
    {
        char text[48];
        snprintf(text, sizeof text, "20%02d-%02d-%02dT%02d:%02d:%02d.%06d+00:00",
                 15 + int(below(9)), 1 + int(below(12)), 1 + int(below(28)), int(below(24)),
                 int(below(60)), int(below(60)), int(below(1000000)));
        return text;
    }

    // --- fields ---
    void field(char const* key, std::string const& value)
    {
        m_to.key(key);
        m_to.text(value);
    }
    void field(char const* key, char const* value) { field(key, std::string(value)); }
    void field(char const* key, int value)
    {
        m_to.key(key);
        m_to.number(value);
    }
    void field(char const* key, quint64 id)
    {
        m_to.key(key);
        m_to.id(id);
    }
    void field(char const* key, bool value)
    {
        m_to.key(key);
        m_to.boolean(value);
    }
    void nilField(char const* key)
    {
        m_to.key(key);
        m_to.nil();
    }
    void textOrNil(char const* key, bool isText, std::string const& value)
    {
        isText ? field(key, value) : nilField(key);
    }
    // Each element is what write does.
    template <class Write> void listField(char const* key, int count, Write&& write)
    {
        m_to.key(key);
        m_to.list(static_cast<quint32>(count));
        for (int i = 0; i < count; ++i) {
            write(i);
        }
        m_to.end();
    }
    void idsField(char const* key, int count, std::vector<quint64> const& from)
    {
        listField(key, count, [&](int) { m_to.id(from[below(from.size())]); });
    }

    // --- records ---
    void writeUser(quint64 id)
    {
        m_to.map(6);
        field("id", id);
        field("username", name());
        field("discriminator", std::to_string(1000 + below(9000)));
        textOrNil("avatar", !oneIn(8), hex(32));
        field("bot", oneIn(40));
        field("public_flags", int(below(256)));
    }
    void writeOverwrite(bool ofRole)
    {
        m_to.map(4);
        field("id", ofRole ? m_roles[below(m_roles.size())] : m_users[below(m_users.size())]);
        field("type", ofRole ? "role" : "member");
        field("allow", int(below(1 << 30)));
        field("deny", int(below(1 << 30)));
    }
    void writeChannel(int position)
    {
        quint64 const id = newId();
        int const kinds[] = { 0, 0, 0, 0, 2 };
        int const type = position % 12 == 0 ? 4 : kinds[below(5)];
        if (type == 4) {
            m_category = id;
        }
        m_channels.push_back(id);
        std::string topic;
        for (quint64 i = below(9); i > 0; --i) {
            topic += word() + ' ';
        }
        m_to.map(12);
        field("id", id);
        field("type", type);
        field("guild_id", m_guild);
        textOrNil("last_pin_timestamp", !oneIn(3), time());
        field("name", name());
        field("position", position);
        type == 4 ? nilField("parent_id") : field("parent_id", m_category);
        textOrNil("topic", !oneIn(3), topic);
        field("nsfw", oneIn(30));
        field("last_message_id", id + (1ULL << 40));
        field("rate_limit_per_user", 0);
        listField("permission_overwrites", int(below(4)), [&](int i) { writeOverwrite(i != 2); });
    }
    void writeRole(int position, quint64 id)
    {
        m_roles.push_back(id);
        m_to.map(8);
        field("id", id);
        field("name", position == 0 ? "@everyone" : name());
        field("color", int(below(1 << 24)));
        field("hoist", oneIn(3));
        field("position", position);
        field("permissions", int(below(1U << 31)));
        field("managed", oneIn(10));
        field("mentionable", oneIn(2));
    }
    void writeMember(int index)
    {
        m_to.map(9);
        m_to.key("user");
        writeUser(index == 0 ? m_shape.ownUser : m_users[static_cast<std::size_t>(index)]);
        textOrNil("nick", oneIn(3), name());
        idsField("roles", int(below(5)), m_roles);
        field("joined_at", time());
        nilField("premium_since");
        field("hoisted_role", m_roles[below(m_roles.size())]);
        field("deaf", false);
        field("mute", false);
        field("pending", false);
    }
    void writeEmoji()
    {
        m_to.map(6);
        field("id", newId());
        field("name", word() + std::to_string(below(100)));
        field("managed", false);
        field("require_colons", true);
        field("animated", oneIn(5));
        listField("roles", 0, [](int) {});
    }
    void writePresence()
    {
        m_to.map(3);
        m_to.key("user");
        m_to.map(1);
        field("id", m_users[below(m_users.size())]);
        field("status", oneIn(3) ? "idle" : "online");
        nilField("game");
    }
    void writeGuild()
    {
        quint64 const id = newId();
        m_guild = id;
        m_roles.clear();
        m_users.clear();
        for (int i = 0; i < m_shape.membersPerGuild; ++i) {
            m_users.push_back(newId());
        }
        m_to.map(15);
        field("id", id);
        field("name", name() + ' ' + word());
        textOrNil("icon", !oneIn(5), hex(32));
        field("owner_id", m_users[0]);
        nilField("afk_channel_id");
        field("unavailable", false);
        field("large", true);
        field("member_count", int(200 + below(3000)));
        field("joined_at", time());
        listField("roles", m_shape.rolesPerGuild, [&](int i) { writeRole(i, i ? newId() : id); });
        listField("channels", m_shape.channelsPerGuild, [&](int i) { writeChannel(i); });
        listField("members", m_shape.membersPerGuild, [&](int i) { writeMember(i); });
        listField("presences", m_shape.membersPerGuild / 20, [&](int) { writePresence(); });
        listField("voice_states", 0, [](int) {});
        listField("emojis", m_shape.emojisPerGuild, [&](int) { writeEmoji(); });
    }
    void writePrivateChannel()
    {
        quint64 const id = newId();
        m_to.map(4);
        field("id", id);
        field("type", 1);
        listField("recipients", 1, [&](int) { writeUser(newId()); });
        field("last_message_id", id + (1ULL << 40));
    }
    void writeReadState()
    {
        quint64 const id = m_channels[below(m_channels.size())];
        m_to.map(3);
        field("id", id);
        field("last_message_id", id + (oneIn(4) ? 1ULL << 39 : 1ULL << 40));
        field("mention_count", oneIn(20) ? int(below(9)) : 0);
    }
    void writeData()
    {
        m_to.map(9);
        field("v", 6);
        m_to.key("user");
        writeUser(m_shape.ownUser);
        field("session_id", hex(32));
        listField("guilds", m_shape.guilds, [&](int) { writeGuild(); });
        listField("private_channels", m_shape.privateChannels, [&](int) { writePrivateChannel(); });
        listField("read_state",
                  m_channels.empty() ? 0 : m_shape.guilds * m_shape.readStatesPerGuild,
                  [&](int) { writeReadState(); });
        listField("relationships", 0, [](int) {});
        m_to.key("user_settings");
        m_to.map(1);
        field("status", "online");
        listField("user_guild_settings", 0, [](int) {});
    }

    ReadyShape const m_shape;
    std::mt19937_64 m_random;
    EtfWriter m_to;
    quint64 m_guild = 0; // at hand
    quint64 m_category = 0; // the last that was written
    std::vector<quint64> m_roles; // of the guild at hand, as are the users
    std::vector<quint64> m_users;
    std::vector<quint64> m_channels; // of all guilds
};

} // namespace

ReadyDocument makeReadyDocument(ReadyShape const& shape, quint64 seed)
{
    return ReadyMaker(shape, seed).make();
}

QByteArray deflateFrame(QByteArray const& frame)
{
    z_stream deflater{};
    deflateInit(&deflater, Z_DEFAULT_COMPRESSION);
    QByteArray packed;
    packed.resize(static_cast<int>(deflateBound(&deflater, static_cast<uLong>(frame.size())) + 16));
    deflater.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(frame.constData()));
    deflater.avail_in = static_cast<uInt>(frame.size());
    deflater.next_out = reinterpret_cast<Bytef*>(packed.data());
    deflater.avail_out = static_cast<uInt>(packed.size());
    deflate(&deflater, Z_SYNC_FLUSH);
    packed.resize(static_cast<int>(deflater.total_out));
    deflateEnd(&deflater);
    return packed;
}
