// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A page of a channel's history, from the bytes of the reply to the painted window: parsed, written
// by the worker's connection, read by the buffer, laid out and painted into a real widget. In
// processor time, since the road goes over three threads and one core pays for it.

#include "bench_row.h"
#include "dis_chan_buff.h"
#include "dis_client.h"
#include "dis_db_prepared.h"
#include "dis_events.h"
#include "dis_fetch_data.h"
#include "dis_store.h"
#include "nak_sql.h"
#include "scroll_scene.h"
#include "stage_history.h"
#include "stage_payloads.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>

#include <string>

namespace {

constexpr double goalMs = 12;
constexpr int goalInstructions = 40'000'000;
constexpr qint64 maxBody = 64 << 20;

struct Page {
    FlakeId channel;
    QByteArray body;
};

// One page of each text channel.
QVector<Page> makePages(stage::World const& world, int messages)
{
    QVector<Page> pages;
    for (stage::Channel const& channel : world.channels) {
        if (channel.type != stage::ChannelType::Text || channel.hidden)
            continue;
        QJsonArray list;
        for (stage::Message const& message : stage::messagesBefore(world, channel, 0, messages))
            list.append(stage::toJson(stage::messageTerm(world, message)));
        pages.append({ FlakeId(channel.id), QJsonDocument(list).toJson(QJsonDocument::Compact) });
    }
    return pages;
}

class PaintCounter : public QObject {
public:
    int count = 0;

    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

// The worker's end of the store, and the channels that the pages are of.
class History {
public:
    History()
    {
        initializeDbPrepStmts(m_prepared, openDisStore(g_disClient->dbPath()));
        DisDbPrepared& db = m_prepared;
        DisTransaction const transaction(db);
        for (stage::Channel const& channel : world.channels) {
            bool const isText = channel.type == stage::ChannelType::Text;
            DisSql::run(db[DisStmt::AnyChannelReplace], FlakeId(channel.id), isText ? 1 : 2);
            if (isText)
                DisSql::run(db[DisStmt::GuildChannelReplace], FlakeId(channel.id), FlakeId(50),
                            FlakeId(), 0, false, channel.name, channel.topic, 0, FlakeId(0));
        }
    }
    ~History()
    {
        sqlite3* const db = m_prepared.db;
        finalizeDbPrepStmts(m_prepared);
        NakSql::closeDb(db);
    }

    void receive(Page const& page)
    {
        auto const reply = DisClientOp::parseBody({ page.body, false }, maxBody);
        if (!reply)
            stopBench("the page does not parse");
        DisClientImpl::writeHistoryPage(m_prepared, FlakeId(1), reply->ctx, reply->root.list);
        emit g_disClient->channelHistoryFetched(page.channel);
        QApplication::processEvents();
    }

    stage::World world = stage::makeWorld({}, 1);

private:
    DisDbPrepared m_prepared;
};

ScrollScene* scene = nullptr;
History* history = nullptr;

// The channel is on screen and has nothing to show yet.
void openEmpty(Page const& page)
{
    scene->buffer().setChannelId(page.channel);
    QApplication::processEvents();
    if (scene->buffer().view()->count() != 0)
        stopBench("the channel has its messages already");
}

double medianMs(QVector<Page> const& pages)
{
    std::vector<double> times;
    for (Page const& page : pages) {
        openEmpty(page);
        PaintCounter paints;
        QApplication::instance()->installEventFilter(&paints);
        times.push_back(Bench::processorSecondsOf([&] { history->receive(page); }) * 1e3);
        if (scene->buffer().view()->count() == 0 || paints.count == 0)
            stopBench("nothing was painted");
    }
    return Bench::median(times);
}

Page pageOfOnce;

} // namespace

extern "C" __attribute__((noinline)) void bench_once()
{
    history->receive(pageOfOnce);
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication const app(argc, argv);
    ScrollScene theScene(0);
    scene = &theScene;
    History theHistory;
    history = &theHistory;
    QVector<Page> const pages = makePages(theHistory.world, 50);
    int const half = pages.size() / 2;
    medianMs(pages.mid(0, 3)); // the pools and caches are filled
    if (argc > 1 && std::string(argv[1]) == "--once") {
        pageOfOnce = pages[3];
        openEmpty(pageOfOnce);
        bench_once();
        printf("history-page-50\tinstr/page\t1\t%d\n", goalInstructions);
        return 0;
    }
    double const ms50 = medianMs(pages.mid(3, half - 3));
    double const ms100 = medianMs(makePages(theHistory.world, 100).mid(half));
    Bench::printRow("history-page-50", "ms", ms50, goalMs, Bench::Goal::AtMost, 1);
    Bench::printRow("history-page-100/page-50", "ms", ms100, ms50, Bench::Goal::AtMost, 2);
    return 0;
}
