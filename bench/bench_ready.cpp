// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A READY from its bytes on the wire to committed rows, beside a bare loop that inserts the same
// rows, in the order of the wire, through prepared statements into the same tables.

#include "bench_row.h"
#include "bench_store.h"
#include "dis_events.h"
#include "gateway_inflater.h"
#include "ready_document.h"

#include <sqlite3.h>
#include <zlib.h>

#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using Bench::FreshStore;
using Bench::number;
using Bench::orEmpty;
using Bench::stop;
using Bench::Value;

constexpr int rounds = 11;
constexpr quint32 maxFrame = 256U << 20;

// --- the bare loop ---

struct Row {
    int table = 0;
    std::vector<Value> values;
};

constexpr char const* inserts[] = {
    "insert into local_user (id) values (?)",
    "insert into guild (id, name, icon, owner_id, afk_channel_id) values (?, ?, ?, ?, ?)",
    "insert into user (id, name, discrim, avatar, bot, status) values (?, ?, ?, ?, ?, ?)",
    "insert into guild_member (guild_id, user_id, nick) values (?, ?, ?)",
    "insert into guild_member_role (user_id, role_id) values (?, ?)",
    "insert into role (id, guild_id, name, color, hoist, position, permissions, managed, "
    "mentionable) values (?, ?, ?, ?, ?, ?, ?, ?, ?)",
    "insert into any_channel (id, type) values (?, ?)",
    "insert into guild_channel (id, guild_id, parent_id, position, nsfw, name, topic, "
    "rate_limit_per_user, last_message_id) values (?, ?, ?, ?, ?, ?, ?, ?, ?)",
    "insert into guild_voice_channel (id, guild_id, parent_id, position, bitrate, user_limit, "
    "name) values (?, ?, ?, ?, 0, 0, ?)",
    "insert into guild_channel_category (id, guild_id, parent_id, position, name) values "
    "(?, ?, ?, ?, ?)",
    "insert into guild_channel_permission (channel_id, target_id, allow, deny, type) values "
    "(?, ?, ?, ?, ?)",
    "insert into emoji (id, name, managed, require_colons, animated) values (?, ?, ?, ?, ?)",
    "insert into emoji_guild (emoji_id, guild_id) values (?, ?)",
    "insert into private_channel (id, last_message_id) values (?, ?)",
    "insert into private_channel_participant (channel_id, user_id) values (?, ?)",
    "insert into user_channel_read_state (user_id, channel_id, last_message_id, mention_count) "
    "values (?, ?, ?, ?)",
};
enum Table {
    LocalUser,
    Guild,
    User,
    Member,
    MemberRole,
    Role,
    AnyChannel,
    TextChannel,
    VoiceChannel,
    Category,
    Permission,
    Emoji,
    EmojiGuild,
    PrivateChannel,
    Participant,
    ReadState,
};

// Takes the rows out of the tree in the order of the wire. A row that comes again replaces the
// first one in its place, so that each is inserted once, as what it is at the end.
class RowTaker {
public:
    explicit RowTaker(Dread::Ctx const& ctx)
        : m_ctx(ctx)
    {
    }

    std::vector<Row> take(Dread::VMap const& d)
    {
        auto const user = map(d, "user");
        m_own = integer(user, "id").integer;
        add(LocalUser, 1, { number(m_own) });
        addUser(user);
        each(d, "guilds", [&](Dread::VMap const& guild) { takeGuild(guild); });
        each(d, "private_channels", [&](Dread::VMap const& channel) {
            auto const id = integer(channel, "id");
            add(AnyChannel, 1, { id, number(4) });
            add(PrivateChannel, 1, { id, integer(channel, "last_message_id") });
            each(channel, "recipients", [&](Dread::VMap const& recipient) {
                addUser(recipient);
                add(Participant, 2, { id, integer(recipient, "id") });
            });
            add(Participant, 2, { id, number(m_own) });
        });
        each(d, "read_state", [&](Dread::VMap const& state) {
            add(ReadState, 2,
                { number(m_own), integer(state, "id"), integer(state, "last_message_id"),
                  integer(state, "mention_count") });
        });
        setStatus(m_own, 4, true);
        return std::move(m_rows);
    }

private:
    Dread::VMap map(Dread::VMap const& from, char const* key) const
    {
        return Bench::map(m_ctx, from, key);
    }
    Value integer(Dread::VMap const& from, char const* key) const
    {
        return Bench::integer(m_ctx, from, key);
    }
    Value string(Dread::VMap const& from, char const* key) const
    {
        return Bench::string(m_ctx, from, key);
    }
    template <typename Function>
    void each(Dread::VMap const& from, char const* key, Function function) const
    {
        Bench::each(m_ctx, from, key, function);
    }
    // The first keys values tell rows apart.
    void add(Table table, size_t keys, std::vector<Value> values)
    {
        std::vector<qint64> key{ table };
        for (size_t i = 0; i < keys; ++i)
            key.push_back(values[i].integer);
        auto const [it, isNew] = m_places.emplace(key, m_rows.size());
        if (isNew)
            m_rows.push_back({ table, std::move(values) });
        else if (table != User)
            m_rows[it->second].values = std::move(values);
    }
    void addUser(Dread::VMap const& user)
    {
        add(User, 1,
            { integer(user, "id"), orEmpty(string(user, "username")),
              orEmpty(string(user, "discriminator")), orEmpty(string(user, "avatar")),
              number(integer(user, "bot").integer), number(1) });
    }
    void setStatus(qint64 user, qint64 status, bool onlyIfUntouched)
    {
        auto const it = m_places.find({ User, user });
        if (it == m_places.end())
            return;
        auto& value = m_rows[it->second].values[5];
        if (!onlyIfUntouched || value.integer == 1)
            value.integer = status;
    }
    void takeChannel(Dread::VMap const& channel, Value guild)
    {
        auto const id = integer(channel, "id");
        auto const type = integer(channel, "type").integer;
        auto parent = integer(channel, "parent_id");
        if (parent.kind == Value::Null)
            parent = number(-1);
        auto const position = integer(channel, "position");
        auto const name = string(channel, "name");
        each(channel, "permission_overwrites", [&](Dread::VMap const& overwrite) {
            auto const kind = string(overwrite, "type");
            add(Permission, 2,
                { id, integer(overwrite, "id"), integer(overwrite, "allow"),
                  integer(overwrite, "deny"), number(kind.length == 6 ? 1 : 0) });
        });
        add(AnyChannel, 1, { id, number(type == 4 ? 3 : type == 2 ? 2 : 1) });
        if (type == 4) {
            add(Category, 1, { id, guild, parent, position, name });
        } else if (type == 2) {
            add(VoiceChannel, 1, { id, guild, parent, position, name });
        } else {
            add(TextChannel, 1,
                { id, guild, parent, position, integer(channel, "nsfw"), name,
                  string(channel, "topic"), integer(channel, "rate_limit_per_user"),
                  integer(channel, "last_message_id") });
        }
    }
    void takeMember(Dread::VMap const& member, Value guild)
    {
        auto const user = map(member, "user");
        auto const id = integer(user, "id");
        addUser(user);
        add(Member, 2, { guild, id, string(member, "nick") });
        Dread::VList roles;
        Dread::find(m_ctx, member, "roles", &roles);
        for (quint32 i = 0; i < roles.count; ++i) {
            FlakeId role;
            Dread::toFlakeId(Dread::listAt(m_ctx, roles, i), &role);
            add(MemberRole, 2, { id, number(static_cast<qint64>(role.value())) });
        }
    }
    void takeGuild(Dread::VMap const& guild)
    {
        auto const id = integer(guild, "id");
        add(Guild, 1,
            { id, string(guild, "name"), string(guild, "icon"), integer(guild, "owner_id"),
              integer(guild, "afk_channel_id") });
        each(guild, "members", [&](Dread::VMap const& member) { takeMember(member, id); });
        each(guild, "presences", [&](Dread::VMap const& presence) {
            auto const status = string(presence, "status").length == 4 ? 2 : 4;
            setStatus(integer(map(presence, "user"), "id").integer, status, false);
        });
        each(guild, "roles", [&](Dread::VMap const& role) {
            add(Role, 1,
                { integer(role, "id"), id, string(role, "name"), integer(role, "color"),
                  integer(role, "hoist"), integer(role, "position"), integer(role, "permissions"),
                  integer(role, "managed"), integer(role, "mentionable") });
        });
        each(guild, "channels", [&](Dread::VMap const& channel) { takeChannel(channel, id); });
        each(guild, "emojis", [&](Dread::VMap const& emoji) {
            auto const emojiId = integer(emoji, "id");
            add(Emoji, 1,
                { emojiId, string(emoji, "name"), integer(emoji, "managed"),
                  integer(emoji, "require_colons"), integer(emoji, "animated") });
            add(EmojiGuild, 2, { emojiId, id });
        });
    }

    Dread::Ctx const& m_ctx;
    qint64 m_own = 0;
    std::vector<Row> m_rows;
    std::map<std::vector<qint64>, size_t> m_places;
};

// --- one run of each ---

struct Split {
    double inflate = 0;
    double decode = 0;
    double write = 0;
    double whole() const { return inflate + decode + write; }
};

QByteArray packed;
std::vector<Row> bareRows;

Split runOurs(std::string* dumped)
{
    FreshStore store;
    DisClientImpl::DisEventState state;
    DisGatewayInflater inflater(maxFrame);
    DisGatewayInflater::Outcome frame;
    DreadUtils::BuildResult built;
    Dread::Ctx ctx;
    Split split;
    split.inflate = Bench::secondsOf([&] {
        frame = inflater.inflateMessage(packed.constData(), static_cast<quint32>(packed.size()));
    });
    split.decode =
        Bench::secondsOf([&] { built = DreadUtils::buildFromEtf(&ctx, frame.data, frame.size); });
    if (built.isError)
        stop("the frame does not decode");
    split.write = Bench::secondsOf([&] {
        Dread::VMap data;
        Dread::find(ctx, built.root.map, "d", &data);
        auto const outcome =
            DisClientImpl::processDispatch(state, store.prepared, ctx, { "READY", 5 }, data);
        if (!outcome.ready)
            stop("READY was not taken");
        Dread::destroy(&ctx);
        Erf::destroy(built.prepared);
        inflater.release();
    });
    if (dumped)
        *dumped = Bench::dump(store.db);
    return split;
}

double runBare(std::string* dumped)
{
    FreshStore store;
    // More pages in memory than the store has by default: the loop comes back to each page often.
    sqlite3_exec(store.db, "pragma cache_size=-16000", nullptr, nullptr, nullptr);
    double seconds = 0;
    {
        Bench::BareStatements statements(store.db, inserts, static_cast<int>(std::size(inserts)));
        seconds = Bench::secondsOf([&] {
            sqlite3_exec(store.db, "begin", nullptr, nullptr, nullptr);
            for (auto const& row : bareRows)
                statements.run(row.table, row.values);
            sqlite3_exec(store.db, "commit", nullptr, nullptr, nullptr);
        });
    }
    if (dumped)
        *dumped = Bench::dump(store.db);
    return seconds;
}

// zlib alone, into memory that it touches for the first time, as the inflater does.
double runInflate(int size)
{
    return Bench::secondsOf([size] {
        std::unique_ptr<Bytef[]> const room(new Bytef[static_cast<size_t>(size)]);
        z_stream stream{};
        inflateInit(&stream);
        stream.next_in = reinterpret_cast<Bytef*>(packed.data());
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = room.get();
        stream.avail_out = static_cast<uInt>(size);
        inflate(&stream, Z_SYNC_FLUSH);
        if (stream.avail_out != 0)
            stop("the frame does not inflate");
        inflateEnd(&stream);
    });
}

void printRows(ReadyDocument const& document)
{
    using Bench::Goal;
    using Bench::median;
    std::vector<double> inflates, decodes, writes, wholes, floors, zlibs;
    for (int round = 0; round < rounds; ++round) {
        Split const split = runOurs(nullptr);
        inflates.push_back(split.inflate * 1e3);
        decodes.push_back(split.decode * 1e3);
        writes.push_back(split.write * 1e3);
        wholes.push_back(split.whole() * 1e3);
        floors.push_back(runBare(nullptr) * 1e3);
        zlibs.push_back(runInflate(document.etf.size()) * 1e3);
    }
    fprintf(stderr, "READY of %.2f MB, %zu rows\n", document.etf.size() / 1e6, bareRows.size());
    Bench::printRow("ready-to-rows/bare-loop", "ms", median(wholes), median(floors), Goal::AtMost,
                    1);
    Bench::printRow("ready-inflate/zlib", "ms", median(inflates), median(zlibs), Goal::AtMost, 1.2);
    Bench::printRow("ready-decode/zlib", "ms", median(decodes), median(zlibs), Goal::AtMost, 0.5);
    Bench::printRow("ready-write/bare-loop", "ms", median(writes), median(floors), Goal::AtMost,
                    0.85);
}

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    runOurs(nullptr);
}

int main(int argc, char** argv)
{
    ReadyDocument const document = makeReadyDocument();
    packed = deflateFrame(document.etf);
    Bench::Decoded const decoded(document.etf);
    bareRows = RowTaker(decoded.ctx).take(decoded.data());

    if (argc > 1 && std::string(argv[1]) == "--once") {
        bench_once();
        printf("ready-to-rows\tinstr/row\t%zu\t13000\n", bareRows.size());
        return 0;
    }
    std::string ours;
    std::string bare;
    runOurs(&ours);
    runBare(&bare);
    if (ours != bare)
        stop("the bare loop does not write the same rows");
    printRows(document);
}
