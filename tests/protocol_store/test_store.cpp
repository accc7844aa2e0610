// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// The store as a file: new, over an old one, on a full disk, damaged under the connection. What
// cannot be written is lost, since the store is only a cache; the connection goes on, holds no
// lock, and writes again once it can.

#include "dis_store.h"
#include "nak_sql.h"
#include "store_fixture.h"
#include "store_invariants.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>

#include <csignal>

namespace {

QByteArray longMessage(int id)
{
    return R"({"id": ")" + QByteArray::number(id) + R"(", "channel_id": "20", "content": ")"
        + QByteArray(9'000, 'x') + "\"}";
}

// Bounds what the store may grow to, by so many pages from now on, while it lives.
class NoRoom {
public:
    enum class By { PageCount, FileSize };

    NoRoom(Store& store, By by, int pages)
        : m_store(store)
    {
        if (by == By::PageCount) {
            setMaxPages(pages + std::stoi(store.rows("pragma page_count")));
            return;
        }
        // The log grows first. Without the signal, writing beyond the limit is an error like
        // others.
        m_signal = signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_limit);
        auto const size = QFileInfo(store.path + QStringLiteral("-wal")).size() + 4096 * pages;
        rlimit const limit{ static_cast<rlim_t>(size), m_limit.rlim_max };
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~NoRoom()
    {
        setMaxPages(100'000);
        if (m_signal == SIG_ERR)
            return;
        setrlimit(RLIMIT_FSIZE, &m_limit);
        signal(SIGXFSZ, m_signal);
    }
    NoRoom(NoRoom const&) = delete;
    NoRoom& operator=(NoRoom const&) = delete;

private:
    void setMaxPages(int pages)
    {
        m_store.exec("pragma max_page_count = " + std::to_string(pages));
    }

    Store& m_store;
    rlimit m_limit = {};
    sighandler_t m_signal = SIG_ERR;
};

void writeMuch(Store& store)
{
    for (int id = 600; id < 612; ++id)
        store.dispatch("MESSAGE_CREATE", longMessage(id));
    store.dispatch("GUILD_CREATE", largeGuild("9", 2'500, "u")); // written without its indexes
    for (int id = 612; id < 615; ++id)
        store.dispatch("MESSAGE_CREATE", longMessage(id));
}

// Neither a transaction nor a lock is left behind: another connection can write at once.
void expectNoLock(Store& store)
{
    ASSERT_EQ(sqlite3_get_autocommit(store.db), 1);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(store.path).constData(), &other), SQLITE_OK);
    int const code = sqlite3_exec(other, "begin immediate; end", nullptr, nullptr, nullptr);
    EXPECT_TRUE(code == SQLITE_OK || code == SQLITE_FULL) << sqlite3_errmsg(other);
    sqlite3_close(other);
}

} // namespace

TEST(DisStore, IsNewQuickAndClearedWithoutItsTables)
{
    Store store;
    EXPECT_EQ(store.dump(), "");
    EXPECT_EQ(store.rows("pragma journal_mode") + store.rows("pragma synchronous"), "'wal'\n0\n");
    auto const tables = store.rows("select name from sqlite_master order by name");
    writeMuch(store);
    sqlite3* const other = openDisStore(store.path);
    clearDisStore(other);
    NakSql::closeDb(other);
    EXPECT_EQ(store.dump(), "");
    EXPECT_EQ(store.rows("select name from sqlite_master order by name"), tables);
}

// What lies there from before is thrown away, whatever it is and whoever holds it.
TEST(DisStore, AnOldFileIsReplacedWhateverItIs)
{
    QByteArray const contents[] = { QByteArray(), "garbage", QByteArray(100'000, 'x'),
                                    QByteArray("SQLite format 3\0", 16) + QByteArray(84, '\xff') };
    for (auto const& content : contents) {
        QTemporaryDir const directory;
        QString const path = directory.filePath(QStringLiteral("discord_client.nakdb"));
        for (auto const* suffix : { "", "-wal", "-shm" }) {
            QFile file(path + QLatin1String(suffix));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(content);
        }
        NakSql::closeDb(createDisStore(path));
        sqlite3* const locked = createDisStore(path);
        sqlite3_exec(locked, "begin exclusive; insert into guild values (1, 'old', '', 1, null)",
                     nullptr, nullptr, nullptr);
        sqlite3* const fresh = createDisStore(path);
        EXPECT_EQ(sqlite3_exec(fresh, "insert into guild values (1, 'new', '', 1, null)", nullptr,
                               nullptr, nullptr),
                  SQLITE_OK);
        NakSql::closeDb(locked);
        NakSql::closeDb(fresh);
    }
}

// Events fail at their first write, at a later one, or at their end.
TEST(DisStore, OnAFullDiskWhatDoesNotFitIsLostUntilThereIsRoom)
{
    for (auto const by : { NoRoom::By::PageCount, NoRoom::By::FileSize }) {
        for (int room : { 0, 1, 2, 3, 5, 8, 13, 21, 27, 34, 41, 48, 55 }) {
            SCOPED_TRACE(std::to_string(static_cast<int>(by)) + " " + std::to_string(room));
            Store store;
            {
                NoRoom const noRoom(store, by, room);
                writeMuch(store);
                expectNoLock(store);
                EXPECT_NE(store.rows("select (select count(*) from message), count(*) "
                                     "from guild_member"),
                          "15|2500\n");
            }
            store.dispatch("MESSAGE_CREATE", longMessage(620));
            EXPECT_EQ(store.rows("select id from message where id = 620"), "620\n");
            EXPECT_EQ(StoreInvariants(store.db).brokenFile(), "");
        }
    }
}

// Nothing is read from what is left, and nothing is harmed by it.
TEST(DisStore, AFileCutOffUnderTheConnectionIsSurvived)
{
    for (qint64 const left : { 0, 1, 100, 4096, 5000, 40960, 100000 }) {
        SCOPED_TRACE(left);
        Store store;
        writeMuch(store);
        store.exec("pragma wal_checkpoint(truncate)");
        ASSERT_TRUE(QFile::resize(store.path, left));
        store.exec("pragma shrink_memory");
        EventMaker maker(1);
        for (int i = 0; i < 300; ++i) {
            maker.make();
            store.dispatch(maker);
        }
        EXPECT_EQ(sqlite3_get_autocommit(store.db), 1);
    }
}
