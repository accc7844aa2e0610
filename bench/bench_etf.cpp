// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// From a READY frame to a value tree, beside what zlib needs to inflate the same frame and what
// Erlang's own decoder needs to skip it.

#include "bench_row.h"
#include "dread_etf.h"
#include "ready_document.h"

#include <zlib.h>

#include <cstdlib>
#ifdef NAKWIRE_HAS_EI
#include <ei.h>
#endif

namespace {

constexpr int rounds = 21;

QByteArray frame;

[[noreturn]] void stop(char const* why)
{
    fprintf(stderr, "bench_etf: %s\n", why);
    exit(1);
}

void inflateOnce(QByteArray const& packed, QByteArray& room)
{
    z_stream inflater{};
    inflateInit(&inflater);
    inflater.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()));
    inflater.avail_in = static_cast<uInt>(packed.size());
    inflater.next_out = reinterpret_cast<Bytef*>(room.data());
    inflater.avail_out = static_cast<uInt>(room.size());
    int const outcome = inflate(&inflater, Z_SYNC_FLUSH);
    if (outcome != Z_OK || inflater.avail_out != 0) {
        stop("the frame does not inflate");
    }
    inflateEnd(&inflater);
}

void skipOnce()
{
#ifdef NAKWIRE_HAS_EI
    int index = 0;
    int version = 0;
    if (ei_decode_version(frame.constData(), &index, &version) != 0
        || ei_skip_term(frame.constData(), &index) != 0 || index != frame.size()) {
        stop("ei does not skip the frame");
    }
#endif
}

} // namespace

// The arena is made and given back each time, as the session does for every frame.
extern "C" __attribute__((noinline)) void bench_once()
{
    Dread::Ctx ctx;
    DreadUtils::BuildResult const built =
        DreadUtils::buildFromEtf(&ctx, frame.constData(), static_cast<quint64>(frame.size()));
    if (built.isError) {
        stop("the frame does not decode");
    }
    Dread::destroy(&ctx);
    Erf::destroy(built.prepared);
}

int main(int argc, char** argv)
{
    ReadyDocument const document = makeReadyDocument();
    frame = document.etf;
    if (argc > 1 && std::string(argv[1]) == "--once") {
        bench_once();
        printf("etf-to-tree\tinstr/byte\t%d\t6\n", frame.size());
        return 0;
    }
    fprintf(stderr, "READY of %.2f MB, %llu terms\n", frame.size() / 1e6,
            static_cast<unsigned long long>(document.terms));
    QByteArray const packed = deflateFrame(frame);
    QByteArray room(frame.size(), '\0');
    auto const times = Bench::mediansInTurn(
        rounds, bench_once, [&] { inflateOnce(packed, room); }, skipOnce);
    auto const rate = [&](std::size_t i) { return frame.size() / 1e6 / times[i]; };
    Bench::printRow("etf-to-tree/zlib-inflate", "MB/s", rate(0), rate(1), Bench::Goal::AtLeast, 2);
#ifdef NAKWIRE_HAS_EI
    Bench::printRow("etf-to-tree/ei-skip", "MB/s", rate(0), rate(2), Bench::Goal::AtLeast, 1.5);
#else
    fprintf(stderr, "without Erlang's decoder beside it: package erlang-dev is not here\n");
#endif
}
