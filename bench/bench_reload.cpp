// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// What a change record without items, which says that everything may have changed, has the views
// and listeners read again: a READY and whatever overflowed end in one. It must not depend on how
// much the store holds. Six tabs of one channel, one of them in front.

#include "bench_row.h"
#include "bench_store.h"
#include "dis_channel_view.h"
#include "dis_client.h"
#include "dis_events.h"
#include "dis_store.h"
#include "nak_sql.h"
#include "ready_document.h"
#include "scroll_scene.h"

#include <QApplication>
#include <QTabWidget>

#include <sqlite3.h>

namespace {

constexpr int rounds = 11;
constexpr int tabCount = 6;
constexpr double frameMs = 16;
constexpr FlakeId channel{ 60 };

// Of the user-interface thread's connection, since it was opened.
struct Reads {
    double statements = 0;
    double steps = 0; // of the store's machine: what was looked at
};

Reads readsSoFar()
{
    Reads reads;
    sqlite3* const db = g_disClient->db();
    for (auto* stmt = sqlite3_next_stmt(db, nullptr); stmt; stmt = sqlite3_next_stmt(db, stmt)) {
        reads.statements += sqlite3_stmt_status(stmt, SQLITE_STMTSTATUS_RUN, 0);
        reads.steps += sqlite3_stmt_status(stmt, SQLITE_STMTSTATUS_VM_STEP, 0);
    }
    return reads;
}

struct Reload {
    Reads reads;
    double ms = 0;
};

Reload reload()
{
    Reads const before = readsSoFar();
    Reload result;
    result.ms = 1e3 * Bench::processorSecondsOf([] {
                    g_disClient->postLocalChanges(DisChanges::reload());
                    QApplication::processEvents();
                });
    Reads const after = readsSoFar();
    result.reads = { after.statements - before.statements, after.steps - before.steps };
    return result;
}

Reload medianReload()
{
    Reload last;
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        last = reload();
        times.push_back(last.ms);
    }
    last.ms = Bench::median(times);
    return last;
}

// As the worker does, by a connection of its own.
void growAccount()
{
    ReadyShape shape;
    shape.channelsPerGuild = 200;
    shape.membersPerGuild = 1000;
    ReadyDocument const document = makeReadyDocument(shape);
    Bench::Decoded const ready(document.etf);
    DisDbPrepared prepared;
    sqlite3* const db = openDisStore(g_disClient->dbPath());
    initializeDbPrepStmts(prepared, db);
    DisClientImpl::DisEventState state;
    if (!DisClientImpl::processDispatch(state, prepared, ready.ctx, { "READY", 5 }, ready.data())
             .ready)
        Bench::stop("READY was not taken");
    finalizeDbPrepStmts(prepared);
    NakSql::closeDb(db);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    ScrollScene const scene(2000);
    QTabWidget window;
    for (int i = 0; i < tabCount; ++i) {
        auto* const view = new DisChannelView;
        view->setChannelId(channel);
        window.addTab(view, QString::number(i));
    }
    window.resize(1000, 900);
    window.show();
    QApplication::processEvents();

    medianReload(); // the pools are filled
    Reload const small = medianReload();
    growAccount();
    medianReload();
    Reload const large = medianReload();
    Bench::printRow("reload-in-large-account/small", "statements", large.reads.statements,
                    small.reads.statements, Bench::Goal::AtMost, 1.1);
    Bench::printRow("reload-in-large-account/small", "steps", large.reads.steps, small.reads.steps,
                    Bench::Goal::AtMost, 1.1);
    Bench::printRow("reload-in-large-account", "ms", large.ms, frameMs, Bench::Goal::AtMost, 1);
}
