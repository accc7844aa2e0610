// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "child_process.h"
#include "files.h"
#include "nak_sql.h"
#include "nak_stmt.h"
#include "saved_data.h"
#include "wait_until.h"

#include <QDir>
#include <QElapsedTimer>

#include <sys/mman.h>
#include <sys/resource.h>

#include <optional>

namespace {

NakNavLoc channel(quint64 id)
{
    return NakNavLoc::discordChannel(FlakeId(id));
}

QString q(char const* text)
{
    return QString::fromUtf8(text);
}

class SavedData : public testing::Test {
protected:
    void SetUp() override { removeFiles(); }
    void TearDown() override
    {
        data.reset();
        removeFiles();
    }

    static void removeFiles()
    {
        for (char const* suffix : { "", "-wal", "-shm", "-journal" })
            QFile::remove(NakSavedData::dbFilePath() + QLatin1String(suffix));
    }

    void open()
    {
        data.reset();
        data.emplace(nullptr);
        QObject::connect(&*data, &NakSavedData::playlistsChanged, [this](auto const& changes) {
            for (auto const& change : changes.individual)
                told += std::to_string(change.id) + ':' + std::to_string(change.flags) + ' ';
            told += changes.orderChanged ? "order;" : ";";
        });
    }

    // "id name[entries]" of every folder, as it stands in memory.
    std::string folders() const
    {
        std::string out;
        for (auto const& info : data->playlists()) {
            out += std::to_string(info.id) + ' ' + info.name.toStdString() + '[';
            for (NakNavLoc const& place : data->playlistEntries(info.id))
                out += place.discordChannelId().toString().toStdString() + ',';
            out += "] ";
        }
        return out;
    }

    static std::string inFile(char const* sql)
    {
        sqlite3* db = NakSql::tryOpenDbReadOnly(NakSavedData::dbFilePath());
        std::string out;
        {
            NakStmt stmt(db, sql);
            while (stmt.step())
                out += stmt.colString(0).toStdString() + ' ';
        }
        NakSql::closeDb(db);
        return out;
    }

    static void execute(QByteArray const& sql)
    {
        sqlite3* db = nullptr;
        NakSql::openDb(QFile::encodeName(NakSavedData::dbFilePath()).constData(), &db);
        EXPECT_EQ(sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK);
        NakSql::closeDb(db);
    }

    std::optional<NakSavedData> data;
    std::string told;
};

} // namespace

TEST_F(SavedData, FoldersEntriesAndBlobsAreKept)
{
    open();
    EXPECT_EQ(folders(), "1 Favorites[] ");
    data->setPlaylistName(1, q("Mine"));
    int const work = data->createPlaylist(q("Work <b>"));
    int const third = data->createPlaylist(QString());
    data->setPlaylistEntries(work, { channel(5), NakNavLoc(), channel(5), channel(7) });
    data->movePlaylistById(third, 0);
    data->movePlaylistById(third, 1);
    data->movePlaylistById(1, 99);
    EXPECT_EQ(told, "");
    ASSERT_TRUE(waitUntil([&] { return !told.empty(); }));
    EXPECT_EQ(told, "1:4 2:9 3:1 order;");
    QByteArray const bytes("\0\xff'", 3);
    data->storeBlob(q("k"), "old");
    data->storeBlob(q("k"), bytes);
    data->storeBlob(q("gone"), bytes);
    data->deleteBlob(q("gone"));
    open();
    EXPECT_EQ(folders(), "3 [] 2 Work <b>[5,5,7,] 1 Mine[] ");
    EXPECT_EQ(data->getPlaylistEntry(work, 2), channel(7));
    for (int index : { -1, 3 })
        EXPECT_TRUE(data->getPlaylistEntry(work, index).isNone());
    EXPECT_EQ(data->loadBlob(q("k")), bytes);
    for (char const* const absent : { "gone", "K", "" })
        EXPECT_EQ(data->loadBlob(q(absent)), QByteArray());

    data->setPlaylistOrdering({ 1, 42, 2 });
    data->deletePlaylist(work);
    EXPECT_EQ(data->createPlaylist(q("Last")), 4); // at the end, though a place became free
    data->deletePlaylist(1);
    data->deletePlaylist(3);
    open();
    EXPECT_EQ(folders(), "4 Last[] ");
    data->deletePlaylist(4);
    open();
    EXPECT_EQ(folders(), "1 Favorites[] "); // never without one
}

TEST_F(SavedData, ChangesOfOneEventAreOneSignalAndUnknownFoldersNone)
{
    open();
    data->setPlaylistName(9, q("x"));
    data->deletePlaylist(9);
    data->movePlaylistById(9, 0);
    data->setPlaylistEntries(9, { channel(1) });
    EXPECT_TRUE(data->playlistEntries(9).isEmpty());
    EXPECT_TRUE(data->getPlaylistEntry(9, 0).isNone());
    EXPECT_EQ(folders(), "1 Favorites[] ");
    QCoreApplication::processEvents();
    EXPECT_EQ(told, "");
    for (char const* const all : { "1:4 ;", "1:4 ;1:4 ;" }) {
        data->setPlaylistName(1, q("a"));
        data->setPlaylistName(1, q("b"));
        ASSERT_TRUE(waitUntil([&] { return told == all; })) << told;
    }
}

TEST_F(SavedData, ContentThatIsOldOrDamaged)
{
    struct {
        char const* content;
        char const* read;
    } const cases[] = {
        { R"([{"type":1,"channel_id":"12"}])", "1 Favorites[12,] " },
        { R"([{"type":1,"channel_id":12},{"type":1},7,null,{"type":3,"channel_id":"1"},[],)"
          R"({"type":2,"data":{"type":"none"}},{"type":2},{"channel_id":"2"},{"type":1,"channel_id":"8"}])",
          "1 Favorites[8,] " },
        { "{}", "1 Favorites[] " },
        { "", "1 Favorites[] " },
    };
    open();
    for (auto const& c : cases) {
        data.reset();
        execute("update playlist set content = '" + QByteArray(c.content) + "'");
        open();
        EXPECT_EQ(folders(), c.read) << c.content;
    }
    execute(R"(update playlist set content = '[{"type":1,"channel_id":"12"}]')");
    open();
    data->setPlaylistEntries(1, data->playlistEntries(1));
    EXPECT_EQ(
        inFile("select content from playlist"),
        R"([{"data":{"data":{"channel_id":"12","type":"channel"},"type":"discord"},"type":2}] )");
}

TEST_F(SavedData, FileThatIsNotOursIsLeftAlone)
{
    open();
    data->setPlaylistName(1, q("theirs"));
    data.reset();
    execute("pragma journal_mode=delete; pragma user_version = 2");
    QByteArray const ofAnotherVersion = fileBytes(NakSavedData::dbFilePath());
    ASSERT_FALSE(ofAnotherVersion.isEmpty());
    for (QByteArray const& bytes : { ofAnotherVersion, QByteArray(5000, 'x') }) {
        writeFile(NakSavedData::dbFilePath(), bytes);
        open();
        EXPECT_FALSE(data->keepsChanges());
        EXPECT_EQ(data->createPlaylist(q("Work")), 2);
        data->setPlaylistEntries(2, { channel(3) });
        data->storeBlob(q("k"), "v");
        EXPECT_EQ(data->loadBlob(q("k")), "v");
        EXPECT_EQ(folders(), "1 Favorites[] 2 Work[3,] ");
        data.reset();
        EXPECT_EQ(fileBytes(NakSavedData::dbFilePath()), bytes);
    }
    EXPECT_EQ(QDir(QFileInfo(NakSavedData::dbFilePath()).path())
                  .entryList({ q("user_data*") }, QDir::Files)
                  .size(),
              1);
}

TEST_F(SavedData, FolderThatTheFileDoesNotTakeIsNoOtherOne)
{
    inChild([] {
        NakSavedData store(nullptr);
        store.setPlaylistEntries(store.createPlaylist(q("Work")), { channel(5) });
        signal(SIGXFSZ, SIG_IGN);
        rlimit const fullDisk{ 0, RLIM_INFINITY };
        setrlimit(RLIMIT_FSIZE, &fullDisk);
        int const lost = store.createPlaylist(q("Lost"));
        rlimit const room{ RLIM_INFINITY, RLIM_INFINITY };
        setrlimit(RLIMIT_FSIZE, &room);
        int const later = store.createPlaylist(q("Later"));
        store.setPlaylistEntries(later, { channel(7) });
        store.setPlaylistEntries(lost, { channel(6) });
        store.setPlaylistOrdering({ lost, later });
        store.storeBlob(q("k"), QByteArray::number(store.playlistEntries(lost).size()));
        store.deletePlaylist(lost);
    });
    open();
    EXPECT_EQ(folders(), "3 Later[7,] 1 Favorites[] 2 Work[5,] ");
    EXPECT_EQ(data->loadBlob(q("k")), "1");
}

namespace {

// Changes the store; *done counts the rounds that are finished. In round n the folder 1 has n
// entries of the channel n, and the two other folders change places.
void changeUpToRound(int last, int volatile* done)
{
    NakSavedData data(nullptr);
    while (data.playlists().size() < 3)
        data.createPlaylist(q("x"));
    for (int n = data.playlistEntries(1).size() + 1; n <= last; ++n) {
        data.movePlaylistById(2, n % 3);
        data.setPlaylistEntries(1, QVector<NakNavLoc>(n, channel(static_cast<quint64>(n))));
        *done = n;
    }
}

} // namespace

TEST_F(SavedData, KilledAtAnyMomentItKeepsWhatWasDone)
{
    void* const shared =
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto* const done = static_cast<int volatile*>(shared);
    QElapsedTimer twelveRounds; // which take their time on a busy disk
    twelveRounds.start();
    inChild([done] { changeUpToRound(12, done); });
    auto const mostMicroseconds = static_cast<unsigned>(twelveRounds.nsecsElapsed() / 1000);
    int rounds = 0;
    for (int kill = 0; kill < 200; ++kill) {
        if (kill % 2 == 0) { // half of them while the store is made
            removeFiles();
            *done = 0;
        }
        inKilledChild(mostMicroseconds, [done] { changeUpToRound(10'000, done); });
        open();
        ASSERT_TRUE(data->keepsChanges());
        EXPECT_EQ(inFile("pragma integrity_check"), "ok ");
        EXPECT_EQ(inFile("select count(*) - count(distinct position) from playlist"), "0 ");
        QVector<NakNavLoc> const entries = data->playlistEntries(1);
        EXPECT_EQ(entries.count(channel(static_cast<quint64>(entries.size()))), entries.size());
        EXPECT_GE(entries.size(), *done);
        EXPECT_LE(entries.size(), *done + 1);
        rounds = qMax(rounds, int(*done));
        if (testing::Test::HasFailure())
            break;
    }
    EXPECT_GT(rounds, 10); // some were killed amid the changes
    munmap(shared, sizeof(int));
}
