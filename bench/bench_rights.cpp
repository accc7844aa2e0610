// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// What a member may do in a channel, as every painted row asks it: answered from the cache, and
// worked out anew from the store beside a bare loop over the statements that this takes.

#include "bench_row.h"
#include "bench_store.h"
#include "dis_cache.h"
#include "dis_cache_data.h"
#include "dis_events.h"
#include "ready_document.h"

#include <sqlite3.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

using Bench::number;
using Bench::stop;

constexpr int rounds = 21;
constexpr int cachedCount = 50; // channels that are on screen
constexpr int cachedAsked = 100000;
constexpr double goalCachedNs = 60;
constexpr int goalCachedInstructions = 200;

struct Question {
    FlakeId user;
    FlakeId channel;
    FlakeId guild;
};
std::vector<Question> questions;

// The own user, who is a member of all guilds with some roles in each, in all text channels.
void findQuestions(sqlite3* db)
{
    NakStmt stmt(
        db,
        "select local_user.id, guild_channel.id, guild_channel.guild_id from guild_channel, "
        "local_user");
    while (stmt.step())
        questions.push_back({ stmt.colFlake(0), stmt.colFlake(1), stmt.colFlake(2) });
}

void askCached()
{
    quint32 sum = 0;
    for (size_t i = 0; i < cachedAsked; ++i) {
        auto const& question = questions[i % cachedCount];
        sum += DisCache::userCanAccessGuildChannel(question.user, question.channel) ? 1 : 0;
    }
    if (sum == 0)
        stop("nobody may read anything");
}

void askUncached()
{
    quint32 sum = 0;
    for (auto const& question : questions)
        sum += DisCache::guildMemberChannelCaps_uncached(question.user, question.channel);
    if (sum == 0)
        stop("nobody may do anything");
}

// What an uncached answer asks for each channel; the guild's owner and the member's rights in the
// guild are in their caches.
constexpr char const* bareTexts[] = {
    "select guild_id from guild_channel where id = ?",
    "select guild_channel_permission.allow, guild_channel_permission.deny from "
    "guild_channel_permission cross join guild_member_role where "
    "guild_channel_permission.channel_id = ? and "
    "(guild_channel_permission.target_id = guild_member_role.role_id and "
    "guild_member_role.user_id = ?)",
    "select allow, deny from guild_channel_permission where channel_id = ? and target_id = ?",
};

Bench::Value idOf(FlakeId id)
{
    return number(static_cast<qint64>(id.value()));
}

void askBare(Bench::BareStatements& bare)
{
    for (auto const& question : questions) {
        auto const user = idOf(question.user);
        auto const channel = idOf(question.channel);
        auto const guild = idOf(question.guild);
        bare.run(0, { channel });
        bare.run(1, { channel, user });
        bare.run(2, { channel, guild });
        bare.run(2, { channel, user });
    }
}

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    askCached();
}

int main(int argc, char** argv)
{
    ReadyDocument const document = makeReadyDocument();
    Bench::FreshStore store;
    DisClientImpl::DisEventState state;
    {
        Bench::Decoded const ready(document.etf);
        auto const outcome = DisClientImpl::processDispatch(state, store.prepared, ready.ctx,
                                                            { "READY", 5 }, ready.data());
        if (!outcome.ready)
            stop("READY was not taken");
    }
    DisCache::createGlobalData(store.db);
    findQuestions(store.db);
    askCached(); // from here on each answer is in the cache
    if (argc > 1 && std::string(argv[1]) == "--once") {
        bench_once();
        printf("permission-cached\tinstr/question\t%d\t%d\n", cachedAsked, goalCachedInstructions);
        DisCache::destroyGlobalData();
        return 0;
    }
    {
        Bench::BareStatements bare(store.db, bareTexts, static_cast<int>(std::size(bareTexts)));
        auto const times =
            Bench::mediansInTurn(rounds, askCached, askUncached, [&bare] { askBare(bare); });
        auto const ns = [&](size_t i, size_t count) { return times[i] / double(count) * 1e9; };
        Bench::printRow("permission-cached", "ns", ns(0, cachedAsked), goalCachedNs,
                        Bench::Goal::AtMost, 1);
        Bench::printRow("permission-uncached/bare-statements", "ns", ns(1, questions.size()),
                        ns(2, questions.size()), Bench::Goal::AtMost, 1.5);
    }
    DisCache::destroyGlobalData();
}
