// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as what comes from a gateway's socket: inflated, read as terms, and handled.
//
// The first byte says how many cuts follow, and whether the rest is a deflate stream already (so
// that damaged streams are tried) or a frame that is deflated here (so that whole frames get
// through). Each cut is two bytes: where the stream is parted into web socket messages.

#include "dis_db_prepared.h"
#include "dis_events.h"
#include "dis_store.h"
#include "dread_etf.h"
#include "gateway_inflater.h"
#include "gateway_protocol.h"

#include <QByteArray>

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr quint32 maxFrame = 1 << 18;
constexpr std::size_t maxInput = 1 << 16;

void check(bool holds, char const* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_gateway_frame: %s\n", what);
        abort();
    }
}

QByteArray deflated(QByteArray const& frame)
{
    z_stream stream = {};
    deflateInit(&stream, Z_BEST_SPEED);
    QByteArray out(static_cast<int>(deflateBound(&stream, frame.size())) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(frame.constData()));
    stream.avail_in = static_cast<uInt>(frame.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_SYNC_FLUSH);
    out.resize(out.size() - static_cast<int>(stream.avail_out));
    deflateEnd(&stream);
    return out;
}

// A store in memory, for all inputs; each leaves it empty.
struct Store {
    DisDbPrepared prepared;
    Store() { initializeDbPrepStmts(prepared, createDisStore(QStringLiteral(":memory:"))); }
};

void handle(Store& store, DisClientImpl::DisEventState& state, Dread::Ctx const& ctx,
            Dread::VMap const& root)
{
    qint32 code = 0;
    std::optional<qint32> found;
    if (Dread::find(ctx, root, "op", &code))
        found = code;
    QString logText;
    auto const op = DisGateway::incomingOp(found, &logText);
    check(op.has_value() == logText.isEmpty(), "an opcode is either handled or told");
    Dread::VString name;
    Dread::VMap data;
    if (op == DisGateway::Op::Dispatch && Dread::find(ctx, root, "d", &data)
        && Dread::find(ctx, root, "t", &name))
        (void)DisClientImpl::processDispatch(state, store.prepared, ctx, name, data);
}

void receive(Store& store, DisClientImpl::DisEventState& state, DisGatewayInflater& inflater,
             QByteArray const& message, QByteArray* inflated)
{
    auto const outcome =
        inflater.inflateMessage(message.constData(), static_cast<quint32>(message.size()));
    check(outcome.size <= maxFrame, "a frame over the bound");
    if (outcome.status == DisGatewayInflater::Status::Frame) {
        inflated->append(outcome.data, static_cast<int>(outcome.size));
        Dread::Ctx ctx;
        auto const built = DreadUtils::buildFromEtf(&ctx, outcome.data, outcome.size);
        if (!built.isError) {
            if (built.root.tag == Dread::Tag::Map)
                handle(store, state, ctx, built.root.map);
            Erf::destroy(built.prepared);
            Dread::destroy(&ctx);
        }
    }
    inflater.release();
    check(inflater.capacity() == DisGatewayInflater::initialCapacity,
          "the buffer is not given back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::size_t const cutCount = size == 0 ? 0 : data[0] & 7U;
    if (size > maxInput || size < 1 + 2 * cutCount)
        return 0;
    bool const isFrame = (data[0] & 8U) != 0;
    QByteArray const rest(reinterpret_cast<char const*>(data) + 1 + 2 * cutCount,
                          static_cast<int>(size - 1 - 2 * cutCount));
    // The compressed form of a term could ask for much time and memory.
    if (isFrame && rest.size() >= 6 && rest[1] == 'P'
        && (rest[2] != 0 || rest[3] > 1 || rest[3] < 0))
        return 0;
    QByteArray const stream = isFrame ? deflated(rest) : rest;
    std::vector<int> cuts{ 0, stream.size() };
    for (std::size_t i = 0; i < cutCount; ++i)
        cuts.push_back((data[1 + 2 * i] << 8 | data[2 + 2 * i]) % (stream.size() + 1));
    std::sort(cuts.begin(), cuts.end());

    static Store store;
    DisClientImpl::DisEventState state;
    DisGatewayInflater inflater(maxFrame);
    QByteArray inflated;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i)
        receive(store, state, inflater, stream.mid(cuts[i], cuts[i + 1] - cuts[i]), &inflated);
    check(!isFrame || inflated == rest, "a stream in pieces does not inflate to the frame");
    (void)DisClientImpl::flushBatchedStatuses(state, store.prepared);
    clearDisStore(store.prepared.db);
    return 0;
}
