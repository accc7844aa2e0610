// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Any bytes as a gateway frame, through everything that reads terms.

#include "dread_etf.h"
#include "dread_json.h"
#include "etf_agree.h"

#include <cstdlib>

namespace {

void check(bool holds, char const* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_etf: %s\n", what);
        abort();
    }
}

// What was read can be written, and from then on reading and writing change nothing.
void checkEncoding(QJsonValue const& value)
{
    QString error;
    QByteArray const once = Erf::toEtf(value, error);
    check(error.isEmpty(), "a value that was read cannot be written");
    QJsonValue const again =
        Erf::toJson(once.constData(), static_cast<quint64>(once.size()), error);
    check(error.isEmpty(), "what was written cannot be read");
    check(Erf::toEtf(again, error) == once, "writing is not stable");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    // The compressed form could ask for much time and memory; a small frame finds the same faults.
    if (size >= 6 && data[1] == 'P' && (data[2] != 0 || data[3] > 1)) {
        return 0;
    }
    char const* const disagreement = EtfAgree::disagreement(data, size);
    check(disagreement[0] == '\0', disagreement);
    QString error;
    QJsonValue const json = Erf::toJson(data, size, error);
    if (error.isEmpty()) {
        checkEncoding(json);
    }
    Erf::prettyPrintEtf(data, size);
    Dread::Ctx ctx;
    DreadUtils::BuildResult const built = DreadUtils::buildFromEtf(&ctx, data, size);
    check(built.isError != error.isEmpty(), "JSON and tree do not agree on whether it is a term");
    if (built.isError) {
        check(!DreadUtils::toString(built.error).isEmpty(), "an error without words");
        return 0;
    }
    Dread::prettyPrint(ctx, built.root);
    QByteArray text;
    DreadJson::dreadToJsonString(&text, ctx, built.root);
    Dread::destroy(&ctx);
    Erf::destroy(built.prepared);
    return 0;
}
