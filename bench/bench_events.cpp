// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Live talk: MESSAGE_CREATE frames from their inflated bytes to committed rows and the record of
// what changed, beside a bare loop that runs the same statements with values that are at hand, one
// transaction per event as well.

#include "bench_row.h"
#include "bench_store.h"
#include "dis_events.h"
#include "stage_history.h"
#include "stage_payloads.h"

#include <sqlite3.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

using Bench::orEmpty;
using Bench::stop;
using Bench::Value;

constexpr int rounds = 11;
constexpr int eventCount = 5000;
constexpr double wantedRate = 10000; // events a second

struct Step {
    int statement;
    std::vector<Value> values;
};
using Steps = std::vector<Step>; // of one event

constexpr char const* statementTexts[] = {
#define TEXT(name, sql) sql,
    DIS_DB_STATEMENTS(TEXT)
#undef TEXT
};

QByteArray readyFrame;
std::vector<QByteArray> frames;
std::vector<Steps> bareEvents;

QByteArray frameOf(char const* name, stage::Term&& data)
{
    stage::EncodeOptions options;
    options.atomKeys = true;
    return stage::encodeTerm(stage::map()
                                 .set("op", stage::integer(0))
                                 .set("s", stage::integer(1))
                                 .set("t", stage::binary(name))
                                 .set("d", std::move(data)),
                             options);
}

// Talk in all channels of the world in turn, by its members.
void makeFrames()
{
    stage::World world = stage::makeWorld({}, 1);
    readyFrame = frameOf("READY", stage::readyTerm(world, "session", { false, true }));
    std::vector<stage::Channel*> channels;
    for (stage::Channel& channel : world.channels)
        if (channel.guild >= 0 && channel.type == stage::ChannelType::Text)
            channels.push_back(&channel);
    for (size_t i = 0; i < eventCount; ++i) {
        stage::Channel& channel = *channels[i % channels.size()];
        auto const& members = world.guilds[size_t(channel.guild)].members;
        quint32 const author = members[(i * 7919) % members.size()].user;
        stage::Message const message =
            stage::appendMessage(world, channel, author, stage::talkIn(world, channel, author, i),
                                 world.size.endMs + qint64(i));
        frames.push_back(frameOf("MESSAGE_CREATE", stage::messageTerm(world, message)));
    }
}

// --- the bare loop ---

class StepTaker {
public:
    explicit StepTaker(Dread::Ctx const& ctx)
        : m_ctx(ctx)
    {
    }

    Steps take(Dread::VMap const& d)
    {
        Value const id = integer(d, "id");
        Value const channel = integer(d, "channel_id");
        auto const author = Bench::map(m_ctx, d, "author");
        add(DisStmt::Begin, {});
        add(DisStmt::UserUpdateIfChanged, user(author));
        add(DisStmt::UserInsertOrIgnore, user(author));
        add(DisStmt::GuildChannelMaxLastMessage, { id, channel });
        add(DisStmt::PrivateChannelMaxLastMessage, { id, channel });
        add(DisStmt::MessageReplace,
            { id, channel, integer(author, "id"), integer(d, "type"), Bench::number(0),
              orEmpty(Bench::string(m_ctx, d, "content")) });
        add(DisStmt::PinDelete, { channel, id });
        Bench::each(m_ctx, d, "mentions", [&](Dread::VMap const& mentioned) {
            add(DisStmt::UserInsertOrIgnore, user(mentioned));
        });
        add(DisStmt::GuildMemberEnsureFromChannel, { integer(author, "id"), channel });
        add(DisStmt::Commit, {});
        return std::move(m_steps);
    }

private:
    Value integer(Dread::VMap const& from, char const* key) const
    {
        return Bench::integer(m_ctx, from, key);
    }
    std::vector<Value> user(Dread::VMap const& map) const
    {
        return { integer(map, "id"), orEmpty(Bench::string(m_ctx, map, "username")),
                 orEmpty(Bench::string(m_ctx, map, "discriminator")),
                 orEmpty(Bench::string(m_ctx, map, "avatar")),
                 Bench::number(integer(map, "bot").integer) };
    }
    void add(DisStmt which, std::vector<Value> values)
    {
        m_steps.push_back({ static_cast<int>(which), std::move(values) });
    }

    Dread::Ctx const& m_ctx;
    Steps m_steps;
};

// --- one run of each, on a store that has taken its READY ---

struct Talk {
    Bench::FreshStore store;
    DisClientImpl::DisEventState state;

    Talk() { dispatch(readyFrame, { "READY", 5 }); }

    DisClientImpl::DisEventOutcome dispatch(QByteArray const& frame, Dread::VString name)
    {
        Bench::Decoded const decoded(frame);
        return DisClientImpl::processDispatch(state, store.prepared, decoded.ctx, name,
                                              decoded.data());
    }
    void receiveAll()
    {
        for (auto const& frame : frames)
            if (dispatch(frame, { "MESSAGE_CREATE", 14 }).changes.mask == 0)
                stop("an event changed nothing");
    }
};

int countStatement(unsigned, void* counter, void*, void*)
{
    ++*static_cast<int*>(counter);
    return 0;
}

// What was written; *statements is how many ran for it, if it is not null.
template <typename Run> double measure(Run run, std::string* written, int* statements)
{
    Talk talk;
    if (statements)
        sqlite3_trace_v2(talk.store.db, SQLITE_TRACE_STMT, countStatement, statements);
    double const seconds = Bench::secondsOf([&] { run(talk); });
    if (written)
        *written = Bench::dump(talk.store.db);
    return seconds;
}

double runOurs(std::string* written = nullptr, int* statements = nullptr)
{
    return measure([](Talk& talk) { talk.receiveAll(); }, written, statements);
}

double runBare(std::string* written = nullptr, int* statements = nullptr)
{
    double seconds = 0;
    measure(
        [&seconds](Talk& talk) {
            Bench::BareStatements bare(talk.store.db, statementTexts,
                                       static_cast<int>(std::size(statementTexts)));
            seconds = Bench::secondsOf([&bare] {
                for (Steps const& event : bareEvents)
                    for (Step const& step : event)
                        bare.run(step.statement, step.values);
            });
        },
        written, statements);
    return seconds;
}

void stopUnlessAlike()
{
    std::string ours;
    std::string bare;
    int ourStatements = 0;
    int bareStatements = 0;
    runOurs(&ours, &ourStatements);
    runBare(&bare, &bareStatements);
    if (ours != bare)
        stop("the bare loop does not write the same rows");
    fprintf(stderr, "%.2f statements per event, %.2f in the bare loop\n",
            double(ourStatements) / eventCount, double(bareStatements) / eventCount);
}

Talk* talkOfOnce = nullptr;

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    talkOfOnce->receiveAll();
}

int main(int argc, char** argv)
{
    makeFrames();
    if (argc > 1 && std::string(argv[1]) == "--once") {
        Talk talk;
        talkOfOnce = &talk;
        bench_once();
        printf("events-to-rows\tinstr/event\t%d\t150000\n", eventCount);
        return 0;
    }
    std::vector<std::unique_ptr<Bench::Decoded>> decoded; // what the steps' texts point into
    for (auto const& frame : frames) {
        decoded.push_back(std::make_unique<Bench::Decoded>(frame));
        bareEvents.push_back(StepTaker(decoded.back()->ctx).take(decoded.back()->data()));
    }
    stopUnlessAlike();
    std::vector<double> ours, bare;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(eventCount / runOurs());
        bare.push_back(eventCount / runBare());
    }
    Bench::printRow("events-to-rows/bare-loop", "events/s", Bench::median(ours),
                    Bench::median(bare), Bench::Goal::AtLeast, 0.5);
    Bench::printRow("events-to-rows/wanted-rate", "events/s", Bench::median(ours), wantedRate,
                    Bench::Goal::AtLeast, 1);
}
