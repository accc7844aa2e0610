// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_maker.h"

#include <cmath>
#include <map>
#include <random>
#include <sstream>
#include <vector>

namespace {

// The keys of an object, each with what stands under it: a letter of putScalar, the name of another
// shape, or a list of these after a bracket.
struct Shape {
    char const* name;
    char const* fields;
};

constexpr Shape shapes[] = {
    { "own", "id:W username:s discriminator:s avatar:s bot:f premium:b email:s" },
    { "user", "id:u username:s discriminator:s avatar:s bot:b" },
    { "member", "user:user nick:s roles:[r" },
    { "presence", "user:user status:k game:game" },
    { "game", "name:s url:s" },
    { "voice", "session_id:S user_id:u channel_id:c deaf:b mute:b self_deaf:b self_mute:b" },
    { "role", "id:r name:s color:n hoist:b position:n permissions:x managed:b mentionable:b" },
    { "overwrite", "id:r type:o allow:x deny:x" },
    { "channel",
      "id:c type:t name:s topic:s nsfw:b position:n parent_id:c rate_limit_per_user:n "
      "last_message_id:m bitrate:x user_limit:n permission_overwrites:[overwrite" },
    { "emoji", "id:e name:s managed:b require_colons:b animated:b roles:[r" },
    { "guild",
      "id:g name:s icon:s owner_id:u afk_channel_id:c unavailable:b member_count:x "
      "members:[member presences:[presence voice_states:[voice roles:[role channels:[channel "
      "emojis:[emoji" },
    { "private", "id:p type:d name:s icon:s owner_id:u last_message_id:m recipients:[user" },
    { "read", "id:c last_message_id:m mention_count:x" },
    { "relationship", "id:u type:n user:user" },
    { "settings", "guild_positions:[g status:k" },
    { "override", "channel_id:c message_notifications:n muted:b" },
    { "guildsetting",
      "guild_id:g message_notifications:n mobile_push:b muted:b suppress_everyone:b "
      "channel_overrides:[override" },
    { "thumbnail", "proxy_url:s width:n height:n" },
    { "embed", "type:i url:s title:s color:x thumbnail:thumbnail" },
    { "attachment", "filename:s url:s proxy_url:s width:n height:n size:x" },
    { "reactedemoji", "id:e name:s" },
    { "reaction", "emoji:reactedemoji count:n me:b user_id:u" },
    { "message",
      "id:m channel_id:a content:s type:n author:user edited_timestamp:s pinned:b mentions:[user "
      "embeds:[embed attachments:[attachment reactions:[reaction nonce:m" },
    { "ban", "user:user reason:s" },
    { "group", "id:G count:x" },
    { "item", "member:member group:group" },
    { "op", "op:O index:x item:item range:R items:[item" },
};

constexpr Shape events[] = {
    { "READY",
      "session_id:S user:own guilds:[guild private_channels:[private read_state:[read "
      "relationships:[relationship user_settings:settings user_guild_settings:[guildsetting" },
    { "RESUMED", "session_id:S" },
    { "GUILD_CREATE", "=guild" },
    { "GUILD_UPDATE", "=guild" },
    { "GUILD_DELETE", "id:g unavailable:b" },
    { "GUILD_SYNC", "id:g members:[member presences:[presence" },
    { "GUILD_MEMBER_LIST_UPDATE", "guild_id:g id:L groups:[group ops:[op" },
    { "GUILD_MEMBER_ADD", "guild_id:g user:user nick:s roles:[r" },
    { "GUILD_MEMBER_UPDATE", "guild_id:g user:user nick:s roles:[r" },
    { "GUILD_MEMBER_REMOVE", "guild_id:g user:user" },
    { "GUILD_BAN_ADD", "guild_id:g user:user" },
    { "GUILD_BAN_REMOVE", "guild_id:g user:user" },
    { "GUILD_ROLE_CREATE", "guild_id:g role:role" },
    { "GUILD_ROLE_UPDATE", "guild_id:g role:role" },
    { "GUILD_ROLE_DELETE", "guild_id:g role_id:r" },
    { "GUILD_EMOJIS_UPDATE", "guild_id:g emojis:[emoji" },
    { "CHANNEL_CREATE", "guild_id:g =channel recipients:[user owner_id:u icon:s" },
    { "CHANNEL_UPDATE", "guild_id:g =channel recipients:[user owner_id:u icon:s" },
    { "CHANNEL_DELETE", "guild_id:g id:a type:t" },
    { "CHANNEL_RECIPIENT_ADD", "channel_id:p user:user" },
    { "CHANNEL_RECIPIENT_REMOVE", "channel_id:p user:user" },
    { "MESSAGE_CREATE", "=message" },
    { "MESSAGE_UPDATE", "=message" },
    { "MESSAGE_DELETE", "id:m channel_id:a" },
    { "MESSAGE_ACK", "channel_id:a message_id:m" },
    { "MESSAGE_REACTION_ADD", "message_id:m channel_id:a user_id:u emoji:reactedemoji" },
    { "MESSAGE_REACTION_REMOVE", "message_id:m channel_id:a user_id:u emoji:reactedemoji" },
    { "PRESENCE_UPDATE", "=presence" },
    { "TYPING_START", "channel_id:a user_id:u timestamp:x" },
    { "VOICE_STATE_UPDATE", "guild_id:g =voice" },
    { "VOICE_SERVER_UPDATE", "guild_id:g channel_id:p endpoint:s token:s" },
    { "CALL_CREATE", "channel_id:p voice_states:[voice" },
    { "CALL_DELETE", "channel_id:p" },
    { "USER_SETTINGS_UPDATE", "=settings" },
    { "USER_GUILD_SETTINGS_UPDATE", "=guildsetting" },
    { "RELATIONSHIP_ADD", "=relationship" },
    { "RELATIONSHIP_REMOVE", "id:u type:n" },
};

// The letters of ids, each with the range that they come from: of guilds, channels of guilds,
// private channels, roles, users, emojis, messages.
struct Ids {
    char kind;
    quint32 from;
    quint32 count;
};

constexpr Ids ids[] = { { 'g', 10, 4 }, { 'c', 20, 12 },  { 'p', 50, 8 },  { 'r', 30, 10 },
                        { 'u', 1, 12 }, { 'e', 400, 12 }, { 'm', 600, 60 } };

// The letters of words.
struct Words {
    char kind;
    std::vector<char const*> words;
};

Words const vocabulary[] = {
    { 'k', { "online", "idle", "dnd", "offline", "weird" } }, // statuses
    { 'o', { "role", "member", "other" } }, // targets of an overwrite
    { 'i', { "rich", "image" } }, // embeds
    { 'L', { "12345", "everyone" } }, // member lists
    { 'G', { "online", "offline", "30", "31", "none" } }, // groups of such a list
    { 'O', { "SYNC", "INSERT", "UPDATE", "DELETE", "INVALIDATE" } }, // operations on it
    // Ids that are none, or that are hardly one.
    { '?',
      { "0", "-1", " 20", "2e1", "20x", "+20", "00000000000000000020", "9223372036854775808",
        "18446744073709551614", "18446744073709551615", "123456789012345678901" } },
};

std::string const oddTexts[] = { "", std::string("nul\0in it", 9), "bytes \xff\xc3 of none",
                                 std::string(300, 'x'), "\xf0\x9f\x98\x80" };

char const* fieldsOfShape(std::string const& name)
{
    for (auto const& shape : shapes) {
        if (shape.name == name)
            return shape.fields;
    }
    abort(); // the grammar names a shape that there is none of
}

// A key, and the letter or name of what stands under it.
struct Field {
    std::string key;
    std::string what;
};

std::vector<Field> const& parsed(char const* fieldsText)
{
    // Two writers make events at once.
    thread_local std::map<char const*, std::vector<Field>> known;
    auto& fields = known[fieldsText];
    if (!fields.empty())
        return fields;
    std::istringstream words(fieldsText);
    for (std::string word; words >> word;) {
        if (word[0] == '=') { // all fields of that shape
            auto const& others = parsed(fieldsOfShape(word.substr(1)));
            fields.insert(fields.end(), others.begin(), others.end());
        } else {
            auto const colon = word.find(':');
            fields.push_back({ word.substr(0, colon), word.substr(colon + 1) });
        }
    }
    return fields;
}

} // namespace

EventMaker::EventMaker(Draw draw)
    : m_draw(std::move(draw))
{
    Dread::init(&m_ctx, 65536);
}

EventMaker::EventMaker(quint32 seed)
    : EventMaker([random = std::mt19937(seed)](quint32 below) mutable { return random() % below; })
{
}

EventMaker::~EventMaker()
{
    Dread::destroy(&m_ctx);
}

std::deque<std::string> EventMaker::eventNames()
{
    std::deque<std::string> names;
    for (auto const& event : events)
        names.emplace_back(event.name);
    return names;
}

// The cell of a new root.
quint32 EventMaker::begin()
{
    Dread::clear(&m_ctx);
    m_texts.clear();
    Dread::ensureMoreCapacity(&m_ctx, sizeof(Dread::Val));
    m_ctx.used = sizeof(Dread::Val);
    return 0;
}

void EventMaker::make()
{
    Shape const& event = events[m_draw(static_cast<quint32>(std::size(events)))];
    m_name = { event.name, static_cast<quint32>(strlen(event.name)) };
    quint32 const cell = begin();
    putShape(cell, event.fields);
    m_data = Dread::cellAt(&m_ctx, cell);
}

void EventMaker::makeList(char const* shape)
{
    quint32 const cell = begin();
    putMany(cell, shape);
    m_data = Dread::cellAt(&m_ctx, cell);
}

// One field in twelve is not as it should be.
void EventMaker::putShape(quint32 cell, char const* fields)
{
    enum Fault { Missing = 1, Null, Wrong, Doubled };
    struct Chosen {
        Field const* field;
        quint32 fault;
    };
    std::vector<Chosen> chosen;
    for (auto const& field : parsed(fields)) {
        quint32 const fault = m_draw(48);
        if (fault != Missing)
            chosen.push_back({ &field, fault });
        if (fault == Doubled)
            chosen.push_back({ &field, 0 });
    }
    Dread::VMap map;
    Dread::setMap(&m_ctx, cell, static_cast<quint32>(chosen.size()), &map);
    for (quint32 i = 0; i < map.count; ++i) {
        Field const& field = *chosen[i].field;
        Dread::setMapKey(&m_ctx, map, i, field.key.data(), static_cast<quint16>(field.key.size()));
        quint32 const value = map.offset + 16 * map.count + 24 * i;
        if (chosen[i].fault == Null)
            Dread::setNil(&m_ctx, value);
        else if (chosen[i].fault == Wrong)
            putWrong(value, 0);
        else
            put(value, field.what.c_str());
    }
}

void EventMaker::put(quint32 cell, char const* what)
{
    if (what[0] == '[')
        putMany(cell, what + 1);
    else if (what[1] == '\0')
        putScalar(cell, what[0]);
    else
        putShape(cell, fieldsOfShape(what));
}

void EventMaker::putMany(quint32 cell, char const* what)
{
    Dread::VList list;
    Dread::setList(&m_ctx, cell, m_draw(4), &list);
    for (quint32 i = 0; i < list.count; ++i) {
        quint32 const element = list.offset + 24 * i;
        if (m_draw(48) == 1)
            putWrong(element, 0);
        else
            put(element, what);
    }
}

void EventMaker::putText(quint32 cell, std::string const& text)
{
    m_texts.push_back(text);
    Dread::setString(&m_ctx, cell, m_texts.back().data(), static_cast<quint32>(text.size()));
}

// Mostly a letter.
void EventMaker::putName(quint32 cell, quint32 which)
{
    putText(cell,
            which < std::size(oddTexts) ? oddTexts[which]
                                        : std::string(1, static_cast<char>('a' + which % 8)));
}

// Mostly as a text.
void EventMaker::putId(quint32 cell, quint32 id)
{
    switch (m_draw(16)) {
    case 1:
        return putScalar(cell, '?');
    case 2:
        return Dread::setInt32(&m_ctx, cell, static_cast<qint32>(id));
    case 3:
        return Dread::setUint64(&m_ctx, cell, id);
    default:
        return putText(cell, std::to_string(id));
    }
}

// Mostly a range as it should be.
void EventMaker::putRange(quint32 cell)
{
    quint32 const first = 100 * m_draw(4);
    quint32 const last = first + (m_draw(8) == 1 ? 110 : 99);
    if (last < 256 && m_draw(2) == 1) // a list of small integers may travel as a string of bytes
        return putText(cell, { static_cast<char>(first), static_cast<char>(last) });
    Dread::VList list;
    Dread::setList(&m_ctx, cell, 2, &list);
    Dread::setInt32(&m_ctx, list.offset, static_cast<qint32>(first));
    Dread::setInt32(&m_ctx, list.offset + 24, static_cast<qint32>(last));
}

void EventMaker::putScalar(quint32 cell, char kind)
{
    static constexpr qint32 numbers[] = { 0, 1, 7, 99, 100, 4000, -1, 2147483647, -2147483647 - 1 };
    if (kind == 'a') // of any channel that holds messages
        kind = m_draw(3) == 1 ? 'p' : 'c';
    for (auto const& one : ids) {
        if (one.kind == kind)
            return putId(cell, one.from + m_draw(one.count));
    }
    for (auto const& one : vocabulary) {
        if (one.kind == kind)
            return putText(cell, one.words[m_draw(static_cast<quint32>(one.words.size()))]);
    }
    switch (kind) {
    case 'W':
        return putText(cell, m_ownUser);
    case 's':
        return putName(cell, m_draw(24));
    case 'S':
        return putText(cell, "session" + std::to_string(m_draw(8)));
    case 'b':
        return Dread::setBool(&m_ctx, cell, m_draw(2) == 1);
    case 'f': // seldom true
        return Dread::setBool(&m_ctx, cell, m_draw(64) == 1);
    case 't':
        return Dread::setInt32(&m_ctx, cell, static_cast<qint32>(m_draw(7)));
    case 'd': // pair or group
        return Dread::setInt32(&m_ctx, cell, m_draw(2) == 1 ? 3 : 1);
    case 'n':
        return Dread::setUint8(&m_ctx, cell, static_cast<quint8>(m_draw(10)));
    case 'x':
        return Dread::setInt32(&m_ctx, cell, numbers[m_draw(std::size(numbers))]);
    case 'R':
        return putRange(cell);
    default:
        abort(); // the grammar names a kind that there is none of
    }
}

void EventMaker::putWrong(quint32 cell, int depth)
{
    static constexpr double floats[] = { 1.5, -0.0, 1e300, 20 };
    Dread::VList list;
    Dread::VMap map;
    switch (m_draw(depth > 1 ? 8 : 10)) {
    case 0:
        return Dread::setNil(&m_ctx, cell);
    case 1:
        return Dread::setBool(&m_ctx, cell, m_draw(2) == 1);
    case 2:
        return Dread::setUint8(&m_ctx, cell, static_cast<quint8>(m_draw(256)));
    case 3:
        return Dread::setInt32(&m_ctx, cell, -1);
    case 4:
        return Dread::setInt64(&m_ctx, cell, m_draw(2) == 1 ? INT64_MIN : INT64_MAX);
    case 5:
        return Dread::setUint64(&m_ctx, cell, UINT64_MAX - m_draw(2));
    case 6:
        return Dread::setFloat64(&m_ctx, cell, m_draw(2) == 1 ? std::nan("") : floats[m_draw(4)]);
    case 7:
        return putScalar(cell, m_draw(2) == 1 ? 's' : '?');
    case 8:
        Dread::setList(&m_ctx, cell, m_draw(3), &list);
        for (quint32 i = 0; i < list.count; ++i)
            putWrong(list.offset + 24 * i, depth + 1);
        return;
    default:
        Dread::setMap(&m_ctx, cell, 1, &map);
        Dread::setMapKey(&m_ctx, map, 0, "id", 2);
        return putWrong(map.offset + 16, depth + 1);
    }
}
